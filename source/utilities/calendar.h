#pragma once

// UTC broken down, to seconds since 1970 and back: what mktime does in UTC, computed without the process's zone.

#include <ctime>
#include <optional>

namespace zor {

/** mktime's answer where the zone is UTC.
 * @param utc  normalised in place as mktime does it: fields within their ranges, weekday, day of year, daylight flag
 * and zone filled in. A negative daylight flag counts as 0; what a positive one does is the system's
 *             (host::daylightShiftWithoutRules). Untouched on failure.
 * @return the seconds; nothing, and errno is EOVERFLOW, when std::time_t or a year of int cannot hold them, or when the
 *         system refuses the daylight flag.
 */
std::optional<std::time_t> normaliseUtc(std::tm &utc);

} // namespace zor
