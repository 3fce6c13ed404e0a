// The shared/exclusive lock and its lists, beside what a user would call instead (std::shared_mutex; std::forward_list
// under std::mutex) and beside the floor that the lock's algorithm sets: its spin lock is two interlocked exchanges,
// each through one process-wide mutex, and a hold takes and leaves that spin lock twice.

#include "zorcomn/lists_locks.h"

#include <forward_list>
#include <mutex>
#include <shared_mutex>
#include <thread>

#include <benchmark/benchmark.h>

namespace {

// The C library takes short cuts until a process has started its first thread; a program with locks has.
const bool isProcessReady = [] {
    std::thread([] {}).join();
    return qeSO_ProcessAttach() != 0xFFFFFFFFu;
}();

class AttachedThread {
public:
    AttachedThread() { qeSO_ThreadAttach(); }
    ~AttachedThread() { qeSO_ThreadDetach(); }
    AttachedThread(const AttachedThread &) = delete;
    AttachedThread &operator=(const AttachedThread &) = delete;
};

/** What the lock guards: a pair that writers change and readers compare. */
struct Guarded {
    uint64_t first = 0;
    uint64_t second = 0;
    void write() {
        ++first;
        ++second;
    }
    bool read() const { return first == second; }
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

/** The spin lock's exchanges alone, in the number and order in which a hold makes them. */
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

void exchangeFloor(benchmark::State &state) {
    volatile int32_t cell = 0;
    for (auto _ : state) {
        for (int hold = 0; hold < 2; ++hold) {
            benchmark::DoNotOptimize(qelInterlockedExchange(&cell, 1));
            qelInterlockedExchange(&cell, 0);
        }
    }
}

template <class Lock> void exclusive(benchmark::State &state) {
    AttachedThread attached;
    Lock lock;
    for (auto _ : state) {
        lock.takeExclusive();
        lock.releaseExclusive();
    }
}

template <class Lock> void shared(benchmark::State &state) {
    AttachedThread attached;
    Lock lock;
    for (auto _ : state) {
        lock.takeShared();
        lock.releaseShared();
    }
}

/** Holds per second over all threads, of which writers of every ten are exclusive. */
template <class Lock, int writers> void contended(benchmark::State &state) {
    static Lock lock;
    static Guarded guarded;
    AttachedThread attached;
    int turn = state.thread_index();
    for (auto _ : state) {
        if (turn++ % 10 < writers) {
            lock.takeExclusive();
            guarded.write();
            lock.releaseExclusive();
        } else {
            lock.takeShared();
            benchmark::DoNotOptimize(guarded.read());
            lock.releaseShared();
        }
    }
    state.SetItemsProcessed(state.iterations());
}

void synchronizedList(benchmark::State &state) {
    AttachedThread attached;
    qeSLL *list = nullptr;
    qeSLL_Create(&list);
    qeLLNode node{};
    for (auto _ : state) {
        qeSLL_XInsertHead(list, &node);
        benchmark::DoNotOptimize(qeSLL_XRemoveHead(list));
    }
    qeSLL_Release(list);
}

void synchronizedRow(benchmark::State &state) {
    AttachedThread attached;
    qeSLL2 *list = nullptr;
    qeSLL2_Create(&list);
    qeLL2Node node{};
    for (auto _ : state) {
        qeSLL2_XInsertTail(list, &node);
        benchmark::DoNotOptimize(qeSLL2_XRemoveHead(list));
    }
    qeSLL2_Release(list);
}

void standardList(benchmark::State &state) {
    std::mutex mutex;
    std::forward_list<int> list;
    for (auto _ : state) {
        {
            std::lock_guard<std::mutex> hold(mutex);
            list.push_front(1);
        }
        std::lock_guard<std::mutex> hold(mutex);
        benchmark::DoNotOptimize(list.front());
        list.pop_front();
    }
}

BENCHMARK(exchangeFloor);
BENCHMARK(exclusive<OurLock>)->Name("exclusive/ours");
BENCHMARK(exclusive<StandardLock>)->Name("exclusive/shared_mutex");
BENCHMARK(shared<OurLock>)->Name("shared/ours");
BENCHMARK(shared<StandardLock>)->Name("shared/shared_mutex");

#define CONTENDED(writers, name)                                                                                       \
    BENCHMARK(contended<OurLock, writers>)->Name(name "/ours")->Threads(2)->Threads(4)->Threads(8)->UseRealTime();     \
    BENCHMARK(contended<SpinFloor, writers>)                                                                           \
        ->Name(name "/spin floor")                                                                                     \
        ->Threads(2)                                                                                                   \
        ->Threads(4)                                                                                                   \
        ->Threads(8)                                                                                                   \
        ->UseRealTime();                                                                                               \
    BENCHMARK(contended<StandardLock, writers>)                                                                        \
        ->Name(name "/shared_mutex")                                                                                   \
        ->Threads(2)                                                                                                   \
        ->Threads(4)                                                                                                   \
        ->Threads(8)                                                                                                   \
        ->UseRealTime()
CONTENDED(0, "readers");
CONTENDED(1, "one writer in ten");
CONTENDED(10, "writers");

BENCHMARK(synchronizedList)->Name("push and pop/qeSLL");
BENCHMARK(synchronizedRow)->Name("push and pop/qeSLL2");
BENCHMARK(standardList)->Name("push and pop/forward_list under mutex");

} // namespace
