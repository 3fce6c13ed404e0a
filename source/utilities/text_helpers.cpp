// Small helpers on text: numbers, letter case, white space, the machine's byte order and two edits in place.

#include "zorcomn/utilities.h"

#include "source/platform/posix.h"

#include <algorithm>
#include <cctype>
#include <cstring>

namespace {

/** Rewrites each byte; the classification functions take bytes as unsigned values. */
std::string mapBytes(std::string text, int (*map)(int)) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [map](unsigned char byte) { return static_cast<char>(map(byte)); });
    return text;
}

bool isBlank(unsigned char byte) {
    return std::isspace(byte) != 0;
}

} // namespace

void qelcomn_chop_semicolon(char *text) {
    if (char *const semicolon = text ? std::strchr(text, ';') : nullptr)
        *semicolon = '\0';
}

// Kept: it is the slash, never the backslash, whatever the name says; a path that ends in a backslash gets one too.
void qelcomn_append_backslash_check(char *path) {
    if (!path)
        return;
    char *const end = path + std::strlen(path);
    if (end != path && end[-1] == '/')
        return;
    end[0] = '/';
    end[1] = '\0';
}

namespace velmora_com {
namespace vta {

std::wstring qelcomn_long_to_wide_string(const long &value) {
    return zor::guarded(std::wstring(), [&] { return std::to_wstring(value); });
}

std::wstring qelcomn_ulong_to_wide_string(const unsigned long &value) {
    return zor::guarded(std::wstring(), [&] { return std::to_wstring(value); });
}

std::string qelcomn_long_to_ansi_string(const long &value) {
    return zor::guarded(std::string(), [&] { return std::to_string(value); });
}

std::string qelcomn_convert_to_upper(const std::string text) {
    return zor::guarded(std::string(), [&] { return mapBytes(text, std::toupper); });
}

std::string qelcomn_convert_to_lower(const std::string text) {
    return zor::guarded(std::string(), [&] { return mapBytes(text, std::tolower); });
}

std::string qelcomn_strip_leading_whitespace(const std::string text) {
    return zor::guarded(std::string(),
                        [&] { return std::string(std::find_if_not(text.begin(), text.end(), isBlank), text.end()); });
}

std::string qelcomn_strip_trailing_whitespace(const std::string text) {
    return zor::guarded(std::string(), [&] {
        return std::string(text.begin(), std::find_if_not(text.rbegin(), text.rend(), isBlank).base());
    });
}

bool isBigEndian() {
    const int one = 1;
    unsigned char firstByte = 0;
    std::memcpy(&firstByte, &one, 1);
    return firstByte != 1;
}

} // namespace vta
} // namespace velmora_com
