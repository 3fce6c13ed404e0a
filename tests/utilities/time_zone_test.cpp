#include "zorcomn/utilities.h"

#include "source/utilities/time_zone.h"
#include "tests/support/child.h"
#include "tests/support/environment_guard.h"
#include "tests/support/failing_calls.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/zone_use.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace velmora_com::vta;
using zor::test::AfterCall;
using zor::test::childPasses;
using zor::test::EnvironmentGuard;
using zor::test::FailingCall;

namespace {

using Setting = std::optional<std::string>;

/** Days from 1970-01-01 to a date of the Gregorian calendar, counted year by year. */
int64_t daysBefore(int year, int month, int day) {
    constexpr int kDaysBeforeMonth[] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334};
    const auto isLeap = [](int64_t y) { return (y % 4 == 0 && y % 100 != 0) || y % 400 == 0; };
    int64_t days = kDaysBeforeMonth[month - 1] + day - 1 + (month > 2 && isLeap(year) ? 1 : 0);
    for (int y = 1970; y < year; ++y)
        days += isLeap(y) ? 366 : 365;
    for (int y = year; y < 1970; ++y)
        days -= isLeap(y) ? 366 : 365;
    return days;
}

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

std::time_t secondsOf(int year, int month, int day, int hour = 0, int minute = 0, int second = 0) {
    std::tm time = timeOf(year, month, day, hour, minute, second);
    return zorcomn_timegm(&time);
}

std::optional<std::string> currentSetting() {
    const char *value = std::getenv("TZ");
    return value ? Setting(value) : std::nullopt;
}

/** Settings of TZ before a conversion, and what must be there afterwards. */
struct Row {
    const char *name;
    Setting before;
    Setting after;
};

const std::vector<Row> &restoredSettings() {
    static const std::string k1024(1024, 'A');
    static const std::vector<Row> rows = {
        {"unset", std::nullopt, std::nullopt},
        {"one character", "Z", "Z"},
        {"UTC", "UTC", "UTC"},
        {"east", "EST-11", "EST-11"},
        {"west, with summer time", "PST8PDT,M3.2.0,M11.1.0", "PST8PDT,M3.2.0,M11.1.0"},
        {"1,024 characters", k1024, k1024}};
    return rows;
}

TEST(Timegm, Examples_WhateverTheZone) {
    EXPECT_TRUE(childPasses([] {
        for (const Row &row : restoredSettings()) {
            const EnvironmentGuard zone("TZ", row.before);
            tzset();
            EXPECT_EQ(secondsOf(1970, 1, 1), 0) << row.name;
            EXPECT_EQ(secondsOf(2037, 12, 31, 23, 59, 59), 2145916799) << row.name;
            EXPECT_EQ(secondsOf(1969, 12, 31, 23, 59, 59), -1) << row.name;
            EXPECT_EQ(secondsOf(2000, 2, 29, 12, 0, 0), 951825600) << row.name;
        }
    }));
}

TEST(Timegm, Setting_IsPutBack) {
    EXPECT_TRUE(childPasses([] {
        for (const Row &row : restoredSettings()) {
            const EnvironmentGuard zone("TZ", row.before);
            secondsOf(2000, 1, 1);
            EXPECT_EQ(currentSetting(), row.after) << row.name;
        }
    }));
}

TEST(Timegm, EmptySetting_IsRemoved_Kept) {
    EXPECT_TRUE(childPasses([] {
        const EnvironmentGuard zone("TZ", "");
        secondsOf(2000, 1, 1);
        EXPECT_EQ(currentSetting(), std::nullopt);
    }));
}

TEST(Timegm, SettingBeyond1024Characters_IsRemoved_Kept) {
    EXPECT_TRUE(childPasses([] {
        for (const size_t length : {1025u, 1026u, 5000u}) {
            const EnvironmentGuard zone("TZ", std::string(length, 'A'));
            EXPECT_EQ(secondsOf(2000, 1, 1), 946684800);
            EXPECT_EQ(currentSetting(), std::nullopt) << length;
        }
    }));
}

