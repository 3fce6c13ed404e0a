// The portability layer beside what a program would call instead: pthreads, the standard library, and the layers of
// other projects.

#include "zorcomn/portability.h"

#include "bench/compare.h"
#include "tests/support/temporary_folder.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <thread>

#include <dirent.h>
#include <dlfcn.h>
#include <fnmatch.h>
#include <pthread.h>
#include <sys/stat.h>

#ifdef ZORCOMN_HAS_LIBUV
#include <uv.h>
#endif
#ifdef ZORCOMN_HAS_LIBUUID
#include <uuid.h>
#endif
#ifdef ZORCOMN_HAS_WINPR
#include "bench/winpr.h"
#endif

namespace {

using namespace zor::bench;
using benchmark::DoNotOptimize;

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

#ifdef ZORCOMN_HAS_LIBUV
class UvEvent {
public:
    UvEvent() {
        uv_mutex_init(&m_guard);
        uv_cond_init(&m_condition);
    }
    bool set() {
        uv_mutex_lock(&m_guard);
        m_isSet = true;
        uv_cond_broadcast(&m_condition);
        uv_mutex_unlock(&m_guard);
        return true;
    }
    bool reset() {
        uv_mutex_lock(&m_guard);
        m_isSet = false;
        uv_mutex_unlock(&m_guard);
        return true;
    }
    bool wait() {
        uv_mutex_lock(&m_guard);
        while (!m_isSet)
            uv_cond_wait(&m_condition, &m_guard);
        uv_mutex_unlock(&m_guard);
        return true;
    }

private:
    bool m_isSet = false;
    uv_mutex_t m_guard;
    uv_cond_t m_condition;
};
#endif

template <class Event> void setAndWait() {
    static Event event;
    DoNotOptimize(event.set());
    DoNotOptimize(event.wait());
}

constexpr int64_t kTurns = 2000;

/** Two threads that wake each other in turn. */
template <class Event> int64_t pingPong() {
    Event ping, pong;
    std::thread partner([&] {
        for (int64_t turn = 0; turn < kTurns && ping.wait() && ping.reset(); ++turn)
            pong.set();
    });
    int64_t turns = 0;
    while (turns < kTurns && ping.set() && pong.wait() && pong.reset())
        ++turns;
    partner.join();
    return turns;
}

template <class Other> void addEvents(const std::string &other) {
    addCalls("events/set and wait/" + other, setAndWait<LayerEvent>, setAndWait<Other>);
    add("events/ping-pong of two threads/" + other, 31, [](benchmark::State &state) {
        compareWork(
            state, kTurns, [] {}, pingPong<LayerEvent>, pingPong<Other>);
    });
    addCalls(
        "events/create and close/" + other,
        [] { DoNotOptimize(qelCloseHandle(qelCreateEvent(nullptr, 1, 0, nullptr))); },
        [] { DoNotOptimize(std::make_unique<Other>()); });
}

uint32_t returnNothing(void *) {
    return 0;
}

void startWaitAndClose() {
    const HANDLE thread = qelBeginThread(nullptr, 0, returnNothing, nullptr, 0, nullptr);
    qelWaitForSingleObject(thread, kInfinite);
    qelCloseHandle(thread);
}

void addThreads() {
    addCalls("threads/start, wait and close/std::thread", startWaitAndClose,
             [] { std::thread([] { benchmark::ClobberMemory(); }).join(); });
    static const uint32_t index = qelTlsAlloc();
    static const pthread_key_t key = [] {
        pthread_key_t created;
        pthread_key_create(&created, nullptr);
        return created;
    }();
    addCalls(
        "threads/value of an index/pthread_getspecific", [] { DoNotOptimize(qelTlsGetValue(index)); },
        [] { DoNotOptimize(pthread_getspecific(key)); });
}

pthread_mutex_t plainMutex = PTHREAD_MUTEX_INITIALIZER;

__attribute__((noinline)) int32_t incrementPlainly(volatile int32_t *value) {
    pthread_mutex_lock(&plainMutex);
    const int32_t result = *value = *value + 1;
    pthread_mutex_unlock(&plainMutex);
    return result;
}

volatile int32_t counted = 0;

void addInterlocked() {
    const auto ours = [] { DoNotOptimize(qelInterlockedIncrement(&counted)); };
    addCalls("interlocked/increment/pthread mutex", ours, [] { DoNotOptimize(incrementPlainly(&counted)); });
    // For scale: what needs no mutex, but is not the layer's promise.
#ifdef ZORCOMN_HAS_WINPR
    addCalls("interlocked/increment/WinPR", ours, [] { DoNotOptimize(winprIncrement(&counted)); });
#else
    addMissing("interlocked/increment/WinPR", "libwinpr2-dev");
#endif
}

void addGuids() {
    static qelGuid guid;
    static char text[37];
    const auto ours = [] { DoNotOptimize(qelUuidToStringA(qelCoCreateGuid(&guid), text)); };
#ifdef ZORCOMN_HAS_LIBUUID
    addCalls("GUIDs/by time, as text/libuuid", ours, [] {
        uuid_t made;
        uuid_generate_time(made);
        uuid_unparse_lower(made, text);
        benchmark::ClobberMemory();
    });
    addCalls("GUIDs/by time, as text/libuuid, random", ours, [] {
        uuid_t made;
        uuid_generate_random(made);
        uuid_unparse_lower(made, text);
        benchmark::ClobberMemory();
    });
#else
    addMissing("GUIDs/by time, as text/libuuid", "uuid-dev");
#endif
}

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

void addSearches() {
    add("files/search among 1,000/readdir, fnmatch and stat", 31, [](benchmark::State &state) {
        const zor::test::TemporaryFolder folder;
        makeFiles(folder.path(), 1000);
        compareWork(
            state, 1000, [] {}, [&] { return searchWithLibrary(folder.path()); },
            [&] { return searchByHand(folder.path()); });
    });
    for (const int64_t count : {1000, 10000, 100000, 1000000})
        add("growth/directory entries/" + std::to_string(count), count < 100000 ? 9 : 2, [=](benchmark::State &state) {
            const zor::test::TemporaryFolder folder;
            makeFiles(folder.path(), count);
            compareWork(
                state, count, [] {}, [&] { return searchWithLibrary(folder.path()); },
                [&] { return searchByHand(folder.path()); });
        });
}

/** So many events at once, made and closed. */
int64_t holdLayerEvents(int64_t count) {
    std::vector<HANDLE> events(static_cast<size_t>(count));
    for (HANDLE &event : events)
        event = qelCreateEvent(nullptr, 1, 1, nullptr);
    int64_t closed = 0;
    for (const HANDLE event : events)
        closed += qelWaitForSingleObject(event, 0) == 2 && qelCloseHandle(event) == 1;
    return closed;
}

int64_t holdPlainEvents(int64_t count) {
    std::vector<std::unique_ptr<PlainEvent>> events(static_cast<size_t>(count));
    for (auto &event : events) {
        event = std::make_unique<PlainEvent>();
        event->set();
    }
    int64_t closed = 0;
    for (auto &event : events) {
        closed += event->wait();
        event.reset();
    }
    return closed;
}

void addHandles() {
    for (const int64_t count : {1000, 10000, 100000, 1000000})
        add("growth/open handles/" + std::to_string(count), 9, [=](benchmark::State &state) {
            compareWork(
                state, count, [] {}, [=] { return holdLayerEvents(count); }, [=] { return holdPlainEvents(count); });
        });
}

/** So many searches open at once, each begun, read on and closed. */
int64_t openSearches(const std::string &pattern, int64_t count) {
    std::array<int32_t, 50> searches{};
    qelFindData data;
    for (int64_t i = 0; i < count; ++i)
        searches[static_cast<size_t>(i)] = qelFindFirstDirEnt(pattern.c_str(), &data);
    int64_t closed = 0;
    for (int64_t i = 0; i < count; ++i)
        closed += qelFindCloseDirEnt(searches[static_cast<size_t>(i)]) == 1;
    return closed;
}

int64_t openFolders(const std::string &folder, int64_t count) {
    std::array<DIR *, 50> streams{};
    for (int64_t i = 0; i < count; ++i) {
        streams[static_cast<size_t>(i)] = opendir(folder.c_str());
        readdir(streams[static_cast<size_t>(i)]);
    }
    int64_t closed = 0;
    for (int64_t i = 0; i < count; ++i)
        closed += closedir(streams[static_cast<size_t>(i)]) == 0;
    return closed;
}

int64_t loadLibraries(int64_t count) {
    std::array<void *, 50> modules{};
    for (int64_t i = 0; i < count; ++i)
        modules[static_cast<size_t>(i)] = qelLoadLibrary("libm.so.6", nullptr);
    int64_t freed = 0;
    for (int64_t i = 0; i < count; ++i)
        freed += qelFreeLibrary(modules[static_cast<size_t>(i)]) == 1;
    return freed;
}

int64_t openLibraries(int64_t count) {
    std::array<void *, 50> modules{};
    for (int64_t i = 0; i < count; ++i)
        modules[static_cast<size_t>(i)] = dlopen("libm.so.6", RTLD_LAZY);
    int64_t freed = 0;
    for (int64_t i = 0; i < count; ++i)
        freed += dlclose(modules[static_cast<size_t>(i)]) == 0;
    return freed;
}

void addTables() {
    for (const int64_t count : {1, 10, 25, 48}) {
        add("growth/open searches/" + std::to_string(count), 101, [=](benchmark::State &state) {
            const zor::test::TemporaryFolder folder;
            folder.write("file", "");
            compareWork(
                state, count, [] {}, [&] { return openSearches(folder / "*", count); },
                [&] { return openFolders(folder.path(), count); });
        });
        add("growth/loaded libraries/" + std::to_string(count), 101, [=](benchmark::State &state) {
            compareWork(
                state, count, [] {}, [=] { return loadLibraries(count); }, [=] { return openLibraries(count); });
        });
    }
}

const bool areAdded = [] {
    addEvents<PlainEvent>("pthread condition and mutex");
#ifdef ZORCOMN_HAS_WINPR
    addEvents<WinprEvent>("WinPR");
#else
    addMissing("events/set and wait/WinPR", "libwinpr2-dev");
#endif
#ifdef ZORCOMN_HAS_LIBUV
    addEvents<UvEvent>("libuv condition and mutex");
#else
    addMissing("events/set and wait/libuv", "libuv1-dev");
#endif
    addThreads();
    addInterlocked();
    addGuids();
    addSearches();
    addHandles();
    addTables();
    return true;
}();

} // namespace
