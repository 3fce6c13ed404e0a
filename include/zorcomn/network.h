/** @file
 * Interfaces and their addresses, address texts, name resolution, timed connections, host names. C++.
 *
 * @include subsystems/network.cpp
 */
#pragma once

// Networking: the machine's interfaces and their addresses, the texts of IPv6 and hardware addresses, name resolution
// and time-limited connections, the machine's host and domain names.
//
// All texts are bytes; address texts are ASCII. Nothing is thrown out of these functions unless a declaration says so:
// where memory runs out, a function that returns a text or a list returns an empty one unless it says otherwise, the
// others their failure value. A text or list that is passed by value is copied by the caller, whose copy may throw. No
// function writes nErrno. errno is as the system's calls left it.
//
// Cancellation: ANetworkUtil::ConnectWithTimeout is a cancellation point, and leaves nothing behind since it holds
// nothing. No other function is one: a thread that is cancelled meanwhile ends after the return.

#include "api.h"

#include <cstdint>
#include <list>
#include <map>
#include <string>
#include <sys/socket.h>
#include <vector>
struct addrinfo;

namespace zor {
struct RecordFields; // the library's own reader of the records
}

namespace velmora_com {
namespace vta {

/** The fields of an IPAddress that setOption sets. */
enum IP_PARAM {
    IP_PARAM_ADDRESS = 0,       ///< text: the address
    IP_PARAM_FAMILY = 1,        ///< number: the socket address family
    IP_PARAM_SUBNET_MASK = 2,   ///< text: the mask
    IP_PARAM_SUBNET_ADDRESS = 3 ///< text: address AND mask
};

/** One address of an interface, with its mask and subnet. A plain value: a copy has texts of its own.
 * Threads: one object serves one thread at a time.
 */
class IPAddress {
public:
    /** Three empty texts and family 0.
     * Error cell: untouched.  Threads: safe.  Owns: nothing.
     */
    ZORCOMN_API IPAddress();

    /** Sets a text field.
     * @param option  IP_PARAM_ADDRESS, IP_PARAM_SUBNET_MASK or IP_PARAM_SUBNET_ADDRESS; any other is ignored.
     * @param value   taken as it is, unchecked.
     * Error cell: untouched.  Threads: as the class.  Owns: the text is copied.
     */
    ZORCOMN_API void setOption(IP_PARAM option, std::string value);

    /** Sets the family.
     * @param option  IP_PARAM_FAMILY; any other is ignored.
     * @param value   a socket address family of this system.
     * Error cell: untouched.  Threads: as the class.  Owns: nothing.
     */
    ZORCOMN_API void setOption(IP_PARAM option, unsigned int value);

    /** The numeric address: dotted for IPv4, for IPv6 in the form of expandIPV6Address, without a scope.
     * Error cell: untouched.  Threads: as the class.  Owns: the copy is the caller's.
     */
    ZORCOMN_API std::string getIPAddress() const;

    /** The mask as numeric text; for IPv6 expanded, "ffff:ffff:ffff:ffff:0:0:0:0".
     * Error cell: untouched.  Threads: as the class.  Owns: the copy is the caller's.
     */
    ZORCOMN_API std::string getSubNetMask() const;

    /** Address AND mask: dotted for IPv4, for IPv6 as calculateSubNetAddrForV6 gives it.
     * Error cell: untouched.  Threads: as the class.  Owns: the copy is the caller's.
     */
    ZORCOMN_API std::string getSubNetAddr() const;

