// The shared/exclusive lock. Who releases the last hold hands the lock over before it wakes anybody, so a woken thread
// holds it already. The spin lock guards the record, the queues and the waiters' own records, and is held while waiters
// are woken; threads sleep without it, each on the event that is its token.
//
// A waiting thread returns only when it has seen its own waiting flag cleared under the spin lock: its event may be set
// by anybody who knows the handle, or still be set from before, and the thread that wakes it must be done with its
// record and its event. A thread that is cancelled in its sleep takes its record out of the queue; if it was handed the
// lock meanwhile, it hands it on.

#include "source/lists_locks/shared_exclusive_lock.h"

#include "source/lists_locks/spin_lock.h"
#include "source/lists_locks/thread_attach.h"
#include "source/platform/host.h"
#include "source/platform/posix.h"
#include "source/portability/wait.h"

#include <cstdlib>
#include <new>

#include <pthread.h>
#include <sched.h>

namespace zor {

namespace {

bool hasOwner(const qeSELock &lock) ZORCOMN_REQUIRES(lock.spinLock) {
    return lock.owner != noThread();
}

/** A thread without a token owns nothing, though its token equals the owner of a lock that has none. */
bool isOwnedBy(const qeSELock &lock, HANDLE token) ZORCOMN_REQUIRES(lock.spinLock) {
    return hasOwner(lock) && lock.owner == token;
}

bool mayTakeExclusively(const qeSELock &lock, HANDLE token) ZORCOMN_REQUIRES(lock.spinLock) {
    return lock.count == 0 || isOwnedBy(lock, token);
}

// Kept: waiting exclusive requests do not count, so a stream of readers keeps writers out.
bool mayShareStarvingExclusive(const qeSELock &lock, HANDLE token) ZORCOMN_REQUIRES(lock.spinLock) {
    return !hasOwner(lock) || isOwnedBy(lock, token);
}

bool mayShareWaitingForExclusive(const qeSELock &lock, HANDLE token) ZORCOMN_REQUIRES(lock.spinLock) {
    return lock.count == 0 || isOwnedBy(lock, token) || (!hasOwner(lock) && !lock.exclusiveWaiters);
}

void takeAs(qeSELock &lock, HANDLE token, LockState state) ZORCOMN_REQUIRES(lock.spinLock) {
    ++lock.count;
    if (!hasOwner(lock)) {
        lock.owner = token;
        lock.state = state;
    }
    lock.lastProcessId = host::processId();
}

void takeExclusively(qeSELock &lock, HANDLE token) ZORCOMN_REQUIRES(lock.spinLock) {
    takeAs(lock, token, kLockTaken);
}

void takeShared(qeSELock &lock, HANDLE) ZORCOMN_REQUIRES(lock.spinLock) {
    ++lock.count;
}

// Kept: a queue is served last in, first out.
WaitRecord *popWaiter(qeLLNode *&waiters) {
    return reinterpret_cast<WaitRecord *>(qeLL_XRemoveHead(&waiters));
}

// Atomically, since the waiter looks without the spin lock before it sleeps.
bool isMarkedWaiting(const WaitRecord &waiter) {
    return __atomic_load_n(&waiter.waiting, __ATOMIC_ACQUIRE) != 0;
}

/** Under the spin lock, so that the thread cannot return, end and close its event in the middle of this. */
void wake(WaitRecord &waiter) {
    __atomic_store_n(&waiter.waiting, 0, __ATOMIC_RELEASE);
    qelSetEvent(waiter.token);
}

void handTo(WaitRecord &waiter, qeSELock &lock) ZORCOMN_REQUIRES(lock.spinLock) {
    lock.count = 1;
    lock.owner = waiter.token;
    lock.state = kLockHandedOver;
    lock.lastProcessId = waiter.processId;
    wake(waiter);
}

void admitSharedWaiters(qeSELock &lock) ZORCOMN_REQUIRES(lock.spinLock) {
    while (WaitRecord *waiter = popWaiter(lock.sharedWaiters)) {
        ++lock.count;
        wake(*waiter);
    }
}

NotifyRegistration &registrationAt(qeLLNode *link) {
    return *reinterpret_cast<NotifyRegistration *>(link);
}

// Not cancelled in there: a registration would be half served. A callback that ends its thread frees the spin lock.
uint32_t tell(const NotifyRegistration &registration, uint32_t event) {
    const UncancellableScope uncancellable;
    return registration.callback(registration.first, event, registration.second, 0);
}

// Kept: callbacks run under the spin lock, and the first one that returns 0 is the last one called.
void notifyThatFree(qeSELock &lock) ZORCOMN_REQUIRES(lock.spinLock) {
    for (qeLLNode **link = &lock.registrations; *link; link = &(*link)->next) {
        NotifyRegistration &registration = registrationAt(*link);
        if (tell(registration, kLockIsFree) != 0)
            continue;
        qeLL_XRemove(link, &registration.link);
        delete &registration;
        return;
    }
}

void releaseHold(qeSELock &lock) ZORCOMN_REQUIRES(lock.spinLock) {
    if (lock.count == 0 || --lock.count > 0)
        return;
    lock.owner = noThread();
    lock.state = kLockFreed;
    if (WaitRecord *waiter = popWaiter(lock.exclusiveWaiters))
        handTo(*waiter, lock);
    else if (lock.sharedWaiters)
        admitSharedWaiters(lock);
    else
        notifyThatFree(lock);
}

/** A queued request, as the sleeping thread and its clean-up see it. */
struct Waiting {
    qeSELock &lock;
    qeLLNode *&queue;
    WaitRecord record;
};

void removeFromQueue(Waiting &waiting) {
    qeLLNode **link = &waiting.queue;
    while (*link != &waiting.record.link)
        link = &(*link)->next;
    qeLL_XRemove(link, &waiting.record.link);
}

/** What a cancelled thread leaves behind: nothing. Readers that queued only because of it go ahead. */
void abandon(void *argument) {
    auto &waiting = *static_cast<Waiting *>(argument);
    qeSELock &lock = waiting.lock;
    SpinGuard guard(lock.spinLock);
    if (!isMarkedWaiting(waiting.record))
        return releaseHold(lock);
    removeFromQueue(waiting);
    if (!hasOwner(lock) && !lock.exclusiveWaiters)
        admitSharedWaiters(lock);
}

/** Looks for the hand-over for about as long as going to sleep and being woken takes. Holds are short as a rule, and
 * yielding lets the holder go on where it waits for this processor. */
void linger(const Waiting &waiting) {
    constexpr int kLooks = 25;
    for (int look = 0; look < kLooks && isMarkedWaiting(waiting.record); ++look)
        sched_yield();
}

/** Under the spin lock, where no hand-over is half done: an event that is set is then this hand-over's or nobody's. */
bool isStillWaiting(const Waiting &waiting) {
    SpinGuard guard(waiting.lock.spinLock);
    qelResetEvent(waiting.record.token);
    return isMarkedWaiting(waiting.record);
}

/** Returns once the lock has been handed over. A handler and no destructor, since not every system unwinds the stack of
 * a cancelled thread. */
void waitUntilServed(Waiting &waiting) {
    pthread_cleanup_push(abandon, &waiting);
    linger(waiting);
    while (isStillWaiting(waiting))
        qelWaitForSingleObject(waiting.record.token, kInfiniteMs);
    pthread_cleanup_pop(0);
}

struct Policy {
    bool (*mayTake)(const qeSELock &lock, HANDLE token);
    void (*take)(qeSELock &lock, HANDLE token);
    qeLLNode *qeSELock::*queue;
};

constexpr Policy kExclusive{mayTakeExclusively, takeExclusively, &qeSELock::exclusiveWaiters};
constexpr Policy kSharedStarvingExclusive{mayShareStarvingExclusive, takeShared, &qeSELock::sharedWaiters};
constexpr Policy kSharedWaitingForExclusive{mayShareWaitingForExclusive, takeShared, &qeSELock::sharedWaiters};

int32_t acquire(qeSELock *lock, const Policy &policy, int32_t wait) {
    if (!lock)
        return 0;
    const HANDLE token = lockToken();
    Waiting waiting{*lock, lock->*policy.queue, {}};
    {
        SpinGuard guard(lock->spinLock);
        if (policy.mayTake(*lock, token)) {
            policy.take(*lock, token);
            return 1;
        }
        if (wait == 0)
            return 0;
        if (token == noThread()) // nothing to sleep on
            return failWith(kCellInvalid, 0);
        waiting.record = {{}, token, host::processId(), 1};
        qeLL_XInsertHead(&waiting.queue, &waiting.record.link);
    }
    waitUntilServed(waiting);
    return 1;
}

} // namespace

} // namespace zor