TEST(Timegm, ZoneInForce_IsPutBackToo) {
    EXPECT_TRUE(childPasses([] {
        const EnvironmentGuard zone("TZ", "EST-11");
        secondsOf(2000, 1, 1);
        EXPECT_STREQ(tzname[0], "EST");
        const std::time_t epoch = 0;
        std::tm local;
        localtime_r(&epoch, &local);
        EXPECT_EQ(local.tm_hour, 11);
    }));
}

TEST(Timegm, DaysOfTheRange_AreCountedRight) {
    EXPECT_TRUE(childPasses([] {
        const EnvironmentGuard zone("TZ", "PST8PDT,M3.2.0,M11.1.0");
        const bool isLong = sizeof(std::time_t) > 4; // else from December 1901 to January 2038
        for (int year = isLong ? 1 : 1902; year <= (isLong ? 9999 : 2037); year += year / 100 == 20 ? 1 : 7)
            for (const auto &[month, day] : {std::pair(1, 1), std::pair(2, 28), std::pair(3, 1), std::pair(12, 31)})
                ASSERT_EQ(secondsOf(year, month, day, 23, 59, 58), daysBefore(year, month, day) * 86400 + 86398)
                    << year << '-' << month << '-' << day;
    }));
}

TEST(Timegm, Record_IsNormalised) {
    EXPECT_TRUE(childPasses([] {
        const EnvironmentGuard zone("TZ", "PST8PDT,M3.2.0,M11.1.0");
        std::tm time = timeOf(2007, 14, 31, 25, 61, -1); // 31 February 2008 and an hour, a minute too many
        time.tm_isdst = -1;
        EXPECT_EQ(zorcomn_timegm(&time), (daysBefore(2008, 3, 3) * 24 + 2) * 3600 + 59);
        EXPECT_EQ(time.tm_year, 108);
        EXPECT_EQ(time.tm_mon, 2);
        EXPECT_EQ(time.tm_mday, 3);
        EXPECT_EQ(time.tm_hour, 2);
        EXPECT_EQ(time.tm_min, 0);
        EXPECT_EQ(time.tm_sec, 59);
        EXPECT_EQ(time.tm_wday, 1);
        EXPECT_EQ(time.tm_yday, 31 + 29 + 2);
        EXPECT_EQ(time.tm_isdst, 0);
    }));
}

TEST(Timegm, TimeOutOfRange_GivesMinus1AndPutsTheZoneBack) {
    EXPECT_TRUE(childPasses([] {
        const EnvironmentGuard zone("TZ", "EST-11");
        std::tm time = timeOf(2000, 1, 1, 0, 0, 0);
        time.tm_year = INT_MAX;
        time.tm_mon = INT_MAX;
        EXPECT_EQ(zorcomn_timegm(&time), -1);
        EXPECT_EQ(currentSetting(), "EST-11");
    }));
}

TEST(Timegm, TimeOutOfRange_SetsErrnoAndLeavesTheRecord) {
    EXPECT_TRUE(childPasses([] {
        std::tm time = timeOf(2000, 14, 1, 0, 0, 0);
        time.tm_year = INT_MAX;
        errno = 0;
        EXPECT_EQ(zorcomn_timegm(&time), -1);
        EXPECT_EQ(errno, EOVERFLOW);
        EXPECT_EQ(time.tm_mon, 13);
        EXPECT_EQ(time.tm_year, INT_MAX);
    }));
}

TEST(Timegm, Success_LeavesErrno) {
    EXPECT_TRUE(childPasses([] {
        const EnvironmentGuard zone("TZ", "/no/such/zone");
        errno = EDOM;
        EXPECT_EQ(secondsOf(1970, 1, 2), 86400);
        EXPECT_EQ(errno, EDOM);
    }));
}

TEST(Timegm, ComputesWithoutTheEnvironment) {
    EXPECT_TRUE(childPasses([] {
        const EnvironmentGuard zone("TZ", "EST-11");
        const FailingCall changing("setenv", 1, ENOMEM);
        const FailingCall converting("mktime", 1, EDOM);
        EXPECT_EQ(secondsOf(2000, 1, 1), 946684800);
        EXPECT_FALSE(changing.wasReached());
        EXPECT_FALSE(converting.wasReached());
    }));
}

