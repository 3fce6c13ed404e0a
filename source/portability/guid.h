#pragma once

// The GUID generator with its clock and its random numbers handed in, so that a test can turn the clock back.

#include "zorcomn/portability.h"

#include <atomic>
#include <cstdint>

#include <sys/time.h>

namespace zor {

/** What the generator remembers between calls. Kept: no lock guards it, and concurrent calls may share a time stamp and
 * lose an update; the members are atomic so that this stays all that can happen. They are a machine word at most, which
 * every target handles without a lock. */
struct GuidState {
    std::atomic<bool> initialised{false};
    std::atomic<long> lastSeconds{0};
    std::atomic<int32_t> lastMicroseconds{0};
    std::atomic<uint32_t> clockSequence{0}; // 13 bits
    std::atomic<uint32_t> adjustment{0};    // 0..10, in units of 100 ns
};

struct GuidSources {
    timeval (*now)();
    int (*random)();
};

void createGuid(GuidState &state, const GuidSources &sources, qelGuid &guid);

} // namespace zor
