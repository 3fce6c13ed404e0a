// Children of a process whose other threads are inside the library at the fork: each test stops another thread at the
// very moment, with a process-wide mutex held, and the child goes on all the same.

#include "zorcomn/lists_locks.h"
#include "zorcomn/portability.h"
#include "zorcomn/session.h"
#include "zorcomn/utilities.h"

#include "source/platform/fork.h"
#include "source/platform/posix.h"
#include "source/portability/dynamic_libraries.h"
#include "tests/support/child.h"
#include "tests/support/eventually.h"
#include "tests/support/failing_calls.h"

#include <algorithm>
#include <atomic>
#include <functional>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sched.h>
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

namespace {

using namespace zor::test;

constexpr int kChildSeconds = 20;

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define __SANITIZE_ADDRESS__ 1
#endif
#endif
#if defined(__SANITIZE_ADDRESS__)
constexpr bool kHasAddressSanitizer = true;
#else
constexpr bool kHasAddressSanitizer = false;
#endif

std::string modulePath(const std::string &name) {
    return std::string(ZORCOMN_TEST_MODULES "/module_") + name + ".so";
}

void search() {
    qelFindData data;
    const int32_t found = qelFindFirstDirEnt("/*", &data);
    EXPECT_GE(found, 1);
    EXPECT_EQ(qelFindCloseDirEnt(found), 1);
}

void loadAndFree() {
    void *const module = qelLoadLibrary(modulePath("bare").c_str(), nullptr);
    EXPECT_NE(module, nullptr);
    EXPECT_EQ(qelFreeLibrary(module), 1);
}

void freeStranger() {
    EXPECT_EQ(qelFreeLibrary(&nErrno), 0);
}

void increment() {
    volatile int32_t value = 6;
    EXPECT_EQ(qelInterlockedIncrement(&value), 7);
}

void exchange() {
    volatile int32_t value = 6;
    EXPECT_EQ(qelInterlockedExchange(&value, 7), 6);
}

void insert() {
    qeSLL *list = nullptr;
    qeLLNode node{};
    EXPECT_EQ(qeSLL_Create(&list), 0u);
    qeSLL_XInsertHead(list, &node);
    EXPECT_EQ(qeSLL_XRemoveHead(list), &node);
    qeSLL_Release(list);
}

void allocateIndex() {
    const uint32_t index = qelTlsAlloc();
    EXPECT_LT(index, 512u);
    EXPECT_EQ(qelTlsSetValue(index, &nErrno), 1);
    EXPECT_EQ(qelTlsGetValue(index), &nErrno);
    EXPECT_EQ(qelTlsFree(index), 1);
}

void convertUtc() {
    std::tm utc{};
    utc.tm_year = 70;
    utc.tm_mday = 2;
    EXPECT_EQ(velmora_com::vta::zorcomn_timegm(&utc), 86400);
}

void log() {
    EXPECT_TRUE(velmora_com::vta::LogInSystemLog(velmora_com::vta::SyslogInfo, "%s", "a test's message"));
}

void createGuid() {
    qelGuid guid{};
    EXPECT_EQ(qelCoCreateGuid(&guid), &guid);
}

void tellTime() {
    qelSystemTime time{};
    qelGetSystemTime(&time);
    EXPECT_GE(time.year, 1970u);
}

void convertInvalidText() {
    EXPECT_EQ(velmora_com::vta::qelcomn_ansi_to_wide("abc\xFF"), L"abc"); // opens a converter
}

/** Another thread in the middle of an operation: right after the nth mutex that it locks there. */
class StoppedThread {
public:
    StoppedThread(std::function<void()> operation, int nth, const char *call = "pthread_mutex_lock")
        : m_thread([this, operation = std::move(operation), nth, call] {
              const AfterCall stop(call, nth, [this] {
                  m_isInside = true;
                  while (!m_mayGoOn)
                      sched_yield();
              });
              operation();
              EXPECT_TRUE(stop.wasReached());
          }) {
        EXPECT_TRUE(eventually([this] { return m_isInside.load(); }));
    }
    ~StoppedThread() {
        m_mayGoOn = true;
        m_thread.join();
    }
    StoppedThread(const StoppedThread &) = delete;
    StoppedThread &operator=(const StoppedThread &) = delete;

private:
    std::atomic<bool> m_isInside{false}, m_mayGoOn{false};
    std::thread m_thread;
};

void expectChildGoesOn(void (*operation)(), int nth, void (*before)() = nullptr) {
    EXPECT_TRUE(childPasses([=] {
        if (before)
            before();
        const StoppedThread other(operation, nth);
        EXPECT_TRUE(childPasses(operation, kChildSeconds));
        EXPECT_TRUE(childPasses([=] { EXPECT_TRUE(childPasses(operation, kChildSeconds)) << "a child's child"; }));
    }));
}

TEST(Forks, DuringInterlockedOperations_LeaveTheChildFree) {
    expectChildGoesOn(increment, 1);
    expectChildGoesOn(exchange, 1);
    expectChildGoesOn(insert, 1); // the spin lock of a list, which is another list in the child
}

TEST(Forks, DuringSearches_LeaveTheChildFree) {
    expectChildGoesOn(search, 1);
    expectChildGoesOn(search, 1, search); // a later search than the first one locks the table alone
}

TEST(Forks, DuringTheFirstAllocationOfAnIndex_LeaveTheChildFree) {
    expectChildGoesOn(allocateIndex, 1);
}

TEST(Forks, DuringLoadingAndFreeing_LeaveTheChildFree) {
    expectChildGoesOn(loadAndFree, 1); // the table
    expectChildGoesOn(loadAndFree, 2); // the entry's guard as well
    expectChildGoesOn(freeStranger, 1);
}

TEST(Forks, DuringTimeAndLog_LeaveTheChildFree) {
    expectChildGoesOn(convertUtc, 1);
    expectChildGoesOn(log, 1);
}

// What another thread holds is free in the child; what the forking thread itself holds in a DllMain is not.
TEST(Forks, ExportedMutexesOfAnotherThread_AreFreeInAChild) {
    EXPECT_TRUE(childPasses([] {
        for (pthread_mutex_t *mutex :
             {&MutexInterlockedLong, &MutexInterlockedExchange, &MutexDirEnt, &MutexDynamicLibraryList}) {
            const StoppedThread other([mutex] { zor::MutexLock lock(*mutex); }, 1);
            EXPECT_TRUE(childPasses([mutex] {
                EXPECT_EQ(pthread_mutex_trylock(mutex), 0);
                EXPECT_EQ(pthread_mutex_unlock(mutex), 0);
            }));
        }
    }));
}

pid_t forkedInDllMain;
uint32_t reasonToFork;

int32_t forkOnce(void *, uint32_t reason, void *) {
    if (reason == reasonToFork)
        forkedInDllMain = fork();
    EXPECT_EQ(pthread_mutex_trylock(&MutexDynamicLibraryList), EBUSY);
    EXPECT_EQ(qelFreeLibrary(&nErrno), 0) << "a stranger, which is told so at once";
    return 1;
}

void forkIn(uint32_t reason) {
    reasonToFork = reason;
    forkedInDllMain = -1;
    const std::string path = modulePath("dllmain");
    void *const opened = dlopen(path.c_str(), RTLD_LAZY);
    ASSERT_NE(opened, nullptr);
    *static_cast<qelDllMain *>(dlsym(opened, "onDllMain")) = forkOnce;
    void *const module = qelLoadLibrary(path.c_str(), nullptr);
    EXPECT_EQ(module, opened);
    EXPECT_EQ(qelFreeLibrary(module), 1);
    EXPECT_EQ(pthread_mutex_trylock(&MutexDynamicLibraryList), 0) << "given free by the load and the free";
    EXPECT_EQ(pthread_mutex_unlock(&MutexDynamicLibraryList), 0);
    loadAndFree();
    if (forkedInDllMain == 0)
        _exit(::testing::Test::HasFailure() ? 1 : 0);
    int status = -1;
    ASSERT_EQ(waitpid(forkedInDllMain, &status, 0), forkedInDllMain);
    EXPECT_EQ(status, 0);
}

TEST(Forks, DllMainThatForks_GoesOnInTheChild) {
    EXPECT_TRUE(childPasses([] { forkIn(1); }, kChildSeconds));
    EXPECT_TRUE(childPasses([] { forkIn(0); }, kChildSeconds));
}

std::atomic<bool> isDetaching, mayDetach;

int32_t stopInDetach(void *, uint32_t reason, void *) {
    if (reason == 0) {
        isDetaching = true;
        while (!mayDetach)
            sched_yield();
    }
    return 1;
}

// Seen by the child alone: an entry whose last use another thread was giving back counts as gone.
TEST(Forks, DuringTheLastFree_LeaveNoHalfClosedModule) {
    EXPECT_TRUE(childPasses([] {
        const std::string path = modulePath("dllmain");
        void *const opened = dlopen(path.c_str(), RTLD_LAZY);
        ASSERT_NE(opened, nullptr);
        *static_cast<qelDllMain *>(dlsym(opened, "onDllMain")) = stopInDetach;
        void *const module = qelLoadLibrary(path.c_str(), nullptr);
        std::thread other([module] { EXPECT_EQ(qelFreeLibrary(module), 1); });
        ASSERT_TRUE(eventually([] { return isDetaching.load(); }));
        EXPECT_TRUE(childPasses(
            [&] {
                mayDetach = true;
                nErrno = 0;
                EXPECT_EQ(qelFreeLibrary(module), 0) << "freed already";
                EXPECT_EQ(nErrno, 22);
                EXPECT_EQ(qelLoadLibrary(path.c_str(), nullptr), module);
                EXPECT_EQ(pDynamicLibraryList[0]->referenceCount, 1);
                EXPECT_EQ(qelFreeLibrary(module), 1);
                EXPECT_EQ(pDynamicLibraryList[0], nullptr);
            },
            kChildSeconds));
        mayDetach = true;
        other.join();
    }));
}

// The system's own locks behind rand() and its like come to no child, so a fork waits for the end of the call. The
// thread that it waits for hears of the fork by a handler that runs before the library's, being registered later.
std::atomic<bool> isForking, hasEnded;

TEST(Forks, DuringAShortCallOfTheSystem_WaitForItsEnd) {
    EXPECT_TRUE(childPasses([] {
        ASSERT_EQ(pthread_atfork([] { isForking = true; }, nullptr, nullptr), 0);
        constexpr struct {
            const char *call;
            void (*operation)();
        } kRows[] = {
            {"rand", createGuid}, {"localtime_r", tellTime}, {"dlopen", loadAndFree}, {"dlclose", loadAndFree}};
        for (const auto &[name, shortCall] : kRows) {
            SCOPED_TRACE(name);
            isForking = hasEnded = false;
            std::atomic<bool> isInside{false};
            std::thread other([&, call = name, operation = shortCall] {
                const AfterCall stop(call, 1, [&] {
                    isInside = true;
                    while (!isForking)
                        sched_yield();
                    for (int turn = 0; turn < 20; ++turn)
                        sched_yield();
                    hasEnded = true;
                });
                operation();
                EXPECT_TRUE(stop.wasReached());
            });
            ASSERT_TRUE(eventually([&] { return isInside.load(); }));
            EXPECT_TRUE(childPasses(
                [operation = shortCall] {
                    EXPECT_TRUE(hasEnded);
                    operation();
                },
                kChildSeconds));
            other.join();
        }
    }));
}

// Bounded: a thread that never gets through holds no fork up for good.
TEST(Forks, DuringACallThatDoesNotEnd_GoOn) {
    EXPECT_TRUE(childPasses([] {
        const StoppedThread other(tellTime, 1, "localtime_r");
        EXPECT_TRUE(childPasses(createGuid, kChildSeconds));
    }));
}

// A thread that ends in the middle of it all, on a system that unwinds it or not, is no reason to wait any more.
TEST(Forks, ThreadThatEndedInAShortCall_HoldsNobodyUp) {
    EXPECT_TRUE(childPasses([] {
        const auto endInCall = [](void *) -> void * {
            const zor::ForkDelay delay;
            pthread_exit(nullptr);
        };
        pthread_t thread;
        ASSERT_EQ(pthread_create(&thread, nullptr, endInCall, nullptr), 0);
        ASSERT_EQ(pthread_join(thread, nullptr), 0);
        const AfterCall waiting("sched_yield", 1, [] {});
        const pid_t child = fork();
        if (child == 0)
            _exit(0);
        EXPECT_EQ(waitpid(child, nullptr, 0), child);
        EXPECT_FALSE(waiting.wasReached());
    }));
}

int32_t endThread(void *, uint32_t, void *) {
    pthread_exit(nullptr);
}

void forkWhileAnotherHoldsTheTable(void *) {
    const StoppedThread other([] { zor::MutexLock lock(MutexDynamicLibraryList); }, 1);
    EXPECT_TRUE(childPasses(loadAndFree, kChildSeconds)) << "the thread counts as the table's holder";
}

void *endInDllMain(void *path) {
    pthread_cleanup_push(forkWhileAnotherHoldsTheTable, nullptr); // run after the library's own
    qelLoadLibrary(static_cast<const char *>(path), nullptr);
    pthread_cleanup_pop(0);
    return path;
}

TEST(Forks, OfAThreadThatEndsInDllMain_LeaveTheChildFree) {
    EXPECT_TRUE(childPasses([] {
        std::string path = modulePath("dllmain");
        void *const opened = dlopen(path.c_str(), RTLD_LAZY);
        ASSERT_NE(opened, nullptr);
        *static_cast<qelDllMain *>(dlsym(opened, "onDllMain")) = endThread;
        pthread_t thread;
        void *result = nullptr;
        ASSERT_EQ(pthread_create(&thread, nullptr, endInDllMain, path.data()), 0);
        ASSERT_EQ(pthread_join(thread, &result), 0);
        EXPECT_EQ(result, nullptr);
    }));
}

// A child whose parent's other threads do everything at once, again and again.
TEST(Forks, ChildrenOfABusyProcess_Work) {
    if (kHasAddressSanitizer)
        GTEST_SKIP() << "the sanitizer's allocator may be locked for good in a child";
    EXPECT_TRUE(childPasses([] {
        const std::vector<void (*)()> operations{log,           loadAndFree, increment,    exchange,
                                                 insert,        search,      freeStranger, convertUtc,
                                                 allocateIndex, createGuid,  tellTime,     convertInvalidText};
        std::atomic<bool> isOver{false};
        std::vector<std::thread> others;
        for (const auto operation : operations) {
            others.emplace_back([&isOver, operation] {
                while (!isOver) {
                    operation();
                    sched_yield(); // on a busy machine it would else be descheduled with its mutex held, mostly
                }
            });
        }
        for (int child = 0; child < 20; ++child) {
            EXPECT_TRUE(childPasses(
                [&] {
                    for (const auto operation : operations)
                        operation();
                },
                kChildSeconds));
        }
        isOver = true;
        for (auto &other : others)
            other.join();
    }));
}

TEST(Forks, OwnTokenAndHolds_GoOnInTheChild) {
    EXPECT_TRUE(childPasses([] {
        ASSERT_LT(qeSO_ProcessAttach(), 512u);
        ASSERT_EQ(qeSO_ThreadAttach(), 1u);
        qeSELock *lock = nullptr;
        ASSERT_EQ(qeSO_SELockCreate(&lock), 0u);
        ASSERT_EQ(qeSO_SELockExclusive(lock, 1), 1);
        EXPECT_TRUE(childPasses(
            [lock] {
                EXPECT_EQ(qeSO_SELockExclusive(lock, 0), 1) << "its own";
                std::atomic<bool> isRefused{false};
                std::thread other([&] {
                    EXPECT_EQ(qeSO_ThreadAttach(), 1u);
                    EXPECT_EQ(qeSO_SELockExclusive(lock, 0), 0);
                    isRefused = true;
                    EXPECT_EQ(qeSO_SELockExclusive(lock, 1), 1);
                    qeSO_SELockRelease(lock);
                    qeSO_ThreadDetach();
                });
                EXPECT_TRUE(eventually([&] { return isRefused.load(); }));
                qeSO_SELockRelease(lock);
                qeSO_SELockRelease(lock);
                other.join();
            },
            kChildSeconds));
        EXPECT_EQ(qeSO_SELockExclusive(lock, 0), 1) << "still held in the parent";
    }));
}

} // namespace
