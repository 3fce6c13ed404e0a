#include "source/sysprops/misc_information.h"

#include "zorcomn/sysprops.h"
#include "zorcomn/utilities.h"

#include "tests/support/cancelled_call.h"
#include "tests/support/child.h"
#include "tests/support/environment_guard.h"
#include "tests/support/failing_calls.h"
#include "tests/support/private_machine.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/zone_use.h"

#include <limits>
#include <thread>

#include <gtest/gtest.h>
#include <time.h>

namespace {

/** Sets the time zone and puts back the one before. */
class ZoneGuard {
public:
    explicit ZoneGuard(const char *zone) : m_variable(std::in_place, "TZ", zone) { tzset(); }
    ~ZoneGuard() {
        m_variable.reset();
        tzset();
    }

private:
    std::optional<zor::test::EnvironmentGuard> m_variable;
};

/** Collects on a machine with these users logged on; in a child, since the login database is the process's. */
velmora_com::vta::sysprops::MiscInformation collectWith(const std::vector<zor::test::LoginRecord> &records) {
    const zor::test::TemporaryFolder folder;
    zor::test::writeLoginRecords(folder / "utmp", records);
    velmora_com::vta::sysprops::MiscInformation info;
    EXPECT_TRUE(velmora_com::vta::sysprops::ISysProps().GetMiscInformation(info));
    return info;
}

} // namespace

TEST(LastUpdate, GivenTimes_AreWrittenMonthFirstWithLeadingZeros) {
    const ZoneGuard zone("UTC0");
    EXPECT_EQ(zor::localTimeText(1202029500), L"02/03/2008 09:05:00");
    EXPECT_EQ(zor::localTimeText(0), L"01/01/1970 00:00:00");
    EXPECT_EQ(zor::localTimeText(1798761599), L"12/31/2026 23:59:59");
}

TEST(LastUpdate, Time_IsLocal) {
    const ZoneGuard zone("EST5");
    EXPECT_EQ(zor::localTimeText(0), L"12/31/1969 19:00:00");
}

TEST(LastUpdate, TimeThatCannotBeBrokenDown_GivesNothing) {
    if (sizeof(std::time_t) < 8)
        GTEST_SKIP() << "every time of 32 bits has a year";
    EXPECT_EQ(zor::localTimeText(std::numeric_limits<std::time_t>::max()), std::nullopt);
}

constexpr struct {
    const char *lang;
    const wchar_t *identifier;
} kLanguages[] = {
    {nullptr, L"0409"},       {"", L"0409"},      {"C", L"0409"},           {"en_US.UTF-8", L"0409"},
    {"en_UK.UTF-8", L"0809"}, {"en_UK", L"0809"}, {"x-en_UK-y", L"0809"},   {"ja_JP.eucJP", L"0411"},
    {"ja_JP", L"0411"},       {"ja", L"0409"},    {"ja_JP:en_UK", L"0809"}, {"JA_JP", L"0409"},
};

TEST(Language, EachValueOfLang_GivesItsIdentifier) {
    for (const auto &row : kLanguages)
        EXPECT_STREQ(zor::languageIdentifier(row.lang), row.identifier) << (row.lang ? row.lang : "(unset)");
}

TEST(Language, EnGb_CountsAsAmerican_Kept) {
    EXPECT_STREQ(zor::languageIdentifier("en_GB.UTF-8"), L"0409");
}

TEST(GetMiscInformation, NobodyLoggedOn_IsNA_Kept) {
    EXPECT_TRUE(zor::test::childPasses([] { EXPECT_EQ(collectWith({}).UserName, L"NA"); }));
}

TEST(GetMiscInformation, NoMemoryForTheUsers_LeavesThem) {
    EXPECT_TRUE(zor::test::childPasses([] {
        const zor::test::TemporaryFolder folder;
        zor::test::writeLoginRecords(folder / "utmp",
                                     {{zor::test::kUserProcess, "1", "a-user-with-quite-a-long-name", "pts/1"}});
        bool wasReached = true, wereLeft = false;
        for (int nth = 1; wasReached; ++nth) {
            velmora_com::vta::sysprops::MiscInformation info;
            {
                const zor::test::FailingCall failing("operator new", nth);
                EXPECT_TRUE(velmora_com::vta::sysprops::ISysProps().GetMiscInformation(info));
                wasReached = failing.wasReached();
            }
            EXPECT_TRUE(info.UserName == L"N/A" || info.UserName == L"a-user-with-quite-a-long-name") << nth;
            wereLeft = wereLeft || info.UserName == L"N/A";
        }
        EXPECT_TRUE(wereLeft);
    }));
}

TEST(GetMiscInformation, UsersLoggedOn_AreTheCombinedList) {
    EXPECT_TRUE(zor::test::childPasses([] {
        EXPECT_EQ(collectWith({{zor::test::kUserProcess, "1", "No-Such-User-2", "pts/1"},
                               {zor::test::kUserProcess, "2", "no-such-user-1", "pts/2"}})
                      .UserName,
                  L"no-such-user-1,no-such-user-2");
    }));
}

