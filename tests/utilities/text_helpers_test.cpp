#include "zorcomn/utilities.h"

#include "tests/support/failing_calls.h"

#include <climits>
#include <string>
#include <utility>

#include <gtest/gtest.h>

using namespace velmora_com::vta;

namespace {

TEST(NumberText, Longs_AreDecimal) {
    constexpr struct {
        long value;
        const char *narrow;
        const wchar_t *wide;
    } kRows[] = {{0, "0", L"0"},
                 {-5, "-5", L"-5"},
                 {7, "7", L"7"},
                 {2147483647L, "2147483647", L"2147483647"},
                 {-2147483647L - 1, "-2147483648", L"-2147483648"}};
    for (const auto &row : kRows) {
        EXPECT_EQ(qelcomn_long_to_ansi_string(row.value), row.narrow);
        EXPECT_EQ(qelcomn_long_to_wide_string(row.value), row.wide);
    }
}

TEST(NumberText, UnsignedLongs_AreDecimal) {
    EXPECT_EQ(qelcomn_ulong_to_wide_string(0ul), L"0");
    EXPECT_EQ(qelcomn_ulong_to_wide_string(4294967295ul), L"4294967295");
}

TEST(NumberText, ExtremesOfTheMachinesLong_RoundTrip) {
    EXPECT_EQ(std::stol(qelcomn_long_to_ansi_string(LONG_MIN)), LONG_MIN);
    EXPECT_EQ(std::stol(qelcomn_long_to_wide_string(LONG_MAX)), LONG_MAX);
    EXPECT_EQ(std::stoul(qelcomn_ulong_to_wide_string(ULONG_MAX)), ULONG_MAX);
}

TEST(LetterCase, AsciiChanges_OtherBytesPass) {
    const std::string bytes = "\x80\xC3\xBC\xFF\x01\x7F";
    EXPECT_EQ(qelcomn_convert_to_upper("aZ09{`" + bytes), "AZ09{`" + bytes);
    EXPECT_EQ(qelcomn_convert_to_lower("aZ09[@" + bytes), "az09[@" + bytes);
    EXPECT_EQ(qelcomn_convert_to_upper(""), "");
    EXPECT_EQ(qelcomn_convert_to_lower(""), "");
    EXPECT_EQ(qelcomn_convert_to_upper(std::string("a\0b", 3)), std::string("A\0B", 3));
}

TEST(WhiteSpace, Leading_IsStripped) {
    EXPECT_EQ(qelcomn_strip_leading_whitespace("  \tx "), "x ");
    EXPECT_EQ(qelcomn_strip_leading_whitespace(" \t\n\v\f\rx"), "x");
    EXPECT_EQ(qelcomn_strip_leading_whitespace("x y"), "x y");
    EXPECT_EQ(qelcomn_strip_leading_whitespace(" \n\t "), "");
    EXPECT_EQ(qelcomn_strip_leading_whitespace(""), "");
    EXPECT_EQ(qelcomn_strip_leading_whitespace(" \xC2\xA0x"), "\xC2\xA0x"); // bytes of other characters are no space
}

TEST(WhiteSpace, Trailing_IsStripped) {
    EXPECT_EQ(qelcomn_strip_trailing_whitespace(" x \n"), " x");
    EXPECT_EQ(qelcomn_strip_trailing_whitespace("x \t\n\v\f\r"), "x");
    EXPECT_EQ(qelcomn_strip_trailing_whitespace("x y"), "x y");
    EXPECT_EQ(qelcomn_strip_trailing_whitespace("x"), "x");
    EXPECT_EQ(qelcomn_strip_trailing_whitespace("x\xFF "), "x\xFF");
}

TEST(WhiteSpace, TrailingOfEmptyOrWhitesOnly_IsEmpty) {
    EXPECT_EQ(qelcomn_strip_trailing_whitespace(""), "");
    EXPECT_EQ(qelcomn_strip_trailing_whitespace(" "), "");
    EXPECT_EQ(qelcomn_strip_trailing_whitespace(" \t\r\n "), "");
}

TEST(TextHelpers, NoMemory_GivesAnEmptyString) {
    const std::string text = " " + std::string(60, 'x') + " ";
    std::string (*const kHelpers[])(std::string) = {qelcomn_convert_to_upper, qelcomn_convert_to_lower,
                                                    qelcomn_strip_leading_whitespace,
                                                    qelcomn_strip_trailing_whitespace};
    for (const auto helper : kHelpers) {
        std::string argument = text;
        const zor::test::FailingCall failing("operator new");
        EXPECT_EQ(helper(std::move(argument)), "");
        EXPECT_TRUE(failing.wasReached());
    }
    const long value = -2147483647L;
    const zor::test::FailingCall failing("operator new");
    EXPECT_EQ(qelcomn_long_to_wide_string(value), L"");
    EXPECT_TRUE(failing.wasReached());
}

TEST(ByteOrder, IsBigEndian_AgreesWithTheCompiler) {
    EXPECT_EQ(isBigEndian(), __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__);
}

std::string chopped(std::string text) {
    qelcomn_chop_semicolon(text.data());
    return text.c_str();
}

TEST(ChopSemicolon, FirstSemicolon_EndsTheText) {
    EXPECT_EQ(chopped("a;b;c"), "a");
    EXPECT_EQ(chopped("abc"), "abc");
    EXPECT_EQ(chopped(";"), "");
    EXPECT_EQ(chopped("abc;"), "abc");
    EXPECT_EQ(chopped(""), "");
    qelcomn_chop_semicolon(nullptr);
}

TEST(ChopSemicolon, TextBehindTheCut_StaysInMemory) {
    char text[] = "a;b;c";
    qelcomn_chop_semicolon(text);
    EXPECT_EQ(std::string(text, 5), std::string("a\0b;c", 5));
}

std::string ended(std::string path) {
    path.resize(path.size() + 1);
    qelcomn_append_backslash_check(path.data());
    return path.c_str();
}

TEST(AppendBackslashCheck, MissingSlash_IsAppended_Kept) {
    EXPECT_EQ(ended("/tmp"), "/tmp/");
    EXPECT_EQ(ended("/tmp\\"), "/tmp\\/");
    EXPECT_EQ(ended(""), "/");
}

TEST(AppendBackslashCheck, PathThatEndsInASlash_Stays) {
    EXPECT_EQ(ended("/tmp/"), "/tmp/");
    EXPECT_EQ(ended("/"), "/");
    EXPECT_EQ(ended("//"), "//");
    qelcomn_append_backslash_check(nullptr);
}

TEST(AppendBackslashCheck, OneCharacterOfRoom_IsEnough) {
    char path[] = {'/', 't', '\0', '#', '#'};
    qelcomn_append_backslash_check(path);
    EXPECT_EQ(std::string(path, 5), std::string("/t/\0#", 5));
}

} // namespace
