// Events, mutexes, waits and closing as a caller sees them.

#include "zorcomn/portability.h"

#include <cstdint>

#include <gtest/gtest.h>

namespace {

const HANDLE kAllOnes = reinterpret_cast<HANDLE>(~static_cast<uintptr_t>(0));

TEST(Event, CreatedSet_SatisfiesEveryWaitUntilReset) {
    const HANDLE event = qelCreateEvent(nullptr, 1, 1, nullptr);
    ASSERT_NE(event, nullptr);
    EXPECT_EQ(qelWaitForSingleObject(event, 0), 2u);
    EXPECT_EQ(qelWaitForSingleObject(event, 0xFFFFFFFFu), 2u);
    EXPECT_EQ(qelResetEvent(event), 1);
    EXPECT_EQ(qelWaitForSingleObject(event, 50), 3u);
    EXPECT_EQ(qelCloseHandle(event), 1);
}

TEST(CloseHandle, NoObject_Succeeds) {
    EXPECT_EQ(qelCloseHandle(nullptr), 1);
    EXPECT_EQ(qelCloseHandle(kAllOnes), 1);
}

uint32_t returnNothing(void *) {
    return 0;
}

TEST(Thread, Ended_SatisfiesItsHandle) {
    uint32_t threadId = 77;
    const HANDLE thread = qelBeginThread(nullptr, 0, returnNothing, nullptr, 0, &threadId);
    ASSERT_NE(thread, kAllOnes);
    EXPECT_EQ(threadId, 0u);
    EXPECT_EQ(qelWaitForSingleObject(thread, 0xFFFFFFFFu), 2u);
    EXPECT_EQ(qelCloseHandle(thread), 1);
}

} // namespace
