// What the lists and the lock do when memory or a system call fails, and that nothing is left behind.

#include "source/portability/handles.h"
#include "tests/lists_locks/lock_support.h"
#include "tests/support/child.h"
#include "tests/support/failing_calls.h"

#include <atomic>
#include <csignal>

namespace {

using namespace zor::test;

constexpr uint32_t kFailed = 0x80000008u;

TEST(ListFailures, LinkedListInit_WithoutMemory) {
    LinkedListNode node{};
    auto *list = reinterpret_cast<LinkedList *>(&node);
    FailingCall failing("calloc");
    EXPECT_EQ(LinkedList_Init(&list), 0);
    EXPECT_TRUE(failing.wasReached());
    EXPECT_EQ(list, nullptr);
}

template <class List> void expectCreationFailures(uint32_t (*create)(List **), uint32_t (*initialise)(List *)) {
    AllocationScope allocations;
    List own{};
    List *list = &own;
    {
        FailingCall failing("operator new", 1);
        EXPECT_EQ(create(&list), kFailed);
        EXPECT_TRUE(failing.wasReached());
        EXPECT_EQ(list, nullptr);
    }
    list = &own;
    {
        FailingCall failing("operator new", 2); // the lock's
        EXPECT_EQ(create(&list), 0u) << "kept: no list, yet no failure";
        EXPECT_TRUE(failing.wasReached());
        EXPECT_EQ(list, nullptr);
    }
    {
        FailingCall failing("operator new", 1);
        EXPECT_EQ(initialise(&own), kFailed);
        EXPECT_TRUE(failing.wasReached());
        EXPECT_EQ(own.lock, nullptr);
    }
    const size_t live = allocations.live();
    EXPECT_EQ(live, 0u);
}

TEST(ListFailures, StackWithoutMemory_Kept) {
    expectCreationFailures(qeSLL_Create, qeSLL_Init);
}

TEST(ListFailures, RowWithoutMemory_Kept) {
    expectCreationFailures(qeSLL2_Create, qeSLL2_Init);
}

TEST(ListFailures, ListsLeaveNothingBehind) {
    AllocationScope allocations;
    qeSLL *stack = nullptr;
    qeSLL2 *row = nullptr;
    qeSLL_Create(&stack);
    qeSLL2_Create(&row);
    qeSLL_Release(stack);
    qeSLL2_Release(row);
    const size_t live = allocations.live();
    EXPECT_EQ(live, 0u);
}

TEST(LockFailures, CreateWithoutMemory) {
    int other = 0;
    auto *lock = reinterpret_cast<qeSELock *>(&other);
    FailingCall failing("operator new");
    EXPECT_EQ(qeSO_SELockCreate(&lock), kFailed);
    EXPECT_TRUE(failing.wasReached());
    EXPECT_EQ(lock, nullptr);
}

TEST(LockFailures, ThreadAttach_ReportsEachFailureAndLeavesNothing) {
    ASSERT_LT(qeSO_ProcessAttach(), 512u);
    for (const char *call : {"operator new", "pthread_cond_init", "pthread_mutex_init", "pthread_setspecific"}) {
        SCOPED_TRACE(call);
        AllocationScope allocations;
        FailingCall failing(call);
        const uintptr_t attached = qeSO_ThreadAttach();
        const size_t live = allocations.live();
        EXPECT_EQ(attached, 0u);
        EXPECT_TRUE(failing.wasReached());
        EXPECT_EQ(live, 0u);
        EXPECT_EQ(qeSO_GetThread(), zor::noThread());
    }
    EXPECT_EQ(qeSO_ProcessDetach(), 1);
}

TEST(LockFailures, ThreadAttach_ThatCannotStore_RemembersNothing) {
    ASSERT_LT(qeSO_ProcessAttach(), 512u);
    AllocationScope allocations;
    uintptr_t attached;
    {
        FailingCall failing("pthread_setspecific", 2); // the index's, after the memory's
        attached = qeSO_ThreadAttach();
        EXPECT_TRUE(failing.wasReached());
    }
    const size_t live = allocations.live();
    EXPECT_EQ(attached, 0u);
    EXPECT_EQ(live, 0u);
    EXPECT_EQ(zor::lockToken(), zor::noThread());
    EXPECT_EQ(qeSO_ProcessDetach(), 1);
}

TEST(LockFailures, ThreadDetachThatCannotStore_LeavesTheThreadAttached) {
    qeSO_ProcessAttach();
    AllocationScope allocations;
    qeSO_ThreadAttach();
    const HANDLE token = qeSO_GetThread();
    {
        FailingCall failing("pthread_setspecific");
        EXPECT_EQ(qeSO_ThreadDetach(), 0);
        EXPECT_TRUE(failing.wasReached());
    }
    const size_t live = allocations.live();
    EXPECT_EQ(live, 1u) << "a token that stays is an event that stays";
    EXPECT_EQ(qeSO_GetThread(), token);
    EXPECT_EQ(qeSO_ThreadDetach(), 1);
    const size_t left = allocations.live();
    EXPECT_EQ(left, 0u);
    qeSO_ProcessDetach();
}

uint32_t done(uint32_t, uint32_t, uint32_t, uint32_t) {
    return 0;
}

TEST(LockFailures, RegistrationWithoutMemory_EndsTheProcess) {
    const ChildResult result = runInChild([] {
        qeSELock *lock = nullptr;
        qeSO_SELockCreate(&lock);
        qeSO_SELockExclusive(lock, 0); // unattached: a second request finds no owner
        FailingCall failing("operator new");
        return qeSO_SELockExclusiveNotify(lock, done, 0, 0);
    });
    EXPECT_FALSE(result.exited);
    EXPECT_EQ(result.code, SIGABRT) << result.output;
}

TEST(LockFailures, ServedRegistration_IsFreed) {
    qeSELock *lock = nullptr;
    qeSO_SELockCreate(&lock);
    qeSO_SELockExclusive(lock, 0);
    AllocationScope allocations;
    EXPECT_EQ(qeSO_SELockExclusiveNotify(lock, done, 0, 0), 0);
    const size_t registered = allocations.live();
    qeSO_SELockRelease(lock);
    const size_t live = allocations.live();
    EXPECT_EQ(registered, 1u);
    EXPECT_EQ(live, 0u);
    qeSO_Release(lock);
}

// A sleep that fails is no hand-over either. Whether the thread gets as far as its sleep is its own affair, hence the
// rounds.
TEST_F(LockTest, FailedSleep_DoesNotEndTheWait) {
    bool wasReached = false;
    for (int round = 0; round < 500 && !wasReached; ++round) {
        qeSO_SELockExclusive(lock, 0);
        std::atomic<bool> returned{false};
        AttachedThread waiter([&] {
            FailingCall failing("pthread_cond_wait");
            EXPECT_EQ(qeSO_SELockExclusive(lock, 1), 1);
            returned = true;
            wasReached = failing.wasReached();
            qeSO_SELockRelease(lock);
        });
        ASSERT_TRUE(waitersAre(lock, 1, 0));
        const HANDLE event = latestWaiter(lock, &qeSELock::exclusiveWaiters);
        qelSetEvent(event); // a look, after which it goes to sleep
        EXPECT_TRUE(eventually([&] { return !zor::isSignalled(zor::recordOf(event)); }));
        EXPECT_FALSE(returned);
        qeSO_SELockRelease(lock);
        waiter.join();
    }
    EXPECT_TRUE(wasReached);
}

} // namespace
