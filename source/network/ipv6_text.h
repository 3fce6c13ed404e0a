#pragma once

// The edits of an address text that other texts are made with; these throw where memory runs out.

#include <optional>
#include <string>

namespace zor {

/** What stands between the first '[' and the first ']' after it; nothing when the text has no such pair. */
std::optional<std::string> textBetweenBrackets(const std::string &text);

/** The text before the first '%', which begins an address's scope; the whole text when it has none. */
std::string withoutScope(const std::string &address);

/** expandIPV6Address. */
std::string expandedAddress(const std::string &address);

/** calculateSubNetAddrForV6. */
std::string subnetOf(const std::string &address, const std::string &mask);

} // namespace zor
