#pragma once

// The spin lock that guards every shared/exclusive lock's record: one cell, 0 free and 1 held, changed by interlocked
// exchanges only. What is done under it is short: a few words, the wake-up of waiters, and the callbacks of notify
// registrations.

#include "zorcomn/lists_locks.h"

#include "source/platform/thread_end.h"
#include "source/platform/thread_safety.h"

#include <cstdint>

namespace zor {

using SpinExchange = int32_t (*)(volatile int32_t *cell, int32_t newValue);
using SpinPause = void (*)(uint32_t microseconds);

/** Exchanges until the cell was free, pausing between failed attempts as the schedule says. */
void acquireSpinLock(volatile int32_t *cell, SpinExchange exchange, SpinPause pause);

/** acquireSpinLock with the real exchange and pauses. Not a cancellation point. */
void takeSpinLock(volatile int32_t *cell);

/** The name under which clang checks what a spin lock guards. */
using SpinCell ZORCOMN_CAPABILITY("spin lock") = volatile int32_t;

/** Holds a spin lock for a scope, and no longer when a callback ends the thread in it. */
class ZORCOMN_SCOPED_CAPABILITY SpinGuard {
public:
    explicit SpinGuard(SpinCell &cell) ZORCOMN_ACQUIRES(cell) : m_cell(cell) { takeSpinLock(&m_cell); }
    ~SpinGuard() ZORCOMN_RELEASES() { free(); }
    SpinGuard(const SpinGuard &) = delete;
    SpinGuard &operator=(const SpinGuard &) = delete;

private:
    void free() { qelInterlockedExchange(&m_cell, 0); }

    SpinCell &m_cell;
    ThreadEndHandler m_atThreadEnd{[](void *self) { static_cast<SpinGuard *>(self)->free(); }, this};
};

} // namespace zor
