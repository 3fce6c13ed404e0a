// How a process and its threads attach to the lock, and what a detached, half attached or unattached thread sees.

#include "zorcomn/lists_locks.h"

#include "tests/support/child.h"

#include <cstdint>
#include <set>
#include <thread>

#include <gtest/gtest.h>

namespace {

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
    qelCloseHandle(token);
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

// In a child: the end of a thread of this library frees the indices of the whole process.
TEST(ThreadAttachBesideLibraryThreads, TheirEndTakesTheIndexAway_Kept) {
    EXPECT_TRUE(zor::test::childPasses([] {
        const uint32_t index = qeSO_ProcessAttach();
        EXPECT_EQ(qeSO_ThreadAttach(), 1u);
        EXPECT_NE(qeSO_GetThread(), kNoThread);
        const HANDLE token = qeSO_GetThread();
        const HANDLE thread = qelCreateThread(nullptr, 0, returnAtOnce, nullptr, 0, nullptr);
        EXPECT_EQ(qelWaitForSingleObject(thread, 60000), 2u);
        EXPECT_EQ(qeSO_tls_index, index) << "nobody is told";
        EXPECT_EQ(qeSO_GetThread(), kNoThread);
        EXPECT_EQ(qeSO_ThreadAttach(), 0u);
        EXPECT_LT(qeSO_ProcessAttach(), 512u);
        EXPECT_EQ(qeSO_ThreadAttach(), 1u);
        EXPECT_NE(qeSO_GetThread(), token);
        qelCloseHandle(thread);
        qelCloseHandle(token);
        qeSO_ThreadDetach();
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
