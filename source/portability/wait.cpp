// The two waits. One sleep per call on events and threads: whatever ends it counts as signalled. On a mutex one release
// wakes all sleepers and one of them gets the owner lock; the others must not sit on the guard, which the next release
// needs, so they never block on the owner lock but go back to sleep on the condition.

#include "zorcomn/portability.h"

#include "source/platform/posix.h"
#include "source/portability/handles.h"
#include "source/portability/wait.h"

#include <cerrno>
#include <limits>

namespace zor {

namespace {

constexpr long kNanosecondsPerSecond = 1000000000;
constexpr uint32_t kPollMs = 10;

/** Becomes a mutex's owner if it has none; an errno number otherwise. Not blocking: the guard is held. */
int takeOwnership(HandleObject &mutex) ZORCOMN_REQUIRES(mutex.guard) {
    const int error = pthread_mutex_trylock(static_cast<pthread_mutex_t *>(mutex.objectData));
    if (error == 0)
        setSignalled(&mutex.signalled, 0);
    return error;
}

/** What is left of a wait once the object is signalled: 0, EBUSY for a mutex that somebody owns, or an errno number. */
int claim(HandleObject &object) ZORCOMN_REQUIRES(object.guard) {
    return object.type == kMutexHandle ? takeOwnership(object) : 0;
}

/** The sleeping part of a wait, entered and left with the guard locked; 0 or an errno number. */
int sleepUntilClaimed(HandleObject &object, const timespec *deadline) ZORCOMN_REQUIRES(object.guard) {
    for (;;) {
        if (const int error = deadline ? pthread_cond_timedwait(&object.condition, &object.guard, deadline)
                                       : pthread_cond_wait(&object.condition, &object.guard))
            return error;
        const int error = claim(object);
        if (error != EBUSY)
            return error;
    }
}

} // namespace

timespec deadlineAfter(const timeval &now, uint32_t milliseconds) {
    constexpr time_t kLastSecond = std::numeric_limits<time_t>::max();
    const auto added = [](time_t seconds, time_t more) {
        return seconds > kLastSecond - more ? kLastSecond : seconds + more;
    };
    timespec deadline = {};
    deadline.tv_sec = added(now.tv_sec, static_cast<time_t>(milliseconds / 1000));
    long nanoseconds = static_cast<long>(now.tv_usec) * 1000 + static_cast<long>(milliseconds % 1000) * 1000000;
    // Kept: exactly one second of nanoseconds is not carried, which the system's wait then refuses; callers know it.
    if (nanoseconds > kNanosecondsPerSecond) {
        nanoseconds -= kNanosecondsPerSecond;
        deadline.tv_sec = added(deadline.tv_sec, 1);
    }
    deadline.tv_nsec = nanoseconds;
    return deadline;
}

uint32_t waitInTurn(uint32_t count, const HANDLE *handles, uint32_t milliseconds, WaitForOne waitForOne,
                    uint32_t elapsed) {
    uint32_t index = 0;
    // Kept: a time-out of 0 looks at no handle, each polled handle counts as 10 ms, and an infinite time-out outruns
    // the counter, which wraps.
    for (; elapsed < milliseconds; elapsed += kPollMs) {
        if (count == 0 || !handles)
            return failWith(kCellInvalid, kWaitFailed);
        const uint32_t result = waitForOne(handles[index], kPollMs);
        if (result == kWaitSignalled)
            return kWaitSignalled + index;
        if (result != kWaitTimedOut)
            return result == 1 ? 1 : kWaitFailed; // Kept: a 1 would pass through.
        index = index + 1 < count ? index + 1 : 0;
    }
    return kWaitTimedOut;
}

} // namespace zor

using namespace zor;

// Not checked: one way out leaves the guard locked.
ZORCOMN_UNCHECKED_LOCKING uint32_t qelWaitForSingleObject(HANDLE handle, uint32_t milliseconds) {
    if (!isObject(handle))
        return failWith(kCellInvalid, kWaitFailed);
    HandleObject &object = recordOf(handle);
    if (object.type < kEventHandle || object.type > kMutexHandle)
        return failWith(kCellInvalid, kWaitFailed);
    MutexLock guard(object.guard);
    if (!guard)
        return kWaitFailed;

    int error = isSignalled(object) ? claim(object) : EBUSY;
    if (error == EBUSY && milliseconds == kInfiniteMs) {
        error = sleepUntilClaimed(object, nullptr);
    } else if (error == EBUSY) {
        timeval now;
        if (gettimeofday(&now, nullptr) != 0) {
            guard.release(); // Kept: the guard stays locked.
            return kWaitFailed;
        }
        const timespec deadline = deadlineAfter(now, milliseconds);
        error = sleepUntilClaimed(object, &deadline);
    }
    const bool isUnlocked = guard.unlock();
    if (error == 0)
        return isUnlocked ? kWaitSignalled : kWaitFailed;
    return error == ETIMEDOUT ? kWaitTimedOut : kWaitFailed;
}

uint32_t qelWaitForMultipleObjects(uint32_t count, const HANDLE *handles, int32_t waitAll, uint32_t milliseconds) {
    if (waitAll != 0)
        return failWith(kCellInvalid, kWaitFailed);
    return waitInTurn(count, handles, milliseconds, qelWaitForSingleObject);
}
