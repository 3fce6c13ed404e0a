// How a process and its threads attach to the lock, and what a detached, half attached or unattached thread sees.

#include "tests/lists_locks/lock_support.h"
#include "tests/support/child.h"
#include "tests/support/eventually.h"

#include <atomic>
#include <cstdint>
#include <set>
#include <thread>

#include <gtest/gtest.h>

namespace {

using zor::test::eventually;
using zor::test::waitersAre;

const HANDLE kNoThread = reinterpret_cast<HANDLE>(UINTPTR_MAX);
constexpr uint32_t kNoIndex = 0xFFFFFFFFu;

class ThreadAttach : public ::testing::Test {
protected:
    ThreadAttach() { EXPECT_LT(qeSO_ProcessAttach(), 512u); }
    ~ThreadAttach() override { EXPECT_EQ(qeSO_ProcessDetach(), 1); }
};

TEST(ProcessAttach, GivesAnIndex_DetachTakesItBack) {
    EXPECT_EQ(qeSO_tls_index, kNoIndex);
    const uint32_t index = qeSO_ProcessAttach();
    EXPECT_EQ(index, qeSO_tls_index);
    EXPECT_LT(index, 512u);
    EXPECT_EQ(qelTlsSetValue(index, &qeSO_tls_index), 1);
    EXPECT_EQ(qeSO_ProcessDetach(), 1);
    EXPECT_EQ(qeSO_tls_index, kNoIndex);
    EXPECT_EQ(qelTlsSetValue(index, nullptr), 0) << "the index is free again";
}

TEST(ProcessAttach, DetachWithoutAttach_Fails) {
    nErrno = 0;
    EXPECT_EQ(qeSO_ProcessDetach(), 0);
    EXPECT_EQ(nErrno, 22);
    EXPECT_EQ(qeSO_tls_index, kNoIndex);
}

TEST(ProcessAttach, AttachingTwice_TakesAnotherIndex_Kept) {
    const uint32_t first = qeSO_ProcessAttach();
    EXPECT_EQ(qeSO_ThreadAttach(), 1u);
    const HANDLE token = qeSO_GetThread();
    const uint32_t second = qeSO_ProcessAttach();
    EXPECT_NE(second, first);
    EXPECT_EQ(qeSO_GetThread(), kNoThread) << "the thread's token is under the first index";
    EXPECT_EQ(qeSO_ProcessDetach(), 1);
    EXPECT_EQ(qelTlsGetValue(first), token);
    EXPECT_EQ(qelTlsFree(first), 1);
    EXPECT_EQ(zor::lockToken(), token) << "locks know the thread until it detaches";
    EXPECT_EQ(qeSO_ThreadDetach(), 0);
    EXPECT_EQ(zor::lockToken(), kNoThread);
}

TEST(ProcessAttach, NoIndexLeft_IsReported) {
    EXPECT_TRUE(zor::test::childPasses([] {
        while (qelTlsAlloc() != kNoIndex) {
        }
        EXPECT_EQ(qeSO_ProcessAttach(), kNoIndex);
        EXPECT_EQ(nErrno, 35);
        EXPECT_EQ(qeSO_ThreadAttach(), 0u);
    }));
}

TEST(ThreadAttachWithoutProcess, Fails) {
    nErrno = 0;
    EXPECT_EQ(qeSO_GetThread(), kNoThread);
    EXPECT_EQ(qeSO_DbgGetThread(), nullptr);
    EXPECT_EQ(nErrno, 0) << "asking for a token is no fault";
    EXPECT_EQ(qeSO_ThreadAttach(), 0u);
    EXPECT_EQ(nErrno, 22);
    nErrno = 0;
    EXPECT_EQ(qeSO_ThreadDetach(), 0);
    EXPECT_EQ(nErrno, 22);
    qeSO_ThreadAttachX();
    qeSO_ThreadDetachX();
    EXPECT_EQ(qeSO_GetThread(), kNoThread);
}

TEST_F(ThreadAttach, UnattachedThread_HasNoToken) {
    EXPECT_EQ(qeSO_DbgGetThread(), nullptr);
    EXPECT_EQ(qeSO_GetThread(), kNoThread);
}

TEST_F(ThreadAttach, FirstAttach_Stores_SecondReturnsTheToken_Kept) {
    EXPECT_EQ(qeSO_ThreadAttach(), 1u);
    const HANDLE token = qeSO_DbgGetThread();
    ASSERT_NE(token, nullptr);
    ASSERT_NE(token, kNoThread);
    EXPECT_EQ(qeSO_GetThread(), token);
    EXPECT_EQ(qelTlsGetValue(qeSO_tls_index), token);
    EXPECT_EQ(qeSO_ThreadAttach(), reinterpret_cast<uintptr_t>(token));
    EXPECT_EQ(qeSO_ThreadDetach(), 1);
}

TEST_F(ThreadAttach, Token_IsAManualResetEventNotSignalled) {
    qeSO_ThreadAttach();
    const HANDLE token = qeSO_GetThread();
    EXPECT_EQ(qelWaitForSingleObject(token, 0), 3u);
    EXPECT_EQ(qelSetEvent(token), 1);
    EXPECT_EQ(qelWaitForSingleObject(token, 0), 2u);
    EXPECT_EQ(qelWaitForSingleObject(token, 0), 2u);
    qeSO_ThreadDetach();
}

TEST_F(ThreadAttach, Detach_StoresAllOnes_AndAttachWorksAgain) {
    qeSO_ThreadAttach();
    EXPECT_EQ(qeSO_ThreadDetach(), 1);
    EXPECT_EQ(qeSO_DbgGetThread(), kNoThread);
    EXPECT_EQ(qeSO_GetThread(), kNoThread);
    EXPECT_EQ(qeSO_ThreadDetach(), 1) << "there is nothing to close, the store succeeds";
    EXPECT_EQ(qeSO_ThreadAttach(), 1u);
    EXPECT_NE(qeSO_GetThread(), kNoThread);
    EXPECT_EQ(qeSO_ThreadDetach(), 1);
}

TEST_F(ThreadAttach, AttachX_StoresAllOnes_DetachXDoesNothing) {
    qeSO_ThreadAttachX();
    EXPECT_EQ(qeSO_DbgGetThread(), kNoThread);
    EXPECT_EQ(qeSO_GetThread(), kNoThread);
    qeSO_ThreadDetachX();
    EXPECT_EQ(qeSO_DbgGetThread(), kNoThread);
    EXPECT_EQ(qeSO_ThreadAttach(), 1u) << "a thread without an event can still get one";
    const HANDLE token = qeSO_GetThread();
    qeSO_ThreadDetachX();
    EXPECT_EQ(qeSO_GetThread(), token);
    EXPECT_EQ(qeSO_ThreadDetach(), 1);
}

TEST_F(ThreadAttach, EachThreadHasItsOwnToken) {
    qeSO_ThreadAttach();
    std::set<HANDLE> tokens{qeSO_GetThread()};
    std::thread([&] {
        EXPECT_EQ(qeSO_GetThread(), kNoThread);
        qeSO_ThreadAttach();
        tokens.insert(qeSO_GetThread());
        qeSO_ThreadDetach();
    }).join();
    EXPECT_EQ(tokens.size(), 2u);
    EXPECT_EQ(tokens.count(kNoThread), 0u);
    qeSO_ThreadDetach();
}

uint32_t returnAtOnce(void *) {
    return 0;
}

void endALibraryThread() {
    const HANDLE thread = qelCreateThread(nullptr, 0, returnAtOnce, nullptr, 0, nullptr);
    EXPECT_EQ(qelWaitForSingleObject(thread, 60000), 2u);
    EXPECT_EQ(qelCloseHandle(thread), 1);
}

// In a child each: the end of a thread of this library frees the indices of the whole process.
TEST(ThreadAttachBesideLibraryThreads, TheirEndTakesTheIndexAway_Kept) {
    EXPECT_TRUE(zor::test::childPasses([] {
        const uint32_t index = qeSO_ProcessAttach();
        EXPECT_EQ(qeSO_ThreadAttach(), 1u);
        const HANDLE token = qeSO_GetThread();
        EXPECT_NE(token, kNoThread);
        endALibraryThread();
        EXPECT_EQ(qeSO_tls_index, index) << "nobody is told";
        EXPECT_EQ(qeSO_GetThread(), kNoThread);
        EXPECT_EQ(qeSO_DbgGetThread(), nullptr);
        EXPECT_EQ(qeSO_ThreadAttach(), 0u);
        std::thread([] { EXPECT_EQ(qeSO_ThreadAttach(), 0u); }).join();
        EXPECT_LT(qeSO_ProcessAttach(), 512u);
        EXPECT_EQ(qeSO_ThreadAttach(), 1u);
        EXPECT_EQ(qeSO_GetThread(), token) << "its event, stored anew";
        EXPECT_EQ(qeSO_ThreadAttach(), reinterpret_cast<uintptr_t>(token));
        EXPECT_EQ(qeSO_ThreadDetach(), 1);
    }));
}

TEST(ThreadAttachBesideLibraryThreads, AttachedThread_KeepsLockAndLists) {
    EXPECT_TRUE(zor::test::childPasses([] {
        qeSO_ProcessAttach();
        qeSO_ThreadAttach();
        qeSELock *lock = nullptr;
        qeSLL *list = nullptr;
        ASSERT_EQ(qeSO_SELockCreate(&lock), 0u);
        ASSERT_EQ(qeSLL_Create(&list), 0u);
        std::atomic<bool> isAttached{false}, isHeld{false};
        qeLLNode node{};
        std::thread other([&] {
            EXPECT_EQ(qeSO_ThreadAttach(), 1u);
            isAttached = true;
            EXPECT_TRUE(eventually([&] { return isHeld.load(); }));
            EXPECT_EQ(qeSO_SELockSharedStarveExclusive(lock, 0), 0) << "an owner keeps them out";
            EXPECT_EQ(qeSO_SELockSharedWaitForExclusive(lock, 0), 0);
            qeSLL_XInsertHead(list, &node); // waits, and is not refused
            EXPECT_EQ(qeSO_SELockExclusive(lock, 1), 1);
            EXPECT_EQ(qeSO_SELockExclusive(lock, 0), 1) << "recursion after the hand-over";
            qeSO_SELockRelease(lock);
            qeSO_SELockRelease(lock);
            EXPECT_EQ(qeSO_ThreadDetach(), 0) << "the store has no index";
        });
        ASSERT_TRUE(eventually([&] { return isAttached.load(); }));
        endALibraryThread();
        EXPECT_EQ(qeSO_GetThread(), kNoThread);

        nErrno = 0;
        EXPECT_EQ(qeSO_SELockExclusive(lock, 1), 1);
        EXPECT_EQ(qeSO_SELockExclusive(lock, 1), 1);
        EXPECT_EQ(qeSO_SELockExclusiveNotify(lock, nullptr, 0, 0), 1) << "the owner's";
        EXPECT_EQ(qeSLL_XGetHead(list, 1, 1), nullptr);
        isHeld = true;
        EXPECT_TRUE(waitersAre(list->lock, 1, 0));
        qeSLL_LockRelease(list);
        for (int hold = 0; hold < 2; ++hold)
            qeSO_SELockRelease(lock);
        qeSO_SELockExclusiveToShared(lock);
        qeSO_SELockRelease(lock);
        other.join();
        EXPECT_EQ(nErrno, 22) << "of the other thread's detaching";
        EXPECT_EQ(qeSLL_XRemoveHead(list), &node);
        qeSLL_Release(list);
        qeSO_Release(lock);
    }));
}

TEST(ThreadAttachBesideLibraryThreads, Detaching_EndsIt) {
    EXPECT_TRUE(zor::test::childPasses([] {
        qeSELock *lock = nullptr;
        ASSERT_EQ(qeSO_SELockCreate(&lock), 0u);
        for (const bool isByX : {false, true}) {
            qeSO_ProcessAttach();
            qeSO_ThreadAttach();
            const HANDLE event = qeSO_GetThread();
            endALibraryThread();
            if (isByX) {
                qeSO_ThreadAttachX();
                EXPECT_EQ(qelCloseHandle(event), 1) << "which stays behind";
            } else {
                nErrno = 0;
                EXPECT_EQ(qeSO_ThreadDetach(), 0);
                EXPECT_EQ(nErrno, 22);
            }
            EXPECT_EQ(qeSO_SELockExclusive(lock, 0), 1);
            EXPECT_EQ(qeSO_SELockExclusive(lock, 0), 0) << "no owner, no recursion";
            qeSO_SELockRelease(lock);
        }
        qeSO_Release(lock);
    }));
}

// The index goes to somebody else, whose values are no tokens and no events to close.
TEST(ThreadAttachBesideLibraryThreads, IndexOfSomebodyElse_IsNotTakenForAToken) {
    EXPECT_TRUE(zor::test::childPasses([] {
        const uint32_t index = qeSO_ProcessAttach();
        qeSO_ThreadAttach();
        qeSELock *lock = nullptr;
        ASSERT_EQ(qeSO_SELockCreate(&lock), 0u);
        ASSERT_EQ(qeSO_SELockExclusive(lock, 1), 1);
        endALibraryThread();
        ASSERT_EQ(qelTlsAlloc(), index);
        int strangers = 0;
        ASSERT_EQ(qelTlsSetValue(index, &strangers), 1);
        EXPECT_EQ(qeSO_GetThread(), &strangers) << "kept: what the index holds";
        EXPECT_EQ(qeSO_SELockExclusive(lock, 1), 1) << "still the owner";
        qeSO_SELockRelease(lock);
        qeSO_SELockRelease(lock);
        EXPECT_EQ(qeSO_ThreadDetach(), 1);
        qeSO_Release(lock);
    }));
}

// A thread that ends without detaching leaves its event, and its token is nobody else's.
TEST(ThreadAttachBesideLibraryThreads, EndWithoutDetaching_LeavesTheEvent) {
    EXPECT_TRUE(zor::test::childPasses([] {
        qeSO_ProcessAttach();
        HANDLE left = nullptr;
        std::thread([&] {
            qeSO_ThreadAttach();
            left = qeSO_GetThread();
        }).join();
        std::thread([&] {
            qeSO_ThreadAttach();
            EXPECT_NE(qeSO_GetThread(), left);
            qeSO_ThreadDetach();
        }).join();
        EXPECT_EQ(qelSetEvent(left), 1);
        EXPECT_EQ(qelCloseHandle(left), 1);
    }));
}

// The index is gone, the attachment with it; what is granted without a token is granted without a fault.
TEST(ThreadAttachBesideLibraryThreads, IndexTakenAway_IsNoFaultOfAGrantedRequest) {
    qeSELock *lock = nullptr;
    ASSERT_EQ(qeSO_SELockCreate(&lock), 0u);
    const uint32_t index = qeSO_ProcessAttach();
    ASSERT_EQ(qelTlsFree(index), 1);
    nErrno = 0;
    EXPECT_EQ(qeSO_GetThread(), kNoThread);
    EXPECT_EQ(qeSO_DbgGetThread(), nullptr);
    EXPECT_EQ(qeSO_SELockExclusive(lock, 1), 1);
    EXPECT_EQ(qeSO_SELockExclusive(lock, 0), 0);
    EXPECT_EQ(nErrno, 0);
    EXPECT_EQ(qeSO_SELockExclusive(lock, 1), 0) << "it would have to wait";
    EXPECT_EQ(nErrno, 22);
    qeSO_SELockRelease(lock);
    qeSO_Release(lock);
    qeSO_tls_index = kNoIndex;
}

} // namespace
