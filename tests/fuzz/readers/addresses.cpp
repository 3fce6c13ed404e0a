// Names and numbers of hosts and services on their way through the resolver, which is asked for numeric hosts only: no
// name server is a reader of ours. A host, a service and a peer, one line each.

#include "zorcomn/network.h"

#include "tests/fuzz/bytes.h"
#include "tests/fuzz/readers.h"

#include <cstring>
#include <memory>
#include <optional>
#include <vector>

#include <arpa/inet.h>
#include <netdb.h>

extern "C" {
int __real_getaddrinfo(const char *host, const char *service, const addrinfo *hints, addrinfo **result);
int __wrap_getaddrinfo(const char *host, const char *service, const addrinfo *hints, addrinfo **result);

int __wrap_getaddrinfo(const char *host, const char *service, const addrinfo *hints, addrinfo **result) {
    addrinfo numeric = *hints;
    numeric.ai_flags |= AI_NUMERICHOST | AI_NUMERICSERV;
    return __real_getaddrinfo(host, service, &numeric, result);
}
}

namespace zor::test::readers {

namespace {

using velmora_com::vta::ANetworkUtil;

/** The form in which the system writes the address that it reads in a text. */
std::optional<std::string> systemsForm(const std::string &host) {
    unsigned char octets[16];
    char text[INET6_ADDRSTRLEN];
    if (host.find('\0') != std::string::npos)
        return std::nullopt;
    for (const int family : {AF_INET, AF_INET6})
        if (inet_pton(family, host.c_str(), octets) == 1)
            return inet_ntop(family, octets, text, sizeof text);
    return std::nullopt;
}

} // namespace

const char *addresses(const std::string &bytes) {
    Bytes input(bytes);
    const std::string host = input.line(), service = input.line(), peer = input.rest();
    ANetworkUtil util;
    addrinfo *list = nullptr;
    const int error = util.zorCreateAddrinfo(host, service, &list, false);
    const std::unique_ptr<addrinfo, void (*)(addrinfo *)> owner(list, [](addrinfo *entries) {
        if (entries)
            freeaddrinfo(entries);
    });
    if ((error == 0) != (list != nullptr))
        return "a list where there is no error, and only there";
    std::vector<char *> texts;
    if (util.zorGetAddrinfo(host, service, texts, NI_NUMERICHOST) != (error == 0 ? 0 : error))
        return "both forms of the question agree";
    std::vector<std::string> copies(texts.begin(), texts.end());
    util.zorFreeAddrinfo(texts);
    if (!texts.empty() || copies.size() > 14)
        return "at most fourteen texts, and none after their release";
    const auto expected = systemsForm(host);
    if (expected && host.compare(0, 4, "fe80") != 0 && service.empty() && (copies.size() != 1 || copies[0] != expected))
        return "a numeric host is told in the system's form";
    if (peer.find(host) != std::string::npos && util.zorCompareAddressFromPeerAddress(host, service, peer) != 1)
        return "a name that is part of the peer's text belongs to it";
    const int isPeer = util.zorCompareAddressFromPeerAddress(host, service, peer);
    if (expected && service.empty() && isPeer == 0 && systemsForm(peer) == expected && peer == *expected)
        return "an address is its own peer";
    const std::string scoped = util.formatV6addrWithScope(host, false), bare = util.formatV6addr(host, false);
    if (scoped != bare && (bare.compare(0, 4, "fe80") != 0 || scoped.compare(0, bare.size() + 1, bare + '%') != 0))
        return "a scope is put behind link-local addresses alone";
    return nullptr;
}

} // namespace zor::test::readers
