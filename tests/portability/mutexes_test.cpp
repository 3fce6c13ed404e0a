// Mutexes: owned by waiting, freed by release.

#include "tests/portability/handle_support.h"
#include "tests/support/eventually.h"

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace {

using namespace zor::test;

TEST(CreateMutex, InitialOwner_OwnsByExactly1) {
    const Handle owned(newMutex(1));
    EXPECT_EQ(zor::recordOf(owned).signalled, 0);
    EXPECT_EQ(pthread_mutex_trylock(static_cast<pthread_mutex_t *>(zor::recordOf(owned).objectData)), EBUSY);
    EXPECT_EQ(qelReleaseMutex(owned), 1);
    for (const int32_t initialOwner : {0, 2, -1}) {
        const Handle mutex(qelCreateMutex(nullptr, initialOwner, "the name does not matter"));
        EXPECT_EQ(zor::recordOf(mutex).type, 3);
        EXPECT_EQ(zor::recordOf(mutex).referenceCount, 1);
        EXPECT_EQ(zor::recordOf(mutex).signalled, 1) << initialOwner;
    }
}

TEST(Mutex, WaitOwnsAndReleaseFrees) {
    const Handle mutex(newMutex());
    EXPECT_EQ(qelWaitForSingleObject(mutex, kInfinite), 2u);
    EXPECT_EQ(zor::recordOf(mutex).signalled, 0);
    EXPECT_EQ(qelReleaseMutex(mutex), 1);
    EXPECT_EQ(zor::recordOf(mutex).signalled, 1);
    EXPECT_EQ(qelWaitForSingleObject(mutex, 0), 2u);
    EXPECT_EQ(qelReleaseMutex(mutex), 1);
}

TEST(Mutex, OwnerWaitingAgain_TimesOut_Kept) {
    const Handle mutex(newMutex(1));
    EXPECT_EQ(qelWaitForSingleObject(mutex, 20), 3u);
    EXPECT_EQ(qelReleaseMutex(mutex), 1) << "one release, however often it was waited for";
    EXPECT_EQ(qelWaitForSingleObject(mutex, 0), 2u);
    EXPECT_EQ(qelReleaseMutex(mutex), 1);
}

TEST(OpenMutex, AnyName_GivesNothing) {
    const Handle mutex(qelCreateMutex(nullptr, 0, "name"));
    for (const char *name : {static_cast<const char *>(nullptr), "", "name"})
        expectResult<HANDLE>(nullptr, kUntouched, [=] { return qelOpenMutex(0x1F0001, 1, name); });
}

TEST(ReleaseMutex, HandleZero_LeavesTheErrorCellAlone_Kept) {
    expectResult(0, kUntouched, [] { return qelReleaseMutex(nullptr); });
}

TEST(ReleaseMutex, WhatIsNoMutex_IsRefused) {
    const Handle event(newEvent());
    BareRecord file(0), odd(4);
    for (const HANDLE handle : {kAllOnes, HANDLE(event), file.handle(), odd.handle()})
        expectResult(0, 22, [=] { return qelReleaseMutex(handle); });
}

// Nobody but the owner lock itself would object, and it does not.
TEST(ReleaseMutex, ByAnotherThread_Succeeds_Kept) {
    if (kHasThreadSanitizer)
        GTEST_SKIP() << "the sanitizer reports this use of a mutex itself";
    const Handle mutex(newMutex(1));
    int32_t released = 0;
    std::thread([&] { released = qelReleaseMutex(mutex); }).join();
    EXPECT_EQ(released, 1);
    EXPECT_EQ(qelWaitForSingleObject(mutex, 0), 2u);
    EXPECT_EQ(qelReleaseMutex(mutex), 1);
}

TEST(Mutex, SetWhileOwned_StaysOwnedAndReleasable) {
    const Handle mutex(newMutex(1));
    EXPECT_EQ(qelSetEvent(mutex), 1);
    EXPECT_EQ(qelWaitForSingleObject(mutex, 20), 3u);
    std::atomic<uint32_t> result{0};
    std::thread waiter([&] {
        result = qelWaitForSingleObject(mutex, kInfinite);
        qelReleaseMutex(mutex);
    });
    EXPECT_EQ(qelReleaseMutex(mutex), 1);
    waiter.join();
    EXPECT_EQ(result, 2u);
}

// Each wake-up finds the mutex owned; none of them may begin the time-out anew.
TEST(Mutex, WokenAgainAndAgainWhileOwned_TimesOut) {
    const Handle mutex(newMutex(1));
    std::atomic<uint32_t> result{77};
    std::thread waiter([&] { result = qelWaitForSingleObject(mutex, 50); });
    EXPECT_TRUE(eventually([&] { return qelSetEvent(mutex) == 1 && result != 77; }));
    waiter.join();
    EXPECT_EQ(result, 3u);
    EXPECT_EQ(qelReleaseMutex(mutex), 1);
}

TEST(Mutex, TwoWaitersWokenByOneRelease_OwnItInTurn) {
    for (int round = 0; round < 50; ++round) {
        const Handle mutex(newMutex(1));
        std::atomic<int> owners{0};
        std::vector<std::thread> waiters;
        for (int waiter = 0; waiter < 2; ++waiter) {
            waiters.emplace_back([&] {
                owners += qelWaitForSingleObject(mutex, kInfinite) == 2 ? 1 : 0;
                EXPECT_EQ(qelReleaseMutex(mutex), 1);
            });
        }
        EXPECT_EQ(qelReleaseMutex(mutex), 1);
        for (std::thread &waiter : waiters)
            waiter.join();
        EXPECT_EQ(owners, 2);
    }
}

class ContendedMutex : public ::testing::TestWithParam<uint32_t> {};

TEST_P(ContendedMutex, EightThreads_MakeProgressOneAtATime) {
    constexpr int kThreads = 8;
    constexpr int kTurns = 300;
    const Handle mutex(newMutex());
    int turns = 0; // guarded by the mutex: the sanitizer sees to it
    std::atomic<int> inside{0};
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&] {
            for (int turn = 0; turn < kTurns;) {
                const uint32_t result = qelWaitForSingleObject(mutex, GetParam());
                if (result == 3)
                    continue;
                ASSERT_EQ(result, 2u);
                EXPECT_EQ(++inside, 1);
                ++turns;
                ++turn;
                if (turn % 16 == 0)
                    std::this_thread::yield();
                --inside;
                ASSERT_EQ(qelReleaseMutex(mutex), 1);
            }
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(turns, kThreads * kTurns);
}

// Whole seconds: any other time-out is refused once in a million times, see Deadline below.
INSTANTIATE_TEST_SUITE_P(TimeOuts, ContendedMutex, ::testing::Values(kInfinite, 1000u, 0u));

} // namespace
