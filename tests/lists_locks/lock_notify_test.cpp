// Deferred exclusive requests: who is called when, with what, and what becomes of the registration.

#include "tests/lists_locks/lock_support.h"

#include <memory>
#include <stdexcept>

#include <unistd.h>

namespace {

using namespace zor;
using namespace zor::test;

struct Call {
    uint32_t first, event, second, zero;
};
bool operator==(const Call &left, const Call &right) {
    return left.first == right.first && left.event == right.event && left.second == right.second &&
           left.zero == right.zero;
}
std::ostream &operator<<(std::ostream &out, const Call &call) {
    return out << '(' << call.first << ", " << call.event << ", " << call.second << ", " << call.zero << ')';
}

// Written under the lock's spin lock, like everything a callback does.
std::vector<Call> calls;

uint32_t done(uint32_t first, uint32_t event, uint32_t second, uint32_t zero) {
    calls.push_back({first, event, second, zero});
    return 0;
}

uint32_t goOn(uint32_t first, uint32_t event, uint32_t second, uint32_t zero) {
    calls.push_back({first, event, second, zero});
    return 7;
}

class LockNotify : public LockTest {
protected:
    LockNotify() { calls.clear(); }

    /** Queues a registration from a thread that does not own the lock. */
    void registerCallback(qeSONotify callback, uint32_t first, uint32_t second) {
        onAnotherThread([=] { EXPECT_EQ(qeSO_SELockExclusiveNotify(lock, callback, first, second), 0); });
    }

