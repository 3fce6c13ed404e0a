// Socket addresses as text, and names resolved into lists of such texts.

#include "zorcomn/network.h"

#include "source/network/scoped_address.h"
#include "source/network/socket_address.h"
#include "source/platform/failure.h"
#include "source/platform/posix.h"
#include "source/portability/text_search.h"

#include <memory>
#include <utility>

namespace zor {

namespace {

constexpr size_t kMostAddressTexts = 14; // Kept: callers size their tables by it.

using Buffer = std::unique_ptr<char[]>;

/** An address's text in a buffer of the size that callers of zorGetAddrinfo get; null when there is none. */
Buffer hostTextBuffer(const sockaddr &address, int flags) {
    Buffer buffer(new char[kHostTextSize]());
    if (const int number = writeHostText(address, flags, buffer.get(), kHostTextSize)) {
        failOnResolverShortage(number);
        buffer.reset();
    }
    return buffer;
}

std::vector<Buffer> hostTexts(const addrinfo *list, int flags) {
    std::vector<Buffer> texts;
    for (; list && texts.size() < kMostAddressTexts; list = list->ai_next)
        if (Buffer text = hostTextBuffer(*list->ai_addr, flags))
            texts.push_back(std::move(text));
    return texts;
}

bool resolvesTo(const addrinfo *list, const std::string &address) {
    for (; list; list = list->ai_next)
        if (hostText(*list->ai_addr, NI_NUMERICHOST) == address)
            return true;
    return false;
}

} // namespace

} // namespace zor

namespace velmora_com {
namespace vta {

static_assert(sizeof(ANetworkUtil) == 4, "the marker is the only field");

ANetworkUtil::ANetworkUtil() : m_initialised(1) {}

ANetworkUtil::~ANetworkUtil() = default;

std::string ANetworkUtil::zorNetToString(sockaddr *address, int flags) {
    if (!address || m_initialised != 1)
        return {};
    const zor::UncancellableScope uncancellable;
    return zor::guarded(std::string(), [&]() -> std::string {
        if (flags & NI_NUMERICSERV)
            return zor::serviceText(*address, flags).value_or(std::string());
        if (flags & NI_NUMERICHOST)
            return zor::hostText(*address, flags).value_or(std::string());
        return {};
    });
}

int ANetworkUtil::zorCreateAddrinfo(std::string const &host, std::string const &service, addrinfo **result,
                                    bool const &ipv4Only) {
    if (!result)
        return -1;
    *result = nullptr;
    if (host.empty())
        return -1;
    const zor::UncancellableScope uncancellable;
    addrinfo hints{};
    hints.ai_family = ipv4Only ? AF_INET : AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    return zor::guarded(EAI_MEMORY, [&] {
        const std::string node = m_initialised == 1 ? zor::scopedAddressText(host) : zor::bareAddressText(host);
        return getaddrinfo(node.c_str(), service.empty() ? nullptr : service.c_str(), &hints, result);
    });
}

int ANetworkUtil::zorGetAddrinfo(std::string const &host, std::string service, std::vector<char *> &out, int flags) {
    if (m_initialised != 1)
        return -1;
    const zor::UncancellableScope uncancellable;
    addrinfo *list = nullptr;
    if (const int error = zorCreateAddrinfo(host, service, &list, false))
        return error;
    const zor::ResolvedAddresses owner(list);
    return zor::guarded(EAI_MEMORY, [&] {
        std::vector<zor::Buffer> texts = zor::hostTexts(list, flags);
        out.reserve(out.size() + texts.size()); // from here on nothing can fail
        for (zor::Buffer &text : texts)
            out.push_back(text.release());
        return texts.empty() ? -1 : 0;
    });
}

void ANetworkUtil::zorFreeAddrinfo(std::vector<char *> &list) {
    if (m_initialised != 1)
        return;
    for (const char *buffer : list)
        delete[] buffer;
    list.clear();
}

int ANetworkUtil::zorCompareAddressFromPeerAddress(std::string name, std::string service, std::string peer) {
    // Kept: a name that is part of the peer's text belongs to it, also the empty one.
    if (zor::findText(peer.data(), peer.size(), name.data(), name.size()))
        return 1;
    const zor::UncancellableScope uncancellable;
    return zor::guarded(0, [&] {
        const std::string barePeer = zor::bareAddressText(peer);
        if (zor::bareAddressText(name) == barePeer)
            return 1;
        addrinfo *list = nullptr;
        if (m_initialised != 1 || zorCreateAddrinfo(name, service, &list, false) != 0)
            return 0;
        const zor::ResolvedAddresses owner(list);
        return zor::resolvesTo(list, barePeer) ? 1 : 0;
    });
}

} // namespace vta
} // namespace velmora_com
