#include "zorcomn/utilities.h"

#include "tests/support/failing_calls.h"
#include "tests/support/test_seed.h"

#include <random>
#include <string>

#include <gtest/gtest.h>

namespace {

constexpr uint32_t kMatch = 0;
constexpr uint32_t kOtherVersion = 1;
constexpr uint32_t kNoMatch = 0x80000008;

struct Row {
    const char *current;
    const char *list;
    uint32_t result;
};

template <size_t count> void expectResults(const Row (&rows)[count]) {
    for (const Row &row : rows)
        EXPECT_EQ(qelcomn_IsPlatformMatch(row.current, row.list), row.result) << row.current << " in " << row.list;
}

TEST(PlatformMatch, Examples) {
    constexpr Row kRows[] = {
        {"MACX:10:4:11", "MAC:10:3:0-10:5:0", kMatch},
        {"MACX:10:4:11", "MAC:10:3:0", kMatch},
        {"MACX:10:4:11", "MAC:10:5:0", kOtherVersion},
        {"MACX:10:4:11", "MAC:10:5:0-10:6:0", kOtherVersion},
        {"MACX:10:4:11", "WNT", kNoMatch},
        {"MACX:10:4:11", "MACX", kMatch},
        {"MACX", "MACX", kMatch},
        {"MACX:10:4:11", "WNT|MAC|LIN", kMatch},
        {"MACX:10:4:11", "WNT:5:0:0|MAC:10:5:0", kOtherVersion},
        {"MACX:10:4:11", "MAC:10:5:0|WNT", kOtherVersion},
    };
    expectResults(kRows);
}

TEST(PlatformMatch, Bounds_BelongToTheRange) {
    constexpr Row kRows[] = {
        {"MACX:10:3:0", "MAC:10:3:0-10:5:0", kMatch},
        {"MACX:10:5:0", "MAC:10:3:0-10:5:0", kMatch},
        {"MACX:10:2:65535", "MAC:10:3:0-10:5:0", kOtherVersion},
        {"MACX:10:5:1", "MAC:10:3:0-10:5:0", kOtherVersion},
        {"MACX:10:5:0", "MAC:10:5:0-10:3:0", kOtherVersion},
    };
    expectResults(kRows);
}

TEST(PlatformMatch, NameInsideTheCurrentName_Matches_Kept) {
    constexpr Row kRows[] = {
        {"MACX", "MAC", kMatch},      {"MACX", "ACX", kMatch},
        {"MACX", "A", kMatch},        {"MAC", "MACX", kNoMatch},
        {"MACX", "mac", kNoMatch},    {"MACX", "", kNoMatch},
        {"MACX:10:0:0", ":", kMatch}, {"MACX:10:0:0", ":11", kOtherVersion},
        {"", "MAC", kNoMatch},        {"", ":0", kMatch},
        {"MACX:10", "10", kNoMatch},
    };
    expectResults(kRows);
}

TEST(PlatformMatch, Blanks_AreIgnoredOnBothSides) {
    constexpr Row kRows[] = {
        {"M A C X : 10 : 4 : 11", "MAC:10:4:11-10:4:11", kMatch},
        {"MACX:1 0:4:1 1", " M AC : 10 : 4 : 1 1 - 1 0:4 : 11 ", kMatch},
        {"  MACX  ", "  WNT  |  MACX  ", kMatch},
        {"MACX", "   ", kNoMatch},
    };
    expectResults(kRows);
}

TEST(PlatformMatch, EmptyTokens_AreSkipped) {
    constexpr Row kRows[] = {
        {"MACX", "|", kNoMatch}, {"MACX", "||MAC||", kMatch}, {"MACX", "|WNT|", kNoMatch}, {"MACX", "", kNoMatch}};
    expectResults(kRows);
}

TEST(PlatformMatch, MissingNumbers_AreZeroInTheCurrentText) {
    constexpr Row kRows[] = {
        {"MACX", "MAC:0:0:0-0:0:0", kMatch},           {"MACX", "MAC:0:0:1", kOtherVersion},
        {"MACX:10", "MAC:10:0:0-10:0:0", kMatch},      {"MACX:10:4", "MAC:10:4:0-10:4:0", kMatch},
        {"MACX:", "MAC:0:0:0-0:0:0", kMatch},          {"MACX:x", "MAC:0:0:0-0:0:0", kMatch},
        {"MACX:10:x:5", "MAC:10:0:0-10:0:0", kMatch},  {"MACX:10:4:11:9", "MAC:10:4:11-10:4:11", kMatch},
        {"MACX:10.4.11", "MAC:10:0:0-10:0:0", kMatch},
    };
    expectResults(kRows);
}

TEST(PlatformMatch, Numbers_CarryOverToLaterTokens_Kept) {
    constexpr Row kRows[] = {
        // The second range has no high part, and keeps that of the first: 10:3:9.
        {"MACX:10:4:11", "MAC:10:0:0-10:3:9|MAC:10:1:0", kOtherVersion},
        {"MACX:10:3:5", "MAC:10:0:0-10:3:0|MAC:10:1:0-10:4|MAC:10:2:0", kMatch},
        // The second range gives the major number of low alone, and keeps 5:7: low is 9:5:7.
        {"MACX:9:4:0", "MAC:10:5:7-10:9:0|MAC:9", kOtherVersion},
        {"MACX:9:6:0", "MAC:10:5:7-10:9:0|MAC:9", kMatch},
        // High is 10:9:0 at first, then 9:9:0.
        {"MACX:9:9:0", "MAC:10:0:0-10:9:0|MAC:9:0:0-9", kMatch},
        {"MACX:9:9:1", "MAC:10:0:0-10:9:0|MAC:9:0:0-9", kOtherVersion},
        // A range without any number keeps them all.
        {"MACX:10:4:0", "MAC:10:5:0|MAC:", kOtherVersion},
        {"MACX:10:4:0", "MAC:", kMatch},
        // Tokens of other platforms leave no numbers behind.
        {"MACX:10:4:11", "WNT:11:0:0-11:2:0|MAC:10", kMatch},
        {"MACX:10:4:11", "WNT:5:0:0-5:2:0|MAC:10:3:0", kMatch},
    };
    expectResults(kRows);
}

TEST(PlatformMatch, OpenUpperBound_Is65535With1Less_Kept) {
    // 65535 x 2^32 - 1
    constexpr Row kRows[] = {
        {"MACX:65534:65535:65535", "MAC:1", kMatch},
        {"MACX:65535:0:0", "MAC:1", kOtherVersion},
        {"MACX:65535:-1:65535", "MAC:1", kMatch},
        {"MACX:65535:-1:65536", "MAC:1", kOtherVersion},
    };
    expectResults(kRows);
}

TEST(PlatformMatch, LargeNumbers_CarryIntoHigherParts_Kept) {
    constexpr Row kRows[] = {
        {"MACX:10:65536:0", "MAC:11:0:0-11:0:0", kMatch},
        {"MACX:10:4:65536", "MAC:10:5:0-10:5:0", kMatch},
        {"MACX:11:-1:65536", "MAC:11:0:0-11:0:0", kMatch},
        {"MACX:10:0:-1", "MAC:10:0:0", kOtherVersion},
        {"MACX:-1:0:0", "MAC:0-2147483647:0:0", kOtherVersion}, // compared unsigned
        {"MACX:2147483647:2147483647:2147483647", "MAC:2147483647:0:0-2147483647:2147483647:2147483647", kMatch},
        {"MACX:-2147483648:-2147483648:-2147483648", "MAC", kMatch},
        {"MACX:99999999999999999999:0:0", "MAC:2147483647:0:0-2147483647:0:0", kMatch}, // held at the limit
        {"MACX:1:-99999999999999999999:0", "MAC:1:-2147483648:0-0:0:0", kOtherVersion},
        {"MACX:4294967306:0:0", "MAC:10:0:0-10:0:0", kOtherVersion},
    };
    expectResults(kRows);
}

TEST(PlatformMatch, Numbers_AreReadLikeScanf) {
    constexpr Row kRows[] = {
        {"MACX:+10:\t4:\n11", "MAC:10:4:11-10:4:11", kMatch},
        {"MACX:010:04:011", "MAC:10:4:11-10:4:11", kMatch}, // decimal all the same
        {"MACX:+-10:4:11", "MAC:0:0:0-0:0:0", kMatch},
        {"MACX:10\t:4:11", "MAC:10:0:0-10:0:0", kMatch},      // no white space before the separator
        {"MACX:10:4:11", "MAC:10:3:0--1", kMatch},            // up to -1, which is the largest of all unsigned
        {"MACX:10:4:11", "MAC:10:3:0-10:5:0-10:3:1", kMatch}, // the first '-' counts
    };
    expectResults(kRows);
}

TEST(PlatformMatch, TextsOfAnyLength_AreMatched) {
    for (const size_t length : {1u, 259u, 260u, 100000u}) {
        const std::string name(length, 'M');
        EXPECT_EQ(qelcomn_IsPlatformMatch(name.c_str(), name.c_str()), kMatch) << length;
        EXPECT_EQ(qelcomn_IsPlatformMatch((name + "   ").c_str(), ("  " + name).c_str()), kMatch) << length;
        EXPECT_EQ(qelcomn_IsPlatformMatch(name.c_str(), (name + "X").c_str()), kNoMatch) << length;
        EXPECT_EQ(qelcomn_IsPlatformMatch((name + ":10:4:11").c_str(), (name + ":10:5:0").c_str()), kOtherVersion);
        EXPECT_EQ(qelcomn_IsPlatformMatch("MACX", (std::string(length, '|') + "WNT|MAC").c_str()), kMatch) << length;
        EXPECT_EQ(qelcomn_IsPlatformMatch("M", (std::string(length, '|') + "MX").c_str()), kNoMatch) << length;
        EXPECT_EQ(qelcomn_IsPlatformMatch((std::string(length, ' ') + "MACX").c_str(), "MAC"), kMatch) << length;
    }
}

TEST(PlatformMatch, NoMemory_IsRefusedAndThrowsNothing) {
    const std::string name(300, 'M');
    bool wasReached = true;
    for (int nth = 1; wasReached; ++nth) {
        const zor::test::FailingCall failing("operator new", nth);
        const uint32_t result = qelcomn_IsPlatformMatch(name.c_str(), name.c_str());
        wasReached = failing.wasReached();
        EXPECT_EQ(result, wasReached ? kNoMatch : kMatch) << nth;
    }
}

TEST(PlatformMatch, Null_IsRefused) {
    EXPECT_EQ(qelcomn_IsPlatformMatch(nullptr, "MAC"), kNoMatch);
    EXPECT_EQ(qelcomn_IsPlatformMatch("MACX", nullptr), kNoMatch);
}

TEST(PlatformMatch, LongList_FindsTheSameNamesAsAShortOne) {
    std::mt19937 random(zor::test::seedOfThisRun());
    for (int round = 0; round < 200; ++round) {
        std::string platform, list;
        for (size_t i = random() % 60; i > 0; --i)
            platform += "abc"[random() % 3];
        std::string name;
        for (size_t i = random() % 8; i > 0; --i)
            name += "abc"[random() % 3];
        const std::string filling = "no such name|";
        for (size_t size = random() % 2 ? 0 : 70000; list.size() < size;)
            list += filling;
        const bool isThere = !name.empty() && platform.find(name) != std::string::npos;
        const std::string whole = list + "abcabcabcd|bcabd|" + name + "|aacd";
        EXPECT_EQ(qelcomn_IsPlatformMatch(platform.c_str(), whole.c_str()), isThere ? 0u : 0x80000008u)
            << name << " in " << platform;
    }
}

} // namespace