using namespace zor;

// Not checked: nobody else knows the new lock yet.
ZORCOMN_UNCHECKED_LOCKING uint32_t qeSO_SELockCreate(qeSELock **lock) {
    if (!lock)
        return kFailure;
    *lock = new (std::nothrow) qeSELock();
    if (!*lock)
        return kFailure;
    (*lock)->owner = noThread();
    (*lock)->state = kLockCreated;
    return 0;
}

// Kept: waiters and registrations are not looked at.
void qeSO_Release(qeSELock *lock) {
    delete lock;
}

int32_t qeSO_SELockExclusive(qeSELock *lock, int32_t wait) {
    return acquire(lock, kExclusive, wait);
}

int32_t qeSO_SELockSharedStarveExclusive(qeSELock *lock, int32_t wait) {
    return acquire(lock, kSharedStarvingExclusive, wait);
}

int32_t qeSO_SELockSharedWaitForExclusive(qeSELock *lock, int32_t wait) {
    return acquire(lock, kSharedWaitingForExclusive, wait);
}

int32_t qeSO_SELock(qeSELock *lock, int32_t exclusive, int32_t wait) {
    return acquire(lock, exclusive ? kExclusive : kSharedWaitingForExclusive, wait);
}

// Kept: nobody asks whether the caller is the owner, and queued exclusive requests stay behind the readers.
void qeSO_SELockExclusiveToShared(qeSELock *lock) {
    if (!lock)
        return;
    SpinGuard guard(lock->spinLock);
    lock->owner = noThread();
    lock->state = kLockConverted;
    admitSharedWaiters(*lock);
}

