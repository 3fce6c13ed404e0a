// Link-level addresses in an interface list.

#include "source/platform/host.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include <ifaddrs.h>
#include <net/if_dl.h>
#include <sys/socket.h>

namespace zor::host {

std::optional<std::array<uint8_t, 6>> linkLevelAddress(const ifaddrs &entry) {
    if (!entry.ifa_addr)
        return std::nullopt;
    const auto *record = reinterpret_cast<const unsigned char *>(entry.ifa_addr);
    sockaddr_dl header = {};
    std::memcpy(&header, record, offsetof(sockaddr_dl, sdl_data));
    if (header.sdl_family != AF_LINK)
        return std::nullopt;
    // The six bytes behind the name, whatever length the record states for the address; a long name pushes them beyond
    // the declared end of sdl_data, which the record's own length allows for. Bytes beyond that length count as zero.
    const size_t start = offsetof(sockaddr_dl, sdl_data) + header.sdl_nlen;
    std::array<uint8_t, 6> bytes = {};
    if (start < header.sdl_len)
        std::memcpy(bytes.data(), record + start, std::min(bytes.size(), header.sdl_len - start));
    return bytes;
}

unsigned int linkIndex(const ifaddrs &entry) {
    sockaddr_dl header = {};
    std::memcpy(&header, entry.ifa_addr, offsetof(sockaddr_dl, sdl_data));
    return header.sdl_index;
}

bool isSameInterface(const char *linkName, const char *addressName) {
    return std::strcmp(linkName, addressName) == 0;
}

size_t socketAddressLength(const sockaddr &address) {
    return *reinterpret_cast<const uint8_t *>(&address); // sa_len, the first byte
}

} // namespace zor::host
