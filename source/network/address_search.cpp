// Finds the interface that carries an address. Texts are compared exactly: the wanted one must be in the stored form.

#include "source/network/interfaces.h"

#include "source/network/record_fields.h"
#include "source/platform/posix.h"

#include <algorithm>
#include <utility>

namespace zor {

using velmora_com::vta::IPAddress;
using velmora_com::vta::NetInterface;
using velmora_com::vta::NetInterfaceList;

namespace {

bool carries(const NetInterface &record, const std::string &ip) {
    const std::list<IPAddress> &addresses = RecordFields::addresses(record);
    // Kept: no other form of the same address matches; callers ask with stored texts.
    return std::any_of(addresses.begin(), addresses.end(),
                       [&](const IPAddress &address) { return RecordFields::address(address) == ip; });
}

} // namespace

const NetInterface *findCarrier(const std::string &ip, const NetInterfaceList &list) {
    const std::vector<const NetInterface *> interfaces = RecordFields::inOrder(list);
    const auto found = std::find_if(interfaces.begin(), interfaces.end(),
                                    [&](const NetInterface *record) { return carries(*record, ip); });
    return found == interfaces.end() ? nullptr : *found;
}

} // namespace zor

namespace velmora_com {
namespace vta {

unsigned int getNetInterfaceFromIPAddress(NetInterface &out, std::string const &ip, NetInterfaceList &list) {
    return zor::guarded(0u, [&] {
        const NetInterface *const carrier = zor::findCarrier(ip, list);
        if (!carrier)
            return 0u;
        NetInterface copy = *carrier; // so that a failed copy leaves the caller's record whole
        out = std::move(copy);
        return 1u;
    });
}

unsigned int getMACAddressFromIPAddress(std::string &mac, std::string const &ip, NetInterfaceList &list) {
    return zor::guarded(0u, [&] {
        const NetInterface *const carrier = zor::findCarrier(ip, list);
        if (!carrier)
            return 0u;
        mac = zor::RecordFields::hardwareAddress(*carrier);
        return 1u;
    });
}

} // namespace vta
} // namespace velmora_com
