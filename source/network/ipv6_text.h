#pragma once

// Two cuts that every reading of an address text begins with.

#include <optional>
#include <string>

namespace zor {

/** What stands between the first '[' and the first ']' after it; nothing when the text has no such pair. */
std::optional<std::string> textBetweenBrackets(const std::string &text);

/** The text before the first '%', which begins an address's scope; the whole text when it has none. */
std::string withoutScope(const std::string &address);

} // namespace zor