    /** The socket address family: this system's AF_INET or AF_INET6, 0 in a new object.
     * Error cell: untouched.  Threads: as the class.  Owns: nothing.
     */
    ZORCOMN_API unsigned int getIPFamily() const;

private:
    std::string m_address;
    std::string m_subnetMask;
    std::string m_subnetAddress;
    uint32_t m_family;
    friend struct ::zor::RecordFields;
};

/** The fields of a NetInterface that setOption sets. */
enum NETINTERFACE_PARAM {
    NETINTERFACE_PARAM_MAC_ADDRESS = 0, ///< text: replaces the hardware address
    NETINTERFACE_PARAM_INDEX_NAME = 1,  ///< text: replaces the name
    NETINTERFACE_PARAM_INDEX = 2,       ///< number: replaces the index
    NETINTERFACE_PARAM_IP_ADDRESS = 3,  ///< IPAddress: appended to the addresses, never replacing one
    NETINTERFACE_PARAM_SORT_LAST = 4    ///< number: any but 0 puts the interface behind the others
};

/** One interface with all its addresses. A plain value: a copy has an address list of its own.
 * Threads: one object serves one thread at a time.
 */
class NetInterface {
public:
    /** Index 0, empty texts, no addresses, not sorted last.
     * Error cell: untouched.  Threads: safe.  Owns: nothing.
     */
    ZORCOMN_API NetInterface();

    /** Sets a text field.
     * @param option  NETINTERFACE_PARAM_MAC_ADDRESS or NETINTERFACE_PARAM_INDEX_NAME; any other is ignored.
     * @param value   taken as it is, unchecked.
     * Error cell: untouched.  Threads: as the class.  Owns: the text is copied.
     */
    ZORCOMN_API void setOption(NETINTERFACE_PARAM option, std::string value);

    /** Sets a number.
     * @param option  NETINTERFACE_PARAM_INDEX or NETINTERFACE_PARAM_SORT_LAST; any other is ignored.
     * @param value   the index; for sort last, 0 or anything else.
     * Error cell: untouched.  Threads: as the class.  Owns: nothing.
     */
    ZORCOMN_API void setOption(NETINTERFACE_PARAM option, unsigned int value);

    /** Appends an address.
     * @param option  NETINTERFACE_PARAM_IP_ADDRESS; any other is ignored.
     * @param value   appended behind the addresses already there, also when it equals one of them.
     * Error cell: untouched.  Threads: as the class.  Owns: the address is copied.
     * Throws std::bad_alloc when there is no memory; the addresses are then as before.
     */
    ZORCOMN_API void setOption(NETINTERFACE_PARAM option, IPAddress const &value);

    /** The hardware address: six bytes as twelve lower-case hexadecimal digits, no separators. From the link-level
     * entry of the system's interface list (AF_LINK or AF_PACKET), whatever length it states; all zeros on loopback.
     * Error cell: untouched.  Threads: as the class.  Owns: the copy is the caller's.
     */
    ZORCOMN_API std::string getMACAddress() const;

    /** The name in the system's interface list ("en0"), of the entry that was read last: where addresses carry labels
     * of their own ("eth0:1"), the label of the last one.
     * Error cell: untouched.  Threads: as the class.  Owns: the copy is the caller's.
     */
    ZORCOMN_API std::string getIndexName() const;

    /** The system's interface index, from if_nametoindex; 0 for a name that the system does not know.
     * Error cell: untouched.  Threads: as the class.  Owns: nothing.
     */
    ZORCOMN_API unsigned int getIndex() const;

    /** All addresses, in the order in which the system lists them.
     * Error cell: untouched.  Threads: as the class.  Owns: the copy is the caller's.
     */
    ZORCOMN_API std::list<IPAddress> getIPAddress() const;

    /** 1 when the interface is to follow all others in NetInterfaceList::getIndexes, else 0. The library never sets it.
     * Error cell: untouched.  Threads: as the class.  Owns: nothing.
     */
    ZORCOMN_API unsigned int getSortLast() const;

private:
    uint32_t m_index;
    std::string m_macAddress;
    std::string m_indexName;
    std::list<IPAddress> m_addresses;
    uint32_t m_sortLast;
    friend struct ::zor::RecordFields;
};

/** The machine's interfaces, by interface index: built empty, filled by one initialize(), then read. A plain value: a
 * copy has records of its own.
 * Threads: one object serves one thread at a time; different lists may be filled at the same time.
 */
class NetInterfaceList {
public:
    /** An empty list.
     * @param includeLoopback  true: initialize() also lists loopback interfaces.
     * Error cell: untouched.  Threads: safe.  Owns: nothing.
     */
    ZORCOMN_API explicit NetInterfaceList(bool includeLoopback);