    void takeAndRelease() {
        EXPECT_EQ(qeSO_SELockExclusive(lock, 0), 1);
        qeSO_SELockRelease(lock);
    }
};

TEST_F(LockNotify, FreeLock_IsTakenAtOnce) {
    EXPECT_EQ(qeSO_SELockExclusiveNotify(lock, done, 1, 2), 1);
    EXPECT_EQ(imageOf(lock), (LockImage{qeSO_GetThread(), 1, 0, 0, 0, getpid(), 6}));
    EXPECT_EQ(qeSO_SELockExclusiveNotify(lock, done, 1, 2), 1) << "the owner's depth";
    EXPECT_EQ(qeSO_SELockExclusive(lock, 0), 1);
    EXPECT_EQ(imageOf(lock), (LockImage{qeSO_GetThread(), 3, 0, 0, 0, getpid(), 6}));
    for (int hold = 0; hold < 3; ++hold)
        qeSO_SELockRelease(lock);
    expectFree();
    EXPECT_TRUE(calls.empty());
}

TEST_F(LockNotify, OwnersRequest_DoesNotChangeTheState) {
    qeSO_SELockExclusive(lock, 0);
    EXPECT_EQ(qeSO_SELockExclusiveNotify(lock, done, 0, 0), 1);
    EXPECT_EQ(imageOf(lock).state, 2);
    qeSO_SELockRelease(lock);
    qeSO_SELockRelease(lock);
}

TEST_F(LockNotify, RegistrationThatReturnsZero_IsCalledOnceAndGone) {
    qeSO_SELockExclusive(lock, 0);
    qeSO_SELockExclusive(lock, 0);
    registerCallback(done, 0xFFFFFFFFu, 2);
    EXPECT_EQ(imageOf(lock).registrations, 1u);
    qeSO_SELockRelease(lock);
    EXPECT_TRUE(calls.empty()) << "not before the last release";
    qeSO_SELockRelease(lock);
    EXPECT_EQ(calls, (std::vector<Call>{{0xFFFFFFFFu, 4352, 2, 0}}));
    EXPECT_EQ(imageOf(lock), (LockImage{noThread(), 0, 0, 0, 0, getpid(), 4}));
    takeAndRelease();
    EXPECT_EQ(calls.size(), 1u);
}

TEST_F(LockNotify, RegistrationThatReturnsNonZero_IsCalledAtEveryRelease_Kept) {
    qeSO_SELockExclusive(lock, 0);
    registerCallback(goOn, 5, 6);
    qeSO_SELockRelease(lock);
    EXPECT_EQ(calls, (std::vector<Call>{{5, 4352, 6, 0}}));
    takeAndRelease();
    takeAndRelease();
    qeSO_SELockSharedStarveExclusive(lock, 0);
    qeSO_SELockRelease(lock);
    EXPECT_EQ(calls, (std::vector<Call>(4, Call{5, 4352, 6, 0})));
    EXPECT_EQ(imageOf(lock).registrations, 1u);
    EXPECT_EQ(qeSO_SELockExclusiveUnnotify(lock, goOn, 5, 6), 0) << "it does not let itself be withdrawn";
    delete reinterpret_cast<NotifyRegistration *>(lock->registrations);
}

TEST_F(LockNotify, TheWalkStopsAtTheFirstZero_Kept) {
    qeSO_SELockSharedWaitForExclusive(lock, 0);
    registerCallback(done, 1, 0);
    registerCallback(done, 2, 0);
    registerCallback(goOn, 3, 0);
    qeSO_SELockRelease(lock);
    EXPECT_EQ(calls, (std::vector<Call>{{3, 4352, 0, 0}, {2, 4352, 0, 0}})) << "the latest first";
    EXPECT_EQ(imageOf(lock).registrations, 2u);
    takeAndRelease();
    EXPECT_EQ(calls.size(), 4u);
    EXPECT_EQ(calls.back(), (Call{1, 4352, 0, 0}));
    takeAndRelease();
    EXPECT_EQ(calls.size(), 5u);
    EXPECT_EQ(calls.back(), (Call{3, 4352, 0, 0}));
    delete reinterpret_cast<NotifyRegistration *>(lock->registrations);
}

TEST_F(LockNotify, HandOver_CallsNobody) {
    qeSO_SELockExclusive(lock, 0);
    registerCallback(done, 1, 0);
    {
        AttachedThread writer([this] {
            EXPECT_EQ(qeSO_SELockExclusive(lock, 1), 1);
            EXPECT_TRUE(calls.empty());
            qeSO_SELockRelease(lock);
        });
        ASSERT_TRUE(waitersAre(lock, 1, 0));
        AttachedThread reader([this] {
            EXPECT_EQ(qeSO_SELockSharedWaitForExclusive(lock, 1), 1);
            EXPECT_TRUE(calls.empty());
            qeSO_SELockRelease(lock);
        });
        ASSERT_TRUE(waitersAre(lock, 1, 1));
        qeSO_SELockRelease(lock);
    }
    EXPECT_EQ(calls.size(), 1u) << "once all are through";
}

TEST_F(LockNotify, NullCallback_IsNotRegistered) {
    qeSO_SELockExclusive(lock, 0);
    registerCallback(nullptr, 1, 2);
    EXPECT_EQ(imageOf(lock).registrations, 0u);
    qeSO_SELockRelease(lock);
    EXPECT_EQ(qeSO_SELockExclusiveNotify(lock, nullptr, 0, 0), 1) << "there is nothing to call back for";
    qeSO_SELockRelease(lock);
}

qeSELock *lockOfCallback = nullptr;

TEST_F(LockNotify, CallbacksRunUnderTheSpinLock_Kept) {
    lockOfCallback = lock;
    const qeSONotify expectHeld = [](uint32_t, uint32_t event, uint32_t, uint32_t) -> uint32_t {
        EXPECT_EQ(int32_t{lockOfCallback->spinLock}, 1);
        EXPECT_EQ(lockOfCallback->count, event == 4352 ? 0 : 1);
        return event == 4352 ? 0 : 1;
    };
    qeSO_SELockExclusive(lock, 0);
    registerCallback(expectHeld, 0, 0);
    EXPECT_EQ(qeSO_SELockExclusiveUnnotify(lock, expectHeld, 0, 0), 0);
    qeSO_SELockRelease(lock);
    expectFree();
}

TEST_F(LockNotify, CallbackThatThrows_LeavesTheLockUsable) {
    const qeSONotify thrower = [](uint32_t, uint32_t, uint32_t, uint32_t) -> uint32_t {
        throw std::runtime_error("callback");
    };
    qeSO_SELockExclusive(lock, 0);
    registerCallback(thrower, 0, 0);
    EXPECT_THROW(qeSO_SELockRelease(lock), std::runtime_error);
    expectFree();
    EXPECT_EQ(qeSO_SELockExclusive(lock, 0), 1);
    EXPECT_EQ(imageOf(lock).registrations, 1u);
    delete reinterpret_cast<NotifyRegistration *>(lock->registrations);
    lock->registrations = nullptr;
    qeSO_SELockRelease(lock);
}

TEST_F(LockNotify, Unnotify_WithdrawsTheOneThatMatchesInAll) {
    qeSO_SELockExclusive(lock, 0);
    registerCallback(done, 1, 2);
    const std::unique_ptr<NotifyRegistration> withdrawn(reinterpret_cast<NotifyRegistration *>(lock->registrations));
    EXPECT_EQ(qeSO_SELockExclusiveUnnotify(lock, goOn, 1, 2), 0);
    EXPECT_EQ(qeSO_SELockExclusiveUnnotify(lock, done, 3, 2), 0);
    EXPECT_EQ(qeSO_SELockExclusiveUnnotify(lock, done, 1, 3), 0);
    EXPECT_EQ(qeSO_SELockExclusiveUnnotify(lock, nullptr, 1, 2), 0);
    EXPECT_TRUE(calls.empty());
    EXPECT_EQ(qeSO_SELockExclusiveUnnotify(lock, done, 1, 2), 1);
    EXPECT_EQ(calls, (std::vector<Call>{{1, 4354, 2, 0}}));
    EXPECT_EQ(imageOf(lock).registrations, 0u);
    EXPECT_EQ(qeSO_SELockExclusiveUnnotify(lock, done, 1, 2), 0);
    qeSO_SELockRelease(lock);
    EXPECT_EQ(calls.size(), 1u);
}

// What a withdrawal leaves on the heap is freed here: were it freed there, the sanitizers would see it freed twice.
TEST_F(LockNotify, WithdrawnRegistration_IsNotFreed_Kept) {
    qeSO_SELockExclusive(lock, 0);
    registerCallback(done, 1, 2);
    std::unique_ptr<NotifyRegistration> withdrawn(reinterpret_cast<NotifyRegistration *>(lock->registrations));
    ASSERT_EQ(qeSO_SELockExclusiveUnnotify(lock, done, 1, 2), 1);
    EXPECT_EQ(withdrawn->callback, done);
    EXPECT_EQ(withdrawn->first, 1u);
    EXPECT_EQ(withdrawn->second, 2u);
    qeSO_SELockRelease(lock);
}

uint32_t refuseLater(uint32_t first, uint32_t event, uint32_t second, uint32_t zero) {
    calls.push_back({first, event, second, zero});
    return event == 4354 && calls.size() < 3 ? 1 : 0; // agrees when it is asked for the third time
}

TEST_F(LockNotify, Unnotify_GoesOnWhereACallbackRefuses) {
    qeSO_SELockExclusive(lock, 0);
    registerCallback(refuseLater, 1, 2); // queued first, so walked last
    const std::unique_ptr<NotifyRegistration> withdrawn(reinterpret_cast<NotifyRegistration *>(lock->registrations));
    registerCallback(done, 8, 9);
    registerCallback(refuseLater, 1, 2);
    registerCallback(refuseLater, 1, 2);
    EXPECT_EQ(qeSO_SELockExclusiveUnnotify(lock, refuseLater, 1, 2), 1);
    EXPECT_EQ(calls, (std::vector<Call>(3, Call{1, 4354, 2, 0})));
    EXPECT_EQ(imageOf(lock).registrations, 3u);
    qeSO_SELockRelease(lock);
    for (int left = 0; left < 2; ++left)
        takeAndRelease();
    EXPECT_EQ(imageOf(lock).registrations, 0u);
    EXPECT_EQ(calls.size(), 6u);
    EXPECT_EQ(calls[5], (Call{8, 4352, 9, 0}));
}

uint32_t endThreadAtFirst(uint32_t first, uint32_t event, uint32_t second, uint32_t zero) {
    calls.push_back({first, event, second, zero});
    if (calls.size() == 1)
        pthread_exit(nullptr);
    return 0;
}

void *releaseAndEnd(void *lock) {
    qeSO_SELockRelease(static_cast<qeSELock *>(lock));
    return lock; // not reached
}

TEST_F(LockNotify, CallbackThatEndsItsThread_LeavesTheSpinLockFree) {
    EXPECT_EQ(qeSO_SELockExclusive(lock, 0), 1);
    registerCallback(endThreadAtFirst, 1, 2);
    pthread_t thread;
    void *result = this;
    ASSERT_EQ(pthread_create(&thread, nullptr, releaseAndEnd, lock), 0);
    ASSERT_EQ(pthread_join(thread, &result), 0);
    EXPECT_EQ(result, nullptr);
    ASSERT_EQ(imageOf(lock).registrations, 1u) << "not served; and the look takes the spin lock";
    takeAndRelease();
    EXPECT_EQ(imageOf(lock).registrations, 0u);
    EXPECT_EQ(calls.size(), 2u);
}

} // namespace
