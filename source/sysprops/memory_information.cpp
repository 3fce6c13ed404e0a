// The memory record: physical memory and how much of it is free, in bytes.

#include "zorcomn/sysprops.h"

#include "source/platform/host.h"
#include "source/platform/posix.h"

namespace velmora_com {
namespace vta {
namespace sysprops {

bool ISysProps::GetMemoryInformation(MemoryInformation &info) {
    const zor::UncancellableScope uncancellable;
    return zor::guarded(false, [&] {
        const std::optional<uint64_t> total = zor::host::physicalMemoryBytes();
        if (total)
            info.TotalPhysicalMemory = std::to_wstring(*total);
        const std::optional<zor::host::FreeMemory> free = zor::host::freeMemory();
        if (!free)
            return false;
        // Kept: against an unknown total of 0 nothing rises above the first step, so that the free bytes come
        // unrounded.
        info.FreeMemory = std::to_wstring(
            get_closest_floor<unsigned long long>(free->freePages * free->pageSizeBytes, total.value_or(0), 0, 20));
        return true;
    });
}

} // namespace sysprops
} // namespace vta
} // namespace velmora_com
