// Finds the interface that carries an address. Texts are compared exactly: the wanted one must be in the stored form.

#include "zorcomn/network.h"

#include "source/platform/posix.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace zor {

namespace {

using velmora_com::vta::IPAddress;
using velmora_com::vta::NetInterface;
using velmora_com::vta::NetInterfaceList;

bool carries(const NetInterface &record, const std::string &ip) {
    const std::list<IPAddress> addresses = record.getIPAddress();
    // Kept: no other form of the same address matches; callers ask with stored texts.
    return std::any_of(addresses.begin(), addresses.end(),
                       [&](const IPAddress &address) { return address.getIPAddress() == ip; });
}

std::optional<NetInterface> findCarrier(const std::string &ip, const NetInterfaceList &list) {
    for (const unsigned int index : list.getIndexes()) {
        NetInterface record;
        if (list.getNetInterface(index, record) != 0 && carries(record, ip))
            return record;
    }
    return std::nullopt;
}

} // namespace

} // namespace zor

namespace velmora_com {
namespace vta {

unsigned int getNetInterfaceFromIPAddress(NetInterface &out, std::string const &ip, NetInterfaceList &list) {
    return zor::guarded(0u, [&] {
        auto carrier = zor::findCarrier(ip, list);
        if (!carrier)
            return 0u;
        out = std::move(*carrier);
        return 1u;
    });
}

unsigned int getMACAddressFromIPAddress(std::string &mac, std::string const &ip, NetInterfaceList &list) {
    return zor::guarded(0u, [&] {
        const auto carrier = zor::findCarrier(ip, list);
        if (!carrier)
            return 0u;
        mac = carrier->getMACAddress();
        return 1u;
    });
}

} // namespace vta
} // namespace velmora_com
