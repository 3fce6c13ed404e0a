// The memory record: physical memory and how much of it is free, in bytes.

#include "zorcomn/sysprops.h"

#include "source/platform/host.h"
#include "source/platform/posix.h"

#include <utility>

namespace velmora_com {
namespace vta {
namespace sysprops {

bool ISysProps::GetMemoryInformation(MemoryInformation &info) {
    const zor::UncancellableScope uncancellable;
    return zor::guarded(false, [&] {
        MemoryInformation collected = info; // the record is written when all of it is there
        const std::optional<uint64_t> total = zor::host::physicalMemoryBytes();
        if (total)
            collected.TotalPhysicalMemory = std::to_wstring(*total);
        const std::optional<zor::host::FreeMemory> free = zor::host::freeMemory();
        // Kept: against an unknown total of 0 nothing rises above the first step, so that the free bytes come
        // unrounded.
        if (free)
            collected.FreeMemory = std::to_wstring(
                get_closest_floor<unsigned long long>(free->freePages * free->pageSizeBytes, total.value_or(0), 0, 20));
        info = std::move(collected);
        return free.has_value();
    });
}

} // namespace sysprops
} // namespace vta
} // namespace velmora_com