/** Converts over and over in a thread of its own. */
class Converting {
public:
    Converting()
        : m_thread([this] {
              do {
                  EXPECT_EQ(secondsOf(1970, 1, 1), 0);
                  m_hasBegun = true;
              } while (!m_done);
          }) {
        while (!m_hasBegun)
            std::this_thread::yield();
    }
    ~Converting() {
        m_done = true;
        m_thread.join();
    }

private:
    std::atomic<bool> m_hasBegun{false};
    std::atomic<bool> m_done{false};
    std::thread m_thread;
};

TEST(Timegm, OtherThreads_NeverSeeAnotherZone) {
    EXPECT_TRUE(childPasses([] {
        const EnvironmentGuard zone("TZ", "EST-11");
        tzset();
        const Converting beside;
        int changed = 0;
        for (int i = 0; i < 20000; ++i) {
            const std::time_t epoch = 0;
            std::tm local{};
            changed += currentSetting() != "EST-11" || !localtime_r(&epoch, &local) || local.tm_hour != 11 ? 1 : 0;
        }
        EXPECT_EQ(changed, 0);
    }));
}

TEST(Timegm, ForkedChildren_HaveTheSetting) {
    EXPECT_TRUE(childPasses([] {
        const EnvironmentGuard zone("TZ", "EST-11");
        const Converting beside;
        int changed = 0;
        for (int i = 0; i < 100; ++i) {
            const pid_t child = fork();
            if (child == 0) {
                const char *setting = std::getenv("TZ");
                _exit(setting && std::strcmp(setting, "EST-11") == 0 ? 0 : 1);
            }
            int status = -1;
            waitpid(child, &status, 0);
            changed += status != 0 ? 1 : 0;
        }
        EXPECT_EQ(changed, 0);
    }));
}

TEST(Timegm, Null_GivesMinus1) {
    EXPECT_EQ(zorcomn_timegm(nullptr), -1);
}

TEST(Timegm, MutexIsFreeAfterwards) {
    EXPECT_TRUE(childPasses([] {
        secondsOf(2000, 1, 1);
        EXPECT_EQ(pthread_mutex_trylock(&velmora_com::vta::mutex), 0);
    }));
}

/** The seconds of a readable stamp written in UTC+11. */
int64_t secondsOfStamp(const std::string &stamp) {
    int year, month, day, hour, minute, second;
    if (std::sscanf(stamp.c_str(), "%4d-%2d-%2d %2d:%2d:%2d", &year, &month, &day, &hour, &minute, &second) != 6)
        return -1;
    return daysBefore(year, month, day) * 86400 + (hour - 11) * 3600 + minute * 60 + second;
}

// Whoever reads the zone inside the library never sees the UTC of a conversion that runs beside it.
TEST(Timegm, ConcurrentReaders_SeeTheirOwnZoneAlways) {
    EXPECT_TRUE(childPasses([] {
        const EnvironmentGuard zone("TZ", "EST-11");
        tzset();
        std::atomic<bool> done{false};
        std::vector<std::thread> readers;
        for (int i = 0; i < 2; ++i)
            readers.emplace_back([&done] {
                while (!done) {
                    const std::time_t before = std::time(nullptr);
                    const int64_t stamp = secondsOfStamp(qelcomn_get_time_stamp_ansi());
                    EXPECT_GE(stamp, before);
                    EXPECT_LE(stamp, std::time(nullptr));
                    std::wstring name;
                    EXPECT_TRUE(zorcomn_gettimezone(name));
                    EXPECT_EQ(name, L"EST");
                }
            });
        for (int i = 0; i < 2000; ++i)
            EXPECT_EQ(secondsOf(1970, 1, 1), 0);
        done = true;
        for (std::thread &reader : readers)
            reader.join();
    }));
}

TEST(ZoneName, IsTheStandardTimesName) {
    EXPECT_TRUE(childPasses([] {
        const EnvironmentGuard zone("TZ", "PST8PDT,M3.2.0,M11.1.0");
        tzset();
        std::wstring name;
        EXPECT_TRUE(zorcomn_gettimezone(name));
        EXPECT_EQ(name, L"PST");
    }));
}

