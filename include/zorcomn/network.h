#pragma once
#include "api.h"

#include <cstdint>
#include <list>
#include <map>
#include <string>
#include <sys/socket.h>
#include <vector>
struct addrinfo;

namespace velmora_com {
namespace vta {

enum IP_PARAM { IP_PARAM_ADDRESS = 0, IP_PARAM_FAMILY = 1, IP_PARAM_SUBNET_MASK = 2, IP_PARAM_SUBNET_ADDRESS = 3 };

class IPAddress {
public:
    ZORCOMN_API IPAddress();
    ZORCOMN_API void setOption(IP_PARAM option, std::string value);
    ZORCOMN_API void setOption(IP_PARAM option, unsigned int value);
    ZORCOMN_API std::string getIPAddress() const;
    ZORCOMN_API std::string getSubNetMask() const;
    ZORCOMN_API std::string getSubNetAddr() const;
    ZORCOMN_API unsigned int getIPFamily() const;

private:
    std::string m_address;
    std::string m_subnetMask;
    std::string m_subnetAddress;
    uint32_t m_family;
};

enum NETINTERFACE_PARAM {
    NETINTERFACE_PARAM_MAC_ADDRESS = 0,
    NETINTERFACE_PARAM_INDEX_NAME = 1,
    NETINTERFACE_PARAM_INDEX = 2,
    NETINTERFACE_PARAM_IP_ADDRESS = 3,
    NETINTERFACE_PARAM_SORT_LAST = 4
};

class NetInterface {
public:
    ZORCOMN_API NetInterface();
    ZORCOMN_API void setOption(NETINTERFACE_PARAM option, std::string value);
    ZORCOMN_API void setOption(NETINTERFACE_PARAM option, unsigned int value);
    ZORCOMN_API void setOption(NETINTERFACE_PARAM option, IPAddress const &value);
    ZORCOMN_API std::string getMACAddress() const;
    ZORCOMN_API std::string getIndexName() const;
    ZORCOMN_API unsigned int getIndex() const;
    ZORCOMN_API std::list<IPAddress> getIPAddress() const;
    ZORCOMN_API unsigned int getSortLast() const;

private:
    uint32_t m_index;
    std::string m_macAddress;
    std::string m_indexName;
    std::list<IPAddress> m_addresses;
    uint32_t m_sortLast;
};

class NetInterfaceList {
public:
    ZORCOMN_API explicit NetInterfaceList(bool includeLoopback);
    ZORCOMN_API unsigned int initialize();
    ZORCOMN_API unsigned int getNetInterface(unsigned int index, NetInterface &out) const;
    ZORCOMN_API NetInterface &getNetInterface(unsigned int const &index);
    ZORCOMN_API std::list<unsigned int> getIndexes() const;

private:
    std::map<unsigned int, NetInterface> m_interfaces;
    bool m_includeLoopback;
};

ZORCOMN_API bool getNetInterfacesList(NetInterfaceList &list);
ZORCOMN_API unsigned int getNetInterfaceFromIPAddress(NetInterface &out, std::string const &ip, NetInterfaceList &list);
ZORCOMN_API unsigned int getMACAddressFromIPAddress(std::string &mac, std::string const &ip, NetInterfaceList &list);

ZORCOMN_API std::string expandIPV6Address(std::string addr);
ZORCOMN_API std::string calculateSubNetAddrForV6(std::string const &addr, std::string const &mask);
ZORCOMN_API std::string convertV6AddrToLiteralFormat(std::string addr);
ZORCOMN_API std::string convertLiteralFormatToV6Addr(std::string literal);
ZORCOMN_API unsigned short noOfOccurences(std::string const &text, char c, int cap);
ZORCOMN_API std::string formatMACAddress(unsigned char *bytes);

class ANetworkUtil {
public:
    ZORCOMN_API ANetworkUtil();
    ZORCOMN_API ~ANetworkUtil();
    ZORCOMN_API bool makeSocketNonBlocking(int socket);
    ZORCOMN_API int ConnectWithTimeout(int socket, sockaddr *address, int length, unsigned int seconds);
    ZORCOMN_API std::string zorNetToString(sockaddr *address, int flags);
    ZORCOMN_API std::string formatV6addr(std::string address, bool keepBrackets);
    ZORCOMN_API int zorGetScopeId(std::string const &address, unsigned int &scope);
    ZORCOMN_API std::string formatV6addrWithScope(std::string address, bool keepBrackets);
    ZORCOMN_API int zorCreateAddrinfo(std::string const &host, std::string const &service, addrinfo **result,
                                      bool const &ipv4Only);
    ZORCOMN_API int zorGetAddrinfo(std::string const &host, std::string service, std::vector<char *> &out, int flags);
    ZORCOMN_API void zorFreeAddrinfo(std::vector<char *> &list);
    ZORCOMN_API int zorGetLocalIPAddress(std::string const &peer, std::string service, std::string &local,
                                         bool const &ipv4Only, int seconds, int flags);
    ZORCOMN_API int zorGetLocalIPAddressFromList(std::string const &peers, std::string service, std::string &local,
                                                 bool const &ipv4Only, int unused, int seconds);
    ZORCOMN_API int zorCompareAddressFromPeerAddress(std::string name, std::string service, std::string peer);

private:
    int32_t m_initialised;
};

ZORCOMN_API std::wstring getDomainName();
ZORCOMN_API std::wstring getFqdnAddress();

} // namespace vta
} // namespace velmora_com