void qeSO_SELockRelease(qeSELock *lock) {
    if (!lock)
        return;
    SpinGuard guard(lock->spinLock);
    releaseHold(*lock);
}

int32_t qeSO_SELockExclusiveNotify(qeSELock *lock, qeSONotify callback, uint32_t first, uint32_t second) {
    if (!lock)
        return 0;
    const HANDLE token = lockToken();
    SpinGuard guard(lock->spinLock);
    if (mayTakeExclusively(*lock, token)) {
        takeAs(*lock, token, kLockTakenInsteadOfNotify);
        return 1;
    }
    if (!callback)
        return 0;
    auto *registration = new (std::nothrow) NotifyRegistration{{}, callback, first, second};
    if (!registration)
        std::abort(); // a caller that is told 0 counts on the callback
    qeLL_XInsertHead(&lock->registrations, &registration->link);
    return 0;
}

int32_t qeSO_SELockExclusiveUnnotify(qeSELock *lock, qeSONotify callback, uint32_t first, uint32_t second) {
    if (!lock)
        return 0;
    SpinGuard guard(lock->spinLock);
    for (qeLLNode **link = &lock->registrations; *link; link = &(*link)->next) {
        NotifyRegistration &registration = registrationAt(*link);
        if (registration.callback != callback || registration.first != first || registration.second != second)
            continue;
        if (tell(registration, kRegistrationWithdrawn) != 0)
            continue;
        qeLL_XRemove(link, &registration.link); // Kept: not freed, unlike one that a release has served.
        return 1;
    }
    return 0;
}
