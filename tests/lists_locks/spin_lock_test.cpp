// The spin lock, its schedule with an injected exchange and pause: no test here waits for the pauses' seconds.

#include "source/lists_locks/spin_lock.h"

#include <map>
#include <thread>
#include <vector>

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <time.h>

namespace {

// What the injected functions do and note.
uint32_t failuresWanted = 0;
uint32_t attempts = 0;
std::map<uint32_t, std::vector<uint32_t>> pausesByLength; // microseconds: numbers of the failed attempts, from 0

int32_t failingExchange(volatile int32_t *cell, int32_t newValue) {
    EXPECT_EQ(newValue, 1);
    if (attempts++ < failuresWanted)
        return 1;
    *cell = newValue;
    return 0;
}

void notePause(uint32_t microseconds) {
    pausesByLength[microseconds].push_back(attempts - 1);
}

void acquireAfter(uint32_t failures) {
    failuresWanted = failures;
    attempts = 0;
    pausesByLength.clear();
    volatile int32_t cell = 0;
    zor::acquireSpinLock(&cell, failingExchange, notePause);
    EXPECT_EQ(attempts, failures + 1);
    EXPECT_EQ(cell, 1);
}

std::vector<uint32_t> hundredFrom(uint32_t first) {
    std::vector<uint32_t> numbers;
    for (uint32_t number = first; number < first + 100; ++number)
        numbers.push_back(number);
    return numbers;
}

TEST(SpinLockSchedule, First4000FailedAttempts_RetryAtOnce) {
    for (uint32_t failures : {0u, 1u, 3999u, 4000u}) {
        acquireAfter(failures);
        EXPECT_TRUE(pausesByLength.empty()) << failures;
    }
}

TEST(SpinLockSchedule, LaterAttempts_PauseByHundreds_ThenNeverAgain_Kept) {
    acquireAfter(20000);
    const std::map<uint32_t, std::vector<uint32_t>> expected = {
        {0, hundredFrom(4000)},
        {10000, hundredFrom(4100)},
        {100000, hundredFrom(4200)},
        {1000000, hundredFrom(4300)},
    };
    EXPECT_EQ(pausesByLength, expected);
}

TEST(SpinLockSchedule, FirstPause_FollowsFailedAttempt4000) {
    acquireAfter(4001);
    EXPECT_EQ(pausesByLength, (std::map<uint32_t, std::vector<uint32_t>>{{0, {4000}}}));
}

TEST(SpinLock, Get_TakesAFreeCell_ReleaseFreesIt) {
    volatile int32_t cell = 0;
    EXPECT_EQ(qeSL_Get(&cell), 0);
    EXPECT_EQ(cell, 1);
    qeSL_Release(&cell);
    EXPECT_EQ(cell, 0);
}

TEST(SpinLock, NullCell_IsNoLock) {
    EXPECT_EQ(qeSL_Get(nullptr), 0);
    qeSL_Release(nullptr);
}

TEST(SpinLock, ExcludesThreads) {
    constexpr int kThreads = 4, kTurns = 2000;
    volatile int32_t cell = 0;
    int counter = 0;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&] {
            for (int turn = 0; turn < kTurns; ++turn) {
                qeSL_Get(&cell);
                ++counter;
                qeSL_Release(&cell);
            }
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(counter, kThreads * kTurns);
}

// A pause of the real lock comes here; the test's own hook then frees the cell, so that nothing is waited for.
thread_local volatile int32_t *cellToFree = nullptr;
thread_local int pausesSeen = 0;

struct CancelledSpinner {
    volatile int32_t cell = 1; // held by somebody else at first
    bool acquired = false;
    int pauses = 0;
    int errorKept = 0;
};

void *spinWithCancellationPending(void *argument) {
    auto &spinner = *static_cast<CancelledSpinner *>(argument);
    pthread_cancel(pthread_self());
    cellToFree = &spinner.cell;
    errno = 77;
    qeSL_Get(&spinner.cell);
    spinner.errorKept = errno;
    spinner.pauses = pausesSeen;
    spinner.acquired = true;
    pthread_testcancel();
    return nullptr;
}

TEST(SpinLock, CancellationWhilePausing_WaitsUntilTheLockIsTaken) {
    CancelledSpinner spinner;
    pthread_t thread;
    ASSERT_EQ(pthread_create(&thread, nullptr, spinWithCancellationPending, &spinner), 0);
    void *result = nullptr;
    ASSERT_EQ(pthread_join(thread, &result), 0);
    EXPECT_EQ(result, PTHREAD_CANCELED);
    EXPECT_TRUE(spinner.acquired);
    EXPECT_EQ(spinner.pauses, 1);
    EXPECT_EQ(spinner.errorKept, 77) << "errno is the caller's";
    EXPECT_EQ(spinner.cell, 1);
}

} // namespace

extern "C" int nanosleep(const timespec *length, timespec *left) {
    static const auto systemsOwn =
        reinterpret_cast<int (*)(const timespec *, timespec *)>(dlsym(RTLD_NEXT, "nanosleep"));
    if (!cellToFree)
        return systemsOwn(length, left);
    ++pausesSeen;
    qeSL_Release(std::exchange(cellToFree, nullptr));
    pthread_testcancel();
    errno = EINTR;
    return -1;
}
