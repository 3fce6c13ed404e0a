// Collects the network part of the report: the machine's names, the one address that represents it, and what belongs to
// that address.

#include "source/sysprops/network_information.h"

#include "source/network/host_names.h"
#include "source/platform/posix.h"
#include "source/portability/transcoding.h"

#include <list>
#include <utility>

#include <sys/socket.h>

namespace zor {

namespace {

using velmora_com::vta::IPAddress;
using velmora_com::vta::NetInterface;
using velmora_com::vta::NetInterfaceList;
using velmora_com::vta::sysprops::DefaultProp_Val;
using velmora_com::vta::sysprops::ISysProps;
using velmora_com::vta::sysprops::NetworkInformation;

void reportSubnet(const IPAddress &address, NetworkInformation &info) {
    info.SubnetAddress = wideOf(address.getSubNetAddr());
    info.SubnetMask = wideOf(address.getSubNetMask());
}

void reportAddress(const NetInterface &carrier, const IPAddress &address, NetworkInformation &info) {
    info.IPAddress = wideOf(address.getIPAddress());
    info.NETAddress = wideOf(carrier.getMACAddress());
    reportSubnet(address, info);
}

/** Reports the last known address when an interface carries it, in exactly this text. */
bool reportLastKnown(NetInterfaceList &interfaces, const std::string &lastKnownIP, NetworkInformation &info) {
    NetInterface carrier;
    if (lastKnownIP.empty() || getNetInterfaceFromIPAddress(carrier, lastKnownIP, interfaces) == 0)
        return false;
    for (const IPAddress &address : carrier.getIPAddress())
        if (address.getIPAddress() == lastKnownIP)
            reportAddress(carrier, address, info); // Kept: of equal entries the last one's mask and subnet stay.
    return true;
}

bool reportFirstOfFamily(NetInterfaceList &interfaces, unsigned int family, NetworkInformation &info) {
    for (const unsigned int index : interfaces.getIndexes()) {
        NetInterface candidate;
        if (interfaces.getNetInterface(index, candidate) == 0)
            continue;
        for (const IPAddress &address : candidate.getIPAddress())
            if (address.getIPFamily() == family) {
                reportAddress(candidate, address, info);
                return true;
            }
    }
    return false;
}

void reportFirstOfAll(NetInterfaceList &interfaces, NetworkInformation &info) {
    const std::list<unsigned int> indexes = interfaces.getIndexes();
    NetInterface first;
    if (indexes.empty() || interfaces.getNetInterface(indexes.front(), first) == 0)
        return;
    const std::list<IPAddress> addresses = first.getIPAddress();
    if (!addresses.empty())
        reportAddress(first, addresses.front(), info);
}

} // namespace

void reportRepresentativeAddress(NetInterfaceList &interfaces, const std::string &lastKnownIP,
                                 NetworkInformation &info) {
    if (reportLastKnown(interfaces, lastKnownIP, info))
        return;
    const unsigned int family = lastKnownIP.find(':') != std::string::npos ? AF_INET6 : AF_INET;
    // Kept: an address of the other family is better than none, and the collection counts as successful either way.
    if (!reportFirstOfFamily(interfaces, family, info))
        reportFirstOfAll(interfaces, info);
}

bool collectNetworkInformation(WantedNames names, NetworkInformation &info) {
    NetworkInformation collected = info; // the record is written when all of it is there
    std::string computerName;
    collected.ComputerName =
        velmora_com::vta::sysprops::getComputerName(computerName) ? wideOf(computerName) : DefaultProp_Val;
    HostNames hostNames;
    if (names.domain)
        collected.DomainName = wideOrNotAvailable(hostNames.domain());
    if (names.full)
        collected.IPHostName = wideOrNotAvailable(hostNames.full());
    collected.IPXAddress = DefaultProp_Val;
    NetInterfaceList interfaces(false);
    const bool isListed = getNetInterfacesList(interfaces);
    if (isListed)
        reportRepresentativeAddress(interfaces, utf8Of(ISysProps::GetLastKnownLocalIP()), collected);
    info = std::move(collected);
    return isListed;
}

} // namespace zor

namespace velmora_com {
namespace vta {
namespace sysprops {

bool ISysProps::GetNetworkInformation(NetworkInformation &info) {
    const zor::UncancellableScope uncancellable;
    return zor::guarded(false, [&] { return zor::collectNetworkInformation({true, true}, info); });
}

} // namespace sysprops
} // namespace vta
} // namespace velmora_com
