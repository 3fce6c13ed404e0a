// The shared/exclusive lock with waiting threads: who is served when, and that nothing but a hand-over ends a wait. A
// test goes on when the record shows that a thread has queued.

#include "source/portability/handles.h"
#include "tests/lists_locks/lock_support.h"
#include "tests/support/child.h"

#include <atomic>
#include <memory>

#include <pthread.h>
#include <unistd.h>

namespace {

using namespace zor;
using namespace zor::test;

using LockWaiting = LockTest;

TEST_F(LockWaiting, QueuedWriter_HoldsNewReadersOff_ByPolicy) {
    ASSERT_EQ(qeSO_SELockSharedWaitForExclusive(lock, 0), 1);
    AttachedThread writer(exclusively('w'));
    ASSERT_TRUE(waitersAre(lock, 1, 0));
    EXPECT_EQ(qeSO_SELockSharedWaitForExclusive(lock, 0), 0);
    EXPECT_EQ(qeSO_SELock(lock, 0, 0), 0);
    EXPECT_EQ(qeSO_SELockSharedStarveExclusive(lock, 0), 1);
    qeSO_SELockRelease(lock);
    EXPECT_EQ(served, "");
    qeSO_SELockRelease(lock);
    writer.join();
    EXPECT_EQ(served, "w");
    expectFree();
}

// Kept: as long as readers of this kind overlap, a writer waits.
TEST_F(LockWaiting, StarvingReaders_KeepAWriterOut_Kept) {
    ASSERT_EQ(qeSO_SELockSharedStarveExclusive(lock, 1), 1);
    AttachedThread writer(exclusively('w'));
    ASSERT_TRUE(waitersAre(lock, 1, 0));
    for (int reader = 0; reader < 100; ++reader) {
        ASSERT_EQ(qeSO_SELockSharedStarveExclusive(lock, 1), 1);
        qeSO_SELockRelease(lock);
    }
    EXPECT_TRUE(waitersAre(lock, 1, 0));
    EXPECT_EQ(imageOf(lock).count, 1);
    qeSO_SELockRelease(lock);
}

TEST_F(LockWaiting, Writers_AreServedLastInFirstOut_Kept) {
    qeSO_SELockSharedWaitForExclusive(lock, 0);
    std::vector<std::unique_ptr<AttachedThread>> writers;
    for (char name : {'1', '2', '3', '4'}) {
        writers.push_back(std::make_unique<AttachedThread>(exclusively(name)));
        ASSERT_TRUE(waitersAre(lock, writers.size(), 0));
    }
    qeSO_SELockRelease(lock);
    writers.clear();
    EXPECT_EQ(served, "4321");
    expectFree();
}

TEST_F(LockWaiting, HandedOverLock_NamesItsNewOwner) {
    qeSO_SELockExclusive(lock, 0);
    {
        AttachedThread writer([this] {
            EXPECT_EQ(qeSO_SELockExclusive(lock, 1), 1);
            EXPECT_EQ(imageOf(lock), (LockImage{qeSO_GetThread(), 1, 0, 0, 0, getpid(), 5}));
            EXPECT_EQ(qeSO_SELockExclusive(lock, 0), 1) << "it is the owner and may take it again";
            EXPECT_EQ(imageOf(lock).state, 5);
            qeSO_SELockRelease(lock);
            qeSO_SELockRelease(lock);
        });
        ASSERT_TRUE(waitersAre(lock, 1, 0));
        qeSO_SELockRelease(lock);
    }
    expectFree();
    EXPECT_EQ(imageOf(lock).state, 4);
}

/** Readers that meet inside the lock: each waits until all hold it at once. */
class Readers {
public:
    Readers(qeSELock *lock, int count) : m_lock(lock), m_expected(count) {
        for (int reader = 0; reader < count; ++reader)
            m_threads.push_back(std::make_unique<AttachedThread>([this] { meet(); }));
    }
    int together() const { return m_inside; }

private:
    void meet() {
        EXPECT_EQ(qeSO_SELockSharedWaitForExclusive(m_lock, 1), 1);
        ++m_inside;
        EXPECT_TRUE(eventually([this] { return m_inside == m_expected; }));
        qeSO_SELockRelease(m_lock);
    }

