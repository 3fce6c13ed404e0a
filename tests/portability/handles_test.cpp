// Events, mutexes, waits, closing and the interlocked operations.

#include "zorcomn/portability.h"

#include "source/handles.h"
#include "source/wait.h"
#include "tests/support/child.h"
#include "tests/support/eventually.h"
#include "tests/support/failing_calls.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <limits>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace {

using namespace zor::test;

#if defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define __SANITIZE_THREAD__ 1
#endif
#endif
#if defined(__SANITIZE_THREAD__)
constexpr bool kHasThreadSanitizer = true;
#else
constexpr bool kHasThreadSanitizer = false;
#endif
constexpr int32_t kUntouched = -7;
constexpr uint32_t kInfinite = 0xFFFFFFFFu;
const HANDLE kAllOnes = reinterpret_cast<HANDLE>(~static_cast<uintptr_t>(0));

/** Calls and expects a result and what is in the error cell afterwards. */
template <class Result, class Call> void expectResult(Result result, int32_t cell, Call call) {
    nErrno = kUntouched;
    EXPECT_EQ(call(), result);
    EXPECT_EQ(nErrno, cell);
}

/** Closes a handle at the end of a test. */
class Handle {
public:
    explicit Handle(HANDLE handle) : m_handle(handle) {}
    ~Handle() { EXPECT_EQ(qelCloseHandle(m_handle), 1); }
    Handle(const Handle &) = delete;
    Handle &operator=(const Handle &) = delete;
    operator HANDLE() const { return m_handle; }

private:
    HANDLE m_handle;
};

HANDLE newEvent(int32_t initialState = 0) {
    return qelCreateEvent(nullptr, 1, initialState, nullptr);
}

HANDLE newMutex(int32_t initialOwner = 0) {
    return qelCreateMutex(nullptr, initialOwner, nullptr);
}

uint32_t returnNothing(void *) {
    return 0;
}

/** A record of any type, for what no creator makes. */
struct BareRecord : zor::HandleObject {
    explicit BareRecord(int32_t kind) : zor::HandleObject() {
        type = kind;
        referenceCount = 1;
        zor::initialiseGuard(*this);
    }
    HANDLE handle() { return static_cast<zor::HandleObject *>(this); }
};

// ---- events

TEST(CreateEvent, ManualResetNotExactly1_IsRefused) {
    for (const int32_t manualReset : {0, 2, -1})
        expectResult<HANDLE>(nullptr, 22, [=] { return qelCreateEvent(nullptr, manualReset, 1, nullptr); });
}

TEST(CreateEvent, Name_IsRefusedUnlessEmpty) {
    expectResult<HANDLE>(nullptr, 22, [] { return qelCreateEvent(nullptr, 1, 1, "name"); });
    expectResult<HANDLE>(nullptr, 22, [] { return qelCreateEvent(nullptr, 1, 1, "\xFF"); });
    nErrno = kUntouched;
    const Handle event(qelCreateEvent(nullptr, 1, 1, ""));
    EXPECT_NE(event, nullptr);
    EXPECT_EQ(nErrno, kUntouched);
}

TEST(CreateEvent, Record_IsFilledAsStated) {
    int attributes = 0;
    const Handle event(qelCreateEvent(&attributes, 1, 0, nullptr));
    const zor::HandleObject &record = zor::recordOf(event);
    EXPECT_EQ(record.objectData, nullptr);
    EXPECT_EQ(record.type, 1);
    EXPECT_EQ(record.referenceCount, 1);
    EXPECT_EQ(record.signalled, 0);
}

TEST(CreateEvent, InitialState_IsSetByExactly1) {
    const Handle set(newEvent(1));
    EXPECT_EQ(qelWaitForSingleObject(set, 0), 2u);
    for (const int32_t initialState : {0, 2, -1}) {
        const Handle unset(newEvent(initialState));
        EXPECT_EQ(qelWaitForSingleObject(unset, 0), 3u) << initialState;
    }
}