    /** Adds the addresses of the machine's interfaces, from getifaddrs. An address is listed when its interface is up
     * and has a link-level entry (where the system lists none for tunnels, they are left out), its family is IPv4 or
     * IPv6, a datagram socket of that family can be opened, and address and mask can be read; any other is passed over
     * without a trace. The list is not cleared first: a second
     * call adds every address again, so build a fresh list for each enumeration.
     * @return 1 when at least one address was added, 0 when none was, when the system's list cannot be read or when
     *         memory runs out (the addresses read so far then stay).
     * Error cell: untouched.  Threads: as the class.  Owns: nothing.
     */
    ZORCOMN_API unsigned int initialize();

    /** Copies the record of an index.
     * @param index  an interface index, as in getIndexes().
     * @param out    [out] the record; untouched when the result is 0.
     * @return 1, or 0 when the list has no such index.
     * Error cell: untouched.  Threads: as the class.  Owns: the copy is the caller's.
     */
    ZORCOMN_API unsigned int getNetInterface(unsigned int index, NetInterface &out) const;

    /** The record of an index itself, to be changed in place; an index that the list does not have is inserted first,
     * with an empty record. To look whether there is one, use the other form.
     * Error cell: untouched.  Threads: as the class.
     * Owns: the record belongs to the list and lives as long as it does.
     * Throws std::bad_alloc when an insertion finds no memory; the list is then as before.
     */
    ZORCOMN_API NetInterface &getNetInterface(unsigned int const &index);

