#include "zorcomn/portability.h"

#include "tests/support/child.h"

#include <climits>
#include <cstdio>
#include <cstring>
#include <string>

#include <gtest/gtest.h>
#include <locale.h>

using zor::test::childPasses;

namespace {

constexpr int32_t kRadices[] = {10, 16, 8};
constexpr int32_t kOtherRadices[] = {-10, 0, 1, 2, 7, 9, 11, 15, 17, 36, INT32_MAX, INT32_MIN};
constexpr uint64_t kInterestingValues[] = {0,
                                           1,
                                           7,
                                           8,
                                           255,
                                           0x7FFFFFFFu,
                                           0x80000000u,
                                           0xFFFFFFFFu,
                                           0x100000000u,
                                           0x1FFFFFFFFu,
                                           0x123456789ABCDEF0u,
                                           0x7FFFFFFFFFFFFFFFu,
                                           0x8000000000000000u,
                                           0xFFFFFFFFFFFFFFFFu};

// What the C library prints for the three radices of a width.
std::string printed32(int32_t value, int32_t radix) {
    char text[32];
    std::snprintf(text, sizeof text, radix == 10 ? "%d" : radix == 16 ? "%x" : "%o", value);
    return text;
}

std::string printed64(int64_t value, int32_t radix) {
    const auto number = static_cast<long long>(value);
    char text[32];
    std::snprintf(text, sizeof text, radix == 10 ? "%lld" : radix == 16 ? "%llx" : "%llo", number);
    return text;
}

/** Expects one of the functions to write text, exactly its terminator behind it, and to return its buffer. */
template <class Function, class Value>
void expectText(Function function, Value value, int32_t radix, const std::string &text) {
    char buffer[32];
    std::memset(buffer, '#', sizeof buffer);
    EXPECT_EQ(function(value, buffer, radix), buffer);
    EXPECT_STREQ(buffer, text.c_str()) << "radix " << radix;
    EXPECT_EQ(buffer[text.size() + 1], '#') << text;
}

TEST(RadixText, EachRadix_PrintsAsTheCLibraryDoes) {
    for (const uint64_t bits : kInterestingValues)
        for (const int32_t radix : kRadices) {
            const auto low = static_cast<int32_t>(static_cast<uint32_t>(bits));
            expectText(qelItoa, low, radix, printed32(low, radix));
            expectText(qelItot, low, radix, printed32(low, radix));
            const auto whole = static_cast<int64_t>(bits);
            expectText(qelI64toa, whole, radix, printed64(whole, radix));
            expectText(qelI64tot, whole, radix, printed64(whole, radix));
        }
}

TEST(RadixText, LowHalfOfA64BitValue_IsPrintedAsASigned32BitNumber_Kept) {
    for (const uint64_t bits : kInterestingValues)
        for (const int32_t radix : kRadices)
            expectText(qelUltot, bits, radix, printed32(static_cast<int32_t>(static_cast<uint32_t>(bits)), radix));
    expectText(qelUltot, uint64_t{0xFFFFFFFF}, 10, "-1");
    expectText(qelUltot, uint64_t{0x500000000}, 10, "0");
    expectText(qelUltot, uint64_t{0xFFFFFFFF80000000}, 16, "80000000");
}

TEST(RadixText, Examples) {
    expectText(qelItoa, 255, 16, "ff");
    expectText(qelItoa, -1, 16, "ffffffff");
    expectText(qelItoa, INT32_MIN, 10, "-2147483648");
    expectText(qelItoa, -1, 8, "37777777777");
    expectText(qelI64toa, INT64_MIN, 10, "-9223372036854775808");
    expectText(qelI64toa, int64_t{-1}, 8, "1777777777777777777777");
}

TEST(RadixText, OtherRadix_ReturnsNullAndWritesNothing) {
    for (const int32_t radix : kOtherRadices) {
        char buffer[4] = "###";
        EXPECT_EQ(qelItoa(5, buffer, radix), nullptr) << radix;
        EXPECT_EQ(qelItot(5, buffer, radix), nullptr) << radix;
        EXPECT_EQ(qelUltot(5, buffer, radix), nullptr) << radix;
        EXPECT_EQ(qelI64toa(5, buffer, radix), nullptr) << radix;
        EXPECT_EQ(qelI64tot(5, buffer, radix), nullptr) << radix;
        EXPECT_STREQ(buffer, "###") << radix;
    }
}

TEST(RadixText, NullBuffer_ReturnsNull) {
    EXPECT_EQ(qelItoa(5, nullptr, 10), nullptr);
    EXPECT_EQ(qelItot(5, nullptr, 10), nullptr);
    EXPECT_EQ(qelUltot(5, nullptr, 16), nullptr);
    EXPECT_EQ(qelI64toa(5, nullptr, 8), nullptr);
    EXPECT_EQ(qelI64tot(5, nullptr, 10), nullptr);
}

TEST(TextToNumber, Digits_MakeTheirNumber) {
    EXPECT_EQ(qelAtoi64(""), 0);
    EXPECT_EQ(qelAtoi64("0"), 0);
    EXPECT_EQ(qelAtoi64("123"), 123);
    EXPECT_EQ(qelAtoi64("000123"), 123);
    EXPECT_EQ(qelAtoi64("9223372036854775807"), INT64_MAX);
}

TEST(TextToNumber, EveryCharacterCounts_Kept) {
    EXPECT_EQ(qelAtoi64("-1"), -29);
    EXPECT_EQ(qelAtoi64("+1"), (43 - 48) * 10 + 1);
    EXPECT_EQ(qelAtoi64(" 7"), (32 - 48) * 10 + 7);
    EXPECT_EQ(qelAtoi64("1x2"), 100 + (120 - 48) * 10 + 2);
    EXPECT_EQ(qelAtoi64("\n"), 10 - 48);
}

TEST(TextToNumber, TooManyDigits_WrapIn64Bits) {
    EXPECT_EQ(qelAtoi64("9223372036854775808"), INT64_MIN);
    EXPECT_EQ(qelAtoi64("18446744073709551615"), -1);
    EXPECT_EQ(qelAtoi64("18446744073709551617"), 1);
    EXPECT_EQ(qelAtoi64(std::string(70, '0').append("5").c_str()), 5);
}

// The same on every machine, whether or not its plain char has a sign.
TEST(TextToNumber, ByteAbove127_HasItsSignedCode) {
    EXPECT_EQ(qelAtoi64("\xFF"), -1 - 48);
    EXPECT_EQ(qelAtoi64("\x80"), -128 - 48);
    EXPECT_EQ(qelAtoi64("\xC3\xA4"), (-61 - 48) * 10 + (-92 - 48));
    EXPECT_EQ(qelAtoi64("\x7F"), 127 - 48);
}

TEST(TextToNumber, SecondName_DoesTheSame) {
    for (const char *text : {"", "123", "-1", "\xFF", "18446744073709551617"})
        EXPECT_EQ(qelTtoi64(text), qelAtoi64(text)) << text;
}

TEST(TextToNumber, Null_IsZero) {
    EXPECT_EQ(qelAtoi64(nullptr), 0);
    EXPECT_EQ(qelTtoi64(nullptr), 0);
}

TEST(StandardConversion, Ascii_ConvertsBothWays) {
    wchar_t wide[8];
    EXPECT_EQ(qelStandardAtoU("abc", 8, wide), 3u);
    EXPECT_STREQ(wide, L"abc");
    char narrow[8];
    EXPECT_EQ(qelStandardUtoA(L"abc", 8, narrow), 3u);
    EXPECT_STREQ(narrow, "abc");
    EXPECT_EQ(qelStandardAtoU("", 8, wide), 0u);
    EXPECT_STREQ(wide, L"");
    EXPECT_EQ(qelStandardUtoA(L"", 8, narrow), 0u);
    EXPECT_STREQ(narrow, "");
}

TEST(StandardConversion, FullBuffer_GetsNoTerminator) {
    wchar_t wide[] = L"####";
    EXPECT_EQ(qelStandardAtoU("abcd", 2, wide), 2u);
    EXPECT_STREQ(wide, L"ab##");
    EXPECT_EQ(qelStandardAtoU("abcd", 0, wide), 0u);
    EXPECT_STREQ(wide, L"ab##");
    char narrow[] = "####";
    EXPECT_EQ(qelStandardUtoA(L"abcd", 2, narrow), 2u);
    EXPECT_STREQ(narrow, "ab##");
    EXPECT_EQ(qelStandardUtoA(L"abcd", 0, narrow), 0u);
    EXPECT_STREQ(narrow, "ab##");
}

TEST(StandardConversion, NullDestination_CountsTheWholeText) {
    EXPECT_EQ(qelStandardAtoU("abcd", 0, nullptr), 4u);
    EXPECT_EQ(qelStandardUtoA(L"abcd", 0, nullptr), 4u);
}

TEST(StandardConversion, NullSource_ConvertsNothing) {
    wchar_t wide[] = L"#";
    EXPECT_EQ(qelStandardAtoU(nullptr, 1, wide), 0u);
    EXPECT_STREQ(wide, L"#");
    char narrow[] = "#";
    EXPECT_EQ(qelStandardUtoA(nullptr, 1, narrow), 0u);
    EXPECT_STREQ(narrow, "#");
}

/** UTF-8 for this thread's conversions while it lives; false where the system has no such locale. */
class Utf8Scope {
public:
    Utf8Scope() : m_utf8(newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr)), m_before(uselocale(m_utf8)) {}
    ~Utf8Scope() {
        uselocale(m_before);
        if (m_utf8)
            freelocale(m_utf8);
    }
    Utf8Scope(const Utf8Scope &) = delete;
    Utf8Scope &operator=(const Utf8Scope &) = delete;
    explicit operator bool() const { return m_utf8 != nullptr; }

private:
    locale_t m_utf8;
    locale_t m_before;
};

