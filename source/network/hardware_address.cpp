// The text of a hardware address: the form in which interfaces carry it and the report shows it.

#include "source/network/hardware_address.h"

#include "zorcomn/network.h"

#include "source/platform/posix.h"

#include <cstdio>

namespace zor {

std::string hardwareAddressText(const unsigned char *bytes) {
    char text[2 * 6 + 1];
    std::snprintf(text, sizeof text, "%02x%02x%02x%02x%02x%02x", bytes[0], bytes[1], bytes[2], bytes[3], bytes[4],
                  bytes[5]);
    return text;
}

} // namespace zor

namespace velmora_com {
namespace vta {

std::string formatMACAddress(unsigned char *bytes) {
    if (!bytes)
        return {};
    return zor::guarded(std::string(), [&] { return zor::hardwareAddressText(bytes); });
}

} // namespace vta
} // namespace velmora_com
