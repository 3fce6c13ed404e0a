#include "zorcomn/utilities.h"

#include "source/utilities/time_stamps.h"
#include "tests/support/cancelled_call.h"
#include "tests/support/child.h"
#include "tests/support/environment_guard.h"
#include "tests/support/failing_calls.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

using namespace velmora_com::vta;
using zor::test::childPasses;
using zor::test::EnvironmentGuard;
using zor::test::FailingCall;

namespace {

constexpr uint16_t kLargestSize = 20;

std::tm timeOf(int year, int month, int day, int hour, int minute, int second) {
    std::tm time{};
    time.tm_year = year - 1900;
    time.tm_mon = month - 1;
    time.tm_mday = day;
    time.tm_hour = hour;
    time.tm_min = minute;
    time.tm_sec = second;
    return time;
}

const std::tm kSpring = timeOf(2009, 3, 7, 8, 5, 9);
const std::tm kNewYearsEve = timeOf(2006, 12, 31, 23, 59, 59);

TEST(ReadableStamp, EachField_HasItsPlaces) {
    EXPECT_STREQ(zor::readableStamp(kSpring).data(), "2009-03-07 08:05:09");
    EXPECT_STREQ(zor::readableStamp(kNewYearsEve).data(), "2006-12-31 23:59:59");
    EXPECT_STREQ(zor::readableStamp(timeOf(12345, 1, 1, 0, 0, 0)).data(), "12345-01-01 00:00:00");
}

TEST(ReadableStamp, ShortYear_IsFilledWithBlanks_Kept) {
    EXPECT_STREQ(zor::readableStamp(timeOf(987, 1, 2, 3, 4, 5)).data(), " 987-01-02 03:04:05");
    EXPECT_STREQ(zor::readableStamp(timeOf(7, 1, 2, 3, 4, 5)).data(), "   7-01-02 03:04:05");
}

TEST(ReadableStamp, ZerosFollowTheText) {
    const auto stamp = zor::readableStamp(kSpring);
    EXPECT_EQ(std::string(stamp.data() + 19, stamp.size() - 19), std::string(13, '\0'));
}

TEST(ReadableStamp, OutlandishNumbers_AreCutTo31Characters) {
    std::tm time{};
    time.tm_year = INT_MAX;
    time.tm_mday = time.tm_hour = time.tm_min = time.tm_sec = INT_MIN;
    EXPECT_STREQ(zor::readableStamp(time).data(), "2147485547-01--2147483648 -2147");
}

TEST(CompactStamp, EachField_HasItsPlaces) {
    char narrow[32];
    zor::writeCompactStamp(&kNewYearsEve, narrow, sizeof narrow);
    EXPECT_STREQ(narrow, "20061231235959");
    zor::writeCompactStamp(&kSpring, narrow, sizeof narrow);
    EXPECT_STREQ(narrow, "20090307080509");
    const std::tm early = timeOf(7, 1, 2, 3, 4, 5);
    zor::writeCompactStamp(&early, narrow, sizeof narrow);
    EXPECT_STREQ(narrow, "00070102030405");
}

TEST(CompactStamp, AnyNumbers_ArePaddedAsPrintfPadsThem) {
    for (const int number : {INT_MIN, -1234567, -100, -10, -1, 0, 9, 10, 99, 100, 123456, INT_MAX - 1}) {
        std::tm time{};
        time.tm_year = time.tm_mon = time.tm_mday = time.tm_hour = time.tm_min = time.tm_sec = number;
        char printed[128];
        std::snprintf(printed, sizeof printed, "%04lld%02lld%02d%02d%02d%02d", number + 1900LL, number + 1LL, number,
                      number, number, number);
        char made[128];
        zor::writeCompactStamp(&time, made, sizeof made);
        EXPECT_STREQ(made, printed);
        std::snprintf(printed, sizeof printed, "%4lld-%02lld-%02d %02d:%02d:%02d", number + 1900LL, number + 1LL,
                      number, number, number, number);
        EXPECT_EQ(zor::readableStamp(time).data(), std::string(printed).substr(0, 31));
    }
}

TEST(CompactStamp, NarrowBufferOfEachSize_GetsATerminatedPrefix) {
    const std::string whole = "20090307080509";
    for (uint16_t size = 1; size <= kLargestSize; ++size) {
        char buffer[kLargestSize + 1];
        std::memset(buffer, '#', sizeof buffer);
        zor::writeCompactStamp(&kSpring, buffer, size);
        const std::string expected = whole.substr(0, size - 1);
        EXPECT_STREQ(buffer, expected.c_str()) << size;
        EXPECT_EQ(buffer[expected.size() + 1], '#') << size;
    }
}

TEST(CompactStamp, WideBufferOfEachSize_IsFilledByABoundedCopy_Kept) {
    std::wstring padded = L"20090307080509";
    padded.resize(kLargestSize);
    for (uint16_t size = 1; size <= kLargestSize; ++size) {
        wchar_t buffer[kLargestSize + 1];
        std::wmemset(buffer, L'#', kLargestSize + 1);
        zor::writeCompactStamp(&kSpring, buffer, size);
        EXPECT_EQ(std::wstring(buffer, size), padded.substr(0, size)) << size;
        EXPECT_EQ(buffer[size], L'#') << "14 or less: not terminated; size " << size;
    }
}

TEST(CompactStamp, TimeThatCannotBeBrokenDown_GivesAnEmptyText) {
    char narrow[] = "##";
    zor::writeCompactStamp(nullptr, narrow, 2);
    EXPECT_STREQ(narrow, "");
    wchar_t wide[] = L"##";
    zor::writeCompactStamp(nullptr, wide, 2);
    EXPECT_STREQ(wide, L"");
}

/** What strftime makes of every second from one time to another, in UTC shifted by hours. */
std::set<std::string> stampsOf(std::time_t from, std::time_t to, int hours, const char *format) {
    std::set<std::string> stamps;
    for (std::time_t second = from; second <= to; ++second) {
        const std::time_t shifted = second + hours * 3600;
        std::tm fields;
        gmtime_r(&shifted, &fields);
        char text[32];
        stamps.insert(std::string(text, std::strftime(text, sizeof text, format, &fields)));
    }
    return stamps;
}

/** Calls a maker and expects it to have written the stamp of a second of the call, shifted by hours from UTC. */
template <class Character> void expectStampOfNow(void (*make)(Character *, uint16_t), int hours) {
    Character buffer[kLargestSize] = {};
    const std::time_t before = std::time(nullptr);
    make(buffer, 15);
    const std::time_t after = std::time(nullptr);
    const std::string made(buffer, buffer + 15);
    EXPECT_EQ(made[14], '\0');
    EXPECT_EQ(stampsOf(before, after, hours, "%Y%m%d%H%M%S").count(made.substr(0, 14)), 1u) << made;
}

TEST(StampOfNow, NarrowGmtMaker_YieldsLocalTimeUnlikeItsWideTwin_Kept) {
    EXPECT_TRUE(childPasses([] {
        const EnvironmentGuard zone("TZ", "EST-11");
        tzset();
        expectStampOfNow(qelcomn_CreateLocalTimeStampA, 11);
        expectStampOfNow(qelcomn_CreateLocalTimeStampW, 11);
        expectStampOfNow(qelcomn_CreateGmtTimeStampA, 11);
        expectStampOfNow(qelcomn_CreateGmtTimeStampW, 0);
    }));
}

template <class Character>
void expectBounds(void (*make)(Character *, uint16_t), uint16_t size, size_t untouchedFrom, bool terminated) {
    Character buffer[kLargestSize + 1];
    for (Character &character : buffer)
        character = '#';
    make(buffer, size);
    for (size_t i = untouchedFrom; i <= kLargestSize; ++i)
        EXPECT_EQ(buffer[i], static_cast<Character>('#')) << "size " << size << ", at " << i;
    size_t digits = 0;
    while (buffer[digits] >= '0' && buffer[digits] <= '9')
        ++digits;
    EXPECT_EQ(digits, terminated ? untouchedFrom - 1 : std::min<size_t>(size, 14)) << "size " << size;
    EXPECT_TRUE(!terminated || buffer[digits] == 0) << "size " << size;
}

TEST(StampOfNow, EachSizeOfBuffer_IsKeptTo) {
    for (const auto make : {qelcomn_CreateGmtTimeStampA, qelcomn_CreateLocalTimeStampA})
        for (uint16_t size = 1; size <= kLargestSize; ++size)
            expectBounds(make, size, std::min<size_t>(size, 15), true);
    for (const auto make : {qelcomn_CreateGmtTimeStampW, qelcomn_CreateLocalTimeStampW})
        for (uint16_t size = 1; size <= kLargestSize; ++size)
            expectBounds(make, size, size, false);
}

TEST(StampOfNow, NullOrNoRoom_DoesNothing) {
    char narrow[] = "#";
    wchar_t wide[] = L"#";
    for (const auto make : {qelcomn_CreateGmtTimeStampA, qelcomn_CreateLocalTimeStampA}) {
        make(nullptr, 20);
        make(narrow, 0);
        EXPECT_STREQ(narrow, "#");
    }
    for (const auto make : {qelcomn_CreateGmtTimeStampW, qelcomn_CreateLocalTimeStampW}) {
        make(nullptr, 20);
        make(wide, 0);
        EXPECT_STREQ(wide, L"#");
    }
}

TEST(StampOfNow, Readable_IsLocal) {
    EXPECT_TRUE(childPasses([] {
        const EnvironmentGuard zone("TZ", "EST-11");
        tzset();
        const std::time_t before = std::time(nullptr);
        const std::string narrow = qelcomn_get_time_stamp_ansi();
        const std::wstring wide = qelcomn_get_time_stamp_wide();
        const std::time_t after = std::time(nullptr);
        const std::set<std::string> possible = stampsOf(before, after, 11, "%Y-%m-%d %H:%M:%S");
        EXPECT_EQ(possible.count(narrow), 1u) << narrow;
        EXPECT_EQ(possible.count(std::string(wide.begin(), wide.end())), 1u);
    }));
}

TEST(StampOfNow, TimeThatCannotBeBrokenDown_GivesAnEmptyText) {
    char narrow[] = "##";
    wchar_t wide[] = L"##";
    const FailingCall localFailing("localtime_r");
    qelcomn_CreateLocalTimeStampA(narrow, 2);
    EXPECT_STREQ(narrow, "");
    const FailingCall utcFailing("gmtime_r");
    qelcomn_CreateGmtTimeStampW(wide, 2);
    EXPECT_STREQ(wide, L"");
    EXPECT_TRUE(localFailing.wasReached() && utcFailing.wasReached());
}

TEST(StampOfNow, ReadableTimeThatCannotBeBrokenDown_GivesAnEmptyText) {
    {
        const FailingCall failing("localtime_r");
        EXPECT_EQ(qelcomn_get_time_stamp_ansi(), "");
        EXPECT_TRUE(failing.wasReached());
    }
    const FailingCall failing("localtime_r");
    EXPECT_EQ(qelcomn_get_time_stamp_wide(), L"");
    EXPECT_EQ(qelcomn_get_time_stamp_ansi().size(), 19u) << "the mutex is free again";
}

TEST(StampOfNow, NoMemory_GivesAnEmptyText) {
    for (int nth = 1;; ++nth) {
        const FailingCall failing("operator new", nth);
        const std::wstring wide = qelcomn_get_time_stamp_wide();
        if (!failing.wasReached()) {
            EXPECT_EQ(wide.size(), 19u);
            break;
        }
        EXPECT_EQ(wide, L"") << nth;
    }
}

// No maker is a cancellation point, though the C library may be one where it reads a zone file.
TEST(StampOfNow, CancellationIsPutOff) {
    EXPECT_TRUE(childPasses([] {
        for (const auto make : {+[] { qelcomn_CreateGmtTimeStampA(std::array<char, 15>().data(), 15); },
                                +[] { qelcomn_CreateLocalTimeStampA(std::array<char, 15>().data(), 15); },
                                +[] { qelcomn_CreateLocalTimeStampW(std::array<wchar_t, 15>().data(), 15); },
                                +[] { qelcomn_get_time_stamp_ansi(); }, +[] { qelcomn_get_time_stamp_wide(); }})
            zor::test::expectCancellationPutOff("localtime_r", make);
        zor::test::expectCancellationPutOff("gmtime_r",
                                            [] { qelcomn_CreateGmtTimeStampW(std::array<wchar_t, 15>().data(), 15); });
    }));
}

// A delay of half a millisecond each would run into the test's time limit.
TEST(Delay, MillionCalls_ComeBackAtOnce_Kept) {
    for (int i = 0; i < 1000000; ++i)
        qelcomn_delay();
}

} // namespace
