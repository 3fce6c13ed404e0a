// Collects the network part of the report: the machine's names, the one address that represents it, and what belongs to
// that address.

#include "source/sysprops/network_information.h"

#include "source/platform/posix.h"

#include <list>
#include <optional>

#include <sys/socket.h>

namespace zor {

namespace {

using velmora_com::vta::IPAddress;
using velmora_com::vta::NetInterface;
using velmora_com::vta::NetInterfaceList;
using velmora_com::vta::sysprops::NetworkInformation;
using velmora_com::vta::sysprops::sysprops_ansi_to_wide;

void reportSubnet(const IPAddress &address, NetworkInformation &info) {
    info.SubnetAddress = sysprops_ansi_to_wide(address.getSubNetAddr());
    info.SubnetMask = sysprops_ansi_to_wide(address.getSubNetMask());
}

void reportAddress(const NetInterface &carrier, const IPAddress &address, NetworkInformation &info) {
    info.IPAddress = sysprops_ansi_to_wide(address.getIPAddress());
    info.NETAddress = sysprops_ansi_to_wide(carrier.getMACAddress());
    reportSubnet(address, info);
}

/** Reports the last known address when an interface carries it, in exactly this text. */
bool reportLastKnown(NetInterfaceList &interfaces, const std::string &lastKnownIP, NetworkInformation &info) {
    NetInterface carrier;
    if (lastKnownIP.empty() || getNetInterfaceFromIPAddress(carrier, lastKnownIP, interfaces) == 0)
        return false;
    for (const IPAddress &address : carrier.getIPAddress())
        if (address.getIPAddress() == lastKnownIP)
            reportAddress(carrier, address, info); // Kept: of equal entries the last one's mask and subnet stay.
    return true;
}

bool reportFirstOfFamily(NetInterfaceList &interfaces, unsigned int family, NetworkInformation &info) {
    for (const unsigned int index : interfaces.getIndexes()) {
        NetInterface candidate;
        if (interfaces.getNetInterface(index, candidate) == 0)
            continue;
        for (const IPAddress &address : candidate.getIPAddress())
            if (address.getIPFamily() == family) {
                reportAddress(candidate, address, info);
                return true;
            }
    }
    return false;
}

void reportFirstOfAll(NetInterfaceList &interfaces, NetworkInformation &info) {
    const std::list<unsigned int> indexes = interfaces.getIndexes();
    NetInterface first;
    if (indexes.empty() || interfaces.getNetInterface(indexes.front(), first) == 0)
        return;
    const std::list<IPAddress> addresses = first.getIPAddress();
    if (!addresses.empty())
        reportAddress(first, addresses.front(), info);
}

} // namespace

void reportRepresentativeAddress(NetInterfaceList &interfaces, const std::string &lastKnownIP,
                                 NetworkInformation &info) {
    if (reportLastKnown(interfaces, lastKnownIP, info))
        return;
    const unsigned int family = lastKnownIP.find(':') != std::string::npos ? AF_INET6 : AF_INET;
    // Kept: an address of the other family is better than none, and the collection counts as successful either way.
    if (!reportFirstOfFamily(interfaces, family, info))
        reportFirstOfAll(interfaces, info);
}

} // namespace zor

namespace velmora_com {
namespace vta {
namespace sysprops {

bool ISysProps::GetNetworkInformation(NetworkInformation &info) {
    return zor::guarded(false, [&] {
        std::string computerName;
        info.ComputerName = getComputerName(computerName) ? sysprops_ansi_to_wide(computerName) : DefaultProp_Val;
        info.DomainName = getDomainName();
        info.IPHostName = getFqdnAddress();
        info.IPXAddress = DefaultProp_Val;
        NetInterfaceList interfaces(false);
        if (!getNetInterfacesList(interfaces))
            return false;
        zor::reportRepresentativeAddress(interfaces, sysprops_wide_to_ansi(GetLastKnownLocalIP()), info);
        return true;
    });
}

} // namespace sysprops
} // namespace vta
} // namespace velmora_com
