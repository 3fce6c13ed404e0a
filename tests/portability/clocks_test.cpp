#include "zorcomn/portability.h"

#include "source/portability/clocks.h"
#include "tests/support/cancelled_call.h"
#include "tests/support/child.h"
#include "tests/support/environment_guard.h"
#include "tests/support/failing_calls.h"

#include <cerrno>
#include <cstring>
#include <string>

#include <gtest/gtest.h>
#include <sys/times.h>
#include <sys/utsname.h>
#include <unistd.h>

using zor::test::childPasses;
using zor::test::EnvironmentGuard;
using zor::test::FailingCall;

namespace {

TEST(SystemTime, EachField_TakesItsPartOfTheTime) {
    std::tm time{};
    time.tm_year = 109;
    time.tm_mon = 2;
    time.tm_wday = 6;
    time.tm_mday = 7;
    time.tm_hour = 8;
    time.tm_min = 5;
    time.tm_sec = 9;
    const qelSystemTime record = zor::systemTimeOf(time);
    EXPECT_EQ(record.year, 2009);
    EXPECT_EQ(record.month, 3);
    EXPECT_EQ(record.dayOfWeek, 6);
    EXPECT_EQ(record.day, 7);
    EXPECT_EQ(record.hour, 8);
    EXPECT_EQ(record.minute, 5);
    EXPECT_EQ(record.second, 9);
    EXPECT_EQ(record.milliseconds, 0);
}

/** The record's time, taken as local time, in seconds. */
std::time_t secondsOf(const qelSystemTime &record) {
    std::tm time{};
    time.tm_year = record.year - 1900;
    time.tm_mon = record.month - 1;
    time.tm_mday = record.day;
    time.tm_hour = record.hour;
    time.tm_min = record.minute;
    time.tm_sec = record.second;
    return std::mktime(&time);
}

TEST(SystemTime, IsLocal_Kept) {
    EXPECT_TRUE(childPasses([] {
        const EnvironmentGuard zone("TZ", "EST-11");
        tzset();
        const std::time_t before = std::time(nullptr);
        qelSystemTime record;
        std::memset(&record, 0xFF, sizeof record);
        qelGetSystemTime(&record);
        const std::time_t after = std::time(nullptr);
        EXPECT_GE(secondsOf(record), before);
        EXPECT_LE(secondsOf(record), after);
        EXPECT_EQ(record.milliseconds, 0);
    }));
}

TEST(SystemTime, TimeThatCannotBeBrokenDown_IsAllZero) {
    qelSystemTime record;
    std::memset(&record, 0xFF, sizeof record);
    const FailingCall failing("localtime_r");
    qelGetSystemTime(&record);
    EXPECT_TRUE(failing.wasReached());
    const qelSystemTime zero{};
    EXPECT_EQ(std::memcmp(&record, &zero, sizeof record), 0);
}

TEST(SystemTime, CancellationIsPutOff) {
    EXPECT_TRUE(childPasses([] {
        zor::test::expectCancellationPutOff("localtime_r", [] {
            qelSystemTime record;
            qelGetSystemTime(&record);
        });
    }));
}

TEST(SystemTime, Null_IsIgnored) {
    qelGetSystemTime(nullptr);
}

TEST(TickCount, Ticks_BecomeMilliseconds) {
    EXPECT_EQ(zor::tickCountOf(0, 100), 0u);
    EXPECT_EQ(zor::tickCountOf(1, 100), 10u);
    EXPECT_EQ(zor::tickCountOf(7, 60), 116u);
    EXPECT_EQ(zor::tickCountOf(4294967, 100), 42949670u);
}

TEST(TickCount, Product_WrapsIn32Bits_Kept) {
    EXPECT_EQ(zor::tickCountOf(4294968, 100), 7u) << "4294968000 - 2^32 is 704";
    EXPECT_EQ(zor::tickCountOf(0xFFFFFFFF, 100), 42949662u) << "2^32 - 1000 is the product";
}

TEST(TickCount, SystemWithoutTicks_GivesZero) {
    EXPECT_EQ(zor::tickCountOf(5, 0), 0u);
}

TEST(TickCount, IsTakenFromTheValueOfTimes) {
    const auto perSecond = static_cast<uint32_t>(sysconf(_SC_CLK_TCK));
    tms ignored;
    const auto before = static_cast<uint32_t>(times(&ignored));
    const uint32_t count = qelGetTickCount();
    const auto after = static_cast<uint32_t>(times(&ignored));
    bool found = false;
    for (uint32_t ticks = before; !found && ticks != after + 1; ++ticks)
        found = zor::tickCountOf(ticks, perSecond) == count;
    EXPECT_TRUE(found) << before << " " << count << " " << after;
}

TEST(ComputerName, ExactRoom_GetsTheNameAndItsLength) {
    char buffer[8] = "#######";
    uint32_t size = 4;
    EXPECT_TRUE(zor::copyComputerName("abc", buffer, size));
    EXPECT_STREQ(buffer, "abc");
    EXPECT_EQ(buffer[4], '#');
    EXPECT_EQ(size, 3u);
}

TEST(ComputerName, OneByteTooFew_ChangesNothing) {
    char buffer[8] = "#######";
    for (uint32_t size = 0; size <= 3; ++size) {
        uint32_t after = size;
        EXPECT_FALSE(zor::copyComputerName("abc", buffer, after));
        EXPECT_EQ(after, size);
        EXPECT_STREQ(buffer, "#######");
    }
}

TEST(ComputerName, IsTheWholeNodeName) {
    utsname names;
    ASSERT_EQ(uname(&names), 0);
    const auto length = static_cast<uint32_t>(std::strlen(names.nodename));
    char buffer[sizeof names.nodename + 1];
    uint32_t size = sizeof buffer;
    EXPECT_EQ(qelGetComputerName(buffer, &size), 1);
    EXPECT_STREQ(buffer, names.nodename);
    EXPECT_EQ(size, length);

    std::strcpy(buffer, "#");
    size = length;
    EXPECT_EQ(qelGetComputerName(buffer, &size), 0) << "no room for the terminator";
    EXPECT_EQ(size, length);
    EXPECT_STREQ(buffer, "#");
    size = length + 1;
    EXPECT_EQ(qelGetComputerName(buffer, &size), 1);
    EXPECT_EQ(size, length);
}

TEST(ComputerName, Null_IsRefused) {
    char buffer[8] = "#";
    uint32_t size = 8;
    EXPECT_EQ(qelGetComputerName(nullptr, &size), 0);
    EXPECT_EQ(size, 8u);
    EXPECT_EQ(qelGetComputerName(buffer, nullptr), 0);
    EXPECT_STREQ(buffer, "#");
}

TEST(ComputerName, NameNotToBeHad_IsAFailure) {
    char buffer[300] = "#";
    uint32_t size = sizeof buffer;
    const FailingCall failing("uname", 1, EFAULT);
    EXPECT_EQ(qelGetComputerName(buffer, &size), 0);
    EXPECT_EQ(errno, EFAULT);
    EXPECT_TRUE(failing.wasReached());
    EXPECT_EQ(size, sizeof buffer);
    EXPECT_STREQ(buffer, "#");
}

TEST(MessagePump, TranslatesNothing) {
    EXPECT_EQ(qelTranslateMessage(nullptr), 1);
    const int message = 5;
    EXPECT_EQ(qelTranslateMessage(&message), 1);
    EXPECT_EQ(message, 5);
}

} // namespace
