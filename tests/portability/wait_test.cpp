// Waiting for one handle and for several in turn.

#include "source/portability/wait.h"
#include "tests/portability/handle_support.h"
#include "tests/support/child.h"
#include "tests/support/eventually.h"
#include "tests/support/failing_calls.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <limits>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace {

using namespace zor::test;

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
        const timespec deadline =
            zor::deadlineAfter({row.seconds, static_cast<suseconds_t>(row.microseconds)}, row.milliseconds);
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

// Index 1 is reported as 3, as the end of the time is; with an event that nobody sets there, 3 has one meaning.
TEST(WaitForMultiple, Index1_IsToldFromTheEndOfTheTimeByAnEventNobodySets_Kept) {
    const Handle never(newEvent()), first(newEvent()), second(newEvent(1));
    const HANDLE ambiguous[] = {first, second};
    EXPECT_EQ(qelWaitForMultipleObjects(2, ambiguous, 0, 1000), 3u);
    const HANDLE clear[] = {first, never, second};
    EXPECT_EQ(qelWaitForMultipleObjects(3, clear, 0, 1000), 4u);
    EXPECT_EQ(qelResetEvent(second), 1);
    EXPECT_EQ(qelWaitForMultipleObjects(3, clear, 0, 60), 3u);
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

} // namespace