TEST(ZoneName, IsThatOfTheLastTzset_Kept) {
    EXPECT_TRUE(childPasses([] {
        const EnvironmentGuard first("TZ", "EST-11");
        tzset();
        const EnvironmentGuard second("TZ", "PST8");
        std::wstring name;
        EXPECT_TRUE(zorcomn_gettimezone(name));
        EXPECT_EQ(name, L"EST");
    }));
}

TEST(ZoneName, LongName_IsCutTo63Bytes) {
    EXPECT_TRUE(childPasses([] {
        for (const size_t length : {62u, 63u, 64u, 100u}) {
            std::string longName(length, 'x');
            tzname[0] = longName.data();
            std::wstring name;
            EXPECT_TRUE(zorcomn_gettimezone(name));
            EXPECT_EQ(name, std::wstring(std::min<size_t>(length, 63), L'x'));
        }
    }));
}

TEST(ZoneName, IsUtf8) {
    EXPECT_TRUE(childPasses([] {
        std::string utf8 = "\xC3\xA4Z";
        tzname[0] = utf8.data();
        std::wstring name;
        EXPECT_TRUE(zorcomn_gettimezone(name));
        EXPECT_EQ(name, L"\u00E4Z");
    }));
}

TEST(ZoneName, NoMemory_IsFalseAndLeavesTheTextAlone) {
    EXPECT_TRUE(childPasses([] {
        std::string longName(60, 'x');
        tzname[0] = longName.data();
        int failures = 0;
        for (bool wasReached = true; wasReached; ++failures) {
            std::wstring name = L"before";
            bool isKnown;
            {
                const FailingCall failing("operator new", failures + 1);
                isKnown = zorcomn_gettimezone(name);
                wasReached = failing.wasReached();
            }
            EXPECT_EQ(isKnown, !wasReached) << failures;
            EXPECT_EQ(name, wasReached ? L"before" : std::wstring(60, L'x')) << failures;
        }
        EXPECT_GE(failures, 3);
    }));
}

// What localtime_r does in another thread, at the worst moment.
TEST(ZoneName, NameThatIsGoneForAMoment_IsWaitedFor) {
    EXPECT_TRUE(childPasses([] {
        char back[] = "back";
        tzname[0] = nullptr;
        const AfterCall meanwhile("sched_yield", 3, [&] { tzname[0] = back; });
        std::wstring name;
        EXPECT_TRUE(zorcomn_gettimezone(name));
        EXPECT_EQ(name, L"back");
        EXPECT_TRUE(meanwhile.wasReached());
    }));
}

TEST(ZoneName, IsThereBesideWhateverElseUsesTheZone) {
    const zor::test::TemporaryFolder folder;
    for (const std::string &setting :
         {":" + zor::test::writeZoneFile(folder / "zone"), std::string("WST3WDT,M3.2.0,M11.1.0")})
        EXPECT_TRUE(childPasses([&] {
            const EnvironmentGuard zone("TZ", setting);
            tzset();
            const Converting beside;
            const zor::test::UsingTheZone others({[] { tzset(); }, [] { zor::test::breakDownNow(); },
                                                  [] {
                                                      char stamp[15];
                                                      qelcomn_CreateLocalTimeStampA(stamp, sizeof stamp);
                                                      EXPECT_FALSE(qelcomn_get_time_stamp_ansi().empty());
                                                  }});
            int wrong = 0;
            for (int i = 0; i < 5000; ++i) {
                if (i % 50 == 0)
                    std::this_thread::yield(); // the moments are spread over what the others do
                std::wstring name;
                wrong += !zorcomn_gettimezone(name) || name != L"WST" ? 1 : 0;
            }
            EXPECT_EQ(wrong, 0) << setting;
        }));
}

TEST(ZoneName, NoName_IsFalseAndLeavesTheTextAlone) {
    EXPECT_TRUE(childPasses([] {
        tzname[0] = nullptr;
        std::wstring name = L"before";
        EXPECT_FALSE(zorcomn_gettimezone(name));
        EXPECT_EQ(name, L"before");
    }));
}

} // namespace
