// One property by its name: the first group that knows the name collects its record and answers. Nothing is remembered
// between queries but what the object's records hold. A name server is asked only for a property whose value depends on
// it.

#include "source/platform/posix.h"
#include "source/sysprops/network_information.h"
#include "source/sysprops/property_groups.h"

#include <algorithm>
#include <iterator>

namespace {

using zor::PropertyField;

template <class Record, size_t count>
const PropertyField<Record> *findField(const PropertyField<Record> (&fields)[count], const std::wstring &name) {
    const auto *const found = std::find_if(std::begin(fields), std::end(fields),
                                           [&](const PropertyField<Record> &row) { return row.name == name; });
    return found == std::end(fields) ? nullptr : found;
}

template <class Record, size_t count>
std::wstring answer(const Record &record, const PropertyField<Record> (&fields)[count], const std::wstring &name) {
    const PropertyField<Record> *const found = findField(fields, name);
    return found ? record.*found->field : velmora_com::vta::sysprops::DefaultProp_Val;
}

} // namespace

namespace velmora_com {
namespace vta {
namespace sysprops {

// Kept: a name that no group knows gives an empty text and collects nothing; only a single group answers it with "N/A".
std::wstring ISysProps::GetOneSystemProperty(const std::wstring &name) {
    if (IsNetworkProperty(name))
        return GetOneNetworkProperty(name);
    if (IsCPUProperty(name))
        return GetOneCPUProperty(name);
    if (IsMemoryProperty(name))
        return GetOneMemoryProperty(name);
    if (IsMiscProperty(name))
        return GetOneMiscProperty(name);
    if (IsDiskProperty(name))
        return GetOneDiskProperty(name);
    if (IsOSProperty(name))
        return GetOneOSProperty(name);
    return {};
}

bool ISysProps::IsNetworkProperty(const std::wstring &name) {
    return findField(zor::kNetworkFields, name) != nullptr;
}

bool ISysProps::IsCPUProperty(const std::wstring &name) {
    return findField(zor::kProcessorFields, name) != nullptr;
}

bool ISysProps::IsMemoryProperty(const std::wstring &name) {
    return findField(zor::kMemoryFields, name) != nullptr;
}

bool ISysProps::IsMiscProperty(const std::wstring &name) {
    return findField(zor::kMiscFields, name) != nullptr;
}

// Kept: the number of file systems belongs to no group, though the disk group answers it.
bool ISysProps::IsDiskProperty(const std::wstring &name) {
    return name != NumFileSystems_Key && findField(zor::kDiskFields, name) != nullptr;
}

bool ISysProps::IsOSProperty(const std::wstring &name) {
    return findField(zor::kOperatingSystemFields, name) != nullptr;
}

std::wstring ISysProps::GetOneNetworkProperty(const std::wstring &name) {
    const zor::UncancellableScope uncancellable;
    return zor::guarded(std::wstring(), [&] {
        zor::collectNetworkInformation({name == DomainName_Key, name == IPHostName_Key}, m_network);
        return answer(m_network, zor::kNetworkFields, name);
    });
}

std::wstring ISysProps::GetOneCPUProperty(const std::wstring &name) {
    const zor::UncancellableScope uncancellable;
    return zor::guarded(std::wstring(), [&] {
        GetCPUInformation(m_cpu);
        return answer(m_cpu, zor::kProcessorFields, name);
    });
}

std::wstring ISysProps::GetOneMemoryProperty(const std::wstring &name) {
    const zor::UncancellableScope uncancellable;
    return zor::guarded(std::wstring(), [&] {
        GetMemoryInformation(m_memory);
        return answer(m_memory, zor::kMemoryFields, name);
    });
}

std::wstring ISysProps::GetOneMiscProperty(const std::wstring &name) {
    const zor::UncancellableScope uncancellable;
    return zor::guarded(std::wstring(), [&] {
        GetMiscInformation(m_misc);
        return answer(m_misc, zor::kMiscFields, name);
    });
}

std::wstring ISysProps::GetOneDiskProperty(const std::wstring &name) {
    const zor::UncancellableScope uncancellable;
    return zor::guarded(std::wstring(), [&] {
        GetDiskInformation(m_disk);
        return answer(m_disk, zor::kDiskFields, name);
    });
}

std::wstring ISysProps::GetOneOSProperty(const std::wstring &name) {
    const zor::UncancellableScope uncancellable;
    return zor::guarded(std::wstring(), [&] {
        GetOSInformation(m_os);
        return answer(m_os, zor::kOperatingSystemFields, name);
    });
}

} // namespace sysprops
} // namespace vta
} // namespace velmora_com
