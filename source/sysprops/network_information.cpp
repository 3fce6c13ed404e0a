// Collects the network part of the report: the machine's names, the one address that represents it, and what belongs to
// that address.

#include "source/sysprops/network_information.h"

#include "source/network/host_names.h"
#include "source/network/interfaces.h"
#include "source/network/record_fields.h"
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
    info.SubnetAddress = wideOf(RecordFields::subnetAddress(address));
    info.SubnetMask = wideOf(RecordFields::subnetMask(address));
}

void reportAddress(const NetInterface &carrier, const IPAddress &address, NetworkInformation &info) {
    info.IPAddress = wideOf(RecordFields::address(address));
    info.NETAddress = wideOf(RecordFields::hardwareAddress(carrier));
    reportSubnet(address, info);
}

/** Reports the last known address when an interface carries it, in exactly this text. */
bool reportLastKnown(NetInterfaceList &interfaces, const std::string &lastKnownIP, NetworkInformation &info) {
    const NetInterface *const carrier = lastKnownIP.empty() ? nullptr : findCarrier(lastKnownIP, interfaces);
    if (!carrier)
        return false;
    for (const IPAddress &address : RecordFields::addresses(*carrier))
        if (RecordFields::address(address) == lastKnownIP)
            reportAddress(*carrier, address, info); // Kept: of equal entries the last one's mask and subnet stay.
    return true;
}

bool reportFirstOfFamily(NetInterfaceList &interfaces, unsigned int family, NetworkInformation &info) {
    for (const NetInterface *const candidate : RecordFields::inOrder(interfaces))
        for (const IPAddress &address : RecordFields::addresses(*candidate))
            if (address.getIPFamily() == family) {
                reportAddress(*candidate, address, info);
                return true;
            }
    return false;
}

void reportFirstOfAll(NetInterfaceList &interfaces, NetworkInformation &info) {
    const std::vector<const NetInterface *> ordered = RecordFields::inOrder(interfaces);
    if (!ordered.empty() && !RecordFields::addresses(*ordered.front()).empty())
        reportAddress(*ordered.front(), RecordFields::addresses(*ordered.front()).front(), info);
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
        collected.DomainName = wideOrNotAvailable(hostNames, &HostNames::domain);
    if (names.full)
        collected.IPHostName = wideOrNotAvailable(hostNames, &HostNames::full);
    collected.IPXAddress = DefaultProp_Val;
    const bool isListed = guarded(false, [&] {
        NetInterfaceList interfaces(false);
        if (!addInterfaces(false, interfaces))
            return false;
        NetworkInformation withAddress = collected;
        reportRepresentativeAddress(interfaces, utf8Of(ISysProps::m_wstrLastKnownLocalIP), withAddress);
        collected = std::move(withAddress);
        return true;
    });
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
