#pragma once

// The text of a hardware address.

#include <string>

namespace zor {

/** Six bytes as twelve hexadecimal digits; throws when there is no memory. */
std::string hardwareAddressText(const unsigned char *bytes);

} // namespace zor
