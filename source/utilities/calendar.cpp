// The Gregorian calendar in 64-bit arithmetic. Every field may hold any int: what they add up to is below 2^57 seconds.

#include "source/utilities/calendar.h"

#include "source/platform/host.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <limits>

namespace zor {

namespace {

constexpr int64_t kSecondsPerDay = 86400;
constexpr int64_t kDaysPerEra = 146097; // 400 years, after which the calendar repeats
constexpr int64_t kYearOfTm = 1900;
char utcName[] = "UTC";

constexpr int64_t floorDivide(int64_t number, int64_t by) {
    return number / by - (number % by < 0 ? 1 : 0);
}

/** Days of whole years, counted from 1 March, before a year of the era (0 to 399). */
constexpr int64_t daysBeforeYear(int64_t year) {
    return 365 * year + year / 4 - year / 100;
}

/** Days of whole months, counted from March (0 to 11), before a month: the lengths repeat every five months. */
constexpr int64_t daysBeforeMonth(int64_t month) {
    return (153 * month + 2) / 5;
}

constexpr int64_t kDaysTo1970 = 719468; // from 1 March of the year 0

/** Days from 1970-01-01 to the first day of a month (0: January). */
constexpr int64_t daysBefore(int64_t year, int64_t month) {
    const int64_t fromMarch = (month + 10) % 12;
    const int64_t yearFromMarch = year - (month < 2 ? 1 : 0);
    const int64_t era = floorDivide(yearFromMarch, 400);
    return era * kDaysPerEra + daysBeforeYear(yearFromMarch - era * 400) + daysBeforeMonth(fromMarch) - kDaysTo1970;
}

static_assert(daysBefore(1970, 0) == 0 && daysBefore(2000, 2) == 11017 && daysBefore(1969, 11) == -31);

constexpr int64_t kFirstSecond = daysBefore(INT_MIN + kYearOfTm, 0) * kSecondsPerDay;
constexpr int64_t kEnd = daysBefore(INT_MAX + kYearOfTm + 1, 0) * kSecondsPerDay;

constexpr bool hasYear(int64_t seconds) {
    return kFirstSecond <= seconds && seconds < kEnd;
}

constexpr bool fitsTime(int64_t seconds) {
    return std::numeric_limits<std::time_t>::min() <= seconds && seconds <= std::numeric_limits<std::time_t>::max();
}

/** Breaks a time down whose year fits. */
void breakDown(int64_t seconds, std::tm &fields) {
    const int64_t days = floorDivide(seconds, kSecondsPerDay);
    const int64_t second = seconds - days * kSecondsPerDay;
    const int64_t era = floorDivide(days + kDaysTo1970, kDaysPerEra);
    const int64_t dayOfEra = days + kDaysTo1970 - era * kDaysPerEra;
    const int64_t yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const int64_t dayFromMarch = dayOfEra - daysBeforeYear(yearOfEra);
    const int64_t fromMarch = (5 * dayFromMarch + 2) / 153;
    const int64_t month = (fromMarch + 2) % 12;
    const int64_t year = era * 400 + yearOfEra + (month < 2 ? 1 : 0);

    fields.tm_year = static_cast<int>(year - kYearOfTm);
    fields.tm_mon = static_cast<int>(month);
    fields.tm_mday = static_cast<int>(dayFromMarch - daysBeforeMonth(fromMarch) + 1);
    fields.tm_hour = static_cast<int>(second / 3600);
    fields.tm_min = static_cast<int>(second / 60 % 60);
    fields.tm_sec = static_cast<int>(second % 60);
    fields.tm_wday = static_cast<int>((days % 7 + 11) % 7); // 1970-01-01 was a Thursday
    fields.tm_yday = static_cast<int>(days - daysBefore(year, 0));
    fields.tm_isdst = 0;
    fields.tm_gmtoff = 0;
    fields.tm_zone = utcName;
}

int64_t secondsOfMinute(const std::tm &utc) {
    const int64_t years = floorDivide(utc.tm_mon, 12);
    const int64_t days = daysBefore(utc.tm_year + kYearOfTm + years, utc.tm_mon - years * 12) + utc.tm_mday - 1;
    return ((days * 24 + utc.tm_hour) * 60 + utc.tm_min) * 60;
}

/** The seconds that the fields add up to; nothing when mktime refuses them. */
std::optional<int64_t> secondsOf(const std::tm &utc) {
    const int64_t minute = secondsOfMinute(utc);
    const std::optional<int32_t> shift = utc.tm_isdst > 0 ? host::daylightShiftWithoutRules() : 0;
    // Kept: mktime first looks at the time with its seconds cut to the minute's, and refuses one whose year does not
    // fit then, even if the seconds would bring it back.
    const int64_t probe = minute + std::clamp(utc.tm_sec, 0, 59);
    if (!shift || !hasYear(probe) || !hasYear(probe - *shift))
        return std::nullopt;
    return minute + utc.tm_sec - *shift;
}

} // namespace

std::optional<std::time_t> normaliseUtc(std::tm &utc) {
    const std::optional<int64_t> seconds = secondsOf(utc);
    if (!seconds || !hasYear(*seconds) || !fitsTime(*seconds)) {
        errno = EOVERFLOW;
        return std::nullopt;
    }
    breakDown(*seconds, utc);
    return static_cast<std::time_t>(*seconds);
}

} // namespace zor
