// Whether a package that supports some platforms may run on this one.

#include "zorcomn/utilities.h"

#include "source/platform/posix.h"
#include "source/portability/error_cell.h"
#include "source/utilities/platform_names.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <string>

namespace {

constexpr uint32_t kMatch = 0;
constexpr uint32_t kOtherVersion = 1;

using Version = std::array<int32_t, 3>; // major, minor, build

/** A text with its blanks left out. */
std::string withoutBlanks(const char *text) {
    std::string copy;
    for (; *text; ++text)
        if (*text != ' ')
            copy += *text;
    return copy;
}

/** Splits a text at its first ':'; null when it has none. */
char *splitAtColon(char *text) {
    char *const colon = std::strchr(text, ':');
    if (colon)
        *colon = '\0';
    return colon ? colon + 1 : nullptr;
}

/** Reads a number like scanf's %d - white space, a sign, digits - and leaves one beyond 32 bits at their limit. */
bool readNumber(const char *&text, int32_t &number) {
    constexpr int64_t kLimit = int64_t{1} << 31;
    const char *next = text + std::strspn(text, "\t\n\v\f\r");
    const bool isNegative = *next == '-';
    if (isNegative || *next == '+')
        ++next;
    if (*next < '0' || *next > '9')
        return false;
    int64_t value = 0;
    for (; *next >= '0' && *next <= '9'; ++next)
        value = std::min(value * 10 + (*next - '0'), kLimit);
    number = static_cast<int32_t>(isNegative ? -value : std::min(value, kLimit - 1));
    text = next;
    return true;
}

/** Reads up to three numbers with ':' between them; those that are not there keep their values. */
void readVersion(const char *text, Version &version) {
    for (size_t i = 0; readNumber(text, version[i]); ++text)
        if (++i == version.size() || *text != ':')
            return;
}

/** A version as one number; minor and build carry into, or with a sign borrow from, what is above them. */
uint64_t valueOf(const Version &version) {
    const auto extended = [](int32_t number) { return static_cast<uint64_t>(int64_t{number}); };
    return (extended(version[0]) << 32) + (extended(version[1]) << 16) + extended(version[2]);
}

uint32_t match(std::string current, std::string list) {
    Version currentVersion{};
    if (const char *numbers = splitAtColon(current.data()))
        readVersion(numbers, currentVersion);
    const uint64_t value = valueOf(currentVersion);

    const zor::PlatformNames names(current.c_str(), list); // up to the version
    uint32_t result = zor::kFailure;
    // Kept: set once; a range without a high part, or with fewer numbers, goes on with those of the ranges before it.
    Version low{0, 0, 0};
    Version high{65535, -1, 65535};
    char *rest = nullptr;
    for (char *name = qelTstrtok_r(list.data(), "|", &rest); name; name = qelTstrtok_r(nullptr, "|", &rest)) {
        const char *range = splitAtColon(name);
        if (!names.occurs(name)) // Kept: MAC names MACX too
            continue;
        if (!range)
            return kMatch;
        readVersion(range, low);
        if (const char *dash = std::strchr(range, '-'))
            readVersion(dash + 1, high);
        if (valueOf(low) <= value && value <= valueOf(high))
            return kMatch;
        result = kOtherVersion;
    }
    return result;
}

} // namespace

uint32_t qelcomn_IsPlatformMatch(const char *currentPlatform, const char *supportedPlatforms) {
    if (!currentPlatform || !supportedPlatforms)
        return zor::kFailure;
    return zor::guarded(zor::kFailure,
                        [&] { return match(withoutBlanks(currentPlatform), withoutBlanks(supportedPlatforms)); });
}
