#pragma once

// The fields of the networking records for the library's own code. The records' exported readers give an empty text or
// list where memory runs out, which in here would be taken for an answer.

#include "zorcomn/network.h"

namespace zor {

struct RecordFields {
    using IPAddress = velmora_com::vta::IPAddress;
    using NetInterface = velmora_com::vta::NetInterface;
    using NetInterfaceList = velmora_com::vta::NetInterfaceList;

    static const std::string &address(const IPAddress &record) { return record.m_address; }
    static const std::string &subnetMask(const IPAddress &record) { return record.m_subnetMask; }
    static const std::string &subnetAddress(const IPAddress &record) { return record.m_subnetAddress; }

    static const std::string &hardwareAddress(const NetInterface &record) { return record.m_macAddress; }
    static const std::list<IPAddress> &addresses(const NetInterface &record) { return record.m_addresses; }

    /** The interfaces in the order of getIndexes. Throws where memory runs out. */
    static std::vector<const NetInterface *> inOrder(const NetInterfaceList &list) {
        std::vector<const NetInterface *> ordered;
        for (const uint32_t sortLast : {0u, 1u})
            for (const auto &[index, record] : list.m_interfaces)
                if (record.m_sortLast == sortLast)
                    ordered.push_back(&record);
        return ordered;
    }
    /** The index of an interface under which a list holds it. */
    static std::vector<unsigned int> indexesInOrder(const NetInterfaceList &list) {
        std::vector<unsigned int> ordered;
        for (const uint32_t sortLast : {0u, 1u})
            for (const auto &[index, record] : list.m_interfaces)
                if (record.m_sortLast == sortLast)
                    ordered.push_back(index);
        return ordered;
    }
};

} // namespace zor
