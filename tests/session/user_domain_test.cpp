#include "source/session/user_domain.h"

#include <gtest/gtest.h>

using Parts = std::vector<std::string>;

TEST(SplitOrWhole, TextWithoutSeparator_IsTheOnlyPart) {
    EXPECT_EQ(zor::splitOrWhole("abc", '|'), Parts{"abc"});
    EXPECT_EQ(zor::splitOrWhole("", '|'), Parts{""});
    EXPECT_EQ(zor::splitOrWhole("a|b", '|'), (Parts{"a", "b"}));
}

TEST(ShellSafety, EveryByte_IsJudgedAsListed) {
    const std::string safe = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789._-@+=";
    for (int byte = 0; byte < 256; ++byte) {
        const char c = static_cast<char>(byte);
        EXPECT_EQ(zor::isShellSafe(std::string(1, c)), safe.find(c) != std::string::npos) << byte;
        EXPECT_EQ(zor::isShellSafe(std::string("a") + c + "b"), safe.find(c) != std::string::npos || c == '\\') << byte;
    }
}

TEST(ShellSafety, Backslash_NeedsALetterOrDigitBehindIt) {
    EXPECT_TRUE(zor::isShellSafe("dom1\\user1"));
    EXPECT_TRUE(zor::isShellSafe("dom1\\1"));
    EXPECT_TRUE(zor::isShellSafe("\\u"));
    for (const char *text : {"\\", "dom1\\", "dom1\\\\user1", "dom1\\.user1", "dom1\\$x", "dom1\\\n"})
        EXPECT_FALSE(zor::isShellSafe(text)) << text;
}

TEST(DirectoryCommand, SafeNames_GiveTheExactText) {
    EXPECT_EQ(zor::directoryCommand("user1", "userPrincipalName"),
              "/usr/bin/dscl /Search read /Users/user1  |  /usr/bin/grep userPrincipalName");
    EXPECT_EQ(zor::directoryCommand("dom1\\user1", "OriginalAuthenticationAuthority"),
              "/usr/bin/dscl /Search read /Users/dom1\\user1  |  /usr/bin/grep OriginalAuthenticationAuthority");
}

TEST(DirectoryCommand, HostileNames_GiveNone) {
    for (const char *name : {"$(touch /tmp/x)",
                             "`id`",
                             "a;b",
                             "a b",
                             "a|b",
                             "a&b",
                             "a>b",
                             "a<b",
                             "'a'",
                             "\"a\"",
                             "a\nb",
                             "a*",
                             "a?",
                             "[a]",
                             "~",
                             "#a",
                             "a/b",
                             "{a,b}",
                             "!a",
                             "a%b",
                             "(a)",
                             "a^b",
                             "a:b",
                             "\xC3\xA4"}) {
        EXPECT_EQ(zor::directoryCommand(name, "userPrincipalName"), std::nullopt) << name;
        EXPECT_EQ(zor::directoryCommand("user1", name), std::nullopt) << name;
    }
}

TEST(DirectoryCommand, Of255Characters_IsTheLongest) {
    const size_t around = zor::directoryCommand("", "a")->size();
    EXPECT_EQ(zor::directoryCommand(std::string(255 - around, 'u'), "a")->size(), 255u);
    EXPECT_EQ(zor::directoryCommand(std::string(256 - around, 'u'), "a"), std::nullopt);
    EXPECT_EQ(zor::directoryCommand("u", std::string(100000, 'a')), std::nullopt);
}

constexpr char kAuthority[] = "OriginalAuthenticationAuthority";
constexpr char kPrincipal[] = "userPrincipalName";

// The domains still carry what the trimming takes away.
constexpr struct {
    const char *attribute, *answer, *domains;
} kAnswers[] = {
    {kPrincipal, "userprincipalname: user1@dom1\n", "dom1|"},
    {kPrincipal, "userprincipalname: user1@dom1", "dom1|"},
    {kPrincipal, "userprincipalname:\n user1@dom1\n user1@dom2.example.com;\n", "dom1|dom2.example.com|"},
    {kPrincipal, "userprincipalname: user1@dom1@dom2\n", "dom1@dom2|"},
    {kPrincipal, "userprincipalname: user1@\n", ""}, // the '@' goes with the trimming
    {kPrincipal, "userprincipalname: user1\n", ""},
    {kAuthority, "originalauthenticationauthority: ;kerberosv5;;user1@dom1;dom1;\n", "dom1"},
    {kAuthority, "originalauthenticationauthority: user1@dom1;other@dom2;\n", "dom1"},
    {kAuthority, "originalauthenticationauthority: user1@dom1\n", ""}, // nothing ends the domain
    {kAuthority, "originalauthenticationauthority: ;user1@dom1\n", ""},
    {kAuthority, "originalauthenticationauthority: user1@;dom1\n", ""},
    {kAuthority, "originalauthenticationauthority: user1\n", ""},
    {"recordname", "recordname: user1@dom1\n", ""},
};

TEST(DomainsInAnswer, EachAnswer_IsReadAsItsAttributeWants) {
    for (const auto &row : kAnswers)
        EXPECT_EQ(zor::domainsInAnswer(row.answer, row.attribute), row.domains) << row.answer;
}
