#include "source/network/socket_address.h"

#include "source/platform/failure.h"
#include "source/platform/host.h"
#include "source/platform/posix.h"

#include <algorithm>
#include <cstring>

#include <netinet/in.h>

namespace zor {

sockaddr_storage storedAddress(const sockaddr &address) {
    sockaddr_storage storage{};
    std::memcpy(&storage, &address, std::min(host::socketAddressLength(address), sizeof storage));
    return storage;
}

socklen_t addressLength(sa_family_t family) {
    switch (family) {
    case AF_INET:
        return sizeof(sockaddr_in);
    case AF_INET6:
        return sizeof(sockaddr_in6);
    default:
        return sizeof(sockaddr_storage);
    }
}

int writeHostText(const sockaddr &address, int flags, char *buffer, size_t size) {
    return getnameinfo(&address, addressLength(address.sa_family), buffer, static_cast<socklen_t>(size), nullptr, 0,
                       flags);
}

std::optional<std::string> hostText(const sockaddr &address, int flags, size_t size) {
    char text[kHostTextSize] = {};
    if (const int number = writeHostText(address, flags, text, std::min(size, sizeof text))) {
        failOnResolverShortage(number);
        return std::nullopt;
    }
    return std::string(text, boundedLength(text, sizeof text));
}

std::optional<std::string> serviceText(const sockaddr &address, int flags) {
    char text[kHostTextSize] = {};
    if (const int number =
            getnameinfo(&address, addressLength(address.sa_family), nullptr, 0, text, sizeof text, flags)) {
        failOnResolverShortage(number);
        return std::nullopt;
    }
    return std::string(text, boundedLength(text, sizeof text));
}

} // namespace zor