    /** The indexes of the list, ascending, those marked sort last (again ascending) behind all others.
     * Error cell: untouched.  Threads: as the class.  Owns: the copy is the caller's.
     */
    ZORCOMN_API std::list<unsigned int> getIndexes() const;

private:
    std::map<unsigned int, NetInterface> m_interfaces;
    bool m_includeLoopback;
    friend struct ::zor::RecordFields;
};

/** Runs list.initialize().
 * @return whether that added an address.
 * Error cell: untouched.  Threads: one list serves one thread at a time.  Owns: nothing.
 */
ZORCOMN_API bool getNetInterfacesList(NetInterfaceList &list);

/** Finds the interface that carries an address: the first in the order of getIndexes().
 * @param out   [out] a copy of its record; untouched when the result is 0.
 * @param ip    compared byte by byte with the stored texts, so it must have their form: dotted IPv4, or IPv6 as
 *              expandIPV6Address gives it, lower case; "::1" finds nothing.
 * @param list  an initialised list; not changed.
 * @return 1, or 0 when no interface carries the address.
 * Error cell: untouched.  Threads: one list serves one thread at a time.  Owns: the copy is the caller's.
 */
ZORCOMN_API unsigned int getNetInterfaceFromIPAddress(NetInterface &out, std::string const &ip, NetInterfaceList &list);

/** Finds the hardware address of the interface that carries an address; the search of getNetInterfaceFromIPAddress.
 * @param mac       [out] twelve hexadecimal digits; untouched when the result is 0.
 * @param ip, list  as there.
 * @return 1, or 0 when no interface carries the address.
 * Error cell: untouched.  Threads: one list serves one thread at a time.  Owns: the copy is the caller's.
 */
ZORCOMN_API unsigned int getMACAddressFromIPAddress(std::string &mac, std::string const &ip, NetInterfaceList &list);

/** An IPv6 address in the form in which the library keeps and compares addresses: without a scope, "::" expanded.
 * "fe80::1%en0" gives "fe80:0:0:0:0:0:0:1". The scope, from '%' on, is cut off any text; a text without "::" is
 * otherwise returned as it is: groups are not padded, counted or checked, upper case stays.
 * @param addr  any text.
 * @return the expanded text.
 * Error cell: untouched.  Threads: safe.  Owns: the text is the caller's.
 */
ZORCOMN_API std::string expandIPV6Address(std::string addr);

/** The subnet of an IPv6 address: address AND mask, group by group, in lower-case hexadecimal without leading zeros.
 * @param addr, mask  expanded texts; the one with fewer groups decides how many there are, an empty group reads as 0.
 * @return the subnet; empty when either text is empty.
 * Error cell: untouched.  Threads: safe.  Owns: the text is the caller's.
 */
ZORCOMN_API std::string calculateSubNetAddrForV6(std::string const &addr, std::string const &mask);

/** An IPv6 address in the form that can stand where a host name is wanted: "[fe80::1%en0]" gives
 * "fe80--1.ipv6-literal.net". Brackets and scope are dropped.
 * @param addr  any text; one without ':' and one that holds ".ipv6-literal.net" already are returned unchanged.
 * @return the literal form.
 * Error cell: untouched.  Threads: safe.  Owns: the text is the caller's.
 */
ZORCOMN_API std::string convertV6AddrToLiteralFormat(std::string addr);

/** The way back: "fe80--1s4.ipv6-literal.net" gives "fe80::1". What begins with the first 's' is taken for a scope and
 * dropped.
 * @param literal  any text; one without ".ipv6-literal.net" is returned as it is, but for brackets around it.
 * @return the colon form.
 * Error cell: untouched.  Threads: safe.  Owns: the text is the caller's.
 */
ZORCOMN_API std::string convertLiteralFormatToV6Addr(std::string literal);

/** Counts a character, with a bound that suits the separators of an address.
 * @param text  any text; from 65536 occurrences on the count starts again at 0.
 * @param c     the character.
 * @param cap   what to return instead of a count above 7; its low 16 bits count.
 * @return the count, or cap.
 * Error cell: untouched.  Threads: safe.  Owns: nothing.
 */
ZORCOMN_API unsigned short noOfOccurences(std::string const &text, char c, int cap);

/** The text of a hardware address: bytes 00 1A 2B 3C 4D 5E give "001a2b3c4d5e".
 * @param bytes  six bytes; null gives an empty text.
 * @return twelve lower-case hexadecimal digits.
 * Error cell: untouched.  Threads: safe.  Owns: the text is the caller's; bytes are only read.
 */
ZORCOMN_API std::string formatMACAddress(unsigned char *bytes);

/** Resolves names, connects within a time limit and picks the local address that reaches a peer, over IPv4 and IPv6.
 * Made on the stack where it is needed; copying one gives another that does the same. No member writes a log.
 * Threads: an object holds nothing that changes; any member may run on any thread.
 */
class ANetworkUtil {
public:
    /** Ready to use.
     * Error cell: untouched.  Threads: safe.  Owns: nothing.
     */
    ZORCOMN_API ANetworkUtil();

    /** Does nothing: buffers that zorGetAddrinfo handed out stay the caller's.
     * Error cell: untouched.  Threads: safe.  Owns: nothing.
     */
    ZORCOMN_API ~ANetworkUtil();

    /** Adds O_NONBLOCK to a descriptor's flags; where these cannot be read, it becomes the only one.
     * @param socket  a descriptor.
     * @return whether the flags could be set.
     * Error cell: untouched; errno as fcntl left it.  Threads: safe.  Owns: the descriptor stays the caller's.
     */
    ZORCOMN_API bool makeSocketNonBlocking(int socket);

    /** Connects a socket, waiting no longer than told. With a limit the socket is made non-blocking and stays so.
     *
     * With a limit, 0 says that the socket became writable in time, and nothing more: a connection that was refused
     * also reports writable and counts as connected; the first send reveals it. Without one, 0 is a connection.
     * @param socket   a descriptor of any number, also one too large for select.
     * @param address  where to; null is refused.
     * @param length   its size in bytes; negative is refused.
     * @param seconds  the limit; beyond 2147483647 it is that, the longest there is. 0: a plain blocking connect, which
     *                 takes as long as the system lets it.
     * @return 0 connected, -1 failed or time ran out.
     * Error cell: untouched; errno as the failing call left it, ETIMEDOUT when time ran out.
     * Threads: safe; blocks, a cancellation point (the descriptor stays open). A signal does not end the wait.
     * Owns: the descriptor stays the caller's and open, also after a failure.
     */
    ZORCOMN_API int ConnectWithTimeout(int socket, sockaddr *address, int length, unsigned int seconds);

