#include "machine.h"

#include "zorcomn/network.h"
#include "zorcomn/session.h"
#include "zorcomn/sysprops.h"

#include <set>

#include <sys/socket.h>
#include <time.h>

namespace session = velmora_com::vta::session;
namespace sysprops = velmora_com::vta::sysprops;

namespace zorprops {

namespace {

std::string narrow(const std::wstring &text) {
    return sysprops::sysprops_wide_to_ansi(text);
}

/** The library reports the time zone as it finds it set up in the process. */
void setUpTimeZone() {
    tzset();
}

/** Whether the query by name answers this one. */
bool isAnswered(sysprops::ISysProps &machine, const std::wstring &name) {
    return machine.IsNetworkProperty(name) || machine.IsCPUProperty(name) || machine.IsMemoryProperty(name) ||
           machine.IsMiscProperty(name) || machine.IsDiskProperty(name) || machine.IsOSProperty(name);
}

/** The figure of one mount point, asked for by the name that the flat report gives it. */
std::optional<std::string> fileSystemFigure(sysprops::ISysProps &machine, const std::wstring &name) {
    sysprops::DiskInformation disks;
    machine.GetDiskInformation(disks);
    for (const auto &[mountPoint, space] : disks.FileSystems) {
        std::wstring prefix = sysprops::FileSystemName;
        prefix.append(L"\"").append(mountPoint).append(L"\" ");
        if (name == prefix + sysprops::FileSystemTotalSpace)
            return narrow(space.first);
        if (name == prefix + sysprops::FileSystemFreeSpace)
            return narrow(space.second);
    }
    return std::nullopt;
}

std::optional<std::string> collectProperty(sysprops::ISysProps &machine, const std::string &name) {
    const std::wstring wideName = sysprops::sysprops_ansi_to_wide(name);
    if (narrow(wideName) != name) // no UTF-8: only its beginning would be looked for
        return std::nullopt;
    if (machine.IsMiscProperty(wideName))
        setUpTimeZone();
    if (isAnswered(machine, wideName))
        return narrow(machine.GetOneSystemProperty(wideName));
    // The full report has this one, but the query by name does not know it.
    if (wideName == sysprops::NumFileSystems_Key)
        return narrow(machine.GetOneDiskProperty(wideName));
    if (wideName.rfind(sysprops::FileSystemName + L'"', 0) == 0)
        return fileSystemFigure(machine, wideName);
    return std::nullopt;
}

Interface describe(const velmora_com::vta::NetInterface &record) {
    Interface described{record.getIndex(), record.getIndexName(), record.getMACAddress(), {}};
    for (const auto &address : record.getIPAddress())
        described.addresses.push_back({address.getIPFamily() == AF_INET6, address.getIPAddress(),
                                       address.getSubNetMask(), address.getSubNetAddr()});
    return described;
}

std::vector<std::string> narrowed(const std::set<std::wstring> &names) {
    std::vector<std::string> texts;
    texts.reserve(names.size());
    for (const std::wstring &name : names)
        texts.push_back(narrow(name));
    return texts;
}

} // namespace

void setLocalAddress(const std::string &address) {
    qelcomn_set_local_ip_addr(sysprops::sysprops_ansi_to_wide(address));
}

Report collectReport() {
    setUpTimeZone();
    std::map<std::wstring, std::wstring> properties;
    std::map<std::wstring, std::pair<std::wstring, std::wstring>> fileSystems;
    sysprops::ISysProps().GetAllSystemProperties(properties, fileSystems);
    Report report;
    for (const auto &[name, value] : properties)
        report.properties.emplace(narrow(name), narrow(value));
    for (const auto &[mountPoint, space] : fileSystems)
        report.fileSystems.push_back({narrow(mountPoint), narrow(space.first), narrow(space.second)});
    return report;
}

std::vector<std::optional<std::string>> collectProperties(const std::vector<std::string> &names) {
    sysprops::ISysProps machine;
    std::vector<std::optional<std::string>> values;
    values.reserve(names.size());
    for (const std::string &name : names)
        values.push_back(collectProperty(machine, name));
    return values;
}

std::vector<Interface> collectInterfaces(bool includeLoopback) {
    velmora_com::vta::NetInterfaceList list(includeLoopback);
    velmora_com::vta::getNetInterfacesList(list);
    std::vector<Interface> interfaces;
    for (const unsigned int index : list.getIndexes())
        interfaces.push_back(describe(list.getNetInterface(index)));
    return interfaces;
}

Users collectUsers() {
    std::set<std::wstring> networkUsers, localUsers;
    session::CollectLoggedonUsers(networkUsers, localUsers, false);
    std::wstring combined;
    session::CollectAllLoggedonUsers(combined);
    return {narrowed(networkUsers), narrowed(localUsers), narrow(combined)};
}

} // namespace zorprops
