#pragma once

// Address texts without brackets and scope, or with the scope that they need; these throw where memory runs out.

#include <optional>
#include <string>

namespace zor {

/** An address text without its brackets and scope. */
std::string bareAddressText(const std::string &address);

/** The same with the scope that a link-local address needs, where one is found; for the resolver. */
std::string scopedAddressText(const std::string &address);

/** The first interface, loopback left out, with which the resolver accepts a link-local address without brackets or
 * scope; nothing for any other address. */
std::optional<unsigned int> scopeOf(const std::string &address);

} // namespace zor
