// Events: made, set and reset.

#include "tests/portability/handle_support.h"

#include <atomic>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace {

using namespace zor::test;

TEST(CreateEvent, ManualResetNotExactly1_IsRefused) {
    for (const int32_t manualReset : {0, 2, -1})
        expectResult<HANDLE>(nullptr, 22, [=] { return qelCreateEvent(nullptr, manualReset, 1, nullptr); });
}

TEST(CreateEvent, Name_IsRefusedUnlessEmpty) {
    expectResult<HANDLE>(nullptr, 22, [] { return qelCreateEvent(nullptr, 1, 1, "name"); });
    expectResult<HANDLE>(nullptr, 22, [] { return qelCreateEvent(nullptr, 1, 1, "\xFF"); });
    nErrno = kUntouched;
    const Handle event(qelCreateEvent(nullptr, 1, 1, ""));
    EXPECT_NE(event, nullptr);
    EXPECT_EQ(nErrno, kUntouched);
}

TEST(CreateEvent, Record_IsFilledAsStated) {
    int attributes = 0;
    const Handle event(qelCreateEvent(&attributes, 1, 0, nullptr));
    const zor::HandleObject &record = zor::recordOf(event);
    EXPECT_EQ(record.objectData, nullptr);
    EXPECT_EQ(record.type, 1);
    EXPECT_EQ(record.referenceCount, 1);
    EXPECT_EQ(record.signalled, 0);
}

TEST(CreateEvent, InitialState_IsSetByExactly1) {
    const Handle set(newEvent(1));
    EXPECT_EQ(qelWaitForSingleObject(set, 0), 2u);
    for (const int32_t initialState : {0, 2, -1}) {
        const Handle unset(newEvent(initialState));
        EXPECT_EQ(qelWaitForSingleObject(unset, 0), 3u) << initialState;
    }
}

TEST(Event, Set_SatisfiesEveryWaitUntilReset) {
    const Handle event(newEvent());
    EXPECT_EQ(qelSetEvent(event), 1);
    EXPECT_EQ(qelSetEvent(event), 1);
    EXPECT_EQ(qelWaitForSingleObject(event, 0), 2u);
    EXPECT_EQ(qelWaitForSingleObject(event, kInfinite), 2u);
    EXPECT_EQ(qelResetEvent(event), 1);
    EXPECT_EQ(qelWaitForSingleObject(event, 50), 3u);
}

TEST(SetEvent, NoObject_IsRefused) {
    for (const HANDLE handle : {HANDLE(), kAllOnes})
        expectResult(0, 22, [=] { return qelSetEvent(handle); });
}

TEST(ResetEvent, NoObject_IsRefused) {
    for (const HANDLE handle : {HANDLE(), kAllOnes})
        expectResult(0, 22, [=] { return qelResetEvent(handle); });
}

TEST(SetEvent, AnyKindOfHandle_IsSignalled_Kept) {
    BareRecord file(0), odd(77);
    const Handle mutex(newMutex(1));
    for (const HANDLE handle : {file.handle(), odd.handle(), HANDLE(mutex)}) {
        expectResult(1, kUntouched, [=] { return qelSetEvent(handle); });
        EXPECT_EQ(zor::recordOf(handle).signalled, 1);
        expectResult(1, kUntouched, [=] { return qelResetEvent(handle); });
        EXPECT_EQ(zor::recordOf(handle).signalled, 0);
    }
}

TEST(Event, Set_WakesEveryWaiter) {
    const Handle event(newEvent());
    std::atomic<int> woken{0};
    std::vector<std::thread> waiters;
    for (int waiter = 0; waiter < 4; ++waiter)
        waiters.emplace_back([&] { woken += qelWaitForSingleObject(event, kInfinite) == 2 ? 1 : 0; });
    EXPECT_EQ(qelSetEvent(event), 1);
    for (std::thread &waiter : waiters)
        waiter.join();
    EXPECT_EQ(woken, 4);
}

} // namespace
