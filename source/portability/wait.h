#pragma once

// The waits' inner parts that tests reach without a clock or a thread.

#include "zorcomn/portability.h"

#include <cstdint>
#include <ctime>

#include <sys/time.h>

namespace zor {

constexpr uint32_t kWaitFailed = 0;
constexpr uint32_t kWaitSignalled = 2; // of several handles: 2 + the index
constexpr uint32_t kWaitTimedOut = 3;
constexpr uint32_t kInfiniteMs = 0xFFFFFFFFu;

/** The absolute time at which a wait that starts now gives up. */
timespec deadlineAfter(const timeval &now, uint32_t milliseconds);

using WaitForOne = uint32_t (*)(HANDLE handle, uint32_t milliseconds);
/** Polls handles[0 .. count - 1] in turn, each for 10 ms, until one is signalled or as much time is counted.
 * @param elapsed  where the count begins, in milliseconds.
 */
uint32_t waitInTurn(uint32_t count, const HANDLE *handles, uint32_t milliseconds, WaitForOne waitForOne,
                    uint32_t elapsed = 0);

} // namespace zor
