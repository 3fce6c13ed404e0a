#pragma once

// Socket addresses made from text.

#include <cstring>

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>

namespace zor::test {

/** The socket address of a text, IPv4 or IPv6, without port and scope. */
inline sockaddr_storage socketAddress(const char *text) {
    sockaddr_storage storage{};
    sockaddr_in ipv4{};
    sockaddr_in6 ipv6{};
    if (inet_pton(AF_INET, text, &ipv4.sin_addr) == 1) {
        ipv4.sin_family = AF_INET;
        std::memcpy(&storage, &ipv4, sizeof ipv4);
    } else if (inet_pton(AF_INET6, text, &ipv6.sin6_addr) == 1) {
        ipv6.sin6_family = AF_INET6;
        std::memcpy(&storage, &ipv6, sizeof ipv6);
    } else {
        ADD_FAILURE() << '"' << text << "\" is no address";
    }
    return storage;
}

} // namespace zor::test
