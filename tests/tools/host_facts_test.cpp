// What is told about this host, the same on every system.

#include "tests/support/environment_guard.h"

#include "tools/zorprops/host_facts.h"
#include "tools/zorprops/vocabulary.h"

#include <gtest/gtest.h>
#include <sys/utsname.h>

using namespace zorprops;

TEST(ZoneName, EachSetting_NamesItsZone) {
    const struct {
        const char *tz;
        std::optional<std::string> file;
        const char *name;
    } rows[] = {
        {nullptr, std::nullopt, "UTC"},
        {nullptr, "/usr/share/zoneinfo/Europe/Berlin", "Europe/Berlin"},
        {nullptr, "../usr/share/zoneinfo/UTC", "UTC"},
        {nullptr, "/etc/localtime", "/etc/localtime"},
        {"", "/usr/share/zoneinfo/Europe/Berlin", "UTC"},
        {"EST5EDT", "/usr/share/zoneinfo/Europe/Berlin", "EST5EDT"},
        {":Asia/Tokyo", std::nullopt, "Asia/Tokyo"},
    };
    for (const auto &row : rows)
        EXPECT_EQ(zoneName(row.tz, row.file), row.name);
}

TEST(ReleaseFile, EachLine_IsReadAsAShellDoes) {
    const auto values =
        parseReleaseFile("NAME=\"A \\\"B\\\" C\"\n# VERSION=1\nID=debian\nEMPTY=\nHOME='x y'\n=bad\nbad\n"
                         "LAST=\"unfinished");
    EXPECT_EQ(values.at("NAME"), "A \"B\" C");
    EXPECT_EQ(values.at("ID"), "debian");
    EXPECT_EQ(values.at("EMPTY"), "");
    EXPECT_EQ(values.at("HOME"), "x y");
    EXPECT_EQ(values.at("LAST"), "\"unfinished");
    EXPECT_EQ(values.size(), 5u);
    EXPECT_TRUE(parseReleaseFile("").empty());
}

TEST(HostFacts, Names_AreThoseOfTheVocabulary) {
    const auto facts = collectHostFacts();
    for (const auto &fact : facts)
        EXPECT_NE(findHostFact(fact.first), nullptr) << fact.first;
    utsname names;
    uname(&names);
    EXPECT_EQ(facts.at("kernel"), std::string(names.sysname) + " " + names.release);
    EXPECT_EQ(facts.at("architecture"), names.machine);
    EXPECT_EQ(facts.count("memoryTotal"), 1u);
    EXPECT_EQ(facts.count("uptime"), 1u);
}

TEST(HostFacts, Locale_IsTheOneInForce) {
    zor::test::EnvironmentGuard all("LC_ALL", ""), messages("LC_MESSAGES", "de_DE.UTF-8"), lang("LANG", "C.UTF-8");
    EXPECT_EQ(collectHostFacts().at("locale"), "de_DE.UTF-8");
}
