// Interfaces, address texts, resolution, connections, host names.

#include "tests/torture/cases.h"

#include "zorcomn/network.h"

#include <algorithm>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace velmora_com::vta;

namespace zor::torture {

namespace {

const std::string kLongText = "a text that no small buffer inside an object holds";

template <class Body> void tellText(Outcome &outcome, Body body) {
    outcome.field("text", faulty(body), {""});
}

std::string describe(const NetInterfaceList &list) {
    std::string text;
    for (const unsigned int index : list.getIndexes()) {
        NetInterface record;
        list.getNetInterface(index, record);
        text += std::to_string(index) + '=' + record.getIndexName() + '/' + record.getMACAddress();
        for (const IPAddress &address : record.getIPAddress())
            text += ' ' + address.getIPAddress() + '/' + address.getSubNetMask() + '/' + address.getSubNetAddr() + '/' +
                    std::to_string(address.getIPFamily());
        text += ';';
    }
    return text;
}

NetInterfaceList filledList() {
    NetInterfaceList list(false);
    list.initialize();
    return list;
}

NetInterface filledInterface() {
    NetInterface record;
    NetInterfaceList list = filledList();
    list.getNetInterface(5, record);
    return record;
}

/** A listening socket of the loopback interface, and its port. */
struct Listener {
    Listener() : socket(::socket(AF_INET, SOCK_STREAM, 0)) {
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        bind(socket, reinterpret_cast<sockaddr *>(&address), size);
        listen(socket, 4);
        getsockname(socket, reinterpret_cast<sockaddr *>(&address), &size);
    }
    ~Listener() { close(socket); }
    sockaddr *name() { return reinterpret_cast<sockaddr *>(&address); }
    std::string port() const { return std::to_string(ntohs(address.sin_port)); }
    int socket;
    sockaddr_in address = {};
};

std::vector<Case> records() {
    return {
        {"IPAddress::IPAddress IPAddress::setOption IPAddress::getIPAddress IPAddress::getSubNetMask "
         "IPAddress::getSubNetAddr IPAddress::getIPFamily",
         [](Outcome &outcome) {
             std::string texts[] = {kLongText + '1', kLongText + '2', kLongText + '3'};
             IPAddress address;
             faulty([&] {
                 address.setOption(IP_PARAM_ADDRESS, std::move(texts[0]));
                 address.setOption(IP_PARAM_SUBNET_MASK, std::move(texts[1]));
                 address.setOption(IP_PARAM_SUBNET_ADDRESS, std::move(texts[2]));
                 address.setOption(IP_PARAM_FAMILY, 2u);
             });
             outcome.field("address", faulty([&] { return address.getIPAddress(); }), {""});
             outcome.field("mask", faulty([&] { return address.getSubNetMask(); }), {""});
             outcome.field("subnet", faulty([&] { return address.getSubNetAddr(); }), {""});
             outcome.field("family", std::to_string(address.getIPFamily()));
         }},
        {"NetInterface::NetInterface NetInterface::setOption NetInterface::getMACAddress NetInterface::getIndex "
         "NetInterface::getIndexName NetInterface::getSortLast",
         [](Outcome &outcome) {
             std::string name = kLongText + '1', mac = kLongText + '2';
             NetInterface record;
             faulty([&] {
                 record.setOption(NETINTERFACE_PARAM_INDEX_NAME, std::move(name));
                 record.setOption(NETINTERFACE_PARAM_MAC_ADDRESS, std::move(mac));
                 record.setOption(NETINTERFACE_PARAM_INDEX, 3u);
             });
             outcome.field("name", faulty([&] { return record.getIndexName(); }), {""});
             outcome.field("mac", faulty([&] { return record.getMACAddress(); }), {""});
             outcome.field("index", std::to_string(record.getIndex()) + std::to_string(record.getSortLast()));
         }},
        {"NetInterface::setOption",
         [](Outcome &outcome) { // an address
             NetInterface record;
             IPAddress address;
             address.setOption(IP_PARAM_ADDRESS, kLongText);
             faulty([&] {
                 try { // as its header tells
                     record.setOption(NETINTERFACE_PARAM_IP_ADDRESS, address);
                 } catch (const std::bad_alloc &) {
                 }
             });
             outcome.field("addresses", std::to_string(record.getIPAddress().size()), {"0"});
             for (const IPAddress &each : record.getIPAddress())
                 outcome.require(each.getIPAddress() == kLongText, "another address");
         }},
        {"NetInterface::getIPAddress",
         [](Outcome &outcome) {
             const NetInterface record = filledInterface();
             outcome.field("addresses", std::to_string(faulty([&] { return record.getIPAddress(); }).size()), {"0"});
         }},
        {"NetInterfaceList::NetInterfaceList NetInterfaceList::initialize NetInterfaceList::getIndexes",
         [](Outcome &outcome) {
             NetInterfaceList list(false);
             if (outcome.succeeded(faulty([&] { return list.initialize(); }) == 1))
                 outcome.field("list", describe(list));
             else
                 outcome.field("list", describe(list), {""});
             outcome.field("indexes", std::to_string(faulty([&] { return list.getIndexes(); }).size()), {"0"});
         }},
        {"NetInterfaceList::getNetInterface",
         [](Outcome &outcome) {
             const NetInterfaceList list = filledList();
             NetInterface record;
             if (outcome.succeeded(faulty([&] { return list.getNetInterface(5, record); }) == 1))
                 outcome.field("addresses", std::to_string(record.getIPAddress().size()));
             else
                 outcome.require(record.getIPAddress().empty() && record.getIndex() == 0, "half a record");
         }},
        {"NetInterfaceList::getNetInterface",
         [](Outcome &outcome) { // the record itself, which is made
             NetInterfaceList list = filledList();
             const unsigned int *index = nullptr;
             const unsigned int wanted = 5;
             faulty([&] {
                 NetInterface &record = list.getNetInterface(wanted);
                 index = record.getIndex() == 5 ? &wanted : nullptr;
             });
             outcome.require(index == &wanted, "another record");
         }},
        {"getNetInterfacesList",
         [](Outcome &outcome) {
             NetInterfaceList list(false);
             const bool isFilled = outcome.succeeded(faulty([&] { return getNetInterfacesList(list); }));
             outcome.field("list", describe(list),
                           isFilled ? std::vector<std::string>() : std::vector<std::string>{""});
         }},
        {"getNetInterfaceFromIPAddress",
         [](Outcome &outcome) {
             NetInterfaceList list = filledList();
             NetInterface record;
             const std::string address = "198.51.100.7";
             if (outcome.succeeded(faulty([&] { return getNetInterfaceFromIPAddress(record, address, list); }) == 1))
                 outcome.field("index", std::to_string(record.getIndex()) + record.getMACAddress() +
                                            std::to_string(record.getIPAddress().size()));
         }},
        {"getMACAddressFromIPAddress",
         [](Outcome &outcome) {
             NetInterfaceList list = filledList();
             std::string mac = "untouched";
             const std::string address = "2001:db8:0:0:0:0:0:7";
             if (outcome.succeeded(faulty([&] { return getMACAddressFromIPAddress(mac, address, list); }) == 1))
                 outcome.field("mac", mac);
             else
                 outcome.require(mac == "untouched", "an address without success");
         }},
    };
}

std::vector<Case> texts() {
    return {
        {"expandIPV6Address",
         [](Outcome &outcome) {
             std::string address = "2001:db8:aaaa:bbbb::7%en0";
             tellText(outcome, [&] { return expandIPV6Address(std::move(address)); });
         }},
        {"calculateSubNetAddrForV6",
         [](Outcome &outcome) {
             const std::string address = "2001:db8:aaaa:bbbb:1:2:3:7", mask = "ffff:ffff:ffff:ffff:0:0:0:0";
             tellText(outcome, [&] { return calculateSubNetAddrForV6(address, mask); });
         }},
        {"convertV6AddrToLiteralFormat",
         [](Outcome &outcome) {
             std::string address = "[2001:db8:aaaa:bbbb::7%en0]";
             tellText(outcome, [&] { return convertV6AddrToLiteralFormat(std::move(address)); });
         }},
        {"convertLiteralFormatToV6Addr",
         [](Outcome &outcome) {
             std::string address = "2001-db8-aaaa-bbbb--7.ipv6-literal.net";
             tellText(outcome, [&] { return convertLiteralFormatToV6Addr(std::move(address)); });
         }},
        {"noOfOccurences formatMACAddress",
         [](Outcome &outcome) {
             unsigned char bytes[] = {0, 1, 2, 0xA, 0xB, 0xC};
             const std::string text = "a:b:c";
             outcome.field("count", std::to_string(faulty([&] { return noOfOccurences(text, ':', 7); })));
             outcome.field("mac", faulty([&] { return formatMACAddress(bytes); }), {""});
         }},
        {"getDomainName",
         [](Outcome &outcome) { outcome.field("text", faulty([] { return getDomainName(); }), {"N/A"}); }},
        {"getFqdnAddress",
         [](Outcome &outcome) { outcome.field("text", faulty([] { return getFqdnAddress(); }), {"N/A"}); }},
    };
}

std::vector<Case> resolution() {
    return {
        {"ANetworkUtil::ANetworkUtil ANetworkUtil::~ANetworkUtil ANetworkUtil::makeSocketNonBlocking",
         [](Outcome &outcome) {
             const Listener listener;
             const bool isMade = faulty([&] { return ANetworkUtil().makeSocketNonBlocking(listener.socket); });
             if (outcome.succeeded(isMade))
                 outcome.require((fcntl(listener.socket, F_GETFL) & O_NONBLOCK) != 0, "still blocking");
         }},
        {"ANetworkUtil::ConnectWithTimeout",
         [](Outcome &outcome) {
             Listener listener;
             const int client = socket(AF_INET, SOCK_STREAM, 0);
             const int result = faulty(
                 [&] { return ANetworkUtil().ConnectWithTimeout(client, listener.name(), sizeof(sockaddr_in), 2); });
             outcome.succeeded(result == 0);
             close(client);
         }},
        {"ANetworkUtil::ConnectWithTimeout",
         [](Outcome &outcome) { // without a limit
             Listener listener;
             const int client = socket(AF_INET, SOCK_STREAM, 0);
             const int result = faulty(
                 [&] { return ANetworkUtil().ConnectWithTimeout(client, listener.name(), sizeof(sockaddr_in), 0); });
             outcome.succeeded(result == 0);
             close(client);
         }},
        {"ANetworkUtil::zorNetToString",
         [](Outcome &outcome) {
             sockaddr_in6 address = {};
             address.sin6_family = AF_INET6;
             inet_pton(AF_INET6, "2001:db8:aaaa:bbbb::7", &address.sin6_addr);
             tellText(outcome, [&] {
                 return ANetworkUtil().zorNetToString(reinterpret_cast<sockaddr *>(&address), NI_NUMERICHOST);
             });
         }},
        {"ANetworkUtil::formatV6addr",
         [](Outcome &outcome) {
             std::string address = "[2001:db8:aaaa:bbbb::7%en0]";
             tellText(outcome, [&] { return ANetworkUtil().formatV6addr(std::move(address), true); });
         }},
        {"ANetworkUtil::formatV6addrWithScope",
         [](Outcome &outcome) {
             std::string address = "[fe80:0:0:0:aaaa:bbbb:cccc:7%en0]";
             tellText(outcome, [&] { return ANetworkUtil().formatV6addrWithScope(std::move(address), true); });
         }},
        {"ANetworkUtil::zorGetScopeId",
         [](Outcome &outcome) {
             unsigned int scope = 0;
             const std::string address = "fe80::aaaa:bbbb:cccc:7";
             if (outcome.succeeded(faulty([&] { return ANetworkUtil().zorGetScopeId(address, scope); }) == 1))
                 outcome.field("scope", std::to_string(scope));
             else
                 outcome.require(scope == 0, "a scope without success");
         }},
        {"ANetworkUtil::zorCreateAddrinfo",
         [](Outcome &outcome) {
             addrinfo *list = nullptr;
             const std::string host = "a-host-with-a-long-name.example", service = "80";
             const bool ipv4Only = true;
             const int error = faulty([&] { return ANetworkUtil().zorCreateAddrinfo(host, service, &list, ipv4Only); });
             outcome.succeeded(error == 0);
             outcome.require((error == 0) == (list != nullptr), "a list without success");
             if (list)
                 freeaddrinfo(list);
         }},
        {"ANetworkUtil::zorCreateAddrinfo",
         [](Outcome &outcome) { // a scope is found for the address
             addrinfo *list = nullptr;
             const std::string host = "fe80::aaaa:bbbb:cccc:7", service;
             const bool ipv4Only = false;
             const int error = faulty([&] { return ANetworkUtil().zorCreateAddrinfo(host, service, &list, ipv4Only); });
             if (outcome.succeeded(error == 0))
                 outcome.field("scope", std::to_string(reinterpret_cast<sockaddr_in6 *>(list->ai_addr)->sin6_scope_id));
             if (list)
                 freeaddrinfo(list);
         }},
        {"ANetworkUtil::zorGetAddrinfo ANetworkUtil::zorFreeAddrinfo",
         [](Outcome &outcome) {
             ANetworkUtil network;
             std::vector<char *> texts;
             const std::string host = "a-host-with-a-long-name.example";
             std::string service = "80";
             const int error =
                 faulty([&] { return network.zorGetAddrinfo(host, std::move(service), texts, NI_NUMERICHOST); });
             if (outcome.succeeded(error == 0)) {
                 outcome.field("count", std::to_string(texts.size()));
                 outcome.field("text", texts.empty() ? "" : texts.front());
             } else {
                 outcome.require(texts.empty(), "texts without success");
             }
             faulty([&] { network.zorFreeAddrinfo(texts); });
         }},
        {"ANetworkUtil::zorCompareAddressFromPeerAddress",
         [](Outcome &outcome) {
             std::string name = "a-host-with-a-long-name.example", service = "80", peer = "192.0.2.55";
             outcome.field("same", std::to_string(faulty([&] {
                               return ANetworkUtil().zorCompareAddressFromPeerAddress(
                                   std::move(name), std::move(service), std::move(peer));
                           })),
                           {"0"}); // also what cannot be told is no
         }},
        {"ANetworkUtil::zorCompareAddressFromPeerAddress",
         [](Outcome &outcome) { // another one
             std::string name = "[fe80:0:0:0:aaaa:bbbb:cccc:7%en0]", service = "80",
                         peer = "fe80:0:0:0:aaaa:bbbb:cccc:8";
             outcome.field("same", std::to_string(faulty([&] {
                               return ANetworkUtil().zorCompareAddressFromPeerAddress(
                                   std::move(name), std::move(service), std::move(peer));
                           })));
         }},
        {"ANetworkUtil::zorGetLocalIPAddress",
         [](Outcome &outcome) {
             const Listener listener;
             const std::string peer = "127.0.0.1";
             std::string service = listener.port(), local = "untouched";
             const bool ipv4Only = true;
             const int error = faulty([&] {
                 return ANetworkUtil().zorGetLocalIPAddress(peer, std::move(service), local, ipv4Only, 2,
                                                            NI_NUMERICHOST);
             });
             if (outcome.succeeded(error == 0))
                 outcome.field("local", local, {by("connect", "0.0.0.0")}); // as one that is refused counts as made
             else
                 outcome.require(local == "untouched", "an address without success");
         }},
        {"ANetworkUtil::zorGetLocalIPAddressFromList",
         [](Outcome &outcome) {
             const Listener listener;
             const std::string peers = "127.0.0.1;127.0.0.1";
             std::string service = listener.port(), local = "untouched";
             const bool ipv4Only = true;
             const int error = faulty([&] {
                 return ANetworkUtil().zorGetLocalIPAddressFromList(peers, std::move(service), local, ipv4Only, 0, 2);
             });
             if (outcome.succeeded(error == 0))
                 outcome.field("local", local, {by("connect", "0.0.0.0")}); // as one that is refused counts as made
         }},
    };
}

} // namespace

std::vector<Case> networkCases() {
    std::vector<Case> cases;
    for (const auto &part : {records(), texts(), resolution()})
        cases.insert(cases.end(), part.begin(), part.end());
    return cases;
}

} // namespace zor::torture