    /** The host or the service of a socket address as text, by getnameinfo.
     * @param address  a whole socket address of its family; null gives an empty text.
     * @param flags    NI_NUMERICSERV: the port number; else NI_NUMERICHOST: the numeric host; neither: an empty text.
     *                 Further flags are handed on.
     * @return the text, of at most 1024 bytes; empty on failure.
     * Error cell: untouched.  Threads: safe.  Owns: the text is the caller's.
     */
    ZORCOMN_API std::string zorNetToString(sockaddr *address, int flags);

    /** An address text without brackets and scope: "[fe80::1%4]" gives "fe80::1". Any text is treated so.
     * @param address       any text; what stands around a pair of brackets is dropped with them.
     * @param keepBrackets  true: brackets that were there are put back, "[fe80::1]".
     * @return the cleaned text.
     * Error cell: untouched.  Threads: safe.  Owns: the text is the caller's.
     */
    ZORCOMN_API std::string formatV6addr(std::string address, bool keepBrackets);

    /** Finds a scope for a link-local address: the first interface, in the order of NetInterfaceList::getIndexes(),
     * with which the resolver accepts it. Loopback interfaces are left out, and a scope in the text is not looked at.
     * @param address  an IPv6 text; brackets and scope are dropped. One that does not begin with "fe80", in lower
     *                 case, gets no scope.
     * @param scope    [out] the interface index; untouched when the result is 0.
     * @return 1, or 0 when no scope was found.
     * Error cell: untouched.  Threads: safe.  Owns: nothing.
     */
    ZORCOMN_API int zorGetScopeId(std::string const &address, unsigned int &scope);

    /** As formatV6addr, but with '%' and the scope that zorGetScopeId finds, in decimal: "[fe80::1%en0]" may give
     * "fe80::1%4".
     * @param address       any text.
     * @param keepBrackets  true: brackets that were there are put back around address and scope.
     * @return the text; without a scope where none was found.
     * Error cell: untouched.  Threads: safe.  Owns: the text is the caller's.
     */
    ZORCOMN_API std::string formatV6addrWithScope(std::string address, bool keepBrackets);

    /** Resolves a host and a service for stream connections, by getaddrinfo.
     * @param host      a name or address, passed through formatV6addrWithScope first; empty is refused.
     * @param service   a service name or port number; empty: none.
     * @param result    [out] the system's list; null when the result is not 0. A null pointer here is refused.
     * @param ipv4Only  true: IPv4 addresses only.
     * @return 0, -1 for a refused argument, else getaddrinfo's own error number, EAI_MEMORY when memory runs out.
     * Error cell: untouched.  Threads: as getaddrinfo; blocks while the resolver works.
     * Owns: the list is the caller's; release it once with freeaddrinfo.
     */
    ZORCOMN_API int zorCreateAddrinfo(std::string const &host, std::string const &service, addrinfo **result,
                                      bool const &ipv4Only);

    /** Resolves a host and appends the texts of its addresses, at most 14 of them, in the resolver's order.
     * @param host     as for zorCreateAddrinfo; both families are asked for.
     * @param service  as for zorCreateAddrinfo.
     * @param out      [in, out] receives buffers of 1025 bytes, terminated texts; what it held stays in front.
     * @param flags    for getnameinfo: NI_NUMERICHOST gives numbers; without it names are looked up.
     * @return 0 when at least one text was appended, also when memory did not suffice for all; -1 when the host was
     *         found and none was appended; else what zorCreateAddrinfo returned.
     * Error cell: untouched.  Threads: as getaddrinfo; blocks while the resolver works.
     * Owns: the buffers are the caller's; release them with zorFreeAddrinfo, also after a failure.
     */
    ZORCOMN_API int zorGetAddrinfo(std::string const &host, std::string service, std::vector<char *> &out, int flags);

