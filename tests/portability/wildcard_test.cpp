#include "zorcomn/portability.h"

#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

/** The rules as they are written down, position by position; the yardstick for the matcher, exponential as it is. */
bool modelMatches(const std::string &pattern, const std::string &name) {
    if (pattern.empty())
        return true;
    const std::string restOfPattern = pattern.substr(1);
    if (pattern[0] == '*') {
        if (name.empty())
            return true;
        for (size_t position = 0; position < name.size(); ++position) {
            if (modelMatches(restOfPattern, name.substr(position)))
                return true;
        }
        return false;
    }
    if (name.empty() || (pattern[0] != '?' && pattern[0] != name[0]))
        return false;
    return modelMatches(restOfPattern, name.substr(1));
}

/** Every text over the alphabet up to a length, the empty one first. */
std::vector<std::string> textsUpTo(size_t length, const std::string &alphabet) {
    std::vector<std::string> texts{""};
    for (size_t begin = 0, step = 0; step < length; ++step) {
        const size_t end = texts.size();
        for (; begin < end; ++begin) {
            for (const char c : alphabet)
                texts.push_back(texts[begin] + c);
        }
    }
    return texts;
}

void expectAgreementWithModel(const std::vector<std::string> &patterns, const std::vector<std::string> &names) {
    for (const std::string &pattern : patterns) {
        for (const std::string &name : names) {
            ASSERT_EQ(qelWildCardMatch(pattern.c_str(), name.c_str()), modelMatches(pattern, name) ? 0 : 1)
                << '"' << pattern << "\" against \"" << name << '"';
        }
    }
}

TEST(WildCardMatch, EveryShortPatternAndName_AgreesWithTheModel) {
    const auto patterns = textsUpTo(4, "ab*?");
    const auto names = textsUpTo(4, "ab");
    ASSERT_EQ(patterns.size(), 341u);
    ASSERT_EQ(names.size(), 31u);
    expectAgreementWithModel(patterns, names);
}

TEST(WildCardMatch, StarsAmongLongerTexts_AgreeWithTheModel) {
    expectAgreementWithModel(textsUpTo(6, "a*?"), textsUpTo(7, "ab"));
}

TEST(WildCardMatch, EachRow_IsJudgedAsListed) {
    constexpr struct {
        const char *pattern;
        const char *name;
        int32_t result;
    } kRows[] = {
        {nullptr, "abc", 0},  {"", "abc", 0},     {"", "", 0},         {nullptr, nullptr, 0}, {"abc", "abc", 0},
        {"abc", "ab", 1},     {"abc", "Abc", 1},  {"?", "", 1},        {"?", "a", 0},         {"*", "", 0},
        {"*", ".", 0},        {"*.*", "file", 1}, {"*.*", "file.", 0}, {"a*", "a", 0},        {"*.log", "a.log", 0},
        {"*.log", "alog", 1}, {"a", nullptr, 1},  {"*", nullptr, 0},   {"[a]", "a", 1},       {"\\*", "*", 1},
    };
    for (const auto &row : kRows) {
        EXPECT_EQ(qelWildCardMatch(row.pattern, row.name), row.result)
            << (row.pattern ? row.pattern : "(null)") << " against " << (row.name ? row.name : "(null)");
    }
}

TEST(WildCardMatch, PatternEndsBeforeTheName_MatchesAsAPrefix_Kept) {
    EXPECT_EQ(qelWildCardMatch("abc", "abcdef"), 0);
    EXPECT_EQ(qelWildCardMatch("*.log", "a.log.1"), 0);
    EXPECT_EQ(qelWildCardMatch("?", "ab"), 0);
}

TEST(WildCardMatch, StarAtTheEndOfTheName_MatchesWhateverFollowsIt_Kept) {
    EXPECT_EQ(qelWildCardMatch("*b", ""), 0);
    EXPECT_EQ(qelWildCardMatch("a*b", "a"), 0);
    EXPECT_EQ(qelWildCardMatch("*a*b", "axa"), 0);
}

TEST(WildCardMatch, StarNeverHandsOnTheEmptyRest_Kept) {
    EXPECT_EQ(qelWildCardMatch("*b*", "a"), 1);
    EXPECT_EQ(qelWildCardMatch("**b", "a"), 1);
    EXPECT_EQ(qelWildCardMatch("*b", "a"), 1);
}

TEST(WildCardMatch, BytesAboveAscii_AreCompared_ByteByByte) {
    EXPECT_EQ(qelWildCardMatch("gr\xC3\xBC\xC3\x9F*", "gr\xC3\xBC\xC3\x9F"
                                                      "e"),
              0);
    EXPECT_EQ(qelWildCardMatch("?x", "\xC3\xBCx"), 1);
    EXPECT_EQ(qelWildCardMatch("??x", "\xC3\xBCx"), 0);
    EXPECT_EQ(qelWildCardMatch("\xFF", "\x7F"), 1);
}

// Tried by backtracking alone, these would outlast the machine.
TEST(WildCardMatch, HostilePatterns_EndWithTheSameAnswers) {
    const std::string manyAs(250, 'a');
    EXPECT_EQ(qelWildCardMatch("*a*a*a*a*b", manyAs.c_str()), 0); // the last star may stand at the end of the name
    EXPECT_EQ(qelWildCardMatch("*a*a*a*a*bc", (manyAs + "c").c_str()), 1);
    std::string pattern;
    for (int i = 0; i < 60; ++i)
        pattern += "*a";
    EXPECT_EQ(qelWildCardMatch((pattern + "b").c_str(), manyAs.c_str()), 0);
    EXPECT_EQ(qelWildCardMatch((pattern + "b").c_str(), (manyAs + "c").c_str()), 1);
    EXPECT_EQ(qelWildCardMatch((pattern + "b").c_str(), (manyAs + "b").c_str()), 0);
    EXPECT_EQ(qelWildCardMatch((pattern + "*?b").c_str(), (manyAs + "c").c_str()), 1);
}

TEST(WildCardMatch, MillionStars_NeedNoStack) {
    const std::string stars(1000000, '*');
    EXPECT_EQ(qelWildCardMatch(stars.c_str(), "a"), 0);
    EXPECT_EQ(qelWildCardMatch((stars + "b").c_str(), "a"), 1);
    const std::string name(1000000, 'a');
    EXPECT_EQ(qelWildCardMatch("*b", name.c_str()), 1);
}

} // namespace
