// The forms of an IPv6 address text and the text of a hardware address.

#include "zorcomn/network.h"

#include <string>

#include <gtest/gtest.h>

namespace {

using namespace velmora_com::vta;

struct TextRow {
    std::string input;
    std::string result;
};

TEST(ExpandIPV6Address, EachRow_IsExpandedAsListed) {
    const TextRow rows[] = {
        {"fe80::1", "fe80:0:0:0:0:0:0:1"},
        {"::1", "0:0:0:0:0:0:0:1"},
        {"::", "0:0:0:0:0:0:0:0"},
        {"fe80::", "fe80:0:0:0:0:0:0:0"},
        {"fe80::1%en0", "fe80:0:0:0:0:0:0:1"},
        {"2001:db8:0:0:1:0:0:1", "2001:db8:0:0:1:0:0:1"},
        {"2001:db8::a:b:c:d", "2001:db8:0:0:a:b:c:d"},
        {"1:2:3:4:5:6:7::", "1:2:3:4:5:6:7:0"},
        {"::2:3:4:5:6:7:8", "0:2:3:4:5:6:7:8"},
        {"1:2:3::5:6:7:8", "1:2:3:0:5:6:7:8"},
        {"ffff:ffff:ffff:ffff::", "ffff:ffff:ffff:ffff:0:0:0:0"},
        {"::ffff:1.2.3.4", "0:0:0:0:0:0:ffff:1.2.3.4"},
        {"192.168.1.1", "192.168.1.1"},
        {"", ""},
        {"%", ""},
        {":", ":"},
        {"host.example", "host.example"},
    };
    for (const auto &row : rows)
        EXPECT_EQ(expandIPV6Address(row.input), row.result) << '"' << row.input << '"';
}

TEST(ExpandIPV6Address, MoreThanSixOtherColons_InsertNoZeroGroup) {
    EXPECT_EQ(expandIPV6Address("1:2:3:4:5:6:7::8"), "1:2:3:4:5:6:7:8");
    EXPECT_EQ(expandIPV6Address("1:2:3:4:5:6:7:8::9"), "1:2:3:4:5:6:7:8:9");
    EXPECT_EQ(expandIPV6Address("1:2:3:4:5:6:7:8:9:a::b:c:d:e:f:1:2:3:4"), "1:2:3:4:5:6:7:8:9:a:b:c:d:e:f:1:2:3:4");
}

TEST(ExpandIPV6Address, SecondGap_StaysInTheTail) {
    EXPECT_EQ(expandIPV6Address("1::2::3"), "1:0:0:0:0:2::3");
    EXPECT_EQ(expandIPV6Address(":::"), "0:0:0:0:0:0::0");
}

TEST(ExpandIPV6Address, ScopeOfAnyAddress_IsCut_Kept) {
    EXPECT_EQ(expandIPV6Address("2001:db8::1%4"), "2001:db8:0:0:0:0:0:1");
    EXPECT_EQ(expandIPV6Address("fec0::1%4"), "fec0:0:0:0:0:0:0:1");
    EXPECT_EQ(expandIPV6Address("10.0.0.1%eth0"), "10.0.0.1");
    EXPECT_EQ(expandIPV6Address("fe80%a%b::1"), "fe80");
}

TEST(ExpandIPV6Address, GroupsWithoutGap_AreNeitherPaddedNorCounted_Kept) {
    EXPECT_EQ(expandIPV6Address("fe80:1"), "fe80:1");
    EXPECT_EQ(expandIPV6Address("2001:DB8:0:0:1:0:0:1"), "2001:DB8:0:0:1:0:0:1");
    EXPECT_EQ(expandIPV6Address("1:2:3:4:5:6:7:8:9:10"), "1:2:3:4:5:6:7:8:9:10");
}

TEST(CalculateSubNetAddrForV6, EachRow_IsMaskedAsListed) {
    const struct {
        std::string address, mask, subnet;
    } rows[] = {
        {"fe80:0:0:0:a1b2:c3d4:e5f6:1", "ffff:ffff:ffff:ffff:0:0:0:0", "fe80:0:0:0:0:0:0:0"},
        {"2001:db8:ABCD:12:1:2:3:4", "ffff:ffff:fff0:0:0:0:0:0", "2001:db8:abc0:0:0:0:0:0"},
        {"0:0:0:0:0:0:0:1", "ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff", "0:0:0:0:0:0:0:1"},
        {"", "ffff::", ""},
        {"fe80::1", "", ""},
        {"", "", ""},
        {"f", "6", "6"},
        {"0012", "00ff", "12"},
    };
    for (const auto &row : rows)
        EXPECT_EQ(calculateSubNetAddrForV6(row.address, row.mask), row.subnet) << row.address << " & " << row.mask;
}

TEST(CalculateSubNetAddrForV6, ShorterInput_DecidesTheNumberOfGroups) {
    EXPECT_EQ(calculateSubNetAddrForV6("1:2:3", "ffff:ffff:ffff:ffff"), "1:2:3");
    EXPECT_EQ(calculateSubNetAddrForV6("1:2:3:4", "ffff:ffff"), "1:2");
    EXPECT_EQ(calculateSubNetAddrForV6("1:2:3:4", "ffff"), "1");
}

TEST(CalculateSubNetAddrForV6, EmptyOrOddGroup_ReadsAsItsLeadingHexadecimal) {
    EXPECT_EQ(calculateSubNetAddrForV6("fe80::1", "ffff::1"), "fe80:0:1");
    EXPECT_EQ(calculateSubNetAddrForV6("zz:12g4", "ffff:ffff"), "0:12");
}

TEST(ConvertV6AddrToLiteralFormat, EachRow_IsConvertedAsListed) {
    const TextRow rows[] = {
        {"[fe80::1%en0]", "fe80--1.ipv6-literal.net"},
        {"fe80::1", "fe80--1.ipv6-literal.net"},
        {"2001:db8:0:0:1:0:0:1", "2001-db8-0-0-1-0-0-1.ipv6-literal.net"},
        {"10.0.0.1", "10.0.0.1"},
        {"printserver", "printserver"},
        {"", ""},
        {"fe80--1.ipv6-literal.net", "fe80--1.ipv6-literal.net"},
        {"[fe80::1].ipv6-literal.net", "[fe80::1].ipv6-literal.net"},
        {"[fe80::1", "[fe80--1.ipv6-literal.net"},
        {"fe80::1]", "fe80--1].ipv6-literal.net"},
        {"[a]:b", "a.ipv6-literal.net"},
        {"]a:b[", "]a-b[.ipv6-literal.net"},
    };
    for (const auto &row : rows)
        EXPECT_EQ(convertV6AddrToLiteralFormat(row.input), row.result) << '"' << row.input << '"';
}

TEST(ConvertV6AddrToLiteralFormat, Scope_IsDroppedNotEncoded_Kept) {
    EXPECT_EQ(convertV6AddrToLiteralFormat("fe80::1%4"), "fe80--1.ipv6-literal.net");
    EXPECT_EQ(convertV6AddrToLiteralFormat("2001:db8::1%a%b"), "2001-db8--1.ipv6-literal.net");
}

TEST(ConvertLiteralFormatToV6Addr, EachRow_IsConvertedAsListed) {
    const TextRow rows[] = {
        {"fe80--1.ipv6-literal.net", "fe80::1"},
        {"[fe80--1.ipv6-literal.net]", "fe80::1"},
        {"fe80--1.ipv6-literal.net.example", "fe80::1"},
        {"printserver", "printserver"},
        {"[fe80::1]", "fe80::1"},
        {"[printserver", "[printserver"},
        {"", ""},
        {".ipv6-literal.net", ""},
    };
    for (const auto &row : rows)
        EXPECT_EQ(convertLiteralFormatToV6Addr(row.input), row.result) << '"' << row.input << '"';
}

TEST(ConvertLiteralFormatToV6Addr, ScopeSuffix_IsDropped_Kept) {
    EXPECT_EQ(convertLiteralFormatToV6Addr("fe80--1s4.ipv6-literal.net"), "fe80::1");
    EXPECT_EQ(convertLiteralFormatToV6Addr("house.ipv6-literal.net"), "hou");
}

TEST(NoOfOccurences, EachRow_IsCountedAsListed) {
    const struct {
        std::string text;
        char character;
        int cap;
        unsigned short count;
    } rows[] = {
        {"a:b:c:d:e:f:g:h:i", ':', 7, 7},
        {"a:b:c:d:e:f:g:h:i", ':', 3, 3},
        {":::::::", ':', 3, 7},
        {"::::::::", ':', 0, 0},
        {"::::::::", ':', 0x12345, 0x2345},
        {"::::::::", ':', -1, 0xFFFF},
        {"", ':', 7, 0},
        {"abc", ':', 7, 0},
    };
    for (const auto &row : rows)
        EXPECT_EQ(noOfOccurences(row.text, row.character, row.cap), row.count) << '"' << row.text << "\" " << row.cap;
}

TEST(NoOfOccurences, CounterOfSixteenBits_StartsAgain_Kept) {
    EXPECT_EQ(noOfOccurences(std::string(65536 + 3, ':'), ':', 7), 3);
    EXPECT_EQ(noOfOccurences(std::string(65535, ':'), ':', 5), 5);
}

TEST(FormatMACAddress, SixBytes_AreTwelveLowerCaseDigits) {
    unsigned char bytes[] = {0x00, 0x1A, 0x2B, 0x3C, 0x4D, 0x5E};
    EXPECT_EQ(formatMACAddress(bytes), "001a2b3c4d5e");
    unsigned char extremes[] = {0xFF, 0x00, 0x0F, 0xF0, 0x80, 0x7F};
    EXPECT_EQ(formatMACAddress(extremes), "ff000ff0807f");
}

TEST(FormatMACAddress, NullPointer_GivesEmptyText) {
    EXPECT_EQ(formatMACAddress(nullptr), "");
}

} // namespace
