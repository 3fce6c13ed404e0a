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
        props.erase(CPUPortable_Key); // Kept: only the other form reports whether the computer is portable.
        addFileSystems(props, m_disk);
        return true;
    });
}

bool ISysProps::GetAllSystemProperties(std::map<std::wstring, std::wstring> &props,
                                       std::map<std::wstring, std::pair<std::wstring, std::wstring>> &fileSystems) {
    const zor::UncancellableScope uncancellable;
    return zor::guarded(true, [&] {
        GetNetworkInformation(m_network);
        GetCPUInformation(m_cpu);
        GetMemoryInformation(m_memory);
        GetDiskInformation(m_disk);
        GetMiscInformation(m_misc);
        GetOSInformation(m_os);
        props.clear();
        addFields(props, m_cpu, zor::kProcessorFields);
        addFields(props, m_network, zor::kNetworkFields);
        addFields(props, m_memory, zor::kMemoryFields);
        addFields(props, m_os, zor::kOperatingSystemFields);
        addFields(props, m_misc, zor::kMiscFields);
        addFields(props, m_disk, zor::kDiskFields);
        fileSystems = m_disk.FileSystems;
        return true;
    });
}

} // namespace sysprops
} // namespace vta
} // namespace velmora_com
