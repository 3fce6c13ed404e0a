// The shared/exclusive lock without waiting: what each request gets, and what the record says afterwards.

#include "tests/lists_locks/lock_support.h"

#include <thread>

#include <unistd.h>

namespace {

using namespace zor;
using namespace zor::test;

TEST_F(LockTest, NewLock_IsCleared) {
    EXPECT_EQ(lock->spinLock, 0);
    EXPECT_EQ(imageOf(lock), (LockImage{noThread(), 0, 0, 0, 0, 0, 1}));
}

TEST(Lock, NullLock_IsRefused) {
    EXPECT_EQ(qeSO_SELockCreate(nullptr), 0x80000008u);
    qeSO_Release(nullptr);
    for (int32_t wait : {0, 1}) {
        EXPECT_EQ(qeSO_SELockExclusive(nullptr, wait), 0);
        EXPECT_EQ(qeSO_SELockSharedStarveExclusive(nullptr, wait), 0);
        EXPECT_EQ(qeSO_SELockSharedWaitForExclusive(nullptr, wait), 0);
        EXPECT_EQ(qeSO_SELock(nullptr, 0, wait), 0);
        EXPECT_EQ(qeSO_SELock(nullptr, 1, wait), 0);
    }
    qeSO_SELockExclusiveToShared(nullptr);
    qeSO_SELockRelease(nullptr);
    EXPECT_EQ(qeSO_SELockExclusiveNotify(nullptr, nullptr, 0, 0), 0);
    EXPECT_EQ(qeSO_SELockExclusiveUnnotify(nullptr, nullptr, 0, 0), 0);
}

TEST_F(LockTest, Exclusive_MakesTheCallerOwner) {
    EXPECT_EQ(qeSO_SELockExclusive(lock, 0), 1);
    EXPECT_EQ(imageOf(lock), (LockImage{qeSO_GetThread(), 1, 0, 0, 0, getpid(), 2}));
    qeSO_SELockRelease(lock);
    EXPECT_EQ(imageOf(lock), (LockImage{noThread(), 0, 0, 0, 0, getpid(), 4}));
}

TEST_F(LockTest, ExclusiveTwice_NeedsTwoReleases) {
    EXPECT_EQ(qeSO_SELockExclusive(lock, 1), 1);
    EXPECT_EQ(qeSO_SELockExclusive(lock, 1), 1);
    EXPECT_EQ(imageOf(lock), (LockImage{qeSO_GetThread(), 2, 0, 0, 0, getpid(), 2}));
    qeSO_SELockRelease(lock);
    EXPECT_EQ(imageOf(lock), (LockImage{qeSO_GetThread(), 1, 0, 0, 0, getpid(), 2}));
    onAnotherThread([this] { EXPECT_EQ(qeSO_SELockExclusive(lock, 0), 0); });
    qeSO_SELockRelease(lock);
    expectFree();
    onAnotherThread([this] {
        EXPECT_EQ(qeSO_SELockExclusive(lock, 0), 1);
        qeSO_SELockRelease(lock);
    });
}

TEST_F(LockTest, HeldExclusively_RefusesOthersWithoutWaiting) {
    qeSO_SELockExclusive(lock, 0);
    const LockImage before = imageOf(lock);
    onAnotherThread([this] {
        EXPECT_EQ(qeSO_SELockExclusive(lock, 0), 0);
        EXPECT_EQ(qeSO_SELockSharedStarveExclusive(lock, 0), 0);
        EXPECT_EQ(qeSO_SELockSharedWaitForExclusive(lock, 0), 0);
        EXPECT_EQ(qeSO_SELock(lock, 0, 0), 0);
        EXPECT_EQ(qeSO_SELock(lock, 1, 0), 0);
    });
    EXPECT_EQ(imageOf(lock), before);
    qeSO_SELockRelease(lock);
}

TEST_F(LockTest, Shared_IsCountedAndHasNoOwner) {
    EXPECT_EQ(qeSO_SELockSharedStarveExclusive(lock, 0), 1);
    EXPECT_EQ(imageOf(lock), (LockImage{noThread(), 1, 0, 0, 0, 0, 1}));
    onAnotherThread([this] {
        EXPECT_EQ(qeSO_SELockSharedWaitForExclusive(lock, 0), 1);
        EXPECT_EQ(imageOf(lock), (LockImage{noThread(), 2, 0, 0, 0, 0, 1}));
        EXPECT_EQ(qeSO_SELockExclusive(lock, 0), 0);
        qeSO_SELockRelease(lock);
    });
    EXPECT_EQ(imageOf(lock), (LockImage{noThread(), 1, 0, 0, 0, 0, 1}));
    qeSO_SELockRelease(lock);
    EXPECT_EQ(imageOf(lock), (LockImage{noThread(), 0, 0, 0, 0, 0, 4}));
}

TEST_F(LockTest, SharedHold_IsNotRaisedToExclusive) {
    qeSO_SELockSharedWaitForExclusive(lock, 0);
    EXPECT_EQ(qeSO_SELockExclusive(lock, 0), 0);
    qeSO_SELockRelease(lock);
}

TEST_F(LockTest, OwnerMayAlsoShare) {
    qeSO_SELockExclusive(lock, 0);
    EXPECT_EQ(qeSO_SELockSharedStarveExclusive(lock, 1), 1);
    EXPECT_EQ(qeSO_SELockSharedWaitForExclusive(lock, 1), 1);
    EXPECT_EQ(imageOf(lock), (LockImage{qeSO_GetThread(), 3, 0, 0, 0, getpid(), 2}));
    for (int hold = 0; hold < 3; ++hold)
        qeSO_SELockRelease(lock);
    expectFree();
}

TEST_F(LockTest, SELock_ChoosesByItsFlag) {
    EXPECT_EQ(qeSO_SELock(lock, -1, 0), 1);
    EXPECT_EQ(imageOf(lock).owner, qeSO_GetThread());
    qeSO_SELockRelease(lock);
    EXPECT_EQ(qeSO_SELock(lock, 0, 0), 1);
    EXPECT_EQ(imageOf(lock).owner, noThread());
    EXPECT_EQ(imageOf(lock).count, 1);
    qeSO_SELockRelease(lock);
}

TEST_F(LockTest, Conversion_KeepsTheCallersHoldsAsShared) {
    qeSO_SELockExclusive(lock, 0);
    qeSO_SELockExclusive(lock, 0);
    qeSO_SELockExclusiveToShared(lock);
    EXPECT_EQ(imageOf(lock), (LockImage{noThread(), 2, 0, 0, 0, getpid(), 3}));
    onAnotherThread([this] {
        EXPECT_EQ(qeSO_SELockExclusive(lock, 0), 0);
        EXPECT_EQ(qeSO_SELockSharedWaitForExclusive(lock, 0), 1);
        qeSO_SELockRelease(lock);
    });
    EXPECT_EQ(qeSO_SELockExclusive(lock, 0), 0) << "the converting thread is no owner any more";
    qeSO_SELockRelease(lock);
    EXPECT_EQ(imageOf(lock).count, 1);
    qeSO_SELockRelease(lock);
    expectFree();
}

TEST_F(LockTest, Conversion_ByAnybody_TakesTheOwnership_Kept) {
    qeSO_SELockExclusive(lock, 0);
    onAnotherThread([this] { qeSO_SELockExclusiveToShared(lock); });
    EXPECT_EQ(imageOf(lock), (LockImage{noThread(), 1, 0, 0, 0, getpid(), 3}));
    qeSO_SELockRelease(lock);
    expectFree();
    qeSO_SELockExclusiveToShared(lock);
    EXPECT_EQ(imageOf(lock), (LockImage{noThread(), 0, 0, 0, 0, getpid(), 3}));
}

TEST_F(LockTest, ReleaseOfAFreeLock_DoesNothing) {
    const LockImage before = imageOf(lock);
    qeSO_SELockRelease(lock);
    EXPECT_EQ(imageOf(lock), before);
    EXPECT_EQ(qeSO_SELockExclusive(lock, 0), 1);
    qeSO_SELockRelease(lock);
}

TEST_F(LockTest, ReleaseByAnotherThread_Counts) {
    qeSO_SELockExclusive(lock, 0);
    onAnotherThread([this] { qeSO_SELockRelease(lock); });
    expectFree();
}

// A thread without a token: it may take what is free, but it is nobody's owner and has nothing to sleep on.
class UnattachedThread : public LockTest, public ::testing::WithParamInterface<bool> {
protected:
    void onUnattachedThread(std::function<void()> body) {
        std::thread([&] {
            if (GetParam())
                qeSO_ThreadAttachX();
            body();
            qeSO_ThreadDetachX();
        }).join();
    }

