// The edits of IPv6 texts: on any bytes as pure text edits, on addresses against the system's own reader of them. An
// address and a mask, one line each.

#include "zorcomn/network.h"

#include "tests/fuzz/bytes.h"
#include "tests/fuzz/readers.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <vector>

#include <arpa/inet.h>

namespace zor::test::readers {

namespace {

using namespace velmora_com::vta;
using Octets = std::array<unsigned char, 16>;

/** The address that the system reads in a text of hexadecimal groups. */
std::optional<Octets> addressIn(const std::string &text) {
    Octets octets;
    if (text.find('\0') != std::string::npos || text.find('.') != std::string::npos ||
        inet_pton(AF_INET6, text.c_str(), octets.data()) != 1)
        return std::nullopt;
    return octets;
}

std::vector<std::string> groupsOf(const std::string &text) {
    std::vector<std::string> groups(1);
    for (const char c : text)
        if (c == ':')
            groups.emplace_back();
        else
            groups.back() += c;
    return groups;
}

std::string modelSubnet(const std::string &address, const std::string &mask) {
    if (address.empty() || mask.empty())
        return {};
    const auto addressGroups = groupsOf(address), maskGroups = groupsOf(mask);
    std::string subnet;
    for (size_t i = 0; i < std::min(addressGroups.size(), maskGroups.size()); ++i) {
        char text[32];
        std::snprintf(text, sizeof text, "%s%lx", i == 0 ? "" : ":",
                      std::strtoul(addressGroups[i].c_str(), nullptr, 16) &
                          std::strtoul(maskGroups[i].c_str(), nullptr, 16));
        subnet += text;
    }
    return subnet;
}

const char *brokenAddressRule(const std::string &address, const std::string &mask, const Octets &octets) {
    const std::string expanded = expandIPV6Address(address);
    if (addressIn(expanded) != octets)
        return "an expanded address is the same address";
    if (expanded.find("::") != std::string::npos || std::count(expanded.begin(), expanded.end(), ':') != 7)
        return "an expanded address has eight groups";
    if (expandIPV6Address(address + "%en0") != expanded)
        return "a scope is left out";
    if (convertLiteralFormatToV6Addr(convertV6AddrToLiteralFormat(address)) != address ||
        convertLiteralFormatToV6Addr(convertV6AddrToLiteralFormat('[' + address + "%4]")) != address)
        return "the literal form leads back";
    const auto maskOctets = addressIn(mask);
    if (!maskOctets)
        return nullptr;
    Octets both;
    std::transform(octets.begin(), octets.end(), maskOctets->begin(), both.begin(),
                   [](unsigned char one, unsigned char other) { return static_cast<unsigned char>(one & other); });
    if (addressIn(calculateSubNetAddrForV6(expanded, expandIPV6Address(mask))) != both)
        return "a subnet is address and mask";
    return nullptr;
}

} // namespace

const char *ipv6_text(const std::string &bytes) {
    Bytes input(bytes);
    const std::string address = input.line(), mask = input.rest();
    const std::string expanded = expandIPV6Address(address);
    if (expanded.find('%') != std::string::npos)
        return "an expanded text has no scope";
    const size_t colons = static_cast<size_t>(std::count(address.begin(), address.end(), ':'));
    if (noOfOccurences(address, ':', 3) != (colons <= 7 ? colons : 3))
        return "few are counted, many are the bound";
    if (calculateSubNetAddrForV6(address, mask) != modelSubnet(address, mask))
        return "group by group, as long as both have one";
    const std::string literal = convertV6AddrToLiteralFormat(address);
    if (literal != address && (literal.find(':') != std::string::npos || literal.find('%') != std::string::npos ||
                               literal.find(".ipv6-literal.net") == std::string::npos))
        return "a literal has neither colons nor scope";
    if (convertLiteralFormatToV6Addr(address).size() > address.size())
        return "the way back only takes away";
    ANetworkUtil util;
    const std::string bare = util.formatV6addr(address, false), kept = util.formatV6addr(address, true);
    if (bare.find('%') != std::string::npos || (kept != bare && kept != '[' + bare + ']'))
        return "a bare address has no scope, and its brackets only when they are wanted";
    if (const auto octets = addressIn(address))
        return brokenAddressRule(address, mask, *octets);
    return nullptr;
}

} // namespace zor::test::readers