TEST(GetMiscInformation, TimeZone_IsTheStandardTimesName) {
    EXPECT_TRUE(zor::test::childPasses([] {
        const ZoneGuard zone("WST3WDT"); // where daylight saving time may be on: its name does not count
        EXPECT_EQ(collectWith({}).TimeZone, L"WST");
    }));
}

TEST(GetMiscInformation, TimeZone_IsNotAskedForAnew_Kept) {
    EXPECT_TRUE(zor::test::childPasses([] {
        const ZoneGuard zone("WST3");
        const zor::test::EnvironmentGuard changed("TZ", "EST5");
        EXPECT_EQ(collectWith({}).TimeZone, L"WST");
    }));
}

// What localtime_r does in another thread, at the worst moment.
TEST(GetMiscInformation, TimeZoneThatIsGoneForAMoment_IsWaitedFor) {
    EXPECT_TRUE(zor::test::childPasses([] {
        const ZoneGuard zone("WST3");
        char back[] = "back";
        tzname[0] = nullptr;
        const zor::test::AfterCall meanwhile("sched_yield", 3, [&] { tzname[0] = back; });
        EXPECT_EQ(collectWith({}).TimeZone, L"back");
        EXPECT_TRUE(meanwhile.wasReached());
    }));
}

TEST(GetMiscInformation, TimeZoneOfAnyLength_IsWhole) {
    EXPECT_TRUE(zor::test::childPasses([] {
        std::string longName(200, 'x');
        tzname[0] = longName.data();
        EXPECT_EQ(collectWith({}).TimeZone, std::wstring(200, L'x'));
    }));
}

TEST(GetMiscInformation, NoTimeZone_IsEmpty) {
    EXPECT_TRUE(zor::test::childPasses([] {
        tzname[0] = nullptr;
        EXPECT_EQ(collectWith({}).TimeZone, L"");
    }));
}

TEST(GetMiscInformation, TimeZone_IsThereBesideWhateverElseUsesTheZone) {
    const zor::test::TemporaryFolder folder;
    const std::string setting = ":" + zor::test::writeZoneFile(folder / "zone");
    EXPECT_TRUE(zor::test::childPasses([&] {
        const ZoneGuard zone(setting.c_str());
        const zor::test::UsingTheZone others({[] { tzset(); }, [] { zor::test::breakDownNow(); },
                                              [] {
                                                  tm epoch{};
                                                  epoch.tm_mday = 1;
                                                  epoch.tm_year = 70;
                                                  EXPECT_EQ(velmora_com::vta::zorcomn_timegm(&epoch), 0);
                                              }});
        zor::test::writeLoginRecords(folder / "utmp", {});
        velmora_com::vta::sysprops::ISysProps properties;
        int wrong = 0;
        for (int i = 0; i < 200; ++i) {
            std::this_thread::yield(); // the moments are spread over what the others do
            velmora_com::vta::sysprops::MiscInformation info;
            properties.GetMiscInformation(info);
            wrong += info.TimeZone != L"WST" ? 1 : 0;
        }
        EXPECT_EQ(wrong, 0);
    }));
}

TEST(GetMiscInformation, CancellationIsPutOff) {
    EXPECT_TRUE(zor::test::childPasses([] {
        const zor::test::TemporaryFolder folder;
        zor::test::writeLoginRecords(folder / "utmp", {});
        zor::test::expectCancellationPutOff("localtime_r", [] {
            velmora_com::vta::sysprops::MiscInformation info;
            velmora_com::vta::sysprops::ISysProps().GetMiscInformation(info);
        });
    }));
}

TEST(GetMiscInformation, LastUpdate_IsTheTimeOfTheCall) {
    EXPECT_TRUE(zor::test::childPasses([] {
        const std::time_t before = std::time(nullptr);
        const std::wstring update = collectWith({}).LastUpdate;
        bool isWithin = false;
        for (std::time_t second = before; second <= std::time(nullptr); ++second)
            isWithin = isWithin || zor::localTimeText(second) == update;
        EXPECT_TRUE(isWithin);
    }));
}

TEST(GetMiscInformation, TimeThatCannotBeBrokenDown_LeavesLastUpdateAndNothingElse) {
    EXPECT_TRUE(zor::test::childPasses([] {
        const ZoneGuard zone("WST3");
        const zor::test::FailingCall failing("localtime_r");
        const velmora_com::vta::sysprops::MiscInformation info = collectWith({});
        EXPECT_TRUE(failing.wasReached());
        EXPECT_EQ(info.LastUpdate, L"N/A");
        EXPECT_EQ(info.UserName, L"NA");
        EXPECT_EQ(info.TimeZone, L"WST");
        EXPECT_EQ(info.DefaultLangID.size(), 4u);
    }));
}

TEST(GetMiscInformation, Language_FollowsLang) {
    EXPECT_TRUE(zor::test::childPasses([] {
        for (const auto &row : kLanguages) {
            const zor::test::EnvironmentGuard lang("LANG",
                                                   row.lang ? std::optional<std::string>(row.lang) : std::nullopt);
            EXPECT_EQ(collectWith({}).DefaultLangID, row.identifier);
        }
    }));
}