TEST(Event, Set_SatisfiesEveryWaitUntilReset) {
    const Handle event(newEvent());
    EXPECT_EQ(qelSetEvent(event), 1);
    EXPECT_EQ(qelSetEvent(event), 1);
    EXPECT_EQ(qelWaitForSingleObject(event, 0), 2u);
    EXPECT_EQ(qelWaitForSingleObject(event, kInfinite), 2u);
    EXPECT_EQ(qelResetEvent(event), 1);
    EXPECT_EQ(qelWaitForSingleObject(event, 50), 3u);
}

TEST(SetEvent, NoObject_IsRefused) {
    for (const HANDLE handle : {HANDLE(), kAllOnes})
        expectResult(0, 22, [=] { return qelSetEvent(handle); });
}

TEST(ResetEvent, NoObject_IsRefused) {
    for (const HANDLE handle : {HANDLE(), kAllOnes})
        expectResult(0, 22, [=] { return qelResetEvent(handle); });
}

TEST(SetEvent, AnyKindOfHandle_IsSignalled_Kept) {
    BareRecord file(0), odd(77);
    const Handle mutex(newMutex(1));
    for (const HANDLE handle : {file.handle(), odd.handle(), HANDLE(mutex)}) {
        expectResult(1, kUntouched, [=] { return qelSetEvent(handle); });
        EXPECT_EQ(zor::recordOf(handle).signalled, 1);
        expectResult(1, kUntouched, [=] { return qelResetEvent(handle); });
        EXPECT_EQ(zor::recordOf(handle).signalled, 0);
    }
}

TEST(Event, Set_WakesEveryWaiter) {
    const Handle event(newEvent());
    std::atomic<int> woken{0};
    std::vector<std::thread> waiters;
    for (int waiter = 0; waiter < 4; ++waiter)
        waiters.emplace_back([&] { woken += qelWaitForSingleObject(event, kInfinite) == 2 ? 1 : 0; });
    EXPECT_EQ(qelSetEvent(event), 1);
    for (std::thread &waiter : waiters)
        waiter.join();
    EXPECT_EQ(woken, 4);
}

// ---- mutexes

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

// ---- waiting

TEST(Wait, NoObjectOrFileOrUnknownType_IsRefused) {
    BareRecord file(0), below(-1), above(4);
    file.signalled = below.signalled = above.signalled = 1;
    for (const HANDLE handle : {HANDLE(), kAllOnes, file.handle(), below.handle(), above.handle()})
        expectResult(0u, 22, [=] { return qelWaitForSingleObject(handle, kInfinite); });
}

TEST(Wait, TimeOut_LastsAsLongAsAsked) {
    const Handle event(newEvent());
    const auto start = std::chrono::system_clock::now();
    expectResult(3u, kUntouched, [&] { return qelWaitForSingleObject(event, 50); });
    EXPECT_GE(std::chrono::system_clock::now() - start, std::chrono::milliseconds(49));
}

// The flag is not tested again: whatever wakes the sleeper counts.
TEST(Wait, WakeUpWithoutSignal_CountsAsSignalled_Kept) {
    for (const uint32_t milliseconds : {kInfinite, 600000u}) {
        const Handle event(newEvent());
        zor::HandleObject &record = zor::recordOf(event);
        std::atomic<uint32_t> result{77};
        std::thread waiter([&] { result = qelWaitForSingleObject(event, milliseconds); });
        EXPECT_TRUE(eventually([&] {
            pthread_mutex_lock(&record.guard);
            pthread_cond_broadcast(&record.condition);
            pthread_mutex_unlock(&record.guard);
            return result != 77;
        }));
        waiter.join();
        EXPECT_EQ(result, 2u);
        EXPECT_EQ(record.signalled, 0);
    }
}

class CancelledWait : public ::testing::TestWithParam<uint32_t> {
protected:
    /** Runs waiter, which ends in the wait, and then uses what it waited for. */
    template <class Waiter> void expectNothingLocked(Waiter runWaiter) {
        for (const HANDLE handle : {newEvent(), newMutex(1)}) {
            runWaiter(handle);
            zor::HandleObject &record = zor::recordOf(handle);
            EXPECT_EQ(pthread_mutex_trylock(&record.guard), 0);
            pthread_mutex_unlock(&record.guard);
            EXPECT_EQ(qelSetEvent(handle), 1);
            if (record.type == 3) {
                EXPECT_EQ(qelReleaseMutex(handle), 1);
            }
            EXPECT_EQ(qelWaitForSingleObject(handle, 1000), 2u);
            EXPECT_EQ(qelCloseHandle(handle), 1);
        }
    }
};

