#pragma once

// Socket addresses as bytes of bounded length, as numeric text, and the sockets that go with them.

#include <cstddef>
#include <optional>
#include <string>

#include <netdb.h>
#include <sys/socket.h>

namespace zor {

constexpr size_t kHostTextSize = 1025; // what getnameinfo may need for a host, terminator included

/** A copy of an interface list's address in full storage: bytes beyond those it really has are zero. */
sockaddr_storage storedAddress(const sockaddr &address);

/** The length that getnameinfo wants for an address of a family: exact for the Internet families, since not every
 * system accepts a longer one, else the size of the storage. */
socklen_t addressLength(sa_family_t family);

/** getnameinfo for the host alone, into a zeroed buffer of size bytes, terminator included.
 * @return 0, or the resolver's number.
 */
int writeHostText(const sockaddr &address, int flags, char *buffer, size_t size);

/** getnameinfo for the host alone, into a text of at most size bytes, terminator included. Throws where memory or the
 * like runs out. */
std::optional<std::string> hostText(const sockaddr &address, int flags, size_t size = kHostTextSize);

/** getnameinfo for the service alone. Throws as hostText. */
std::optional<std::string> serviceText(const sockaddr &address, int flags);

} // namespace zor
