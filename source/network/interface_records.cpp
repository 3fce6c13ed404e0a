// The value types in which addresses and interfaces travel, and the order in which a list hands its interfaces out.

#include "zorcomn/network.h"

#include "source/platform/posix.h"

#include <utility>

namespace velmora_com {
namespace vta {

IPAddress::IPAddress() : m_family(0) {}

void IPAddress::setOption(IP_PARAM option, std::string value) {
    if (option == IP_PARAM_ADDRESS)
        m_address = std::move(value);
    else if (option == IP_PARAM_SUBNET_MASK)
        m_subnetMask = std::move(value);
    else if (option == IP_PARAM_SUBNET_ADDRESS)
        m_subnetAddress = std::move(value);
}

void IPAddress::setOption(IP_PARAM option, unsigned int value) {
    if (option == IP_PARAM_FAMILY)
        m_family = value;
}

std::string IPAddress::getIPAddress() const {
    return zor::guarded(std::string(), [&] { return m_address; });
}

std::string IPAddress::getSubNetMask() const {
    return zor::guarded(std::string(), [&] { return m_subnetMask; });
}

std::string IPAddress::getSubNetAddr() const {
    return zor::guarded(std::string(), [&] { return m_subnetAddress; });
}

unsigned int IPAddress::getIPFamily() const {
    return m_family;
}

NetInterface::NetInterface() : m_index(0), m_sortLast(0) {}

void NetInterface::setOption(NETINTERFACE_PARAM option, std::string value) {
    if (option == NETINTERFACE_PARAM_MAC_ADDRESS)
        m_macAddress = std::move(value);
    else if (option == NETINTERFACE_PARAM_INDEX_NAME)
        m_indexName = std::move(value);
}

void NetInterface::setOption(NETINTERFACE_PARAM option, unsigned int value) {
    if (option == NETINTERFACE_PARAM_INDEX)
        m_index = value;
    else if (option == NETINTERFACE_PARAM_SORT_LAST)
        m_sortLast = value != 0 ? 1 : 0;
}

void NetInterface::setOption(NETINTERFACE_PARAM option, IPAddress const &value) {
    if (option == NETINTERFACE_PARAM_IP_ADDRESS)
        m_addresses.push_back(value);
}

std::string NetInterface::getMACAddress() const {
    return zor::guarded(std::string(), [&] { return m_macAddress; });
}

std::string NetInterface::getIndexName() const {
    return zor::guarded(std::string(), [&] { return m_indexName; });
}

unsigned int NetInterface::getIndex() const {
    return m_index;
}

std::list<IPAddress> NetInterface::getIPAddress() const {
    return zor::guarded(std::list<IPAddress>(), [&] { return m_addresses; });
}

unsigned int NetInterface::getSortLast() const {
    return m_sortLast;
}

NetInterfaceList::NetInterfaceList(bool includeLoopback) : m_includeLoopback(includeLoopback) {}

unsigned int NetInterfaceList::getNetInterface(unsigned int index, NetInterface &out) const {
    return zor::guarded(0u, [&] {
        const auto found = m_interfaces.find(index);
        if (found == m_interfaces.end())
            return 0u;
        NetInterface copy = found->second; // so that a failed copy leaves the caller's record whole
        out = std::move(copy);
        return 1u;
    });
}

NetInterface &NetInterfaceList::getNetInterface(unsigned int const &index) {
    return m_interfaces[index]; // Kept: an absent index is inserted; records are made this way.
}

std::list<unsigned int> NetInterfaceList::getIndexes() const {
    return zor::guarded(std::list<unsigned int>(), [&] {
        std::list<unsigned int> first, last;
        for (const auto &[index, record] : m_interfaces)
            (record.getSortLast() == 1 ? last : first).push_back(index);
        first.splice(first.end(), last);
        return first;
    });
}

} // namespace vta
} // namespace velmora_com
