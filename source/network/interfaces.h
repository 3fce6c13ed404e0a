#pragma once

// The walk over an interface list, apart from the system call that reads it, so that tests can hand one in.

#include "zorcomn/network.h"

struct ifaddrs;

namespace zor {

/** Adds every usable address of an interface list to list; all of them or, where something runs out, none and an
 * exception.
 * @param entries          the first entry; null is an empty list.
 * @param includeLoopback  whether loopback interfaces count.
 * @return whether any address was added.
 */
bool addInterfaceEntries(const ifaddrs *entries, bool includeLoopback, velmora_com::vta::NetInterfaceList &list);

/** addInterfaceEntries for the system's own list; false also when there is none. */
bool addInterfaces(bool includeLoopback, velmora_com::vta::NetInterfaceList &list);

/** The first interface, in the order of getIndexes, that carries an address in exactly this text; null for none. Throws
 * where memory runs out. */
const velmora_com::vta::NetInterface *findCarrier(const std::string &ip,
                                                  const velmora_com::vta::NetInterfaceList &list);

} // namespace zor
