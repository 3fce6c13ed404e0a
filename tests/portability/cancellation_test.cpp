// Threads with a cancellation pending: what the header does not call a cancellation point runs to its end, whatever it
// calls below, and is followed by the cancellation and not by half a result.

#include "zorcomn/lists_locks.h"
#include "zorcomn/portability.h"

#include "source/lists_locks/shared_exclusive_lock.h"
#include "tests/support/child.h"
#include "tests/support/descriptors.h"
#include "tests/support/failing_calls.h"

#include <functional>
#include <memory>
#include <string>

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <pthread.h>

namespace {

using namespace zor::test;

/** How far a thread came that was to be cancelled from the start. */
struct Cancelled {
    std::function<void()> operation;
    const char *call = nullptr; // after which the thread looks whether it is cancelled
    bool wasReached = false;
    bool hasReturned = false;
};

void *runCancelled(void *argument) {
    auto &plan = *static_cast<Cancelled *>(argument);
    const AfterCall look(plan.call ? plan.call : "pthread_attr_init", 1, [&plan] {
        plan.wasReached = true;
        pthread_testcancel();
    });
    pthread_cancel(pthread_self());
    plan.operation();
    plan.hasReturned = true;
    pthread_testcancel();
    return nullptr;
}

/** Runs an operation on a thread with a cancellation pending; expects it to return, and the thread to be cancelled. */
void expectUncancelled(std::function<void()> operation, const char *call = nullptr) {
    Cancelled plan{std::move(operation), call};
    pthread_t thread;
    ASSERT_EQ(pthread_create(&thread, nullptr, runCancelled, &plan), 0);
    void *result = nullptr;
    ASSERT_EQ(pthread_join(thread, &result), 0);
    EXPECT_TRUE(plan.wasReached || !call);
    EXPECT_TRUE(plan.hasReturned);
    EXPECT_EQ(result, PTHREAD_CANCELED);
}

std::string modulePath(const std::string &name) {
    return std::string(ZORCOMN_TEST_MODULES "/module_") + name + ".so";
}

// In a child, where it is the first GUID of the process: that one opens a socket.
TEST(Cancellation, OfAThreadThatCreatesAGuid_LeavesNothingOpen) {
    EXPECT_TRUE(childPasses([] {
        const size_t before = openDescriptors();
        qelGuid guid{};
        expectUncancelled([&] { EXPECT_EQ(qelCoCreateGuid(&guid), &guid); }, "socket");
        EXPECT_EQ(guid.Data4[0] & 0xC0, 0x80);
        EXPECT_EQ(openDescriptors(), before);
    }));
}

TEST(Cancellation, OfAThreadThatAsksForTheTime_Waits) {
    EXPECT_TRUE(childPasses([] {
        qelSystemTime time{};
        expectUncancelled([&] { qelGetSystemTime(&time); }, "localtime_r");
        EXPECT_GE(time.year, 1970u);
        qelGetSystemTime(&time);
    }));
}

// The module's constructor looks whether its thread is cancelled.
TEST(Cancellation, OfAThreadThatLoads_Waits) {
    EXPECT_TRUE(childPasses(
        [] {
            const std::string path = modulePath("cancellable");
            const std::wstring widePath(path.begin(), path.end());
            expectUncancelled([&] {
                void *const module = qelLoadLibrary(path.c_str(), nullptr);
                EXPECT_NE(module, nullptr);
                EXPECT_EQ(qelFreeLibrary(module), 1);
            });
            expectUncancelled([&] {
                void *const module = qelLoadLibraryW(widePath.c_str(), nullptr);
                EXPECT_NE(module, nullptr);
                EXPECT_EQ(qelFreeLibrary(module), 1);
            });
            expectUncancelled([&] {
                void *handle = nullptr;
                EXPECT_EQ(load_shared_object_image(&handle, path.c_str(), nullptr), 1);
                EXPECT_EQ(unload_shared_object_image(handle), 1);
            });
        },
        20));
}

int32_t lookWhetherCancelled(void *, uint32_t, void *) {
    pthread_testcancel();
    return 1;
}

TEST(Cancellation, OfAThreadInADllMain_WaitsForTheLoadAndTheFree) {
    EXPECT_TRUE(childPasses(
        [] {
            const std::string path = modulePath("dllmain");
            void *const opened = dlopen(path.c_str(), RTLD_LAZY);
            ASSERT_NE(opened, nullptr);
            *static_cast<qelDllMain *>(dlsym(opened, "onDllMain")) = lookWhetherCancelled;
            expectUncancelled([&] {
                EXPECT_EQ(qelLoadLibrary(path.c_str(), nullptr), opened);
                EXPECT_EQ(qelFreeLibrary(opened), 1);
            });
            EXPECT_EQ(pDynamicLibraryList[0], nullptr);
        },
        20));
}

uint32_t lookAndEnd(uint32_t, uint32_t, uint32_t, uint32_t) {
    pthread_testcancel();
    return 0;
}

TEST(Cancellation, OfAThreadInANotifyCallback_WaitsForTheRelease) {
    qeSELock *lock = nullptr;
    ASSERT_EQ(qeSO_SELockCreate(&lock), 0u);
    ASSERT_EQ(qeSO_SELockExclusive(lock, 0), 1);
    EXPECT_EQ(qeSO_SELockExclusiveNotify(lock, lookAndEnd, 1, 2), 0);
    EXPECT_EQ(qeSO_SELockExclusiveNotify(lock, lookAndEnd, 3, 4), 0);
    const std::unique_ptr<zor::NotifyRegistration> withdrawn( // not freed by the withdrawal
        reinterpret_cast<zor::NotifyRegistration *>(lock->registrations));
    expectUncancelled([lock] { EXPECT_EQ(qeSO_SELockExclusiveUnnotify(lock, lookAndEnd, 3, 4), 1); });
    expectUncancelled([lock] { qeSO_SELockRelease(lock); });
    EXPECT_EQ(qeSO_SELockExclusive(lock, 0), 1);
    qeSO_Release(lock);
}

} // namespace
