#pragma once

// The one fork policy for the library's process-wide state. A child has one thread, and finds every mutex as it was in
// the moment of the fork: what another thread held would stay locked for ever. Waiting before each fork until nobody
// holds a mutex would be no answer, since a DllMain runs under one for as long as it likes and may itself wait for the
// forking thread. So the child repairs: before fork returns there, every registered mutex is made free again, unless
// the forking thread itself holds it, and what a process remembers about itself is forgotten. For that to be enough, a
// table is changed by single stores, so that it is whole at every instant.
//
// The C library has locks of its own behind some calls (rand, localtime_r, setenv, dlopen, iconv_open) that no child
// gets back. Those calls are made under a ForkDelay, for which forks do wait, for half a second at most.
//
// One line beside a process-wide mutex registers it, when the library is loaded and not on first use:
//
//     pthread_mutex_t tableMutex = PTHREAD_MUTEX_INITIALIZER;
//     const zor::ForkRepair tableForks(tableMutex);
//
// A mutex inside an object that a caller owns is not registered: what other threads held there stays held.

#include "source/platform/posix.h"

#include <atomic>
#include <cstdint>

#include <pthread.h>

namespace zor {

/** Registers, for the life of the process, what a child puts right. For objects at namespace scope alone. */
class ForkRepair {
public:
    /** The mutex, statically initialised and of the default kind, is free in a child. */
    explicit ForkRepair(pthread_mutex_t &mutex) : ForkRepair(&mutex, nullptr) {}
    /** Called in a child. */
    explicit ForkRepair(void (*action)()) : ForkRepair(nullptr, action) {}
    ForkRepair(const ForkRepair &) = delete;
    ForkRepair &operator=(const ForkRepair &) = delete;

    /** Whether the system took the registration; if not, nothing may be remembered that a child must forget. */
    static bool isAvailable();

private:
    friend class HeldThroughFork;
    friend void repairForkedChild();

    ForkRepair(pthread_mutex_t *mutex, void (*action)());
    void repair();

    pthread_mutex_t *m_mutex;
    void (*m_action)();
    std::atomic<pthread_t> m_holder; // who holds the mutex and may be forking; 0: nobody
    ForkRepair *m_next;
};

/** Around other people's code that runs under a registered mutex, which this thread holds: should that code fork, the
 * child goes on holding the mutex, and its way back unlocks it. */
class HeldThroughFork {
public:
    explicit HeldThroughFork(ForkRepair &registered) : m_registered(registered) {
        registered.m_holder.store(pthread_self(), std::memory_order_relaxed);
    }
    ~HeldThroughFork() { end(); }
    HeldThroughFork(const HeldThroughFork &) = delete;
    HeldThroughFork &operator=(const HeldThroughFork &) = delete;

private:
    void end() { m_registered.m_holder.store(pthread_t(), std::memory_order_relaxed); }

    ForkRepair &m_registered;
    ThreadEndHandler m_atThreadEnd{[](void *self) { static_cast<HeldThroughFork *>(self)->end(); }, this};
};

/** Around a call of the C library that takes a lock there which no child gets back. It locks nothing, so no order with
 * other locks is to be kept: forks of other threads wait until no such call is under way, new calls wait until the fork
 * is done, and whoever has waited for half a second goes on all the same. */
class ForkDelay {
public:
    ForkDelay();
    ~ForkDelay() { end(); }
    ForkDelay(const ForkDelay &) = delete;
    ForkDelay &operator=(const ForkDelay &) = delete;

private:
    void end();

    uint32_t m_generation; // of this process; a child has not begun the calls of its parent
    ThreadEndHandler m_atThreadEnd{[](void *self) { static_cast<ForkDelay *>(self)->end(); }, this};
};

/** Runs something once per process, and again in a child that was forked in the middle of it. Beside one, at namespace
 * scope: ForkRepair for its mutex. (The language's own guard of a local static hangs in such a child.) */
class FirstCall {
public:
    constexpr FirstCall() = default;
    FirstCall(const FirstCall &) = delete;
    FirstCall &operator=(const FirstCall &) = delete;

    template <class Body> void run(Body body) {
        if (m_isDone.load(std::memory_order_acquire))
            return;
        const MutexLock lock(m_mutex);
        if (m_isDone.load(std::memory_order_relaxed))
            return;
        body();
        m_isDone.store(true, std::memory_order_release);
    }
    Mutex &mutex() { return m_mutex; }

private:
    std::atomic<bool> m_isDone{false};
    Mutex m_mutex = PTHREAD_MUTEX_INITIALIZER;
};

} // namespace zor