TEST_P(CancelledWait, BeforeItSleeps_LeavesNothingLocked) {
    expectNothingLocked([](HANDLE handle) {
        std::thread([handle] {
            pthread_cancel(pthread_self());
            qelWaitForSingleObject(handle, GetParam());
            ADD_FAILURE() << "the wait is no cancellation point";
        }).join();
    });
}

TEST_P(CancelledWait, Asleep_LeavesNothingLocked) {
    ZORCOMN_SKIP_WITHOUT_CANCELLATION();
    expectNothingLocked([](HANDLE handle) {
        std::atomic<bool> started{false};
        std::thread waiter([&] {
            started = true;
            qelWaitForSingleObject(handle, GetParam());
        });
        EXPECT_TRUE(eventually([&] { return started.load(); }));
        pthread_cancel(waiter.native_handle());
        waiter.join();
    });
}

INSTANTIATE_TEST_SUITE_P(TimeOuts, CancelledWait, ::testing::Values(kInfinite, 600000u));

TEST(Deadline, EachSum_IsCarriedAsStated) {
    constexpr struct {
        long seconds, microseconds;
        uint32_t milliseconds;
        long deadlineSeconds, deadlineNanoseconds;
    } kRows[] = {
        {100, 0, 0, 100, 0},
        {100, 0, 999, 100, 999000000},
        {100, 0, 1000, 101, 0},
        {100, 1, 4294967294u, 100 + 4294967, 294001000},
        {100, 999999, 0, 100, 999999000},
        {100, 500001, 500, 101, 1000},
        {100, 999999, 999, 101, 998999000},
        {100, 999000, 2001, 102, 1000000000}, // see below
    };
    for (const auto &row : kRows) {
        const timespec deadline = zor::deadlineAfter({row.seconds, row.microseconds}, row.milliseconds);
        EXPECT_EQ(deadline.tv_sec, row.deadlineSeconds) << row.microseconds << " + " << row.milliseconds;
        EXPECT_EQ(deadline.tv_nsec, row.deadlineNanoseconds) << row.microseconds << " + " << row.milliseconds;
    }
}

TEST(Deadline, ExactlyOneSecondOfNanoseconds_IsNotCarried_Kept) {
    const timespec deadline = zor::deadlineAfter({100, 990000}, 10);
    EXPECT_EQ(deadline.tv_sec, 100);
    EXPECT_EQ(deadline.tv_nsec, 1000000000);
}

TEST(Deadline, BeyondTheClock_IsTheClocksEnd) {
    constexpr time_t kEnd = std::numeric_limits<time_t>::max();
    EXPECT_EQ(zor::deadlineAfter({kEnd - 1, 0}, 999).tv_sec, kEnd - 1);
    EXPECT_EQ(zor::deadlineAfter({kEnd - 1, 0}, 1000).tv_sec, kEnd);
    EXPECT_EQ(zor::deadlineAfter({kEnd - 1, 0}, 4294967294u).tv_sec, kEnd);
}

// ---- several handles

std::vector<std::pair<HANDLE, uint32_t>> polls;
std::vector<uint32_t> pollResults; // 3 when used up

uint32_t fakeWait(HANDLE handle, uint32_t milliseconds) {
    polls.emplace_back(handle, milliseconds);
    return polls.size() <= pollResults.size() ? pollResults[polls.size() - 1] : 3;
}

class WaitInTurn : public ::testing::Test {
protected:
    uint32_t wait(uint32_t count, uint32_t milliseconds, std::vector<uint32_t> results, uint32_t elapsed = 0) {
        polls.clear();
        pollResults = std::move(results);
        nErrno = kUntouched;
        return zor::waitInTurn(count, m_handles, milliseconds, fakeWait, elapsed);
    }
    std::vector<int> polledIndices() const {
        std::vector<int> indices;
        for (const auto &poll : polls)
            indices.push_back(static_cast<int>(static_cast<const char *>(poll.first) - m_names));
        return indices;
    }

