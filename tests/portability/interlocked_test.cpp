// The interlocked operations and their two mutexes.

#include "tests/portability/handle_support.h"
#include "tests/support/failing_calls.h"

#include <cerrno>
#include <cstdint>
#include <limits>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace {

using namespace zor::test;

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

} // namespace