    /** Releases the buffers of zorGetAddrinfo and empties the list.
     * @param list  buffers of zorGetAddrinfo; null ones are passed over.
     * Error cell: untouched.  Threads: safe on different lists.  Owns: every buffer of the list is released.
     */
    ZORCOMN_API void zorFreeAddrinfo(std::vector<char *> &list);

    /** The local address that the system picks for a real connection to a peer, which is made and closed again.
     * @param peer      as host of zorCreateAddrinfo; its addresses are tried in the resolver's order.
     * @param service   the peer's service or port; a connection is made to it.
     * @param local     [out] the address in the form of expandIPV6Address; untouched unless the result is 0.
     * @param ipv4Only  true: IPv4 addresses of the peer only.
     * @param seconds   limit for each address, as for ConnectWithTimeout, whose idea of a connection counts here: a
     *                  limit lets a refused one pass. A negative limit is the longest there is.
     * @param flags     for getnameinfo: NI_NUMERICHOST gives a number.
     * @return 0; -1 when no address could be connected to; else getaddrinfo's own error number.
     * Error cell: untouched.  Threads: as getaddrinfo; blocks, and cannot be cancelled meanwhile.
     * Owns: nothing stays open.
     */
    ZORCOMN_API int zorGetLocalIPAddress(std::string const &peer, std::string service, std::string &local,
                                         bool const &ipv4Only, int seconds, int flags);

    /** zorGetLocalIPAddress for the peers of a list, one after the other until one succeeds; local as a number.
     * @param peers     separated by ';'; an empty one fails and the next is tried.
     * @param service, local, ipv4Only  as for zorGetLocalIPAddress.
     * @param unused    not looked at.
     * @param seconds   limit for each address.
     * @return the result of the last peer tried; -1 for an empty list.
     * Error cell: untouched.  Threads: as getaddrinfo; blocks, and cannot be cancelled meanwhile.
     * Owns: nothing stays open.
     */
    ZORCOMN_API int zorGetLocalIPAddressFromList(std::string const &peers, std::string service, std::string &local,
                                                 bool const &ipv4Only, int unused, int seconds);

    /** Whether a peer's address belongs to a configured name. A name that is part of the peer's text belongs to it
     * ("10.0.0" to "10.0.0.15", and so does the empty name), then one that is the same but for brackets and scope, then
     * one that the resolver turns into the peer's address.
     * @param name     a configured name or address.
     * @param service  as for zorCreateAddrinfo.
     * @param peer     a numeric address text, in the form that getnameinfo gives.
     * @return 1 or 0.
     * Error cell: untouched.  Threads: as getaddrinfo; blocks while the resolver works.  Owns: nothing.
     */
    ZORCOMN_API int zorCompareAddressFromPeerAddress(std::string name, std::string service, std::string peer);

private:
    int32_t m_initialised; // 1 once constructed; the members that resolve names refuse to work with anything else
};

/** The machine's domain name: the running system's NIS domain when one is set (the kernel's own, from sysctl or
 * getdomainname; its placeholder "(none)" counts as not set), else what follows the first '.' in the official name
 * that gethostbyname gives for gethostname.
 * @return the name; "N/A" when nothing is found or there is no memory.
 * Error cell: untouched.  Threads: safe, also beside other threads' gethostbyname, whose answer buffer is not used or
 * is the thread's own; blocks while the resolver works.  Owns: the text is the caller's.
 */
ZORCOMN_API std::wstring getDomainName();

/** The machine's full name: the official name that gethostbyname gives for gethostname; where the resolver does not
 * know it, the host name, '.' and the NIS domain, the '.' also when that domain is empty.
 * @return the name; "N/A" when there is no host name, or no memory. Asks the resolver once.
 * Error cell: untouched.  Threads: as getDomainName.  Owns: the text is the caller's.
 */
ZORCOMN_API std::wstring getFqdnAddress();

} // namespace vta
} // namespace velmora_com
