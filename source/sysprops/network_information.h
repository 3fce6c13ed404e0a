#pragma once

// The network record, and the choice of the one address that represents the machine, apart from the enumeration that it
// chooses from.

#include "zorcomn/network.h"
#include "zorcomn/sysprops.h"

#include <string>

namespace zor {

/** Fills the address, subnet, mask and hardware fields from the address that represents the machine: the last known
 * local one when an interface still carries it, else the first of its family in the list's order, else the first
 * interface's first. */
void reportRepresentativeAddress(velmora_com::vta::NetInterfaceList &interfaces, const std::string &lastKnownIP,
                                 velmora_com::vta::sysprops::NetworkInformation &info);

/** Which of the machine's names a collection asks for. */
struct WantedNames {
    bool domain;
    bool full;
};

/** Fills the network record but for the names that are not wanted, which stay as they were. Asking for them may wait
 * long for a name server; all else is quick and always collected, since what a collection does not find keeps the value
 * of an earlier one.
 * @return whether there was an address to choose from. */
bool collectNetworkInformation(WantedNames names, velmora_com::vta::sysprops::NetworkInformation &info);

} // namespace zor