    char m_names[3] = {};
    HANDLE m_handles[3] = {m_names, m_names + 1, m_names + 2};
};

TEST_F(WaitInTurn, Handles_ArePolledRoundRobinFor10MsEach) {
    EXPECT_EQ(wait(3, 50, {}), 3u);
    EXPECT_EQ(polledIndices(), (std::vector<int>{0, 1, 2, 0, 1}));
    for (const auto &poll : polls)
        EXPECT_EQ(poll.second, 10u);
    EXPECT_EQ(wait(1, 30, {}), 3u);
    EXPECT_EQ(polledIndices(), (std::vector<int>{0, 0, 0}));
}

TEST_F(WaitInTurn, Elapsed_Counts10MsForEachPoll_Kept) {
    for (const uint32_t milliseconds : {1u, 9u, 10u})
        EXPECT_EQ((wait(3, milliseconds, {}), polls.size()), 1u) << milliseconds;
    EXPECT_EQ((wait(3, 11, {}), polls.size()), 2u);
}

TEST_F(WaitInTurn, EachSingleResult_IsPassedOnAsStated) {
    EXPECT_EQ(wait(3, 1000, {2}), 2u);
    EXPECT_EQ(wait(3, 1000, {3, 2}), 3u);
    EXPECT_EQ(wait(3, 1000, {3, 3, 3, 3, 3, 2}), 4u);
    EXPECT_EQ(wait(3, 1000, {3, 0, 2}), 0u);
    EXPECT_EQ(wait(3, 1000, {3, 4, 2}), 0u);
    EXPECT_EQ(wait(3, 1000, {3, kInfinite, 2}), 0u);
    EXPECT_EQ(nErrno, kUntouched);
}

TEST_F(WaitInTurn, ResultOf1_PassesThrough_Kept) {
    EXPECT_EQ(wait(3, 1000, {3, 1, 2}), 1u);
    EXPECT_EQ(nErrno, kUntouched);
}

TEST_F(WaitInTurn, InfiniteTimeOut_OutrunsTheCounter_Kept) {
    EXPECT_EQ(wait(3, kInfinite, {3, 3, 3, 3, 3, 2}, 4294967270u), 4u);
}

TEST_F(WaitInTurn, NothingToPoll_IsRefused) {
    EXPECT_EQ(wait(0, 1000, {2}), 0u);
    EXPECT_EQ(nErrno, 22);
    expectResult(0u, 22, [] { return zor::waitInTurn(3, nullptr, 1000, fakeWait); });
    EXPECT_TRUE(polls.empty());
}

TEST(WaitForMultiple, TimeOutOfZero_LooksAtNoHandle_Kept) {
    const Handle event(newEvent(1));
    const HANDLE handles[] = {event, nullptr};
    expectResult(3u, kUntouched, [&] { return qelWaitForMultipleObjects(2, handles, 0, 0); });
    expectResult(3u, kUntouched, [&] { return qelWaitForMultipleObjects(0, nullptr, 0, 0); });
}

TEST(WaitForMultiple, WaitAll_IsRefused) {
    const Handle event(newEvent(1));
    const HANDLE handles[] = {event};
    for (const int32_t waitAll : {1, 2, -1})
        expectResult(0u, 22, [&] { return qelWaitForMultipleObjects(1, handles, waitAll, 100); });
}

TEST(WaitForMultiple, SignalledHandle_IsReportedByItsIndex) {
    const Handle first(newEvent()), second(newEvent()), third(newEvent(1));
    const HANDLE handles[] = {first, second, third};
    EXPECT_EQ(qelWaitForMultipleObjects(3, handles, 0, 1000), 4u);
    EXPECT_EQ(qelWaitForMultipleObjects(2, handles, 0, 30), 3u);
    EXPECT_EQ(qelSetEvent(first), 1);
    EXPECT_EQ(qelWaitForMultipleObjects(3, handles, 0, kInfinite), 2u);
}

