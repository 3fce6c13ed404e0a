// Threads and their handles, ending in either order. Ends of threads free the process's thread-local indices, so what
// counts allocations or indices runs in a child.

#include "zorcomn/portability.h"

#include "source/portability/handles.h"
#include "source/portability/threads.h"
#include "tests/support/child.h"
#include "tests/support/eventually.h"
#include "tests/support/failing_calls.h"

#include <atomic>
#include <cstdint>
#include <vector>

#include <gtest/gtest.h>
#include <pthread.h>

namespace {

using namespace zor::test;

constexpr int32_t kUntouched = -7;
constexpr uint32_t kInfinite = 0xFFFFFFFFu;
const HANDLE kAllOnes = reinterpret_cast<HANDLE>(~static_cast<uintptr_t>(0));

HANDLE begin(qelThreadStart start, void *argument = nullptr) {
    return qelBeginThread(nullptr, 0, start, argument, 0, nullptr);
}

uint32_t returnNothing(void *) {
    return 0;
}

/** A thread that ends when it is told to. */
struct Gate {
    HANDLE open = qelCreateEvent(nullptr, 1, 0, nullptr);
    HANDLE passed = qelCreateEvent(nullptr, 1, 0, nullptr);
    ~Gate() {
        qelCloseHandle(open);
        qelCloseHandle(passed);
    }
};

uint32_t waitAtGate(void *gate) {
    qelWaitForSingleObject(static_cast<Gate *>(gate)->open, kInfinite);
    return qelSetEvent(static_cast<Gate *>(gate)->passed) == 1 ? 0 : 1;
}

TEST(BeginThread, Thread_RunsWithItsArgumentDetached) {
    struct Seen {
        void *argument = nullptr;
        int detachState = -1;
        pthread_t self = {};
    } seen;
    const HANDLE thread = begin(
        [](void *argument) -> uint32_t {
            auto *result = static_cast<Seen *>(argument);
            result->argument = argument;
            result->self = pthread_self();
            pthread_attr_t attributes;
            pthread_getattr_np(pthread_self(), &attributes);
            pthread_attr_getdetachstate(&attributes, &result->detachState);
            pthread_attr_destroy(&attributes);
            return 0;
        },
        &seen);
    ASSERT_NE(thread, kAllOnes);
    EXPECT_EQ(zor::recordOf(thread).type, 2);
    EXPECT_EQ(zor::recordOf(thread).referenceCount, 1);
    EXPECT_EQ(qelWaitForSingleObject(thread, kInfinite), 2u);
    EXPECT_EQ(seen.argument, &seen);
    EXPECT_EQ(seen.detachState, PTHREAD_CREATE_DETACHED);
    EXPECT_TRUE(pthread_equal(*static_cast<pthread_t *>(zor::recordOf(thread).objectData), seen.self));
    EXPECT_EQ(qelWaitForSingleObject(thread, 0), 2u) << "it stays signalled";
    EXPECT_EQ(qelCloseHandle(thread), 1);
}

TEST(BeginThread, ThreadIdentifier_IsZero_Kept) {
    uint32_t identifier = 77;
    const HANDLE thread = qelBeginThread(nullptr, 1, returnNothing, nullptr, 4, &identifier);
    EXPECT_EQ(identifier, 0u);
    EXPECT_EQ(qelWaitForSingleObject(thread, kInfinite), 2u);
    set_pthread_sched_param(thread);
    EXPECT_EQ(qelCloseHandle(thread), 1);
    identifier = 77;
    const HANDLE created = qelCreateThread(nullptr, 1, returnNothing, nullptr, 4, &identifier);
    EXPECT_EQ(identifier, 0u);
    EXPECT_EQ(qelWaitForSingleObject(created, kInfinite), 2u);
    EXPECT_EQ(qelCloseHandle(created), 1);
}

TEST(BeginThread, NoStartRoutine_IsRefused) {
    nErrno = kUntouched;
    EXPECT_EQ(begin(nullptr), kAllOnes);
    EXPECT_EQ(nErrno, 22);
    EXPECT_EQ(qelCreateThread(nullptr, 0, nullptr, nullptr, 0, nullptr), nullptr);
}

TEST(Thread, Running_IsNotSignalled) {
    Gate gate;
    const HANDLE thread = begin(waitAtGate, &gate);
    EXPECT_EQ(qelWaitForSingleObject(thread, 20), 3u);
    EXPECT_EQ(zor::recordOf(thread).signalled, 0);
    EXPECT_EQ(qelSetEvent(gate.open), 1);
    EXPECT_EQ(qelWaitForSingleObject(thread, kInfinite), 2u);
    EXPECT_EQ(qelCloseHandle(thread), 1);
}

uint32_t exitThread(void *) {
    pthread_exit(nullptr);
}

uint32_t cancelSelf(void *) {
    pthread_cancel(pthread_self());
    pthread_testcancel();
    return 0;
}

TEST(Thread, EndedByExit_IsSignalled) {
    const HANDLE thread = begin(exitThread);
    EXPECT_EQ(qelWaitForSingleObject(thread, kInfinite), 2u);
    EXPECT_EQ(qelCloseHandle(thread), 1);
}

TEST(Thread, EndedByCancellation_IsSignalled) {
    const HANDLE thread = begin(cancelSelf);
    EXPECT_EQ(qelWaitForSingleObject(thread, kInfinite), 2u);
    EXPECT_EQ(qelCloseHandle(thread), 1);
}

TEST(Thread, CancelledAsleep_IsSignalled) {
    ZORCOMN_SKIP_WITHOUT_CANCELLATION();
    Gate gate; // which stays shut
    const HANDLE thread = begin(waitAtGate, &gate);
    EXPECT_EQ(pthread_cancel(*static_cast<pthread_t *>(zor::recordOf(thread).objectData)), 0);
    EXPECT_EQ(qelWaitForSingleObject(thread, kInfinite), 2u);
    EXPECT_EQ(qelCloseHandle(thread), 1);
}

// A wait can be satisfied before the ending thread has the guard.
TEST(Thread, End_IsStoredBeforeTheLock_Kept) {
    Gate gate;
    const HANDLE thread = begin(waitAtGate, &gate);
    zor::HandleObject &record = zor::recordOf(thread);
    pthread_mutex_lock(&record.guard);
    EXPECT_EQ(qelSetEvent(gate.open), 1);
    EXPECT_TRUE(eventually([&] { return zor::isSignalled(record); }));
    pthread_mutex_unlock(&record.guard);
    EXPECT_EQ(qelWaitForSingleObject(thread, kInfinite), 2u);
    EXPECT_EQ(qelCloseHandle(thread), 1);
}

TEST(Thread, ClosedWhileRunning_SignalsTheDummy) {
    EXPECT_TRUE(childPasses([] {
        Gate gate;
        AllocationScope allocations;
        const HANDLE thread = begin(waitAtGate, &gate);
        int32_t *const *const slot = zor::recordOf(thread).threadLink;
        EXPECT_EQ(*slot, &zor::recordOf(thread).signalled);
        EXPECT_EQ(qelCloseHandle(thread), 1);
        EXPECT_EQ(*slot, &bDummyThreadSignalled);
        EXPECT_EQ(qelSetEvent(gate.open), 1);
        EXPECT_TRUE(eventually([&] { return allocations.live() == 0; })) << "the thread frees its start block";
        EXPECT_EQ(bDummyThreadSignalled, 1);
    }));
}

// The handle's flag says nothing about the thread: anybody may set or reset it.
TEST(Thread, ClosedAfterItsFlagWasChanged_TouchesNoFreedMemory) {
    EXPECT_TRUE(childPasses([] {
        Gate gate;
        AllocationScope allocations;
        const HANDLE running = begin(waitAtGate, &gate);
        EXPECT_EQ(qelSetEvent(running), 1);
        EXPECT_EQ(qelCloseHandle(running), 1);
        EXPECT_EQ(qelSetEvent(gate.open), 1);
        EXPECT_TRUE(eventually([&] { return allocations.live() == 0; }));

        const HANDLE ended = begin(returnNothing);
        EXPECT_EQ(qelWaitForSingleObject(ended, kInfinite), 2u);
        EXPECT_EQ(qelResetEvent(ended), 1);
        EXPECT_EQ(qelCloseHandle(ended), 1);
        EXPECT_TRUE(eventually([&] { return allocations.live() == 0; }));
    }));
}

// The ending thread has signalled the record and is about to lock its guard.
TEST(Thread, ClosedBetweenSignalAndBroadcast_TouchesNoFreedMemory) {
    EXPECT_TRUE(childPasses([] {
        Gate gate;
        AllocationScope allocations;
        const HANDLE thread = begin(waitAtGate, &gate);
        zor::HandleObject &record = zor::recordOf(thread);
        pthread_mutex_lock(&record.guard);
        EXPECT_EQ(qelSetEvent(gate.open), 1);
        EXPECT_TRUE(eventually([&] { return zor::isSignalled(record); }));
        zor::closeThread(&record);
        EXPECT_EQ(allocations.live(), 3u) << "handle, identifier and start block are the thread's now";
        pthread_mutex_unlock(&record.guard);
        EXPECT_TRUE(eventually([&] { return allocations.live() == 0; }));
    }));
}

TEST(Thread, ClosedAfterItsEnd_LeavesNothingAllocated) {
    EXPECT_TRUE(childPasses([] {
        AllocationScope allocations;
        for (const qelThreadStart start : {returnNothing, exitThread, cancelSelf}) {
            const HANDLE thread = begin(start);
            EXPECT_EQ(qelWaitForSingleObject(thread, kInfinite), 2u);
            EXPECT_EQ(qelCloseHandle(thread), 1);
            EXPECT_TRUE(eventually([&] { return allocations.live() == 0; }));
        }
    }));
}

TEST(Thread, ClosedWhileItEnds_LeavesNothingAllocated) {
    EXPECT_TRUE(childPasses([] {
        AllocationScope allocations;
        for (int round = 0; round < 300; ++round)
            EXPECT_EQ(qelCloseHandle(begin(returnNothing)), 1);
        EXPECT_TRUE(eventually([&] { return allocations.live() == 0; }));
    }));
}

uint32_t returnAllOnes(void *argument) {
    *static_cast<bool *>(argument) = true;
    return 0xFFFFFFFFu;
}

TEST(ThreadJuggle, StartBlock_IsRunSignalledAndFreed) {
    EXPECT_TRUE(childPasses([] {
        bool ran = false;
        AllocationScope allocations;
        auto *block = new zor::ThreadStart{nullptr, nullptr, &bDummyThreadSignalled, returnAllOnes, &ran, nullptr};
        EXPECT_EQ(qelThreadJuggle(block), reinterpret_cast<void *>(static_cast<uintptr_t>(0xFFFFFFFFu)));
        EXPECT_TRUE(ran);
        EXPECT_EQ(allocations.live(), 0u);
    }));
}

TEST(ThreadJuggle, NoStartBlock_DoesNothing) {
    EXPECT_EQ(qelThreadJuggle(nullptr), nullptr);
    qelCleanupThread(nullptr);
}

} // namespace
