#pragma once

// Calls of the exported functions, for tests of what they may meet anywhere: a cancelled thread, a narrow stack, a
// process that ends.

#include "zorcomn/network.h"
#include "zorcomn/session.h"
#include "zorcomn/sysprops.h"
#include "zorcomn/utilities.h"

#include "source/platform/posix.h"
#include "tests/network/listener.h"

#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <functional>
#include <limits>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <arpa/inet.h>
#include <netdb.h>

using namespace velmora_com::vta;
using namespace velmora_com::vta::sysprops;

namespace {

struct Call {
    const char *name;
    std::function<void()> make;
};

#define CALL(...)                                                                                                      \
    {                                                                                                                  \
#__VA_ARGS__, [] { static_cast<void>(__VA_ARGS__); }                                                           \
    }

sockaddr *loopback() {
    static sockaddr_in address;
    address.sin_family = AF_INET;
    address.sin_port = htons(80);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return reinterpret_cast<sockaddr *>(&address);
}

NetInterface interfaceWithAddress() {
    NetInterface made;
    made.setOption(NETINTERFACE_PARAM_INDEX_NAME, std::string("en0"));
    made.setOption(NETINTERFACE_PARAM_INDEX, 4u);
    made.setOption(NETINTERFACE_PARAM_IP_ADDRESS, IPAddress());
    return made;
}

int resolveAndFree(const char *host) {
    addrinfo *list = nullptr;
    const int error = ANetworkUtil().zorCreateAddrinfo(host, "", &list, true);
    const zor::ResolvedAddresses owner(error == 0 ? list : nullptr);
    return error;
}

int textsOf(const char *host) {
    std::vector<char *> texts;
    ANetworkUtil util;
    const int error = util.zorGetAddrinfo(host, "", texts, NI_NUMERICHOST);
    util.zorFreeAddrinfo(texts);
    return error;
}

int towards(const std::string &peer) {
    zor::test::Listener listener;
    std::string local;
    const bool ipv4Only = true;
    return ANetworkUtil().zorGetLocalIPAddress(peer, listener.service(), local, ipv4Only, 5, NI_NUMERICHOST);
}

int towardsAny(const std::string &peers) {
    zor::test::Listener listener;
    std::string local;
    const bool ipv4Only = true;
    return ANetworkUtil().zorGetLocalIPAddressFromList(peers, listener.service(), local, ipv4Only, 0, 5);
}

unsigned int scopeOf(const char *address) {
    unsigned int scope = 0;
    ANetworkUtil().zorGetScopeId(address, scope);
    return scope;
}

bool listed(bool includeLoopback) {
    NetInterfaceList list(includeLoopback);
    NetInterface found;
    std::string mac;
    const bool isFilled = getNetInterfacesList(list);
    getNetInterfaceFromIPAddress(found, "127.0.0.1", list);
    getMACAddressFromIPAddress(mac, "127.0.0.1", list);
    list.getIndexes();
    list.getNetInterface(1, found);
    list.getNetInterface(77);
    return isFilled;
}

bool nonBlocking() {
    const zor::Descriptor socket = zor::openSocket(AF_INET, SOCK_STREAM, 0);
    return ANetworkUtil().makeSocketNonBlocking(socket.get());
}

const std::vector<Call> kNetworkCalls = {
    CALL(interfaceWithAddress()),
    CALL(interfaceWithAddress().getMACAddress() + interfaceWithAddress().getIndexName()),
    CALL(interfaceWithAddress().getIPAddress().front().getIPAddress()),
    CALL(NetInterfaceList(false).initialize()),
    CALL(listed(true)),
    CALL(expandIPV6Address("fe80::1") + calculateSubNetAddrForV6("fe80:0:0:0:0:0:0:1", "ffff:0:0:0:0:0:0:0")),
    CALL(convertV6AddrToLiteralFormat("fe80::1") + convertLiteralFormatToV6Addr("fe80--1.ipv6-literal.net")),
    CALL(noOfOccurences("::", ':', 7)),
    CALL(formatMACAddress(nullptr)),
    CALL(nonBlocking()),
    CALL(ANetworkUtil().zorNetToString(loopback(), 0)),
    CALL(ANetworkUtil().zorNetToString(loopback(), NI_NUMERICHOST)),
    CALL(ANetworkUtil().formatV6addr("[fe80::1%4]", true)),
    CALL(scopeOf("fe80::1")),
    CALL(ANetworkUtil().formatV6addrWithScope("[fe80::1]", true)),
    CALL(resolveAndFree("localhost")),
    CALL(resolveAndFree("127.0.0.1")),
    CALL(textsOf("localhost")),
    CALL(towards("127.0.0.1")),
    CALL(towardsAny("127.0.0.1")),
    CALL(ANetworkUtil().zorCompareAddressFromPeerAddress("localhost", "", "127.0.0.1")),
    CALL(getDomainName()),
    CALL(getFqdnAddress()),
};

ZORCOMN_PRINTF(1, 2) bool logWithList(const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const bool result = vLogInSystemLog(6, format, arguments);
    va_end(arguments);
    return result;
}

bool domainOf(bool (*find)(const std::string &, std::string &), const char *user) {
    std::string domain;
    return find(user, domain);
}

bool askDirectory(const std::string &user, std::string &domain) {
    return session::FindDomainNameViaDscl(user, "userPrincipalName", domain);
}

size_t usersCollected() {
    std::set<std::wstring> networkUsers, localUsers;
    session::CollectLoggedonUsers(networkUsers, localUsers, false);
    return localUsers.size();
}

std::wstring usersTold() {
    std::wstring networkUsers, localUsers, all;
    session::CollectComaSepLoggedonUsers(networkUsers, localUsers, false);
    session::CollectAllLoggedonUsers(all);
    return networkUsers + localUsers + all;
}

size_t smallEdits() {
    std::wstring domain, user;
    session::parseFullUserName(L"domain\\user", domain, user);
    std::string text = session::trimmer(" |a| ");
    session::toLower(text);
    std::vector<std::string> parts;
    session::split("a|b", '|', parts);
    CatchSIGTERM(SIGTERM);
    return parts.size() + (session::myfd() == stdout);
}

int handlerFilled() {
    SignalHandler handler;
    handler.registerOnSignalCallback(SIGUSR2, [] {});
    return handler.addSignalToBlock(SIGUSR2) + handler.unblockSignal(SIGUSR2);
}

const std::vector<Call> kSessionCalls = {
    CALL(smallEdits()),
    CALL(domainOf(session::FindDomainName, "root")),
    CALL(domainOf(askDirectory, "root")),
    CALL(usersCollected()),
    CALL(usersTold()),
    CALL(handlerFilled()),
    CALL(LogInSystemLog(SyslogInfo, "cancelled thread")),
    CALL(LogInSystemLog(SyslogInfo, std::string("an ident of this thread's own").c_str(), "%d", 1)),
    CALL(logWithList("%d", 1)),
};

template <class Record> bool collected(bool (ISysProps::*collect)(Record &)) {
    Record record;
    return (ISysProps().*collect)(record);
}

size_t everyProperty() {
    std::map<std::wstring, std::wstring> together, apart;
    std::map<std::wstring, std::pair<std::wstring, std::wstring>> fileSystems;
    ISysProps object;
    object.GetAllSystemProperties(together);
    object.GetAllSystemProperties(apart, fileSystems);
    return together.size();
}

bool groupsAsked() {
    ISysProps object;
    return object.IsNetworkProperty(L"x") || object.IsCPUProperty(L"x") || object.IsMemoryProperty(L"x") ||
           object.IsMiscProperty(L"x") || object.IsDiskProperty(L"x") || object.IsOSProperty(L"x");
}

std::wstring lastKnownAddress() {
    qelcomn_set_local_ip_addr(L"");
    ISysProps::updateLocalIP(L"");
    return ISysProps::GetLastKnownLocalIP();
}

bool namesTold() {
    std::string computer, user;
    bool isPortable = false;
    char text[16];
    GetPwUid(0, user);
    ConvertGestaltCPUTypeToString(0, text);
    ConvertGestaltSysArchToString(2, text);
    IsPortableComputer(isPortable);
    return getComputerName(computer);
}

const std::vector<Call> kPropertyCalls = {
    CALL(collected(&ISysProps::GetOSInformation)),
    CALL(collected(&ISysProps::GetCPUInformation)),
    CALL(collected(&ISysProps::GetMemoryInformation)),
    CALL(collected(&ISysProps::GetDiskInformation)),
    CALL(collected(&ISysProps::GetNetworkInformation)),
    CALL(collected(&ISysProps::GetMiscInformation)),
    CALL(everyProperty()),
    CALL(groupsAsked()),
    CALL(ISysProps().GetOneSystemProperty(L"IPHostName")),
    CALL(ISysProps().GetOneNetworkProperty(L"IPAddress")),
    CALL(ISysProps().GetOneCPUProperty(L"CPUType")),
    CALL(ISysProps().GetOneMemoryProperty(L"FreeMemory")),
    CALL(ISysProps().GetOneMiscProperty(L"UserName")),
    CALL(ISysProps().GetOneDiskProperty(L"FreeDiskSpace")),
    CALL(ISysProps().GetOneOSProperty(L"OSVersion")),
    CALL(lastKnownAddress()),
    CALL(namesTold()),
    CALL(sysprops_wide_to_ansi(std::wstring(1, static_cast<wchar_t>(0xD800)))),
    CALL(sysprops_ansi_to_wide("\xFF")),
    CALL(get_closest_floor<double>(57.0, 100.0, 0.0, 20)),
    CALL(qelcomn_get_cpu_type() + qelcomn_get_cpu_speed() + qelcomn_get_number_of_processors()),
    CALL(qelcomn_get_cpu_serial_number() + qelcomn_get_domain_name() + qelcomn_get_computer_name()),
    CALL(qelcomn_get_ip_address() + qelcomn_get_subnet_address() + qelcomn_get_subnet_mask()),
    CALL(qelcomn_get_mac_address() + qelcomn_get_ipx_address() + qelcomn_get_fqdn_address()),
    CALL(qelcomn_get_total_memory() + qelcomn_get_free_memory() + qelcomn_get_number_of_file_systems()),
    CALL(qelcomn_get_total_disk_space() + qelcomn_get_free_disk_space() + qelcomn_get_os_type()),
    CALL(qelcomn_get_os_platform() + qelcomn_get_os_version() + qelcomn_get_os_service_pack()),
    CALL(qelcomn_get_os_build_number() + qelcomn_get_os_oem_id() + qelcomn_get_os_platform_id()),
    CALL(qelcomn_get_user_name() + qelcomn_get_time_zone() + qelcomn_get_language()),
    CALL(qelcomn_get_last_update_time() + qelcomn_get_file_system_name(0)),
    CALL(qelcomn_get_file_system_free_space_by_name(L"/") + qelcomn_get_file_system_total_space_by_name(L"/")),
};

uint32_t convertInvalid() {
    const wchar_t wide[] = {static_cast<wchar_t>(0xD800), 0};
    char narrow[32];
    wchar_t back[32];
    const int32_t size = 32;
    return qelcomn_unicode_to_utf8(wide, narrow, &size) + qelcomn_utf8_to_unicode("\xFF", back, &size);
}

size_t editText() {
    char text[16] = "a;b";
    qelcomn_chop_semicolon(text);
    qelcomn_append_backslash_check(text);
    return (qelcomn_convert_to_upper(text) + qelcomn_convert_to_lower(text) + qelcomn_strip_leading_whitespace(" a") +
            qelcomn_strip_trailing_whitespace("a ") + qelcomn_long_to_ansi_string(1))
               .size() +
           (qelcomn_long_to_wide_string(1) + qelcomn_ulong_to_wide_string(1)).size() + isBigEndian();
}

int32_t identify() {
    char id[32] = "", guid[64];
    wchar_t wideId[32];
    qelcomn_get_agent_softwareid(id, sizeof id);
    qelcomn_get_agent_softwareid_W(wideId, 32);
    return qelcomn_create_guid(nullptr, guid, sizeof guid);
}

int32_t stampOf(const char *module) {
    char text[32];
    return qelcomn_GetFileResourceStringVersionStamp(module, text, sizeof text) +
           qelcomn_GetFileResourceVersionStamp(module, text, sizeof text);
}

uint32_t userName() {
    char name[800];
    return qelcomn_get_user_name(name, sizeof name);
}

uint32_t resolveFlat(const char *path) {
    void *resolver = nullptr;
    char buffer[64];
    uint32_t size = sizeof buffer;
    qelcomn_filenameresolver_create(path, &resolver);
    const uint32_t result =
        resolver ? qelcomn_filenameresolver_get_absolute_filename(resolver, buffer, &size) : 0x80000008u;
    qelcomn_filenameresolver_destroy(resolver);
    return result;
}

int32_t flatten(const char *path) {
    std::string flat;
    return FileNameFlattener(path).GetFlatPath(flat) + FileNameFlattener(path, "/tmp").Flatten() +
           FileNameResolver(path).GetAbsolutePath(flat);
}

const std::vector<Call> kUtilityCalls = {
    CALL(convertInvalid()),
    CALL(qelcomn_wide_to_ansi(std::wstring(1, static_cast<wchar_t>(0xD800)))),
    CALL(qelcomn_ansi_to_wide("\xFF")),
    CALL(editText()),
    CALL(identify()),
    CALL(stampOf("/no/such/module")),
    CALL(stampOf(ZORCOMN_TEST_MODULES "/module_version.so")),
    CALL(userName()),
    CALL(qelcomn_IsPlatformMatch("MACX:10:4:11", "MAC:10:3:0")),
    CALL(resolveFlat("/proc/self/exe")),
    CALL(flatten("a/./b/../c")),
};

} // namespace
