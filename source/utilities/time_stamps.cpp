// Time stamps in the agent's two shapes. The compact makers use reentrant calls alone and take no lock; the readable
// ones hold the zone's mutex. The first of a process, and one after a change of TZ, may read a zone file: no maker lets
// a cancelled thread leave its descriptor behind.

#include "zorcomn/utilities.h"

#include "source/platform/fork.h"
#include "source/platform/posix.h"
#include "source/utilities/time_stamps.h"
#include "source/utilities/time_zone.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cwchar>

namespace zor {

namespace {

constexpr size_t kLongestNumber = 20; // of 64 bits, with its sign
constexpr size_t kLongestStamp = 6 * kLongestNumber + 5;

/** What printf makes of a number that is filled up to a width with blanks or zeros. Returns the end. */
char *putNumber(char *next, long long value, std::ptrdiff_t width, char fill) {
    char digits[kLongestNumber];
    const auto magnitude = static_cast<unsigned long long>(value);
    const char *end = std::to_chars(digits, digits + sizeof digits, value < 0 ? 0 - magnitude : magnitude).ptr;
    const std::ptrdiff_t missing = width - (end - digits) - (value < 0 ? 1 : 0);
    if (value < 0 && fill == '0')
        *next++ = '-';
    for (std::ptrdiff_t i = 0; i < missing; ++i)
        *next++ = fill;
    if (value < 0 && fill != '0')
        *next++ = '-';
    return std::copy(static_cast<const char *>(digits), end, next);
}

/** What printf makes of a number by "%02d". */
char *putTwoDigits(char *next, long long value) {
    if (value < 0 || value > 99)
        return putNumber(next, value, 2, '0');
    *next++ = static_cast<char>('0' + value / 10);
    *next++ = static_cast<char>('0' + value % 10);
    return next;
}

/** A stamp of any time at all, its separators put between the six numbers. */
void putStamp(char (&stamp)[kLongestStamp + 1], const std::tm &time, char yearFill, const char *separators) {
    const long long others[] = {time.tm_mon + 1LL, time.tm_mday, time.tm_hour, time.tm_min, time.tm_sec};
    char *next = putNumber(stamp, time.tm_year + 1900LL, 4, yearFill);
    for (const long long number : others) {
        if (*separators)
            *next++ = *separators++;
        next = putTwoDigits(next, number);
    }
    *next = '\0';
}

using BreakDown = std::tm *(*)(const std::time_t *, std::tm *);

template <class Character> void writeStampOfNow(BreakDown breakDown, Character *buffer, uint16_t size) {
    if (!buffer || size == 0)
        return;
    const UncancellableScope uncancellable;
    const std::time_t now = std::time(nullptr);
    std::tm fields;
    const ForkDelay delay; // both break-downs lock the zone
    writeCompactStamp(breakDown(&now, &fields), buffer, size);
}

} // namespace

// Kept: blanks, not zeros, fill a short year up to four places.
std::array<char, 32> readableStamp(const std::tm &time) {
    char whole[kLongestStamp + 1];
    putStamp(whole, time, ' ', "-- ::");
    std::array<char, 32> text{};
    copyText(text.data(), text.size(), whole);
    return text;
}

void writeCompactStamp(const std::tm *time, char *buffer, uint16_t size) {
    char whole[kLongestStamp + 1] = "";
    if (time)
        putStamp(whole, *time, '0', "");
    copyText(buffer, size, whole);
}

void writeCompactStamp(const std::tm *time, wchar_t *buffer, uint16_t size) {
    constexpr size_t kRoom = 32;
    char narrow[kRoom];
    writeCompactStamp(time, narrow, sizeof narrow);
    wchar_t wide[kRoom] = {};
    qelStandardAtoU(narrow, kRoom, wide);
    // Kept: a bounded copy, without a terminator when size is 14 or less.
    std::wcsncpy(buffer, wide, size);
}

} // namespace zor

// Kept: local time; only the wide twin yields UTC.
void qelcomn_CreateGmtTimeStampA(char *buffer, uint16_t size) {
    zor::writeStampOfNow(localtime_r, buffer, size);
}

void qelcomn_CreateGmtTimeStampW(wchar_t *buffer, uint16_t size) {
    zor::writeStampOfNow(gmtime_r, buffer, size);
}

void qelcomn_CreateLocalTimeStampA(char *buffer, uint16_t size) {
    zor::writeStampOfNow(localtime_r, buffer, size);
}

void qelcomn_CreateLocalTimeStampW(wchar_t *buffer, uint16_t size) {
    zor::writeStampOfNow(localtime_r, buffer, size);
}

// Kept: ported callers link it and must not be held up.
void qelcomn_delay(void) {}

namespace velmora_com {
namespace vta {

std::string qelcomn_get_time_stamp_ansi() {
    const zor::UncancellableScope uncancellable;
    std::array<char, 32> text{};
    {
        const zor::MutexLock lock(mutex);
        const zor::ForkDelay delay;
        const std::time_t now = std::time(nullptr);
        std::tm fields;
        if (localtime_r(&now, &fields))
            text = zor::readableStamp(fields);
    }
    return zor::guarded(std::string(), [&] { return std::string(text.data()); });
}

std::wstring qelcomn_get_time_stamp_wide() {
    return zor::guarded(std::wstring(), [] { return qelcomn_ansi_to_wide(qelcomn_get_time_stamp_ansi()); });
}

} // namespace vta
} // namespace velmora_com
