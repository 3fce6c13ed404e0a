// Enumerates the machine's interfaces. An entry of the system's list that lacks anything (a hardware address, a mask, a
// usable family) is passed over and leaves no trace; where the process lacks something (memory, descriptors), there is
// no list at all, since nobody could see what is missing in it. Hardware addresses and indexes are looked up by name in
// the list already read, so that the work grows with the number of entries and not with its square.

#include "source/network/interfaces.h"

#include "source/network/hardware_address.h"
#include "source/network/ipv6_text.h"
#include "source/network/socket_address.h"
#include "source/platform/failure.h"
#include "source/platform/host.h"
#include "source/platform/posix.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

#include <arpa/inet.h>
#include <net/if.h>
#include <netinet/in.h>

namespace zor {

namespace {

using velmora_com::vta::IPAddress;
using velmora_com::vta::NetInterface;
using velmora_com::vta::NetInterfaceList;

using HardwareAddress = std::array<uint8_t, 6>;

const char *nameOf(const ifaddrs &entry) {
    return entry.ifa_name ? entry.ifa_name : "";
}

/** What one interface list says about interfaces by name. It refers to the list's names, so the list must outlive it.
 */
class InterfaceTable {
public:
    struct Facts {
        unsigned int index = 0;
        std::optional<std::string> macAddress;
    };

    explicit InterfaceTable(const ifaddrs *entries) {
        for (const ifaddrs *entry = entries; entry; entry = entry->ifa_next)
            if (const auto address = host::linkLevelAddress(*entry))
                m_links.try_emplace(nameOf(*entry),
                                    Link{*address, host::linkIndex(*entry)}); // the first of a name stays
    }

    const Facts &factsOf(const char *name) {
        const auto [found, isNew] = m_facts.try_emplace(name);
        if (isNew) {
            if (Link *const link = linkOf(name)) {
                // The index that if_nametoindex gives, without asking for each: a question takes three system calls.
                found->second.index = link->index != 0 ? link->index : indexOf(name);
                found->second.macAddress = hardwareAddressText(link->address.data());
            }
        }
        return found->second;
    }

private:
    struct Link {
        HardwareAddress address;
        unsigned int index; // 0: the list does not tell
    };

    /** Kept: 0 for a name that the system does not know. */
    static unsigned int indexOf(const char *name) {
        errno = 0;
        const unsigned int index = if_nametoindex(name);
        if (index == 0)
            failOnShortage(errno);
        return index;
    }

    Link *linkOf(std::string_view name) {
        if (const auto exact = m_links.find(name); exact != m_links.end())
            return &exact->second;
        // An alias begins with its interface's name. Tried name by name, since there may be thousands of either.
        for (size_t end = name.find(':'); end != std::string_view::npos; end = name.find(':', end + 1)) {
            const auto found = m_links.find(name.substr(0, end));
            if (found != m_links.end() && host::isSameInterface(found->first.data(), name.data()))
                return &found->second;
        }
        return nullptr;
    }

