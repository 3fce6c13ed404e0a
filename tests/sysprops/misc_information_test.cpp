#include "sysprops/misc_information.h"

#include "tests/support/environment_guard.h"

#include <limits>

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