    qeSELock *m_lock;
    int m_expected;
    std::atomic<int> m_inside{0};
    std::vector<std::unique_ptr<AttachedThread>> m_threads;
};

TEST_F(LockWaiting, QueuedReaders_AreAdmittedAtOnce) {
    qeSO_SELockExclusive(lock, 0);
    {
        Readers readers(lock, 4);
        ASSERT_TRUE(waitersAre(lock, 0, 4));
        qeSO_SELockRelease(lock);
        EXPECT_TRUE(eventually([&] { return readers.together() == 4; }));
    }
    expectFree();
    EXPECT_EQ(imageOf(lock).state, 4);
}

TEST_F(LockWaiting, Conversion_AdmitsQueuedReaders_WriterStaysQueued_Kept) {
    qeSO_SELockExclusive(lock, 0);
    AttachedThread writer(exclusively('w'));
    ASSERT_TRUE(waitersAre(lock, 1, 0));
    {
        Readers readers(lock, 3);
        ASSERT_TRUE(waitersAre(lock, 1, 3));
        qeSO_SELockExclusiveToShared(lock);
        EXPECT_TRUE(eventually([&] { return readers.together() == 3; }));
    }
    const LockImage image = imageOf(lock);
    EXPECT_EQ(image.count, 1) << "the converting thread's own hold";
    EXPECT_EQ(image.state, 3);
    EXPECT_EQ(image.exclusiveWaiters, 1u);
    EXPECT_EQ(served, "");
    qeSO_SELockRelease(lock);
    writer.join();
    EXPECT_EQ(served, "w");
}

TEST_F(LockWaiting, WritersGoBeforeReaders) {
    qeSO_SELockExclusive(lock, 0);
    AttachedThread reader([this] {
        EXPECT_EQ(qeSO_SELockSharedStarveExclusive(lock, 1), 1);
        EXPECT_EQ(served, "21");
        qeSO_SELockRelease(lock);
    });
    ASSERT_TRUE(waitersAre(lock, 0, 1));
    AttachedThread first(exclusively('1'));
    ASSERT_TRUE(waitersAre(lock, 1, 1));
    AttachedThread second(exclusively('2'));
    ASSERT_TRUE(waitersAre(lock, 2, 1));
    qeSO_SELockRelease(lock);
    reader.join();
}

// The record of a waiter that only this test knows: its event's guard is held, so that the hand-over stands still
// between the clearing of the flag and the setting of the event.
TEST_F(LockWaiting, HandOver_IsCompleteBeforeTheEventIsSet) {
    const HANDLE event = qelCreateEvent(nullptr, 1, 0, nullptr);
    ASSERT_NE(event, nullptr);
    WaitRecord waiter{{}, event, getpid() + 1, 1};
    qeSO_SELockExclusive(lock, 0);
    qeLL_XInsertHead(&lock->exclusiveWaiters, &waiter.link);

    pthread_mutex_lock(&recordOf(event).guard);
    AttachedThread releaser([this] { qeSO_SELockRelease(lock); });
    EXPECT_TRUE(eventually([&] { return __atomic_load_n(&waiter.waiting, __ATOMIC_ACQUIRE) == 0; }));
    EXPECT_FALSE(isSignalled(recordOf(event)));
    EXPECT_EQ(lock->owner, event);
    EXPECT_EQ(lock->count, 1);
    EXPECT_EQ(lock->state, 5);
    EXPECT_EQ(lock->lastProcessId, getpid() + 1) << "the waiter's, as its record has it";
    pthread_mutex_unlock(&recordOf(event).guard);
    releaser.join();
    EXPECT_TRUE(isSignalled(recordOf(event)));

    qeSO_SELockRelease(lock);
    expectFree();
    qelCloseHandle(event);
}

// A waiter that only this test knows: a thread would sleep for ever.
TEST_F(LockWaiting, Release_LooksAtNeitherWaitersNorRegistrations_Kept) {
    const HANDLE event = qelCreateEvent(nullptr, 1, 0, nullptr);
    ASSERT_NE(event, nullptr);
    WaitRecord waiter{{}, event, getpid(), 1};
    static int calls;
    calls = 0;
    const qeSONotify callback = [](uint32_t, uint32_t, uint32_t, uint32_t) -> uint32_t { return ++calls, 0; };
    qeSELock *released = nullptr;
    ASSERT_EQ(qeSO_SELockCreate(&released), 0u);
    ASSERT_EQ(qeSO_SELockExclusive(released, 0), 1);
    onAnotherThread([=] { EXPECT_EQ(qeSO_SELockExclusiveNotify(released, callback, 1, 2), 0); });
    const std::unique_ptr<NotifyRegistration> left(reinterpret_cast<NotifyRegistration *>(released->registrations));
    ASSERT_NE(left, nullptr);
    qeLL_XInsertHead(&released->exclusiveWaiters, &waiter.link);

    qeSO_Release(released);
    EXPECT_EQ(waiter.waiting, 1);
    EXPECT_FALSE(isSignalled(recordOf(event)));
    EXPECT_EQ(calls, 0);
    EXPECT_EQ(left->callback, callback) << "still on the heap; the sanitizers watch";
    qelCloseHandle(event);
}

TEST_F(LockWaiting, StrayEvent_DoesNotEndAWait) {
    qeSO_SELockExclusive(lock, 0);
    for (auto queue : {&qeSELock::exclusiveWaiters, &qeSELock::sharedWaiters}) {
        const bool exclusive = queue == &qeSELock::exclusiveWaiters;
        std::atomic<bool> returned{false};
        AttachedThread waiter([&] {
            EXPECT_EQ(qeSO_SELock(lock, exclusive, 1), 1);
            returned = true;
            qeSO_SELockRelease(lock);
        });
        ASSERT_TRUE(waitersAre(lock, exclusive, !exclusive));
        const HANDLE event = latestWaiter(lock, queue);
        for (int stray = 0; stray < 20; ++stray) {
            qelSetEvent(event);
            EXPECT_TRUE(eventually([&] { return !isSignalled(recordOf(event)); })) << "woken, looked, went on waiting";
        }
        EXPECT_FALSE(returned);
        EXPECT_TRUE(waitersAre(lock, exclusive, !exclusive));
        qeSO_SELockRelease(lock);
        waiter.join();
        qeSO_SELockExclusive(lock, 0);
    }
    qeSO_SELockRelease(lock);
}

TEST_F(LockWaiting, EventSetBeforeTheRequest_DoesNotEndTheWait) {
    qeSO_SELockExclusive(lock, 0);
    std::atomic<bool> returned{false};
    AttachedThread waiter([&] {
        qelSetEvent(qeSO_GetThread());
        EXPECT_EQ(qeSO_SELockExclusive(lock, 1), 1);
        returned = true;
        EXPECT_EQ(qelWaitForSingleObject(qeSO_GetThread(), 0), 3u) << "the event is left reset";
        qeSO_SELockRelease(lock);
    });
    ASSERT_TRUE(waitersAre(lock, 1, 0));
    const HANDLE event = latestWaiter(lock, &qeSELock::exclusiveWaiters);
    EXPECT_TRUE(eventually([&] { return !isSignalled(recordOf(event)); }));
    EXPECT_FALSE(returned);
    qeSO_SELockRelease(lock);
}

// The waiter returns, releases, detaches and frees what the waker has just touched: the sanitizers watch.
TEST_F(LockWaiting, WaiterMayEndAtOnce) {
    for (int round = 0; round < 200; ++round) {
        qeSO_SELockExclusive(lock, 1);
        AttachedThread writer(exclusively('w'));
        AttachedThread reader([this] {
            EXPECT_EQ(qeSO_SELockSharedWaitForExclusive(lock, 1), 1);
            qeSO_SELockRelease(lock);
        });
        if (round % 2 == 0) {
            ASSERT_TRUE(waitersAre(lock, 1, 1));
        }
        qeSO_SELockRelease(lock);
    }
    expectFree();
    EXPECT_EQ(served.size(), 200u);
}

/** An attached thread that can be cancelled in its wait. */
class CancellableThread {
public:
    CancellableThread(qeSELock *lock, bool exclusive) : m_lock(lock), m_exclusive(exclusive) {
        EXPECT_EQ(pthread_create(&m_thread, nullptr, run, this), 0);
    }
    ~CancellableThread() { pthread_join(m_thread, nullptr); }
    CancellableThread(const CancellableThread &) = delete;
    CancellableThread &operator=(const CancellableThread &) = delete;

