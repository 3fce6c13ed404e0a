// The link-level entries of an interface list: AF_PACKET addresses, and the names that address labels derive from.

#include "source/platform/host.h"

#include <cstddef>
#include <cstring>

#include <ifaddrs.h>
#include <linux/if_packet.h>
#include <netinet/in.h>
#include <sys/socket.h>

namespace zor::host {

std::optional<std::array<uint8_t, 6>> linkLevelAddress(const ifaddrs &entry) {
    if (!entry.ifa_addr || entry.ifa_addr->sa_family != AF_PACKET)
        return std::nullopt;
    std::array<uint8_t, 6> bytes;
    const char *address = reinterpret_cast<const char *>(entry.ifa_addr);
    std::memcpy(bytes.data(), address + offsetof(sockaddr_ll, sll_addr), bytes.size());
    return bytes;
}

unsigned int linkIndex(const ifaddrs &entry) {
    sockaddr_ll address;
    std::memcpy(&address, entry.ifa_addr, offsetof(sockaddr_ll, sll_addr));
    return address.sll_ifindex > 0 ? static_cast<unsigned int>(address.sll_ifindex) : 0;
}

bool isSameInterface(const char *linkName, const char *addressName) {
    if (std::strcmp(linkName, addressName) == 0)
        return true;
    // An address may carry a label of its own, "eth0:1", which begins with the interface's name.
    const size_t length = std::strlen(linkName);
    return std::strncmp(linkName, addressName, length) == 0 && addressName[length] == ':';
}

size_t socketAddressLength(const sockaddr &address) {
    return address.sa_family == AF_INET6 ? sizeof(sockaddr_in6) : sizeof(sockaddr); // no length is stated here
}

} // namespace zor::host
