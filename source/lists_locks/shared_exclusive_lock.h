#pragma once

// The records of the shared/exclusive lock. All of them are read and changed under the lock's spin lock only, also a
// wait record's waiting flag and the setting of its event: once a waiter has seen its flag cleared under the spin lock,
// nobody touches its record or its event any more, and its stack and its event may go away.

#include "zorcomn/lists_locks.h"

#include "source/lists_locks/spin_lock.h"

#include <cstddef>
#include <cstdint>

#include <sys/types.h>

/** Fields in the fixed order that support staff read memory images by. */
struct qeSELock {
    zor::SpinCell spinLock;
    HANDLE owner ZORCOMN_GUARDED_BY(
        spinLock); // token of the exclusive owner; zor::kNoThread when there is none, also while held shared
    int32_t count ZORCOMN_GUARDED_BY(spinLock);              // shared holders, or the owner's depth
    qeLLNode *sharedWaiters ZORCOMN_GUARDED_BY(spinLock);    // zor::WaitRecord, the latest first
    qeLLNode *exclusiveWaiters ZORCOMN_GUARDED_BY(spinLock); // zor::WaitRecord, the latest first
    qeLLNode *registrations ZORCOMN_GUARDED_BY(spinLock);    // zor::NotifyRegistration, the latest first
    pid_t lastProcessId
        ZORCOMN_GUARDED_BY(spinLock);           // of the thread that last took the lock, or was handed it, exclusively
    int32_t state ZORCOMN_GUARDED_BY(spinLock); // a zor::LockState, for diagnosis
};

namespace zor {

/** The last transition of a lock. */
enum LockState : int32_t {
    kLockCreated = 1,
    kLockTaken = 2,
    kLockConverted = 3,
    kLockFreed = 4,
    kLockHandedOver = 5,
    kLockTakenInsteadOfNotify = 6,
};

/** A thread in the queue; lives on that thread's stack. */
struct WaitRecord {
    qeLLNode link;
    HANDLE token;
    pid_t processId;
    int32_t waiting; // 1 until the thread is handed its hold
};

constexpr uint32_t kLockIsFree = 0x1100;
constexpr uint32_t kRegistrationWithdrawn = 0x1102;

/** Whom to tell when the lock falls free. */
struct NotifyRegistration {
    qeLLNode link;
    qeSONotify callback;
    uint32_t first;
    uint32_t second;
};

// The link comes first: a record's address is the address of its link.
static_assert(offsetof(WaitRecord, link) == 0 && offsetof(NotifyRegistration, link) == 0);

constexpr size_t kWord = sizeof(void *);
static_assert(offsetof(qeSELock, spinLock) == 0);
static_assert(offsetof(qeSELock, owner) == kWord);
static_assert(offsetof(qeSELock, count) == 2 * kWord);
static_assert(offsetof(qeSELock, sharedWaiters) == 3 * kWord);
static_assert(offsetof(qeSELock, exclusiveWaiters) == 4 * kWord);
static_assert(offsetof(qeSELock, registrations) == 5 * kWord);
static_assert(offsetof(qeSELock, lastProcessId) == 6 * kWord);
static_assert(offsetof(qeSELock, state) == 6 * kWord + 4);
static_assert(offsetof(WaitRecord, token) == kWord && offsetof(WaitRecord, processId) == 2 * kWord);
static_assert(offsetof(WaitRecord, waiting) == 2 * kWord + 4);
static_assert(offsetof(NotifyRegistration, callback) == kWord && offsetof(NotifyRegistration, first) == 2 * kWord);
static_assert(offsetof(NotifyRegistration, second) == 2 * kWord + 4);

} // namespace zor
