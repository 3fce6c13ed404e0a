#pragma once

// The texts of the miscellaneous record that do not come from the logged-on users.

#include <ctime>
#include <optional>
#include <string>

namespace zor {

/** A point in time as month/day/year hour:minute:second in local time; nothing when it cannot be broken down. */
std::optional<std::wstring> localTimeText(std::time_t time);

/** The language identifier for LANG's value, null when it is not set. */
const wchar_t *languageIdentifier(const char *lang);

} // namespace zor
