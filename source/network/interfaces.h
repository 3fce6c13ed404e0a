#pragma once

// The walk over an interface list, apart from the system call that reads it, so that tests can hand one in.

#include "zorcomn/network.h"

struct ifaddrs;

namespace zor {

/** Adds every usable address of an interface list to list.
 * @param entries          the first entry; null is an empty list.
 * @param includeLoopback  whether loopback interfaces count.
 * @return whether any address was added.
 */
bool addInterfaceEntries(const ifaddrs *entries, bool includeLoopback, velmora_com::vta::NetInterfaceList &list);

} // namespace zor
