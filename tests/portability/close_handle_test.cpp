// Closing handles of every kind.

#include "tests/portability/handle_support.h"
#include "tests/support/failing_calls.h"

#include <gtest/gtest.h>

namespace {

using namespace zor::test;

TEST(CloseHandle, NoObject_Succeeds) {
    for (const HANDLE handle : {HANDLE(), kAllOnes})
        expectResult(1, kUntouched, [=] { return qelCloseHandle(handle); });
}

TEST(CloseHandle, AnyKind_LeavesNothingAllocated) {
    size_t live;
    {
        AllocationScope allocations;
        EXPECT_EQ(qelCloseHandle(newEvent(1)), 1);
        EXPECT_EQ(qelCloseHandle(newMutex()), 1);
        EXPECT_EQ(qelCloseHandle(newMutex(1)), 1);
        live = allocations.live();
    }
    EXPECT_EQ(live, 0u);
}

TEST(CloseHandle, CountAboveOne_OnlyCountsDown) {
    const HANDLE event = newEvent(1);
    zor::recordOf(event).referenceCount = 2;
    EXPECT_EQ(qelCloseHandle(event), 1);
    EXPECT_EQ(qelWaitForSingleObject(event, 0), 2u);
    EXPECT_EQ(qelCloseHandle(event), 1);
}

TEST(CloseHandle, UnknownType_ReturnsZero) {
    for (const int32_t type : {-1, 4}) {
        BareRecord odd(type);
        expectResult(0, kUntouched, [&] { return qelCloseHandle(odd.handle()); });
    }
}

TEST(CloseHandle, EndedThread_Succeeds) {
    const HANDLE thread = qelBeginThread(nullptr, 0, returnNothing, nullptr, 0, nullptr);
    EXPECT_EQ(qelWaitForSingleObject(thread, kInfinite), 2u);
    EXPECT_EQ(qelCloseHandle(thread), 1);
}

} // namespace
