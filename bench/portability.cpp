// The portability layer beside what a program would call instead: pthreads and the standard library. Read the rows as
// pairs, layer over plain. What is agreed: set + wait, ping-pong and interlocked at most 1.2 times the plain way,
// creating and closing an event at most 2.0 times new and two pthread_..._init, a thread at most 1.2 times std::thread,
// the value of an index at most 2 times pthread_getspecific.

#include "zorcomn/portability.h"

#include "bench/compare.h"
#include "tests/support/temporary_folder.h"

#include <atomic>
#include <cstdint>
#include <cstring>
#include <string>
#include <thread>

#include <benchmark/benchmark.h>
#include <dirent.h>
#include <fnmatch.h>
#include <pthread.h>
#include <sys/stat.h>

namespace {

constexpr uint32_t kInfinite = 0xFFFFFFFFu;

/** An event as one would write it with pthreads. */
class PlainEvent {
public:
    PlainEvent() {
        pthread_cond_init(&m_condition, nullptr);
        pthread_mutex_init(&m_guard, nullptr);
    }
    __attribute__((noinline)) bool set() {
        if (pthread_mutex_lock(&m_guard) != 0)
            return false;
        m_isSet = true;
        const bool woken = pthread_cond_broadcast(&m_condition) == 0;
        return pthread_mutex_unlock(&m_guard) == 0 && woken;
    }
    __attribute__((noinline)) bool reset() {
        if (pthread_mutex_lock(&m_guard) != 0)
            return false;
        m_isSet = false;
        return pthread_mutex_unlock(&m_guard) == 0;
    }
    __attribute__((noinline)) bool wait() {
        if (pthread_mutex_lock(&m_guard) != 0)
            return false;
        while (!m_isSet)
            pthread_cond_wait(&m_condition, &m_guard);
        return pthread_mutex_unlock(&m_guard) == 0;
    }

private:
    bool m_isSet = false;
    pthread_cond_t m_condition;
    pthread_mutex_t m_guard;
};

/** The same operations on an event of the layer. */
class LayerEvent {
public:
    ~LayerEvent() { qelCloseHandle(m_event); }
    bool set() { return qelSetEvent(m_event) == 1; }
    bool reset() { return qelResetEvent(m_event) == 1; }
    bool wait() { return qelWaitForSingleObject(m_event, kInfinite) == 2; }

private:
    HANDLE m_event = qelCreateEvent(nullptr, 1, 0, nullptr);
};

template <class Event> void setAndWait(benchmark::State &state) {
    Event event;
    for (auto _ : state) {
        benchmark::DoNotOptimize(event.set());
        benchmark::DoNotOptimize(event.wait());
    }
}
BENCHMARK_TEMPLATE(setAndWait, LayerEvent);
BENCHMARK_TEMPLATE(setAndWait, PlainEvent);

/** Two threads that wake each other in turn. */
template <class Event> void pingPong(benchmark::State &state) {
    Event ping, pong;
    std::atomic<bool> isOver{false};
    std::thread partner([&] {
        while (ping.wait() && ping.reset() && !isOver)
            pong.set();
    });
    for (auto _ : state) {
        ping.set();
        pong.wait();
        pong.reset();
    }
    isOver = true;
    ping.set();
    partner.join();
}
BENCHMARK_TEMPLATE(pingPong, LayerEvent)->UseRealTime();
BENCHMARK_TEMPLATE(pingPong, PlainEvent)->UseRealTime();

void createAndCloseLayerEvent(benchmark::State &state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(qelCloseHandle(qelCreateEvent(nullptr, 1, 0, nullptr)));
}
BENCHMARK(createAndCloseLayerEvent);

void createAndDeletePlainEvent(benchmark::State &state) {
    for (auto _ : state) {
        auto *event = new PlainEvent;
        benchmark::DoNotOptimize(event);
        delete event;
    }
}
BENCHMARK(createAndDeletePlainEvent);

uint32_t returnNothing(void *) {
    return 0;
}

void startWaitAndCloseLayerThread(benchmark::State &state) {
    for (auto _ : state) {
        const HANDLE thread = qelBeginThread(nullptr, 0, returnNothing, nullptr, 0, nullptr);
        qelWaitForSingleObject(thread, kInfinite);
        qelCloseHandle(thread);
    }
}
BENCHMARK(startWaitAndCloseLayerThread)->UseRealTime();

void startAndJoinStandardThread(benchmark::State &state) {
    for (auto _ : state)
        std::thread([] { benchmark::ClobberMemory(); }).join();
}
BENCHMARK(startAndJoinStandardThread)->UseRealTime();

void getLayerValue(benchmark::State &state) {
    const uint32_t index = qelTlsAlloc();
    qelTlsSetValue(index, &state);
    for (auto _ : state)
        benchmark::DoNotOptimize(qelTlsGetValue(index));
    qelTlsFree(index);
}
BENCHMARK(getLayerValue);

void getPlainValue(benchmark::State &state) {
    pthread_key_t key;
    pthread_key_create(&key, nullptr);
    pthread_setspecific(key, &state);
    for (auto _ : state)
        benchmark::DoNotOptimize(pthread_getspecific(key));
    pthread_key_delete(key);
}
BENCHMARK(getPlainValue);

void incrementByLayer(benchmark::State &state) {
    volatile int32_t value = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(qelInterlockedIncrement(&value));
}
BENCHMARK(incrementByLayer);

pthread_mutex_t plainMutex = PTHREAD_MUTEX_INITIALIZER;

__attribute__((noinline)) int32_t incrementPlainly(volatile int32_t *value) {
    pthread_mutex_lock(&plainMutex);
    const int32_t result = *value = *value + 1;
    pthread_mutex_unlock(&plainMutex);
    return result;
}

void incrementUnderPlainMutex(benchmark::State &state) {
    volatile int32_t value = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(incrementPlainly(&value));
}
BENCHMARK(incrementUnderPlainMutex);

// For scale: what would need no mutex, but is not the layer's promise.
void incrementAtomic(benchmark::State &state) {
    std::atomic<int32_t> value{0};
    for (auto _ : state)
        benchmark::DoNotOptimize(++value);
}
BENCHMARK(incrementAtomic);

int64_t searchWithLibrary(const std::string &folder) {
    qelFindData data;
    const int32_t search = qelFindFirstDirEnt((folder + "/file*.log").c_str(), &data);
    int64_t count = 0;
    if (search == -1)
        return count;
    do
        count += data.lastWriteTime != 0;
    while (qelFindNextDirEnt(search, &data) == 1);
    qelFindCloseDirEnt(search);
    return count;
}

int64_t searchByHand(const std::string &folder) {
    DIR *const stream = opendir(folder.c_str());
    char path[520];
    std::memcpy(path, folder.c_str(), folder.size());
    path[folder.size()] = '/';
    int64_t count = 0;
    while (const dirent *entry = readdir(stream)) {
        if (fnmatch("file*.log", entry->d_name, 0) != 0)
            continue;
        std::strcpy(path + folder.size() + 1, entry->d_name);
        struct stat facts;
        count += stat(path, &facts) == 0 && facts.st_mtime != 0;
    }
    closedir(stream);
    return count;
}

void search(benchmark::State &state) {
    const zor::test::TemporaryFolder folder;
    zor::bench::makeFiles(folder.path(), state.range(0));
    zor::bench::compare(
        state, state.range(0), [] {}, [&] { return searchWithLibrary(folder.path()); },
        [&] { return searchByHand(folder.path()); });
}
BENCHMARK(search)->Arg(1000)->Arg(10000)->Arg(40000)->Iterations(31)->UseManualTime()->Unit(benchmark::kMillisecond);

} // namespace
