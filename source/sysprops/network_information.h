#pragma once

// The choice of the one address that represents the machine, apart from the enumeration that it chooses from.

#include "zorcomn/network.h"
#include "zorcomn/sysprops.h"

#include <string>

namespace zor {

/** Fills the address, subnet, mask and hardware fields from the address that represents the machine: the last known
 * local one when an interface still carries it, else the first of its family in the list's order, else the first
 * interface's first. */
void reportRepresentativeAddress(velmora_com::vta::NetInterfaceList &interfaces, const std::string &lastKnownIP,
                                 velmora_com::vta::sysprops::NetworkInformation &info);

} // namespace zor
