#include "zorcomn/session.h"

#include <gtest/gtest.h>

namespace session = velmora_com::vta::session;

using Parts = std::vector<std::string>;

TEST(Diagnostics, Stream_IsStandardOutput) {
    EXPECT_EQ(session::myfd(), stdout);
}

constexpr struct {
    const wchar_t *name, *domain, *user;
} kFullNames[] = {
    {L"dom1\\user1", L"dom1", L"user1"}, {L"user1", L"", L"user1"}, {L"", L"", L""},
    {L"\\user1", L"", L"user1"},         {L"dom1\\", L"dom1", L""}, {L"dom1\\sub\\user1", L"dom1", L"sub\\user1"},
    {L"dom1/user1", L"", L"dom1/user1"},
};

TEST(ParseFullUserName, EachForm_IsSplitAtFirstBackslash) {
    for (const auto &row : kFullNames) {
        std::wstring domain = L"old", user = L"old";
        session::parseFullUserName(row.name, domain, user);
        EXPECT_EQ(domain, row.domain);
        EXPECT_EQ(user, row.user);
    }
}

TEST(ParseFullUserName, NameWithAtSign_IsAUserName_Kept) {
    std::wstring domain = L"old", user;
    session::parseFullUserName(L"user1@dom1", domain, user);
    EXPECT_EQ(domain, L"");
    EXPECT_EQ(user, L"user1@dom1");
}

TEST(ParseFullUserName, ResultIsTheNameItself_IsSplitAllTheSame) {
    std::wstring name = L"dom1\\user1", user;
    session::parseFullUserName(name, name, user);
    EXPECT_EQ(name, L"dom1");
    EXPECT_EQ(user, L"user1");
    std::wstring domain;
    name = L"dom1\\user1";
    session::parseFullUserName(name, domain, name);
    EXPECT_EQ(domain, L"dom1");
    EXPECT_EQ(name, L"user1");
}

TEST(ToLower, Bytes_AreLoweredInPlace) {
    std::string text("ABC xyz-1\0\xC3\x84Z", 13);
    session::toLower(text);
    EXPECT_EQ(text, std::string("abc xyz-1\0\xC3\x84z", 13));
}

constexpr struct {
    const char *text, *trimmed;
} kTrimmed[] = {
    {"abc", "abc"},
    {"  abc\t\n", "abc"},
    {"|;-abc;|", "abc"},
    {"a-b c", "a-b c"},
    {"  a", "a"},
    {"a|", "a"},
    {"1", "1"},
    {"", ""},
    {"|", ""},
    {" ;| ", ""},
    {"\n", ""},
    {"dom1|dom2|", "dom1|dom2"},
    {"\xC3\xA4z\xC3\xA4", "z"},
};

TEST(Trimmer, EachText_LosesAllButLettersAndDigitsAtItsEnds_Kept) {
    for (const auto &row : kTrimmed)
        EXPECT_EQ(session::trimmer(row.text), row.trimmed) << '"' << row.text << '"';
}

TEST(Trimmer, Null_IsEmpty) {
    EXPECT_EQ(session::trimmer(nullptr), "");
}

TEST(Split, EachSeparator_EndsAPart) {
    const struct {
        const char *text;
        Parts parts;
    } rows[] = {
        {"a,b", {"a", "b"}}, {"a,b,c", {"a", "b", "c"}}, {",", {"", ""}},      {"a,", {"a", ""}},
        {",a", {"", "a"}},   {"a,,b", {"a", "", "b"}},   {",,", {"", "", ""}},
    };
    for (const auto &row : rows) {
        Parts parts;
        session::split(row.text, ',', parts);
        EXPECT_EQ(parts, row.parts) << '"' << row.text << '"';
    }
}

TEST(Split, TextWithoutSeparator_AddsNothing_Kept) {
    Parts parts;
    session::split("abc", ',', parts);
    session::split("", ',', parts);
    EXPECT_EQ(parts, Parts());
}

TEST(Split, Parts_AreAppendedTo) {
    Parts parts{"before"};
    session::split("a|b", '|', parts);
    EXPECT_EQ(parts, (Parts{"before", "a", "b"}));
}

TEST(Split, TextIsOneOfTheParts_IsSplitAllTheSame) {
    Parts parts{"a|b|a part too long to be kept inside the string"};
    parts.shrink_to_fit();
    session::split(parts[0], '|', parts);
    EXPECT_EQ(parts, (Parts{"a|b|a part too long to be kept inside the string", "a", "b",
                            "a part too long to be kept inside the string"}));
}