    void cancel() { pthread_cancel(m_thread); }
    bool hasReturned() const { return m_returned; }

private:
    static void detach(void *) { qeSO_ThreadDetach(); }
    static void *run(void *argument) {
        static_cast<CancellableThread *>(argument)->wait();
        return nullptr;
    }
    void wait() {
        qeSO_ThreadAttach();
        pthread_cleanup_push(detach, nullptr);
        EXPECT_EQ(qeSO_SELock(m_lock, m_exclusive, 1), 1);
        m_returned = true;
        qeSO_SELockRelease(m_lock);
        pthread_cleanup_pop(1);
    }

    qeSELock *m_lock;
    bool m_exclusive;
    std::atomic<bool> m_returned{false};
    pthread_t m_thread{};
};

TEST_F(LockWaiting, CancelledWaiter_LeavesTheQueue) {
    ZORCOMN_SKIP_WITHOUT_CANCELLATION();
    for (size_t cancelled : {0u, 1u, 2u}) {
        served.clear();
        qeSO_SELockExclusive(lock, 0);
        std::vector<std::unique_ptr<CancellableThread>> waiters;
        for (size_t waiter = 0; waiter < 3; ++waiter) {
            waiters.push_back(std::make_unique<CancellableThread>(lock, true));
            ASSERT_TRUE(waitersAre(lock, waiters.size(), 0));
        }
        waiters[cancelled]->cancel();
        ASSERT_TRUE(waitersAre(lock, 2, 0));
        EXPECT_FALSE(waiters[cancelled]->hasReturned());
        EXPECT_EQ(imageOf(lock).owner, qeSO_GetThread());
        qeSO_SELockRelease(lock);
        waiters.clear();
        expectFree();
    }
}

TEST_F(LockWaiting, CancelledReader_LeavesTheQueue) {
    ZORCOMN_SKIP_WITHOUT_CANCELLATION();
    qeSO_SELockExclusive(lock, 0);
    {
        CancellableThread reader(lock, false);
        ASSERT_TRUE(waitersAre(lock, 0, 1));
        reader.cancel();
    }
    EXPECT_TRUE(waitersAre(lock, 0, 0));
    EXPECT_EQ(imageOf(lock).count, 1);
    qeSO_SELockRelease(lock);
    expectFree();
}

TEST_F(LockWaiting, ReadersBehindACancelledWriter_GoAhead) {
    ZORCOMN_SKIP_WITHOUT_CANCELLATION();
    qeSO_SELockSharedWaitForExclusive(lock, 0);
    {
        CancellableThread writer(lock, true);
        ASSERT_TRUE(waitersAre(lock, 1, 0));
        Readers readers(lock, 2);
        ASSERT_TRUE(waitersAre(lock, 1, 2));
        writer.cancel();
        EXPECT_TRUE(eventually([&] { return readers.together() == 2; }));
    }
    EXPECT_EQ(imageOf(lock).count, 1);
    qeSO_SELockRelease(lock);
    expectFree();
}

TEST_F(LockWaiting, ReadersBehindTwoWriters_WaitForTheOtherOne) {
    ZORCOMN_SKIP_WITHOUT_CANCELLATION();
    qeSO_SELockSharedWaitForExclusive(lock, 0);
    AttachedThread other(exclusively('w'));
    ASSERT_TRUE(waitersAre(lock, 1, 0));
    CancellableThread cancelled(lock, true);
    ASSERT_TRUE(waitersAre(lock, 2, 0));
    AttachedThread reader([this] {
        EXPECT_EQ(qeSO_SELockSharedWaitForExclusive(lock, 1), 1);
        EXPECT_EQ(served, "w");
        qeSO_SELockRelease(lock);
    });
    ASSERT_TRUE(waitersAre(lock, 2, 1));
    cancelled.cancel();
    EXPECT_TRUE(waitersAre(lock, 1, 1)) << "the reader still waits for the other writer";
    qeSO_SELockRelease(lock);
}

// Cancelled when the lock is already its own, but before it could return: the guard of its event, held here, keeps the
// hand-over and the end of the sleep apart. Whether the thread was asleep by then is its own affair, hence the rounds.
TEST_F(LockWaiting, CancelledAfterTheHandOver_HandsTheLockOn) {
    ZORCOMN_SKIP_WITHOUT_CANCELLATION();
    int handedOn = 0;
    for (int round = 0; round < 500 && handedOn < 3; ++round) {
        served.clear();
        qeSO_SELockExclusive(lock, 0);
        AttachedThread next(exclusively('n'));
        ASSERT_TRUE(waitersAre(lock, 1, 0));
        bool hasReturned = false;
        {
            CancellableThread cancelled(lock, round % 2 == 0);
            ASSERT_TRUE(round % 2 == 0 ? waitersAre(lock, 2, 0) : waitersAre(lock, 1, 1));
            auto queue = round % 2 == 0 ? &qeSELock::exclusiveWaiters : &qeSELock::sharedWaiters;
            auto *record = reinterpret_cast<WaitRecord *>(lock->*queue);
            const HANDLE event = record->token;
            qelSetEvent(event); // a look, after which it goes to sleep
            EXPECT_TRUE(eventually([&] { return !isSignalled(recordOf(event)); }));

            pthread_mutex_lock(&recordOf(event).guard);
            AttachedThread releaser([&] {
                if (round % 2 == 0)
                    qeSO_SELockRelease(lock);
                else
                    qeSO_SELockExclusiveToShared(lock);
            });
            EXPECT_TRUE(eventually([&] { return __atomic_load_n(&record->waiting, __ATOMIC_ACQUIRE) == 0; }));
            cancelled.cancel();
            pthread_mutex_unlock(&recordOf(event).guard);
            EXPECT_TRUE(eventually([&] { return imageOf(lock).count == (round % 2 == 0 ? 0 : 1); }));
            hasReturned = cancelled.hasReturned();
        }
        if (round % 2 != 0)
            qeSO_SELockRelease(lock); // the converted hold
        next.join();
        EXPECT_EQ(served, "n");
        expectFree();
        handedOn += hasReturned ? 0 : 1;
    }
    EXPECT_EQ(handedOn, 3);
}

} // namespace
