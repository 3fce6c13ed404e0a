// The local address towards a peer: the one that the system picks for a real connection to it.

#include "zorcomn/network.h"

#include "source/network/ipv6_text.h"
#include "source/network/scoped_address.h"
#include "source/network/socket_address.h"
#include "source/platform/posix.h"

#include <algorithm>
#include <optional>

#include <netinet/in.h>

namespace zor {

namespace {

using velmora_com::vta::ANetworkUtil;

constexpr size_t kScopedTextSize = 32; // Kept: a text that does not fit, terminator included, gets no scope.

/** Puts the scope that a link-local address needs into the resolver's entry. */
void completeScope(const addrinfo &entry) {
    if (entry.ai_family != AF_INET6 || entry.ai_addrlen < sizeof(sockaddr_in6))
        return;
    const auto text = hostText(*entry.ai_addr, NI_NUMERICHOST, kScopedTextSize);
    if (const auto scope = text ? scopeOf(bareAddressText(*text)) : std::nullopt)
        reinterpret_cast<sockaddr_in6 *>(entry.ai_addr)->sin6_scope_id = *scope;
}

std::optional<std::string> ownAddressText(int socket, int flags) {
    sockaddr_storage own{};
    socklen_t length = sizeof own;
    auto *address = reinterpret_cast<sockaddr *>(&own);
    if (getsockname(socket, address, &length) != 0)
        return std::nullopt;
    return hostText(*address, flags);
}

/** Connects to one of the peer's addresses and tells the connection's own. */
std::optional<std::string> localAddressTowards(ANetworkUtil &util, const addrinfo &entry, unsigned int seconds,
                                               int flags) {
    completeScope(entry);
    const Descriptor connection = openSocket(entry.ai_family, entry.ai_socktype, entry.ai_protocol);
    if (!connection)
        return std::nullopt;
    if (util.ConnectWithTimeout(connection.get(), entry.ai_addr, static_cast<int>(entry.ai_addrlen), seconds) != 0)
        return std::nullopt;
    return ownAddressText(connection.get(), flags);
}

} // namespace

} // namespace zor

namespace velmora_com {
namespace vta {

int ANetworkUtil::zorGetLocalIPAddress(std::string const &peer, std::string service, std::string &local,
                                       bool const &ipv4Only, int seconds, int flags) {
    if (m_initialised != 1)
        return -1;
    const zor::UncancellableScope uncancellable;
    addrinfo *list = nullptr;
    if (const int error = zorCreateAddrinfo(peer, service, &list, ipv4Only))
        return error;
    const zor::ResolvedAddresses owner(list);
    return zor::guarded(-1, [&] {
        for (const addrinfo *entry = list; entry; entry = entry->ai_next) {
            const auto text = zor::localAddressTowards(*this, *entry, static_cast<unsigned int>(seconds), flags);
            if (!text)
                continue;
            local = zor::expandedAddress(*text);
            return 0;
        }
        return -1;
    });
}

int ANetworkUtil::zorGetLocalIPAddressFromList(std::string const &peers, std::string service, std::string &local,
                                               bool const &ipv4Only, int /*unused*/, int seconds) {
    const zor::UncancellableScope uncancellable;
    return zor::guarded(-1, [&] {
        int result = -1;
        for (size_t start = 0; result != 0 && start < peers.size();) {
            const size_t end = std::min(peers.find(';', start), peers.size());
            const std::string peer = peers.substr(start, end - start);
            // Kept: the sixth argument is the time-out, the fifth is not looked at, and the address is a number.
            result = zorGetLocalIPAddress(peer, service, local, ipv4Only, seconds, NI_NUMERICHOST);
            start = end + 1;
        }
        return result;
    });
}

} // namespace vta
} // namespace velmora_com
