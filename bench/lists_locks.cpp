// The shared/exclusive lock and its lists, beside what a user would call instead and beside the floor that the lock's
// algorithm sets: its spin lock is two interlocked exchanges, each through one process-wide mutex, and a hold takes and
// leaves that spin lock twice.

#include "zorcomn/lists_locks.h"

#include "bench/compare.h"

#include <atomic>
#include <forward_list>
#include <list>
#include <mutex>
#include <shared_mutex>
#include <thread>
#include <vector>

#ifdef ZORCOMN_HAS_GLIB
#include <glib.h>
#endif

namespace {

using namespace zor::bench;
using benchmark::DoNotOptimize;

// The C library takes short cuts until a process has started its first thread; a program with locks has.
const bool isProcessReady = [] {
    std::thread([] {}).join();
    return qeSO_ProcessAttach() != 0xFFFFFFFFu && qeSO_ThreadAttach() != 0;
}();

class AttachedThread {
public:
    AttachedThread() { qeSO_ThreadAttach(); }
    ~AttachedThread() { qeSO_ThreadDetach(); }
    AttachedThread(const AttachedThread &) = delete;
    AttachedThread &operator=(const AttachedThread &) = delete;
};

struct OurLock {
    OurLock() { qeSO_SELockCreate(&lock); }
    ~OurLock() { qeSO_Release(lock); }
    void takeExclusive() { qeSO_SELockExclusive(lock, 1); }
    void takeShared() { qeSO_SELockSharedWaitForExclusive(lock, 1); }
    void releaseExclusive() { qeSO_SELockRelease(lock); }
    void releaseShared() { qeSO_SELockRelease(lock); }
    qeSELock *lock = nullptr;
};

struct StandardLock {
    void takeExclusive() { lock.lock(); }
    void takeShared() { lock.lock_shared(); }
    void releaseExclusive() { lock.unlock(); }
    void releaseShared() { lock.unlock_shared(); }
    std::shared_mutex lock;
};

#ifdef ZORCOMN_HAS_GLIB
struct GlibLock {
    GlibLock() { g_rw_lock_init(&lock); }
    void takeExclusive() { g_rw_lock_writer_lock(&lock); }
    void takeShared() { g_rw_lock_reader_lock(&lock); }
    void releaseExclusive() { g_rw_lock_writer_unlock(&lock); }
    void releaseShared() { g_rw_lock_reader_unlock(&lock); }
    GRWLock lock;
};
#endif

/** The spin lock alone, as often as a hold takes it. It keeps nobody out between. */
struct SpinFloor {
    void twice() {
        qeSL_Get(&cell);
        qeSL_Release(&cell);
    }
    void takeExclusive() { twice(); }
    void takeShared() { twice(); }
    void releaseExclusive() { twice(); }
    void releaseShared() { twice(); }
    volatile int32_t cell = 0;
};

template <class Lock> void holdExclusive() {
    static Lock lock;
    lock.takeExclusive();
    lock.releaseExclusive();
}

template <class Lock> void holdShared() {
    static Lock lock;
    lock.takeShared();
    lock.releaseShared();
}

template <class Other> void addUncontended(const std::string &other) {
    addCalls("lock, one thread/exclusive/" + other, holdExclusive<OurLock>, holdExclusive<Other>);
    addCalls("lock, one thread/shared/" + other, holdShared<OurLock>, holdShared<Other>);
}

/** What the lock guards: a pair that writers change and readers compare. */
struct Guarded {
    uint64_t first = 0, second = 0;
};

constexpr int64_t kHolds = 64 * 500; // of all threads together

/** Holds by so many threads at once, of which writers of every ten are exclusive. */
template <class Lock> int64_t contend(int threads, int writers) {
    Lock lock;
    Guarded guarded;
    std::atomic<int> arrived{0};
    std::atomic<int64_t> done{0};
    const auto work = [&](int turn) {
        const AttachedThread attached;
        for (++arrived; arrived < threads;)
            std::this_thread::yield();
        int64_t held = 0;
        for (int64_t i = 0; i < kHolds / threads; ++i)
            if (turn++ % 10 < writers) {
                lock.takeExclusive();
                guarded.second = ++guarded.first;
                lock.releaseExclusive();
                ++held;
            } else {
                lock.takeShared();
                DoNotOptimize(guarded.first == guarded.second);
                lock.releaseShared();
                ++held;
            }
        done += held;
    };
    std::vector<std::thread> others;
    for (int i = 1; i < threads; ++i)
        others.emplace_back(work, i);
    work(0);
    for (std::thread &other : others)
        other.join();
    return done;
}

template <class Other> void addContended(const std::string &other) {
    constexpr struct {
        const char *name;
        int writers;
    } kMixes[] = {{"readers", 0}, {"one writer in ten", 1}, {"writers", 10}};
    for (const auto &mix : kMixes)
        for (const int threads : {1, 2, 4, 8, 16, 32, 64})
            add("lock, threads/" + std::string(mix.name) + ", " + std::to_string(threads) + " threads/" + other, 7,
                [=](benchmark::State &state) {
                    compareWork(
                        state, kHolds, [] {}, [=] { return contend<OurLock>(threads, mix.writers); },
                        [=] { return contend<Other>(threads, mix.writers); });
                });
}

constexpr int64_t kHandOvers = 2000, kSleepyHandOvers = 100;

/** A hold long enough for who waits to go to sleep; one switch by itself. */
void holdForLong() {
    timespec length = {};
    length.tv_nsec = 500000;
    nanosleep(&length, nullptr);
}

/** Runs half of the hand-overs in another thread. */
template <class Work> int64_t inTwoThreads(Work work) {
    int64_t held = 0;
    std::thread other([&] { held = work(1); });
    const int64_t ownHeld = work(0);
    other.join();
    return held + ownHeld;
}

/** Two threads that hand one lock to each other: each holds it until the other has asked for it. What is left is the
 * way from one's release to the other's hold. */
int64_t handOverByLock(int64_t count, bool isLong) {
    OurLock lock;
    std::atomic<int> asking{0}; // threads that are about to take it
    std::atomic<bool> isOver{false};
    return inTwoThreads([&](int) {
        const AttachedThread attached;
        int64_t held = 0;
        for (; held < count / 2; ++held) {
            ++asking;
            lock.takeExclusive();
            --asking;
            while (!isLong && asking == 0 && !isOver)
                std::this_thread::yield();
            if (isLong)
                holdForLong();
            lock.releaseExclusive();
        }
        isOver = true;
        return held;
    });
}

/** The same by an event for each thread, as the lock wakes who is next: one wait, one reset, one set. */
int64_t handOverByEvents(int64_t count, bool isLong) {
    const HANDLE turns[] = {qelCreateEvent(nullptr, 1, 1, nullptr), qelCreateEvent(nullptr, 1, 0, nullptr)};
    const int64_t held = inTwoThreads([&](int own) {
        int64_t turn = 0;
        for (; turn < count / 2; ++turn) {
            qelWaitForSingleObject(turns[own], 0xFFFFFFFFu);
            qelResetEvent(turns[own]);
            if (isLong)
                holdForLong();
            qelSetEvent(turns[1 - own]);
        }
        return turn;
    });
    for (const HANDLE event : turns)
        qelCloseHandle(event);
    return held;
}

void addHandOver(const std::string &what, int64_t count, bool isLong, int rounds) {
    add("lock, hand-over/" + what + "/two events", rounds, [=](benchmark::State &state) {
        compareWork(
            state, count, [] {}, [=] { return handOverByLock(count, isLong); },
            [=] { return handOverByEvents(count, isLong); });
    });
}

qeSELock *newLock() {
    qeSELock *lock = nullptr;
    qeSO_SELockCreate(&lock);
    return lock;
}

/** The two holds that the lists' contract asks for, with nothing in them. */
void twoHolds() {
    static qeSELock *const lock = newLock();
    for (int i = 0; i < 2; ++i) {
        qeSO_SELockExclusive(lock, 1);
        qeSO_SELockRelease(lock);
    }
}

void addLists() {
    static qeSLL *list = nullptr;
    static qeSLL2 *row = nullptr;
    qeSLL_Create(&list);
    qeSLL2_Create(&row);
    const auto pushAndPop = [] {
        static qeLLNode node{};
        qeSLL_XInsertHead(list, &node);
        DoNotOptimize(qeSLL_XRemoveHead(list));
    };
    const auto appendAndTake = [] {
        static qeLL2Node node{};
        qeSLL2_XInsertTail(row, &node);
        DoNotOptimize(qeSLL2_XRemoveHead(row));
    };
    addCalls("lists/push and pop, single links/two holds of the lock", pushAndPop, twoHolds);
    addCalls("lists/push and pop, double links/two holds of the lock", appendAndTake, twoHolds);
    addCalls("lists/push and pop, single links/forward_list under a mutex", pushAndPop, [] {
        static std::mutex mutex;
        static std::forward_list<int> standard;
        {
            const std::lock_guard<std::mutex> hold(mutex);
            standard.push_front(1);
        }
        const std::lock_guard<std::mutex> hold(mutex);
        DoNotOptimize(standard.front());
        standard.pop_front();
    });
}

const bool areAdded = [] {
    addUncontended<SpinFloor>("its spin lock alone");
    addUncontended<StandardLock>("std::shared_mutex");
#ifdef ZORCOMN_HAS_GLIB
    addUncontended<GlibLock>("GRWLock");
#else
    addMissing("lock, one thread/exclusive/GRWLock", "libglib2.0-dev");
#endif
    addLists();
    addHandOver("to a thread that waits", kHandOvers, false, 31);
    addHandOver("to a thread that sleeps, holds of half a millisecond", kSleepyHandOvers, true, 11);
    addContended<SpinFloor>("its spin lock alone");
    addContended<StandardLock>("std::shared_mutex");
    return isProcessReady;
}();

} // namespace
