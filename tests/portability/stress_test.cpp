// Many threads on the portability layer at once, for a second or two; the sanitizers are the judges. Waits are infinite
// or take whole seconds, since any other time-out is refused once in a million times.

#include "zorcomn/portability.h"

#include "tests/support/child.h"

#include <atomic>
#include <cstdint>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace {

using namespace zor::test;

constexpr uint32_t kInfinite = 0xFFFFFFFFu;

// What callers share without a lock, each by its name in tests/tsan.supp.
__attribute__((noinline)) bool isSharedErrorTextBounded(const char *text) {
    return strnlen(text, 511) <= 510;
}
__attribute__((noinline)) int32_t readSharedErrorCell() {
    return nErrno;
}

template <class Body> void runThreads(int count, Body body) {
    std::vector<std::thread> threads;
    for (int thread = 0; thread < count; ++thread)
        threads.emplace_back([thread, &body] { body(thread); });
    for (std::thread &thread : threads)
        thread.join();
}

TEST(Stress, HandlesCreatedSignalledWaitedOnAndClosed) {
    const HANDLE tick = qelCreateEvent(nullptr, 1, 0, nullptr);
    const HANDLE turn = qelCreateMutex(nullptr, 0, nullptr);
    volatile int32_t finished = 0;
    long guarded = 0; // by turn
    runThreads(8, [&](int thread) {
        for (int round = 0; round < 2000; ++round) {
            const HANDLE own = qelCreateEvent(nullptr, 1, round % 2, nullptr);
            EXPECT_EQ(qelWaitForSingleObject(own, 0), round % 2 ? 2u : 3u);
            EXPECT_EQ(thread % 2 ? qelSetEvent(tick) : qelResetEvent(tick), 1);
            EXPECT_EQ(qelWaitForSingleObject(turn, round % 2 ? kInfinite : 60000), 2u);
            ++guarded;
            EXPECT_EQ(qelReleaseMutex(turn), 1);
            const HANDLE both[] = {tick, own};
            EXPECT_EQ(qelSetEvent(own), 1);
            EXPECT_LE(qelWaitForMultipleObjects(2, both, 0, round % 256 ? 0 : 1000), 3u);
            EXPECT_EQ(qelCloseHandle(own), 1);
        }
        qelInterlockedIncrement(&finished);
    });
    EXPECT_EQ(qelInterlockedExchange(&finished, 0), 8);
    EXPECT_EQ(guarded, 8 * 2000);
    EXPECT_EQ(qelCloseHandle(tick), 1);
    EXPECT_EQ(qelCloseHandle(turn), 1);
}

uint32_t useTls(void *) {
    const uint32_t index = qelTlsAlloc();
    qelTlsSetValue(index, &nErrno);
    qelTlsGetValue(0);
    return 0;
}

TEST(Stress, ThreadsEndingWhileTheirHandleIsClosed) {
    EXPECT_TRUE(childPasses([] {
        runThreads(4, [](int thread) {
            for (int round = 0; round < 600; ++round) {
                const HANDLE started = qelCreateThread(nullptr, 0, useTls, nullptr, 0, nullptr);
                ASSERT_NE(started, nullptr);
                switch ((round + thread) % 4) {
                case 0:
                    break;
                case 1:
                    EXPECT_EQ(qelWaitForSingleObject(started, kInfinite), 2u);
                    break;
                case 2:
                    EXPECT_EQ(qelSetEvent(started), 1);
                    break;
                default:
                    EXPECT_EQ(qelResetEvent(started), 1);
                }
                EXPECT_EQ(qelCloseHandle(started), 1);
            }
        });
    }));
}

TEST(Stress, LibrariesLoadedAndFreed) {
    EXPECT_TRUE(childPasses([] {
        const char *const kNames[] = {"full", "dllmain", "strings", "bare"};
        std::atomic<int> freed{0};
        runThreads(4, [&](int thread) {
            for (int round = 0; round < 600; ++round) {
                const char *text = nullptr;
                const std::string path =
                    std::string(ZORCOMN_TEST_MODULES "/module_") + kNames[(round + thread) % 4] + ".so";
                void *const module = qelLoadLibrary(path.c_str(), &text);
                ASSERT_NE(module, nullptr);
                EXPECT_NE(qelGetProcAddress(module, "answer", nullptr), nullptr);
                qelGetProcAddress(module, "question", nullptr);
                EXPECT_EQ(qelDisableThreadLibraryCalls(module), 1);
                EXPECT_EQ(qelLoadLibrary(ZORCOMN_TEST_MODULES "/module_unresolved.so", &text), nullptr);
                EXPECT_TRUE(isSharedErrorTextBounded(text));
                freed += qelFreeLibrary(module);
                EXPECT_EQ(qelFreeLibrary(&freed), 0);
                EXPECT_EQ(readSharedErrorCell(), 22);
            }
        });
        EXPECT_EQ(freed, 4 * 600);
        for (const qelDynamicLibrary *entry : pDynamicLibraryList)
            EXPECT_EQ(entry, nullptr);
    }));
}

// One thread's free is every other's refusal.
TEST(Stress, OneLibraryFreedByManyAtOnce) {
    EXPECT_TRUE(childPasses([] {
        for (int round = 0; round < 300; ++round) {
            void *const module = qelLoadLibrary(ZORCOMN_TEST_MODULES "/module_full.so", nullptr);
            ASSERT_NE(module, nullptr);
            std::atomic<int> freed{0};
            runThreads(4, [&](int) { freed += qelFreeLibrary(module); });
            EXPECT_EQ(freed, 1);
        }
    }));
}

} // namespace
