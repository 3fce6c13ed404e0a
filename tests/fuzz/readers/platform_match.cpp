// The match of platforms, against its rules as they are written down. The current platform and the list, one line each.

#include "zorcomn/utilities.h"

#include "tests/fuzz/bytes.h"
#include "tests/fuzz/readers.h"

#include <algorithm>
#include <array>
#include <sstream>
#include <vector>

namespace zor::test::readers {

namespace {

using Version = std::array<long long, 3>;

/** The numbers that scanf's "%d:%d:%d" reads, cut off at the limits of 32 bits. */
void scan(const std::string &text, Version &version) {
    size_t at = 0;
    for (long long &number : version) {
        at = std::min(text.find_first_not_of("\t\n\v\f\r", at), text.size());
        const bool isNegative = at < text.size() && text[at] == '-';
        if (at < text.size() && (text[at] == '-' || text[at] == '+'))
            ++at;
        const size_t end = std::min(text.find_first_not_of("0123456789", at), text.size());
        if (end == at)
            return;
        std::string digits = text.substr(at, end - at);
        digits.erase(0, std::min(digits.find_first_not_of('0'), digits.size()));
        const long long size = digits.empty() ? 0 : digits.size() > 12 ? 1LL << 40 : std::stoll(digits);
        number = isNegative ? -std::min(size, 1LL << 31) : std::min(size, (1LL << 31) - 1);
        if (end >= text.size() || text[end] != ':')
            return;
        at = end + 1;
    }
}

uint64_t valueOf(const Version &version) {
    return static_cast<uint64_t>(version[0]) * 4294967296u + static_cast<uint64_t>(version[1]) * 65536u +
           static_cast<uint64_t>(version[2]);
}

std::string withoutBlanks(const std::string &text) {
    std::string copy = text.substr(0, text.find('\0'));
    copy.erase(std::remove(copy.begin(), copy.end(), ' '), copy.end());
    return copy;
}

uint32_t model(const std::string &platform, const std::string &list) {
    const size_t colon = platform.find(':');
    const std::string name = platform.substr(0, colon);
    Version current{};
    if (colon != std::string::npos)
        scan(platform.substr(colon + 1), current);
    uint32_t result = 0x80000008u;
    Version low{0, 0, 0}, high{65535, -1, 65535};
    std::istringstream entries(list);
    for (std::string entry; std::getline(entries, entry, '|');) {
        if (entry.empty())
            continue;
        const size_t start = entry.find(':');
        if (name.find(entry.substr(0, start)) == std::string::npos)
            continue;
        if (start == std::string::npos)
            return 0;
        const std::string range = entry.substr(start + 1);
        scan(range, low);
        if (const size_t dash = range.find('-'); dash != std::string::npos)
            scan(range.substr(dash + 1), high);
        if (valueOf(low) <= valueOf(current) && valueOf(current) <= valueOf(high))
            return 0;
        result = 1;
    }
    return result;
}

} // namespace

const char *platform_match(const std::string &bytes) {
    Bytes input(bytes);
    const std::string current = input.line(), list = input.rest();
    if (qelcomn_IsPlatformMatch(current.c_str(), list.c_str()) != model(withoutBlanks(current), withoutBlanks(list)))
        return "the rules agree";
    return nullptr;
}

} // namespace zor::test::readers