TEST(StandardConversion, Locale_SetsTheEncoding) {
    const Utf8Scope utf8;
    if (!utf8)
        GTEST_SKIP() << "needs the locale C.UTF-8";
    wchar_t wide[8];
    EXPECT_EQ(qelStandardAtoU("\xC3\xA4\xE2\x82\xAC", 8, wide), 2u);
    EXPECT_STREQ(wide, L"\u00E4\u20AC");
    char narrow[] = "#######";
    EXPECT_EQ(qelStandardUtoA(L"\u00E4\u20AC", 4, narrow), 2u) << "a character that does not fit is not begun";
    EXPECT_STREQ(narrow, "\xC3\xA4#####");
}

TEST(StandardConversion, InvalidText_GivesZero) {
    const Utf8Scope utf8;
    if (!utf8)
        GTEST_SKIP() << "needs the locale C.UTF-8";
    wchar_t wide[8];
    EXPECT_EQ(qelStandardAtoU("ab\xFF", 8, wide), 0u);
    const wchar_t surrogate[] = {L'a', 0xD800, 0};
    char narrow[32];
    EXPECT_EQ(qelStandardUtoA(surrogate, 8, narrow), 0u);
}

TEST(StandardConversion, UnfinishedCharacter_LeavesNothingForTheNextCall) {
    const Utf8Scope utf8;
    if (!utf8)
        GTEST_SKIP() << "needs the locale C.UTF-8";
    wchar_t wide[8];
    qelStandardAtoU("\xC3", 8, wide);
    EXPECT_EQ(qelStandardAtoU("a", 8, wide), 1u);
    EXPECT_STREQ(wide, L"a");
}

TEST(RadixText, ErrorCell_IsUntouched) {
    EXPECT_TRUE(childPasses([] {
        nErrno = 77;
        qelItoa(1, nullptr, 2);
        qelAtoi64(nullptr);
        qelStandardAtoU(nullptr, 0, nullptr);
        qelCoCreateGuid(nullptr);
        qelUuidToStringA(nullptr, nullptr);
        qelGetComputerName(nullptr, nullptr);
        EXPECT_EQ(nErrno, 77);
    }));
}

} // namespace
