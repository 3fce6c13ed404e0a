#include "source/utilities/calendar.h"

#include "tests/support/child.h"
#include "tests/support/environment_guard.h"
#include "tests/support/fake_host.h"
#include "tests/support/test_seed.h"

#include <cerrno>
#include <climits>
#include <cstdint>
#include <limits>
#include <ostream>
#include <random>
#include <vector>

#include <gtest/gtest.h>

using zor::host::fakeHost;
using zor::test::childPasses;

namespace {

using Calendar = zor::host::FakeHostTest;

constexpr int kUnset = 77; // a weekday that only a success replaces

std::tm timeOf(int year, int month, int day, int hour, int minute, int second, int daylight = 0) {
    std::tm time{};
    time.tm_year = year;
    time.tm_mon = month;
    time.tm_mday = day;
    time.tm_hour = hour;
    time.tm_min = minute;
    time.tm_sec = second;
    time.tm_wday = time.tm_yday = kUnset;
    time.tm_isdst = daylight;
    return time;
}

std::vector<long> fieldsOf(const std::tm &time) {
    return {time.tm_year, time.tm_mon,  time.tm_mday, time.tm_hour,  time.tm_min,
            time.tm_sec,  time.tm_wday, time.tm_yday, time.tm_isdst, time.tm_gmtoff};
}

/** Expects of a time, in a process whose zone is UTC, what mktime does with it. */
void expectAsMktime(const std::tm &time) {
    std::tm expected = time;
    errno = 0;
    const std::time_t seconds = std::mktime(&expected);
    const bool isFailure = expected.tm_wday == kUnset;
    const int expectedError = errno;

    std::tm made = time;
    errno = 0;
    const std::optional<std::time_t> answer = zor::normaliseUtc(made);
    EXPECT_EQ(answer, isFailure ? std::nullopt : std::optional(seconds)) << ::testing::PrintToString(fieldsOf(time));
    EXPECT_EQ(fieldsOf(made), fieldsOf(expected)) << ::testing::PrintToString(fieldsOf(time));
    EXPECT_EQ(errno, isFailure ? expectedError : 0);
    if (answer)
        EXPECT_STREQ(made.tm_zone, "UTC");
    else
        EXPECT_EQ(made.tm_zone, nullptr);
}

/** Runs expectations where the zone is UTC and the fake host does with a daylight flag what this system's mktime does.
 */
::testing::AssertionResult passesInUtc(const std::function<void()> &body) {
    return childPasses([&] {
        const zor::test::EnvironmentGuard zone("TZ", "");
        std::tm marked = timeOf(100, 0, 1, 0, 0, 0, 1);
        const int64_t seconds = std::mktime(&marked);
        if (seconds != -1)
            fakeHost.daylightShiftWithoutRules = static_cast<int32_t>(946684800 - seconds);
        body();
    });
}

constexpr int kDaylightFlags[] = {0, 1, -1, 2, INT_MAX, INT_MIN};

// The last digit before a fault is where arithmetic goes wrong: the edges of the years, of 32-bit seconds and of int.
TEST_F(Calendar, EdgesAreWhatMktimeMakesOfThem) {
    EXPECT_TRUE(passesInUtc([] {
        constexpr int kNear[] = {-86401, -86400, -3601, -3600, -101, -100, -61, -60, -59, -1, 0, 1, 8, 59, 60, 3600};
        const std::tm edges[] = {timeOf(INT_MAX, 11, 31, 23, 59, 59), timeOf(INT_MAX, 12, 1, 0, 0, 0),
                                 timeOf(INT_MIN, 0, 1, 0, 0, 0),      timeOf(138, 0, 19, 3, 14, 7),
                                 timeOf(1, 11, 13, 20, 45, 52),       timeOf(70, 0, 1, 0, 0, 0),
                                 timeOf(69, 11, 31, 23, 59, 59)};
        for (const std::tm &edge : edges)
            for (const int daylight : {0, 1, -1})
                for (const int second : kNear)
                    for (const int minute : {0, -1, 1}) {
                        std::tm time = edge;
                        time.tm_sec += second;
                        time.tm_min += minute;
                        time.tm_isdst = daylight;
                        expectAsMktime(time);
                    }
    }));
}

TEST_F(Calendar, ExtremesOfEveryFieldAreWhatMktimeMakesOfThem) {
    EXPECT_TRUE(passesInUtc([] {
        constexpr int kValues[] = {INT_MIN, 0, INT_MAX};
        for (const int year : kValues)
            for (const int month : kValues)
                for (const int day : kValues)
                    for (const int hour : kValues)
                        for (const int minute : kValues)
                            for (const int second : kValues)
                                expectAsMktime(timeOf(year, month, day, hour, minute, second));
    }));
}

TEST_F(Calendar, RandomFieldsAreWhatMktimeMakesOfThem) {
    EXPECT_TRUE(passesInUtc([] {
        std::mt19937 random(zor::test::seedOfThisRun());
        const auto below = [&](uint32_t limit) { return static_cast<int>(random() % limit); };
        const auto field = [&](int usual) {
            switch (below(8)) {
            case 0:
                return static_cast<int>(random()); // any int
            case 1:
                return below(20000) - 10000;
            case 2:
                return -below(3);
            default:
                return below(static_cast<uint32_t>(usual) + 2);
            }
        };
        for (int i = 0; i < 10000 && !::testing::Test::HasFailure(); ++i) {
            std::tm time = timeOf(field(200), field(12), field(31), field(24), field(60), field(61));
            time.tm_isdst = i % 16 == 0 ? kDaylightFlags[below(6)] : below(2) - 1;
            expectAsMktime(time);
        }
    }));
}

TEST_F(Calendar, EveryDayOfFourCenturies_HasItsDate) {
    constexpr int kLengths[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    int64_t days = -62091; // from 1970-01-01 to 1800-01-01
    int weekday = 3;       // a Wednesday
    for (int year = 1800; year < 2210; ++year) {
        int dayOfYear = 0;
        const bool isLeap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
        for (int month = 0; month < 12; ++month)
            for (int day = 1; day <= kLengths[month] + (month == 1 && isLeap ? 1 : 0); ++day, ++days, ++dayOfYear) {
                std::tm time = timeOf(year - 1900, month, day, 0, 0, 1);
                const std::optional<std::time_t> seconds = zor::normaliseUtc(time);
                const int64_t wanted = days * 86400 + 1;
                const bool fits = wanted <= std::numeric_limits<std::time_t>::max() &&
                                  wanted >= std::numeric_limits<std::time_t>::min();
                ASSERT_EQ(seconds, fits ? std::optional(static_cast<std::time_t>(wanted)) : std::nullopt);
                const std::vector<long> fields = {year - 1900, month, day, 0, 0, 1, weekday, dayOfYear, 0, 0};
                ASSERT_TRUE(!fits || fieldsOf(time) == fields) << year << '-' << month + 1 << '-' << day;
                weekday = (weekday + 1) % 7;
            }
    }
}

TEST_F(Calendar, DaylightFlag_DoesWhatTheSystemsDoes) {
    std::tm time = timeOf(100, 0, 1, 0, 0, 0, 1);
    fakeHost.daylightShiftWithoutRules = 3600;
    EXPECT_EQ(zor::normaliseUtc(time), 946681200);
    EXPECT_EQ(time.tm_hour, 23);
    EXPECT_EQ(time.tm_isdst, 0);

    time = timeOf(100, 0, 1, 0, 0, 0, 1);
    fakeHost.daylightShiftWithoutRules = std::nullopt;
    errno = 0;
    EXPECT_EQ(zor::normaliseUtc(time), std::nullopt);
    EXPECT_EQ(errno, EOVERFLOW);
    EXPECT_EQ(time.tm_isdst, 1);
    time.tm_isdst = -1;
    EXPECT_EQ(zor::normaliseUtc(time), 946684800);
}

} // namespace