    std::unordered_map<std::string_view, Link> m_links;
    std::unordered_map<std::string_view, Facts> m_facts;
};

/** Whether a datagram socket of a family can be opened. Asked again while it cannot; once it could, it counts for the
 * enumeration, so that a thousand addresses do not open a thousand sockets. */
class UsableFamilies {
public:
    bool has(sa_family_t family) {
        bool &isUsable = family == AF_INET ? m_ipv4 : m_ipv6;
        if (!isUsable)
            isUsable = static_cast<bool>(openSocket(family, SOCK_DGRAM, 0));
        if (!isUsable)
            failOnShortage(errno);
        return isUsable;
    }

private:
    bool m_ipv4 = false, m_ipv6 = false;
};

const unsigned char *bytesAt(const sockaddr_storage &storage, size_t offset) {
    return reinterpret_cast<const unsigned char *>(&storage) + offset;
}

constexpr size_t kIPv4Offset = offsetof(sockaddr_in, sin_addr);

/** Where a mask's bytes begin. Kept: family 0 counts as IPv4, since masks are often listed so, also beside IPv6. */
std::optional<size_t> maskOffset(sa_family_t family) {
    switch (family) {
    case AF_INET:
    case AF_UNSPEC:
        return kIPv4Offset;
    case AF_INET6:
        return offsetof(sockaddr_in6, sin6_addr);
    default:
        return std::nullopt;
    }
}

/** The mask as text, in the form of the address's family, whatever family the mask states. */
std::optional<std::string> maskText(const ifaddrs &entry) {
    if (!entry.ifa_netmask)
        return std::nullopt;
    const auto offset = maskOffset(entry.ifa_netmask->sa_family);
    if (!offset)
        return std::nullopt;
    char text[INET6_ADDRSTRLEN] = {};
    if (!inet_ntop(entry.ifa_addr->sa_family, bytesAt(storedAddress(*entry.ifa_netmask), *offset), text, sizeof text))
        return std::nullopt;
    return std::string(text);
}

std::string subnetTextIPv4(const sockaddr &address, const sockaddr &mask) {
    const sockaddr_storage addressBytes = storedAddress(address), maskBytes = storedAddress(mask);
    unsigned char subnet[sizeof(in_addr)];
    for (size_t i = 0; i < sizeof subnet; ++i)
        subnet[i] = *bytesAt(addressBytes, kIPv4Offset + i) & *bytesAt(maskBytes, kIPv4Offset + i);
    char text[INET_ADDRSTRLEN] = {};
    inet_ntop(AF_INET, subnet, text, sizeof text);
    return text;
}

bool isWanted(const ifaddrs &entry, bool includeLoopback) {
    if (!entry.ifa_addr || !(entry.ifa_flags & IFF_UP))
        return false;
    if ((entry.ifa_flags & IFF_LOOPBACK) && !includeLoopback)
        return false;
    return entry.ifa_addr->sa_family == AF_INET || entry.ifa_addr->sa_family == AF_INET6;
}

/** The address without its scope: the text is cut there, but to write the scope's name takes system calls. */
sockaddr_storage withoutScopeNumber(sockaddr_storage address) {
    if (address.ss_family == AF_INET6)
        reinterpret_cast<sockaddr_in6 &>(address).sin6_scope_id = 0;
    return address;
}

/** The record of an entry's address, or nothing when the entry lacks something. */
std::optional<IPAddress> readAddress(const ifaddrs &entry, UsableFamilies &families) {
    const sa_family_t family = entry.ifa_addr->sa_family;
    const sockaddr_storage stored = withoutScopeNumber(storedAddress(*entry.ifa_addr));
    auto address = hostText(reinterpret_cast<const sockaddr &>(stored), NI_NUMERICHOST);
    if (!address)
        return std::nullopt;
    if (!families.has(family)) // an address counts only while its family can be used
        return std::nullopt;
    auto mask = maskText(entry);
    if (!mask)
        return std::nullopt;
    std::string subnet;
    if (family == AF_INET) {
        subnet = subnetTextIPv4(*entry.ifa_addr, *entry.ifa_netmask);
    } else {
        address = expandedAddress(*address);
        mask = expandedAddress(*mask);
        subnet = subnetOf(*address, *mask);
    }
    IPAddress record;
    record.setOption(velmora_com::vta::IP_PARAM_ADDRESS, *address);
    record.setOption(velmora_com::vta::IP_PARAM_FAMILY, static_cast<unsigned int>(family));
    record.setOption(velmora_com::vta::IP_PARAM_SUBNET_MASK, *mask);
    record.setOption(velmora_com::vta::IP_PARAM_SUBNET_ADDRESS, subnet);
    return record;
}

} // namespace

bool addInterfaceEntries(const ifaddrs *entries, bool includeLoopback, NetInterfaceList &list) {
    InterfaceTable table(entries);
    UsableFamilies families;
    NetInterfaceList whole = list;
    bool added = false;
    for (const ifaddrs *entry = entries; entry; entry = entry->ifa_next) {
        if (!isWanted(*entry, includeLoopback))
            continue;
        const auto address = readAddress(*entry, families);
        const InterfaceTable::Facts &facts = table.factsOf(nameOf(*entry));
        if (!address || !facts.macAddress)
            continue;
        NetInterface &record = whole.getNetInterface(facts.index);
        record.setOption(velmora_com::vta::NETINTERFACE_PARAM_INDEX_NAME, std::string(nameOf(*entry)));
        record.setOption(velmora_com::vta::NETINTERFACE_PARAM_INDEX, facts.index);
        record.setOption(velmora_com::vta::NETINTERFACE_PARAM_MAC_ADDRESS, *facts.macAddress);
        record.setOption(velmora_com::vta::NETINTERFACE_PARAM_IP_ADDRESS, *address);
        added = true;
    }
    if (added)
        list = std::move(whole);
    return added;
}

bool addInterfaces(bool includeLoopback, NetInterfaceList &list) {
    ifaddrs *head = nullptr;
    if (getifaddrs(&head) != 0) {
        failOnShortage(errno);
        return false;
    }
    const InterfaceEntries entries(head);
    return addInterfaceEntries(entries.get(), includeLoopback, list);
}

} // namespace zor

namespace velmora_com {
namespace vta {

unsigned int NetInterfaceList::initialize() {
    const zor::UncancellableScope uncancellable;
    // Kept: the map is not cleared first, so a second call adds every address again.
    return zor::guarded(0u, [&] { return zor::addInterfaces(m_includeLoopback, *this) ? 1u : 0u; });
}

bool getNetInterfacesList(NetInterfaceList &list) {
    return list.initialize() != 0;
}

} // namespace vta
} // namespace velmora_com
