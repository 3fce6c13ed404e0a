// The fork handlers, registered once for the whole library when it is loaded: what was registered first use by first
// use could itself be caught half done by a fork.

#include "source/platform/fork.h"

#include <ctime>

#include <sched.h>

namespace zor {

namespace {

std::atomic<ForkRepair *> firstRepair{nullptr}; // pushed to when the library is loaded, walked by children

std::atomic<int32_t> callsUnderWay{0};
std::atomic<int32_t> forksUnderWay{0};
std::atomic<uint32_t> generation{0};

bool isThisThread(const std::atomic<pthread_t> &thread) {
    const pthread_t value = thread.load(std::memory_order_relaxed);
    return value != pthread_t() && pthread_equal(value, pthread_self()) != 0;
}

/** Bounded: a thread may fork on top of the very call that it would wait for, in a signal handler or a constructor. */
void waitUntilNone(const std::atomic<int32_t> &count) {
    constexpr int kYields = 100, kMilliseconds = 500;
    const CleanUpScope quiet;
    timespec millisecond = {};
    millisecond.tv_nsec = 1000000;
    for (int turn = 0; turn < kYields + kMilliseconds && count.load() != 0; ++turn) {
        if (turn < kYields)
            sched_yield();
        else
            nanosleep(&millisecond, nullptr);
    }
}

void beginFork() {
    forksUnderWay.fetch_add(1);
    waitUntilNone(callsUnderWay);
}

void endFork() {
    forksUnderWay.fetch_sub(1);
}

} // namespace

void repairForkedChild() {
    forksUnderWay.store(0);
    callsUnderWay.store(0);
    generation.fetch_add(1);
    for (ForkRepair *entry = firstRepair.load(std::memory_order_acquire); entry; entry = entry->m_next)
        entry->repair();
}

namespace {

const bool isRegistered = pthread_atfork(beginFork, endFork, repairForkedChild) == 0;

} // namespace

ForkRepair::ForkRepair(pthread_mutex_t *mutex, void (*action)())
    : m_mutex(mutex), m_action(action), m_holder(pthread_t()), m_next(firstRepair.load(std::memory_order_relaxed)) {
    while (!firstRepair.compare_exchange_weak(m_next, this, std::memory_order_release, std::memory_order_relaxed)) {
    }
}

bool ForkRepair::isAvailable() {
    return isRegistered;
}

void ForkRepair::repair() {
    if (m_action)
        m_action();
    if (!m_mutex || isThisThread(m_holder))
        return;
    static const pthread_mutex_t kFree = PTHREAD_MUTEX_INITIALIZER;
    m_holder.store(pthread_t(), std::memory_order_relaxed);
    *m_mutex = kFree; // pthread_mutex_destroy would refuse one that another thread held
}

ForkDelay::ForkDelay() : m_generation(generation.load()) {
    callsUnderWay.fetch_add(1);
    if (forksUnderWay.load() == 0)
        return;
    callsUnderWay.fetch_sub(1);
    waitUntilNone(forksUnderWay);
    callsUnderWay.fetch_add(1);
}

void ForkDelay::end() {
    if (m_generation == generation.load())
        callsUnderWay.fetch_sub(1);
}

} // namespace zor
