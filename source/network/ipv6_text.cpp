// The forms of an IPv6 address text: expanded, masked to its subnet, and the literal form that can stand for a host
// name. Every function is a pure text edit: none checks that its input is an address.

#include "source/network/ipv6_text.h"

#include "zorcomn/network.h"

#include "source/platform/posix.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace zor {

namespace {

constexpr char kLiteralSuffix[] = ".ipv6-literal.net";
constexpr int kSeparatorsOfFullAddress = 7;

/** The value of the group that begins at a place, which moves behind the group and its ':'. */
unsigned long takeGroup(const std::string &groups, size_t &place) {
    const size_t end = std::min(groups.find(':', place), groups.size());
    const std::string group = groups.substr(place, end - place);
    place = end + 1;
    return std::strtoul(group.c_str(), nullptr, 16);
}

std::string lowerHex(unsigned long value) {
    char text[2 * sizeof value + 1];
    std::snprintf(text, sizeof text, "%lx", value);
    return text;
}

std::string toLiteral(std::string address) {
    if (address.find(kLiteralSuffix) != std::string::npos || address.find(':') == std::string::npos)
        return address;
    if (const auto inner = textBetweenBrackets(address))
        address = *inner;
    std::replace(address.begin(), address.end(), ':', '-');
    // Kept: the scope is dropped, not encoded; the way back therefore has none to restore.
    return withoutScope(address) + kLiteralSuffix;
}

std::string fromLiteral(std::string literal) {
    if (const auto inner = textBetweenBrackets(literal))
        literal = *inner;
    const size_t suffix = literal.find(kLiteralSuffix);
    if (suffix == std::string::npos)
        return literal;
    literal.erase(suffix);
    std::replace(literal.begin(), literal.end(), '-', ':');
    // Kept: whatever begins with the first 's' is taken for a scope and dropped.
    return literal.substr(0, literal.find('s'));
}

} // namespace

std::optional<std::string> textBetweenBrackets(const std::string &text) {
    const size_t open = text.find('[');
    if (open == std::string::npos)
        return std::nullopt;
    const size_t close = text.find(']', open);
    if (close == std::string::npos)
        return std::nullopt;
    return text.substr(open + 1, close - open - 1);
}

std::string withoutScope(const std::string &address) {
    // Kept: the cut is made for every address, not for link-local and site-local ones alone.
    return address.substr(0, address.find('%'));
}

std::string expandedAddress(const std::string &address) {
    std::string bare = withoutScope(address);
    const size_t gap = bare.find("::");
    if (gap == std::string::npos)
        return bare; // Kept: groups are neither padded nor counted; stored texts are compared in this form.
    const std::string head = bare.substr(0, gap);
    const std::string tail = bare.substr(gap + 1);
    const int separators = velmora_com::vta::noOfOccurences(head, ':', kSeparatorsOfFullAddress) +
                           velmora_com::vta::noOfOccurences(tail, ':', kSeparatorsOfFullAddress);
    std::string expanded = head;
    for (int missing = kSeparatorsOfFullAddress - separators; missing > 0; --missing)
        expanded += ":0";
    expanded += tail;
    if (gap == 0)
        expanded.insert(0, 1, '0');
    if (expanded.back() == ':')
        expanded += '0';
    return expanded;
}

std::string subnetOf(const std::string &address, const std::string &mask) {
    if (address.empty() || mask.empty())
        return {};
    std::string subnet;
    for (size_t inAddress = 0, inMask = 0; inAddress <= address.size() && inMask <= mask.size();)
        subnet += lowerHex(takeGroup(address, inAddress) & takeGroup(mask, inMask)) + ':';
    subnet.pop_back();
    return subnet;
}

} // namespace zor

namespace velmora_com {
namespace vta {

std::string expandIPV6Address(std::string addr) {
    return zor::guarded(std::string(), [&] { return zor::expandedAddress(addr); });
}

std::string calculateSubNetAddrForV6(std::string const &addr, std::string const &mask) {
    return zor::guarded(std::string(), [&] { return zor::subnetOf(addr, mask); });
}

std::string convertV6AddrToLiteralFormat(std::string addr) {
    return zor::guarded(std::string(), [&] { return zor::toLiteral(std::move(addr)); });
}

std::string convertLiteralFormatToV6Addr(std::string literal) {
    return zor::guarded(std::string(), [&] { return zor::fromLiteral(std::move(literal)); });
}

unsigned short noOfOccurences(std::string const &text, char c, int cap) {
    // Kept: the counter has 16 bits and starts again at 0 after 65535.
    const auto count = static_cast<uint16_t>(std::count(text.begin(), text.end(), c));
    return count <= zor::kSeparatorsOfFullAddress ? count : static_cast<uint16_t>(cap);
}

} // namespace vta
} // namespace velmora_com
