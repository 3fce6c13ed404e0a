// Thread-local storage. Every test runs in a child, since the tables are process-wide and any thread's end empties
// them.

#include "zorcomn/portability.h"

#include "tests/support/child.h"
#include "tests/support/eventually.h"
#include "tests/support/failing_calls.h"

#include <algorithm>
#include <atomic>
#include <iterator>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <sched.h>
#include <unistd.h>

namespace {

using namespace zor::test;

constexpr int32_t kUntouched = -7;
constexpr uint32_t kInfinite = 0xFFFFFFFFu;
constexpr uint32_t kNoIndex = 0xFFFFFFFFu;

uint32_t returnNothing(void *) {
    return 0;
}

void runThread(qelThreadStart start = returnNothing, void *argument = nullptr) {
    const HANDLE thread = qelBeginThread(nullptr, 0, start, argument, 0, nullptr);
    EXPECT_EQ(qelWaitForSingleObject(thread, kInfinite), 2u);
    EXPECT_EQ(qelCloseHandle(thread), 1);
}

std::ptrdiff_t allocatedIndices() {
    return std::count_if(std::begin(pTlsKeyTable), std::end(pTlsKeyTable), [](pthread_key_t *const &cell) {
        return __atomic_load_n(&cell, __ATOMIC_ACQUIRE) != nullptr;
    });
}

TEST(TlsAlloc, 513th_FailsAndTheLowestFreeIndexComesBack) {
    EXPECT_TRUE(childPasses([] {
        for (uint32_t index = 0; index < 512; ++index) {
            ASSERT_EQ(qelTlsAlloc(), index);
            EXPECT_EQ(nTlsOwnerTable[index], getpid());
        }
        nErrno = kUntouched;
        EXPECT_EQ(qelTlsAlloc(), kNoIndex);
        EXPECT_EQ(nErrno, 35);
        for (const uint32_t index : {511u, 200u, 3u}) {
            EXPECT_EQ(qelTlsFree(index), 1);
            EXPECT_EQ(pTlsKeyTable[index], nullptr);
            EXPECT_EQ(nTlsOwnerTable[index], 0);
        }
        for (const uint32_t index : {3u, 200u, 511u})
            EXPECT_EQ(qelTlsAlloc(), index);
        EXPECT_EQ(qelTlsAlloc(), kNoIndex);
    }));
}

TEST(TlsAlloc, FirstCall_ClearsTheTables) {
    EXPECT_TRUE(childPasses([] {
        pthread_key_t stranger = 0;
        pTlsKeyTable[0] = pTlsKeyTable[400] = &stranger;
        nTlsOwnerTable[0] = nTlsOwnerTable[400] = 1;
        EXPECT_EQ(qelTlsAlloc(), 0u);
        EXPECT_EQ(allocatedIndices(), 1);
        EXPECT_EQ(nTlsOwnerTable[400], 0);
        EXPECT_EQ(qelTlsAlloc(), 1u) << "only the first call does";
    }));
}

TEST(TlsAlloc, EachCallFailing_LeavesTheIndexFree) {
    EXPECT_TRUE(childPasses([] {
        const struct {
            const char *function;
            int32_t cell;
        } kRows[] = {{"operator new", 12}, {"pthread_key_create", kUntouched}};
        for (const auto &row : kRows) {
            nErrno = kUntouched;
            size_t live;
            uint32_t index;
            {
                AllocationScope allocations;
                FailingCall failing(row.function);
                index = qelTlsAlloc();
                EXPECT_TRUE(failing.wasReached());
                live = allocations.live();
            }
            EXPECT_EQ(index, kNoIndex);
            EXPECT_EQ(nErrno, row.cell) << row.function;
            EXPECT_EQ(live, 0u) << row.function;
            EXPECT_EQ(pTlsKeyTable[0], nullptr);
        }
        EXPECT_EQ(qelTlsAlloc(), 0u);
    }));
}

TEST(Tls, BadIndex_IsRefused) {
    EXPECT_TRUE(childPasses([] {
        EXPECT_EQ(qelTlsAlloc(), 0u);
        for (const uint32_t index : {1u, 511u, 512u, 513u, 0x80000000u, kNoIndex}) {
            nErrno = kUntouched;
            EXPECT_EQ(qelTlsGetValue(index), nullptr) << index;
            EXPECT_EQ(nErrno, 22);
            nErrno = kUntouched;
            EXPECT_EQ(qelTlsSetValue(index, &nErrno), 0) << index;
            EXPECT_EQ(nErrno, 22);
            nErrno = kUntouched;
            EXPECT_EQ(qelTlsFree(index), 0) << index;
            EXPECT_EQ(nErrno, 22);
        }
        EXPECT_EQ(qelTlsFree(0), 1);
        nErrno = kUntouched;
        EXPECT_EQ(qelTlsFree(0), 0);
        EXPECT_EQ(nErrno, 22);
        EXPECT_EQ(qelTlsGetValue(0), nullptr);
    }));
}

TEST(Tls, Values_ArePerThreadAndIndex) {
    EXPECT_TRUE(childPasses([] {
        const uint32_t first = qelTlsAlloc(), second = qelTlsAlloc();
        int a = 0, b = 0;
        nErrno = kUntouched;
        EXPECT_EQ(qelTlsGetValue(first), nullptr);
        EXPECT_EQ(qelTlsSetValue(first, &a), 1);
        EXPECT_EQ(qelTlsSetValue(second, &b), 1);
        std::thread([&] {
            EXPECT_EQ(qelTlsGetValue(first), nullptr);
            EXPECT_EQ(qelTlsSetValue(first, &b), 1);
            EXPECT_EQ(qelTlsGetValue(first), &b);
        }).join();
        EXPECT_EQ(qelTlsGetValue(first), &a);
        EXPECT_EQ(qelTlsGetValue(second), &b);
        EXPECT_EQ(qelTlsSetValue(first, nullptr), 1);
        EXPECT_EQ(qelTlsGetValue(first), nullptr);
        EXPECT_EQ(nErrno, kUntouched);
    }));
}

TEST(Tls, IndexHandedOutAgain_HasNoOldValue) {
    EXPECT_TRUE(childPasses([] {
        const uint32_t index = qelTlsAlloc();
        EXPECT_EQ(qelTlsSetValue(index, &nErrno), 1);
        EXPECT_EQ(qelTlsFree(index), 1);
        EXPECT_EQ(qelTlsAlloc(), index);
        EXPECT_EQ(qelTlsGetValue(index), nullptr);
    }));
}

TEST(Tls, SetFailing_ReturnsZero) {
    EXPECT_TRUE(childPasses([] {
        const uint32_t index = qelTlsAlloc();
        nErrno = kUntouched;
        FailingCall failing("pthread_setspecific");
        EXPECT_EQ(qelTlsSetValue(index, &nErrno), 0);
        EXPECT_TRUE(failing.wasReached());
        EXPECT_EQ(nErrno, kUntouched);
    }));
}

TEST(TlsFree, DeleteFailing_ReturnsZeroAndFreesTheIndex) {
    EXPECT_TRUE(childPasses([] {
        size_t live;
        {
            AllocationScope allocations;
            const uint32_t index = qelTlsAlloc();
            nErrno = kUntouched;
            FailingCall failing("pthread_key_delete");
            EXPECT_EQ(qelTlsFree(index), 0);
            EXPECT_TRUE(failing.wasReached());
            live = allocations.live();
        }
        EXPECT_EQ(live, 0u);
        EXPECT_EQ(nErrno, kUntouched);
        EXPECT_EQ(pTlsKeyTable[0], nullptr);
        EXPECT_EQ(nTlsOwnerTable[0], 0);
    }));
}

TEST(Tls, EndOfAnyThread_FreesTheIndicesOfTheProcess_Kept) {
    EXPECT_TRUE(childPasses([] {
        for (uint32_t index = 0; index < 512; ++index)
            ASSERT_EQ(qelTlsAlloc(), index);
        nTlsOwnerTable[7] = getpid() + 1;
        nErrno = kUntouched;
        runThread();
        EXPECT_EQ(allocatedIndices(), 1);
        EXPECT_NE(pTlsKeyTable[7], nullptr) << "another process's";
        EXPECT_EQ(nErrno, kUntouched);
        EXPECT_EQ(qelTlsGetValue(0), nullptr);
        EXPECT_EQ(nErrno, 22);
    }));
}

// A plain thread of the system's is none of the layer's.
TEST(Tls, EndOfAThreadOfTheSystem_FreesNothing) {
    EXPECT_TRUE(childPasses([] {
        EXPECT_EQ(qelTlsAlloc(), 0u);
        std::thread([] {}).join();
        EXPECT_EQ(allocatedIndices(), 1);
    }));
}

// A thread's end in the middle of an allocation, right before the owner is stored, which this test does ahead of it:
// the index is freed and stays so, and its key is nobody's any more.
TEST(TlsAlloc, ThreadEndingInTheMiddle_LeavesNoKeyBehind) {
    EXPECT_TRUE(childPasses([] {
        const AfterCall ending("getpid", 1, [] {
            nTlsOwnerTable[0] = getpid();
            runThread();
        });
        const uint32_t index = qelTlsAlloc();
        EXPECT_TRUE(ending.wasReached());
        ASSERT_EQ(index, 0u);
        EXPECT_EQ(pTlsKeyTable[index], nullptr);
        pthread_key_t strangers;
        ASSERT_EQ(pthread_key_create(&strangers, nullptr), 0);
        int value = 0;
        ASSERT_EQ(pthread_setspecific(strangers, &value), 0);
        nErrno = kUntouched;
        EXPECT_EQ(qelTlsSetValue(index, nullptr), 0);
        EXPECT_EQ(nErrno, 22);
        EXPECT_EQ(pthread_getspecific(strangers), &value) << "another library's";
        EXPECT_EQ(qelTlsGetValue(index), nullptr);
        EXPECT_EQ(qelTlsAlloc(), index);
    }));
}

// The index is freed when the value is about to be stored: its key goes back to the system only afterwards.
TEST(TlsSetValue, ThreadEndingInTheMiddle_KeepsTheKeyFromOthers) {
    EXPECT_TRUE(childPasses([] {
        const uint32_t index = qelTlsAlloc();
        const pthread_key_t key = *pTlsKeyTable[index];
        HANDLE thread = nullptr;
        std::vector<pthread_key_t> strangers;
        {
            const BeforeCall ending("pthread_setspecific", 1, [&] {
                thread = qelBeginThread(nullptr, 0, returnNothing, nullptr, 0, nullptr);
                EXPECT_TRUE(eventually([&] { return allocatedIndices() == 0; }));
                for (int stranger = 0; stranger < 100; ++stranger) {
                    pthread_key_t created;
                    EXPECT_EQ(pthread_key_create(&created, nullptr), 0);
                    strangers.push_back(created);
                    sched_yield();
                }
            });
            EXPECT_EQ(qelTlsSetValue(index, &nErrno), 1);
            EXPECT_TRUE(ending.wasReached());
        }
        EXPECT_EQ(std::count(strangers.begin(), strangers.end(), key), 0);
        EXPECT_EQ(qelWaitForSingleObject(thread, kInfinite), 2u);
        EXPECT_EQ(qelCloseHandle(thread), 1);
        EXPECT_EQ(qelTlsSetValue(index, nullptr), 0);
    }));
}

uint32_t useIndices(void *) {
    for (int round = 0; round < 200; ++round) {
        const uint32_t index = qelTlsAlloc();
        if (index < 512) {
            qelTlsSetValue(index, &nErrno);
            qelTlsGetValue(index);
        }
        for (uint32_t other = 0; other < 8; ++other)
            qelTlsGetValue(other);
        qelTlsFree(index);
    }
    return 0;
}

// The table has no lock, but no order of events frees a cell twice or reads one that is gone.
TEST(Tls, ThreadsEndingAtOnce_TouchNoFreedMemory) {
    EXPECT_TRUE(childPasses([] {
        AllocationScope allocations;
        {
            std::vector<HANDLE> threads;
            for (int thread = 0; thread < 12; ++thread)
                threads.push_back(qelBeginThread(nullptr, 0, useIndices, nullptr, 0, nullptr));
            for (const HANDLE thread : threads) {
                EXPECT_EQ(qelWaitForSingleObject(thread, kInfinite), 2u);
                EXPECT_EQ(qelCloseHandle(thread), 1);
            }
        }
        runThread();
        EXPECT_EQ(allocatedIndices(), 0);
    }));
}

} // namespace