TEST(WaitForMultiple, Mutex_IsOwnedByTheWait) {
    const Handle event(newEvent()), mutex(newMutex());
    const HANDLE handles[] = {event, mutex};
    EXPECT_EQ(qelWaitForMultipleObjects(2, handles, 0, 1000), 3u);
    EXPECT_EQ(zor::recordOf(mutex).signalled, 0);
    EXPECT_EQ(qelReleaseMutex(mutex), 1);
}

TEST(WaitForMultiple, BadHandle_EndsTheWait) {
    const Handle event(newEvent());
    const HANDLE handles[] = {event, kAllOnes};
    expectResult(0u, 22, [&] { return qelWaitForMultipleObjects(2, handles, 0, 1000); });
}

// ---- closing

TEST(CloseHandle, NoObject_Succeeds) {
    for (const HANDLE handle : {HANDLE(), kAllOnes})
        expectResult(1, kUntouched, [=] { return qelCloseHandle(handle); });
}

TEST(CloseHandle, AnyKind_LeavesNothingAllocated) {
    size_t live;
    {
        AllocationScope allocations;
        EXPECT_EQ(qelCloseHandle(newEvent(1)), 1);
        EXPECT_EQ(qelCloseHandle(newMutex()), 1);
        EXPECT_EQ(qelCloseHandle(newMutex(1)), 1);
        live = allocations.live();
    }
    EXPECT_EQ(live, 0u);
}

TEST(CloseHandle, CountAboveOne_OnlyCountsDown) {
    const HANDLE event = newEvent(1);
    zor::recordOf(event).referenceCount = 2;
    EXPECT_EQ(qelCloseHandle(event), 1);
    EXPECT_EQ(qelWaitForSingleObject(event, 0), 2u);
    EXPECT_EQ(qelCloseHandle(event), 1);
}

TEST(CloseHandle, UnknownType_ReturnsZero) {
    for (const int32_t type : {-1, 4}) {
        BareRecord odd(type);
        expectResult(0, kUntouched, [&] { return qelCloseHandle(odd.handle()); });
    }
}

TEST(CloseHandle, EndedThread_Succeeds) {
    const HANDLE thread = qelBeginThread(nullptr, 0, returnNothing, nullptr, 0, nullptr);
    EXPECT_EQ(qelWaitForSingleObject(thread, kInfinite), 2u);
    EXPECT_EQ(qelCloseHandle(thread), 1);
}

// ---- interlocked operations

TEST(Interlocked, Values_AreCountedAndExchanged) {
    volatile int32_t value = 41;
    EXPECT_EQ(qelInterlockedIncrement(&value), 42);
    EXPECT_EQ(qelInterlockedDecrement(&value), 41);
    EXPECT_EQ(qelInterlockedExchange(&value, -5), 41);
    EXPECT_EQ(value, -5);
    value = std::numeric_limits<int32_t>::max();
    EXPECT_EQ(qelInterlockedIncrement(&value), std::numeric_limits<int32_t>::min());
    EXPECT_EQ(qelInterlockedDecrement(&value), std::numeric_limits<int32_t>::max());
}

TEST(Interlocked, Result_IsReadAfterTheUnlock_Kept) {
    volatile int32_t value = 1;
    {
        AfterCall unlocked("pthread_mutex_unlock", 1, [&] { value = 100; });
        EXPECT_EQ(qelInterlockedIncrement(&value), 100);
    }
    {
        AfterCall unlocked("pthread_mutex_unlock", 1, [&] { value = 7; });
        EXPECT_EQ(qelInterlockedDecrement(&value), 7);
    }
    AfterCall unlocked("pthread_mutex_unlock", 1, [&] { value = 8; });
    EXPECT_EQ(qelInterlockedExchange(&value, 9), 7) << "an exchange reads under its lock";
}