    void expectRefused(int32_t (*request)(qeSELock *, int32_t)) {
        const LockImage before = imageOf(lock);
        nErrno = 0;
        EXPECT_EQ(request(lock, 0), 0);
        EXPECT_EQ(nErrno, 0);
        EXPECT_EQ(request(lock, 1), 0) << "it must not wait";
        EXPECT_EQ(nErrno, 22);
        EXPECT_EQ(imageOf(lock), before);
    }
};

INSTANTIATE_TEST_SUITE_P(Both, UnattachedThread, ::testing::Bool(),
                         [](const auto &test) { return test.param ? "AttachedX" : "NeverAttached"; });

TEST_P(UnattachedThread, TakesAFreeLock) {
    onUnattachedThread([this] {
        EXPECT_EQ(qeSO_SELockExclusive(lock, 1), 1);
        EXPECT_EQ(imageOf(lock), (LockImage{noThread(), 1, 0, 0, 0, getpid(), 2}));
        qeSO_SELockRelease(lock);
        expectFree();
        EXPECT_EQ(qeSO_SELockSharedStarveExclusive(lock, 1), 1);
        EXPECT_EQ(qeSO_SELockSharedWaitForExclusive(lock, 1), 1);
        qeSO_SELockRelease(lock);
        qeSO_SELockRelease(lock);
    });
    expectFree();
}

TEST_P(UnattachedThread, OwnsNothing) {
    onUnattachedThread([this] {
        EXPECT_EQ(qeSO_SELockExclusive(lock, 0), 1);
        expectRefused(qeSO_SELockExclusive);
        EXPECT_EQ(qeSO_SELockExclusiveNotify(lock, nullptr, 0, 0), 0);
        qeSO_SELockRelease(lock);
    });
    expectFree();
}

// Kept: its exclusive hold counts as one without an owner, so readers get in beside it.
TEST_P(UnattachedThread, ExclusiveHoldHasNoOwner_ReadersEnter_Kept) {
    onUnattachedThread([this] {
        EXPECT_EQ(qeSO_SELockExclusive(lock, 0), 1);
        onAnotherThread([this] {
            EXPECT_EQ(qeSO_SELockExclusive(lock, 0), 0);
            EXPECT_EQ(qeSO_SELockSharedStarveExclusive(lock, 0), 1);
            qeSO_SELockRelease(lock);
        });
        qeSO_SELockRelease(lock);
    });
    expectFree();
}

TEST_P(UnattachedThread, DoesNotEnterBesideHolders) {
    qeSO_SELockExclusive(lock, 0);
    onUnattachedThread([this] {
        expectRefused(qeSO_SELockExclusive);
        expectRefused(qeSO_SELockSharedStarveExclusive);
        expectRefused(qeSO_SELockSharedWaitForExclusive);
    });
    qeSO_SELockExclusiveToShared(lock);
    onUnattachedThread([this] { expectRefused(qeSO_SELockExclusive); });
    qeSO_SELockRelease(lock);
    expectFree();
}

TEST_P(UnattachedThread, DoesNotOvertakeAQueuedWriter) {
    qeSO_SELockSharedWaitForExclusive(lock, 0);
    AttachedThread writer(exclusively('w'));
    ASSERT_TRUE(waitersAre(lock, 1, 0));
    onUnattachedThread([this] { expectRefused(qeSO_SELockSharedWaitForExclusive); });
    qeSO_SELockRelease(lock);
    writer.join();
    expectFree();
}

} // namespace
