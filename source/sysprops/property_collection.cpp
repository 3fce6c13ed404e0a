// Every property at once. The records are those of the object and are not reset: what a collector fails to write keeps
// the value of an earlier run.

#include "source/platform/posix.h"
#include "source/sysprops/property_groups.h"

#include <utility>

namespace {

using namespace velmora_com::vta::sysprops;
using PropertyMap = std::map<std::wstring, std::wstring>;

template <class Record, size_t count>
void addFields(PropertyMap &props, const Record &record, const zor::PropertyField<Record> (&fields)[count]) {
    for (const auto &row : fields)
        props.emplace(row.name, record.*row.field);
}

std::wstring fileSystemKey(const std::wstring &mountPoint, const std::wstring &suffix) {
    return FileSystemName + L'"' + mountPoint + L"\" " + suffix;
}

void addFileSystems(PropertyMap &props, const DiskInformation &disk) {
    for (const auto &[mountPoint, space] : disk.FileSystems) {
        props.emplace(fileSystemKey(mountPoint, FileSystemTotalSpace), space.first);
        props.emplace(fileSystemKey(mountPoint, FileSystemFreeSpace), space.second);
    }
}

} // namespace

namespace velmora_com {
namespace vta {
namespace sysprops {

bool ISysProps::GetAllSystemProperties(std::map<std::wstring, std::wstring> &props) {
    const zor::UncancellableScope uncancellable;
    return zor::guarded(true, [&] {
        std::map<std::wstring, std::pair<std::wstring, std::wstring>> fileSystems;
        GetAllSystemProperties(props, fileSystems);
        if (props.empty())
            return true; // there was no memory
        PropertyMap found;
        found.swap(props);            // should the rest not fit, there is nothing at all
        found.erase(CPUPortable_Key); // Kept: only the other form reports whether the computer is portable.
        addFileSystems(found, m_disk);
        props.swap(found);
        return true;
    });
}

bool ISysProps::GetAllSystemProperties(std::map<std::wstring, std::wstring> &props,
                                       std::map<std::wstring, std::pair<std::wstring, std::wstring>> &fileSystems) {
    const zor::UncancellableScope uncancellable;
    props.clear();
    fileSystems.clear();
    GetNetworkInformation(m_network);
    GetCPUInformation(m_cpu);
    GetMemoryInformation(m_memory);
    GetDiskInformation(m_disk);
    GetMiscInformation(m_misc);
    GetOSInformation(m_os);
    return zor::guarded(true, [&] {
        PropertyMap found;
        addFields(found, m_cpu, zor::kProcessorFields);
        addFields(found, m_network, zor::kNetworkFields);
        addFields(found, m_memory, zor::kMemoryFields);
        addFields(found, m_os, zor::kOperatingSystemFields);
        addFields(found, m_misc, zor::kMiscFields);
        addFields(found, m_disk, zor::kDiskFields);
        auto disks = m_disk.FileSystems;
        props.swap(found); // all of it or nothing: nobody could see what is missing
        fileSystems.swap(disks);
        return true;
    });
}

} // namespace sysprops
} // namespace vta
} // namespace velmora_com