/** Calls while another thread holds a mutex. */
template <class Call> int32_t whileHeld(pthread_mutex_t &mutex, Call call) {
    const Handle held(newEvent()), done(newEvent());
    std::thread holder([&] {
        pthread_mutex_lock(&mutex);
        qelSetEvent(held);
        qelWaitForSingleObject(done, kInfinite);
        pthread_mutex_unlock(&mutex);
    });
    qelWaitForSingleObject(held, kInfinite);
    const int32_t result = call();
    qelSetEvent(done);
    holder.join();
    return result;
}

TEST(Interlocked, CountingAndExchanging_UseDifferentMutexes_Kept) {
    volatile int32_t value = 1;
    EXPECT_EQ(whileHeld(MutexInterlockedLong, [&] { return qelInterlockedExchange(&value, 5); }), 1);
    EXPECT_EQ(whileHeld(MutexInterlockedExchange, [&] { return qelInterlockedIncrement(&value); }), 6);
    EXPECT_EQ(whileHeld(MutexInterlockedExchange, [&] { return qelInterlockedDecrement(&value); }), 5);
}

constexpr struct {
    const char *name;
    pthread_mutex_t *mutex;
    int32_t (*operation)(volatile int32_t *value);
} kLockedOperations[] = {
    {"increment", &MutexInterlockedLong, qelInterlockedIncrement},
    {"decrement", &MutexInterlockedLong, qelInterlockedDecrement},
    {"exchange", &MutexInterlockedExchange, [](volatile int32_t *value) { return qelInterlockedExchange(value, 3); }},
};

TEST(Interlocked, EachOperation_WaitsForItsMutex) {
    for (const auto &row : kLockedOperations) {
        volatile int32_t value = 1;
        bool wasHeld = false;
        AfterCall locked("pthread_mutex_lock", 1, [&] {
            // A recursive attempt of the owner fails while the operation holds it.
            wasHeld = pthread_mutex_trylock(row.mutex) == EBUSY && value == 1;
        });
        row.operation(&value);
        EXPECT_TRUE(wasHeld) << row.name;
        EXPECT_EQ(pthread_mutex_trylock(row.mutex), 0) << row.name;
        pthread_mutex_unlock(row.mutex);
    }
}

TEST(Interlocked, ManyThreads_LoseNoCount) {
    volatile int32_t value = 0;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&value, thread] {
            for (int count = 0; count < 5000; ++count)
                thread % 2 ? qelInterlockedIncrement(&value) : qelInterlockedDecrement(&value);
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(value, 0);
}

TEST(Interlocked, NullPointer_IsRefused) {
    expectResult(0, 22, [] { return qelInterlockedIncrement(nullptr); });
    expectResult(0, 22, [] { return qelInterlockedDecrement(nullptr); });
    expectResult(0, 22, [] { return qelInterlockedExchange(nullptr, 1); });
}

// ---- the last error

TEST(LastError, EachNumber_IsTranslatedByTheTable_Kept) {
    for (int number = 0; number <= 200; ++number) {
        uint32_t expected = 2147483656u;
        for (const auto &row : std::vector<std::pair<std::vector<int>, uint32_t>>{{{0}, 0},
                                                                                  {{2, 5, 6, 77}, 38},
                                                                                  {{3, 4, 9, 19}, 126},
                                                                                  {{7, 12, 23, 24, 27, 28, 31}, 259},
                                                                                  {{11, 16, 26, 35}, 997},
                                                                                  {{13}, 5},
                                                                                  {{22, 25}, 1010},
                                                                                  {{30}, 19}}) {
            for (const int listed : row.first)
                expected = listed == number ? row.second : expected;
        }
        errno = number;
        EXPECT_EQ(qelGetLastError(), expected) << number;
        EXPECT_EQ(errno, number);
    }
    errno = -1;
    EXPECT_EQ(qelGetLastError(), 2147483656u);
}

TEST(LastError, ErrorCell_IsNotLookedAt_Kept) {
    nErrno = 22;
    errno = 13;
    EXPECT_EQ(qelGetLastError(), 5u);
    uint32_t elsewhere = 77;
    std::thread([&] {
        errno = 0;
        elsewhere = qelGetLastError();
    }).join();
    EXPECT_EQ(elsewhere, 0u) << "each thread has its own errno";
}

} // namespace
