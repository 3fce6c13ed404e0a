// IPv6 address texts without their brackets and scope, and the scope that a link-local address needs.

#include "source/network/scoped_address.h"

#include "zorcomn/network.h"

#include "source/network/interfaces.h"
#include "source/network/ipv6_text.h"
#include "source/network/record_fields.h"
#include "source/platform/failure.h"
#include "source/platform/posix.h"

#include <optional>

namespace zor {

namespace {

using velmora_com::vta::NetInterfaceList;

bool isLinkLocal(const std::string &address) {
    return address.compare(0, 4, "fe80") == 0; // Kept: in lower case only, and not the rest of fe80::/10.
}

bool isAccepted(const std::string &address) {
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    addrinfo *list = nullptr;
    const int number = getaddrinfo(address.c_str(), nullptr, &hints, &list);
    const ResolvedAddresses owner(number == 0 ? list : nullptr);
    failOnResolverShortage(number);
    return number == 0;
}

} // namespace

std::optional<unsigned int> scopeOf(const std::string &address) {
    if (!isLinkLocal(address))
        return std::nullopt;
    NetInterfaceList interfaces(false);
    if (!addInterfaces(false, interfaces))
        return std::nullopt;
    for (const unsigned int index : RecordFields::indexesInOrder(interfaces))
        if (isAccepted(address + '%' + std::to_string(index)))
            return index;
    return std::nullopt;
}

namespace {

struct BareAddress {
    std::string text;
    bool hadBrackets;

    std::string withBrackets(bool wanted) const { return wanted && hadBrackets ? '[' + text + ']' : text; }
};

BareAddress bareAddress(const std::string &address) {
    const auto inner = textBetweenBrackets(address);
    return {withoutScope(inner ? *inner : address), inner.has_value()};
}

BareAddress addressWithScope(const std::string &address) {
    BareAddress bare = bareAddress(address);
    if (const auto scope = scopeOf(bare.text))
        bare.text += '%' + std::to_string(*scope);
    return bare;
}

} // namespace

std::string bareAddressText(const std::string &address) {
    return bareAddress(address).text;
}

std::string scopedAddressText(const std::string &address) {
    return addressWithScope(address).text;
}

} // namespace zor

namespace velmora_com {
namespace vta {

std::string ANetworkUtil::formatV6addr(std::string address, bool keepBrackets) {
    return zor::guarded(std::string(), [&] { return zor::bareAddress(address).withBrackets(keepBrackets); });
}

int ANetworkUtil::zorGetScopeId(std::string const &address, unsigned int &scope) {
    if (m_initialised != 1)
        return 0;
    const zor::UncancellableScope uncancellable;
    return zor::guarded(0, [&] {
        const auto found = zor::scopeOf(zor::bareAddress(address).text);
        scope = found.value_or(scope);
        return found ? 1 : 0;
    });
}

std::string ANetworkUtil::formatV6addrWithScope(std::string address, bool keepBrackets) {
    const zor::UncancellableScope uncancellable;
    return zor::guarded(std::string(), [&] {
        const bool mayResolve = m_initialised == 1;
        return (mayResolve ? zor::addressWithScope(address) : zor::bareAddress(address)).withBrackets(keepBrackets);
    });
}

} // namespace vta
} // namespace velmora_com
