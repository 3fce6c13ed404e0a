#pragma once

// Descriptors whose close-on-exec flag is set by a second call: in between, a program that the library starts would
// inherit them. Who opens so, and who starts a program, holds this lock.

#include "source/platform/posix.h"

#include <atomic>

#include <sched.h>
#include <sys/types.h>
#include <unistd.h>

namespace zor::host {

/** Held by one thread of the process at a time; not recursive. A forked child is its own process: a hold that another
 * thread had at the fork does not count there. Held for moments alone, so that waiting is yielding; and with
 * cancellation held off, since a cancelled thread would never free it. */
class InheritanceLock {
public:
    InheritanceLock() {
        const pid_t self = getpid();
        for (;;) {
            pid_t holder = s_holder.load(std::memory_order_relaxed);
            if (holder != self && s_holder.compare_exchange_weak(holder, self, std::memory_order_acquire))
                return;
            sched_yield();
        }
    }
    ~InheritanceLock() { s_holder.store(0, std::memory_order_release); }
    InheritanceLock(const InheritanceLock &) = delete;
    InheritanceLock &operator=(const InheritanceLock &) = delete;

private:
    UncancellableScope m_uncancellable;
    static inline std::atomic<pid_t> s_holder{0}; // the process that holds it, 0: nobody
};

} // namespace zor::host
