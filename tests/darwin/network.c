// Addresses, names and sockets. An address there begins with its length; families, options and flags have other
// numbers.
#define _GNU_SOURCE
#include "shim.h"

#include <arpa/inet.h>
#include <errno.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netpacket/packet.h>
#include <poll.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <unistd.h>

static const struct pair families[] = {
    PAIR(AF_UNSPEC), PAIR(AF_UNIX), PAIR(AF_INET), PAIR(AF_INET6), {AF_PACKET, DWC_AF_LINK}};
enum { kNoFamily = 255 }; // one that no system has
static int darwinFamily(int host) {
    return DARWIN_OF(families, host, kNoFamily);
}
static int hostFamily(int darwin) {
    return HOST_OF(families, darwin, kNoFamily);
}

/** An address in Darwin's form, from malloc. */
static char *darwinAddress(const struct sockaddr *host, const char *name, socklen_t size) {
    if (!host)
        return NULL;
    char *address = calloc(1, sizeof(struct sockaddr_storage) + 2 + DWZ_sockaddr_dl);
    if (host->sa_family == AF_PACKET) {
        const struct sockaddr_ll *link = (const void *)host;
        const size_t named = strlen(name);
        PUT(address, sockaddr_dl, sdl_len, DWZ_sockaddr_dl);
        PUT(address, sockaddr_dl, sdl_family, DWC_AF_LINK);
        PUT(address, sockaddr_dl, sdl_index, link->sll_ifindex);
        PUT(address, sockaddr_dl, sdl_nlen, named);
        PUT(address, sockaddr_dl, sdl_alen, link->sll_halen);
        memcpy((char *)FIELD(address, sockaddr_dl, sdl_data), name, named);
        memcpy((char *)FIELD(address, sockaddr_dl, sdl_data) + named, link->sll_addr, 6);
        return address;
    }
    if (size == 0)
        size = host->sa_family == AF_INET6 ? DWZ_sockaddr_in6 : DWZ_sockaddr_in;
    memcpy(address, host, size); // behind the first two bytes the fields agree
    PUT(address, sockaddr_in, sin_len, size);
    PUT(address, sockaddr_in, sin_family, darwinFamily(host->sa_family));
    return address;
}
static socklen_t hostAddress(const char *darwin, socklen_t size, struct sockaddr_storage *host) {
    memset(host, 0, sizeof *host);
    memcpy(host, darwin, size < sizeof *host ? size : sizeof *host);
    host->ss_family = (sa_family_t)hostFamily((int)GET(darwin, sockaddr_in, sin_family));
    return size;
}
/** Answers a call that fills in an address: as much as fits, and its whole length. */
static void giveAddress(const struct sockaddr_storage *host, socklen_t length, char *address, socklen_t *size) {
    if (!address || !size)
        return;
    char *made = darwinAddress((const void *)host, "", length);
    memcpy(address, made, *size < length ? *size : length);
    *size = length;
    free(made);
}

static const struct pair interfaceFlags[] = {PAIR(IFF_UP),          PAIR(IFF_BROADCAST), PAIR(IFF_LOOPBACK),
                                             PAIR(IFF_POINTOPOINT), PAIR(IFF_RUNNING),   PAIR(IFF_MULTICAST)};
static int dw_getifaddrs(char **first) {
    struct ifaddrs *list;
    if (getifaddrs(&list) != 0)
        return -1;
    char *previous = NULL;
    *first = NULL;
    for (struct ifaddrs *entry = list; entry; entry = entry->ifa_next) {
        char *made = calloc(1, DWZ_ifaddrs);
        unsigned flags = 0;
        for (size_t i = 0; i < sizeof interfaceFlags / sizeof *interfaceFlags; ++i)
            flags |= entry->ifa_flags & (unsigned)interfaceFlags[i].host ? (unsigned)interfaceFlags[i].darwin : 0;
        PUT(made, ifaddrs, ifa_name, (uintptr_t)strdup(entry->ifa_name));
        PUT(made, ifaddrs, ifa_flags, flags);
        PUT(made, ifaddrs, ifa_addr, (uintptr_t)darwinAddress(entry->ifa_addr, entry->ifa_name, 0));
        char *mask = darwinAddress(entry->ifa_netmask, entry->ifa_name, 0);
        if (mask && GET(mask, sockaddr_in, sin_family) == DWC_AF_INET) { // as the kernel does: family 0, zeroes cut off
            uint64_t length = DW_sockaddr_in_sin_addr + DWS_sockaddr_in_sin_addr;
            while (length > DW_sockaddr_in_sin_addr && mask[length - 1] == 0)
                --length;
            PUT(mask, sockaddr_in, sin_family, 0);
            PUT(mask, sockaddr_in, sin_len, length);
        }
        PUT(made, ifaddrs, ifa_netmask, (uintptr_t)mask);
        if (previous)
            PUT(previous, ifaddrs, ifa_next, (uintptr_t)made);
        else
            *first = made;
        previous = made;
    }
    freeifaddrs(list);
    return 0;
}
static void dw_freeifaddrs(char *entry) {
    while (entry) {
        char *next = (char *)GET(entry, ifaddrs, ifa_next);
        free((void *)GET(entry, ifaddrs, ifa_name));
        free((void *)GET(entry, ifaddrs, ifa_addr));
        free((void *)GET(entry, ifaddrs, ifa_netmask));
        free(entry);
        entry = next;
    }
}

static const struct pair resolverErrors[] = {
    {0, 0},           PAIR(EAI_AGAIN),   PAIR(EAI_BADFLAGS), PAIR(EAI_FAIL),   PAIR(EAI_FAMILY),
    PAIR(EAI_MEMORY), PAIR(EAI_SERVICE), PAIR(EAI_SOCKTYPE), PAIR(EAI_SYSTEM), PAIR(EAI_OVERFLOW)};
static int resolverError(int host) {
    return DARWIN_OF(resolverErrors, host, DWC_EAI_NONAME);
}
#define FLAG(f) (flags & DWC_##f ? f : 0)
static int dw_getaddrinfo(const char *node, const char *service, const char *hints, char **first) {
    struct addrinfo wanted = {0}, *list;
    if (hints) {
        const int flags = (int)GET(hints, addrinfo, ai_flags);
        wanted.ai_flags = FLAG(AI_PASSIVE) | FLAG(AI_CANONNAME) | FLAG(AI_NUMERICHOST) | FLAG(AI_NUMERICSERV) |
                          FLAG(AI_ADDRCONFIG) | FLAG(AI_ALL) | FLAG(AI_V4MAPPED);
        wanted.ai_family = hostFamily((int)GET(hints, addrinfo, ai_family));
        wanted.ai_socktype = (int)GET(hints, addrinfo, ai_socktype);
        wanted.ai_protocol = (int)GET(hints, addrinfo, ai_protocol);
    }
    const int result = getaddrinfo(node, service, hints ? &wanted : NULL, &list);
    if (result != 0)
        return resolverError(result);
    char *previous = NULL;
    for (struct addrinfo *entry = list; entry; entry = entry->ai_next) {
        char *made = calloc(1, DWZ_addrinfo);
        PUT(made, addrinfo, ai_family, darwinFamily(entry->ai_family));
        PUT(made, addrinfo, ai_socktype, entry->ai_socktype);
        PUT(made, addrinfo, ai_protocol, entry->ai_protocol);
        PUT(made, addrinfo, ai_addrlen, entry->ai_addrlen);
        PUT(made, addrinfo, ai_addr, (uintptr_t)darwinAddress(entry->ai_addr, "", entry->ai_addrlen));
        PUT(made, addrinfo, ai_canonname, (uintptr_t)(entry->ai_canonname ? strdup(entry->ai_canonname) : NULL));
        if (previous)
            PUT(previous, addrinfo, ai_next, (uintptr_t)made);
        else
            *first = made;
        previous = made;
    }
    freeaddrinfo(list);
    return 0;
}
static void dw_freeaddrinfo(char *entry) {
    while (entry) {
        char *next = (char *)GET(entry, addrinfo, ai_next);
        free((void *)GET(entry, addrinfo, ai_addr));
        free((void *)GET(entry, addrinfo, ai_canonname));
        free(entry);
        entry = next;
    }
}
static int dw_getnameinfo(const char *address, socklen_t size, char *host, socklen_t room, char *service,
                          socklen_t serviceRoom, int flags) {
    struct sockaddr_storage own;
    size = hostAddress(address, size, &own);
    return resolverError(getnameinfo((void *)&own, size, host, room, service, serviceRoom,
                                     FLAG(NI_NUMERICHOST) | FLAG(NI_NUMERICSERV) | FLAG(NI_NAMEREQD) | FLAG(NI_NOFQDN) |
                                         FLAG(NI_DGRAM)));
}
static const char *dw_gai_strerror(int error) {
    return error == 0 ? "no error" : "the resolver failed";
}

static int dw_socket(int family, int type, int protocol) {
    return socket(hostFamily(family), type, protocol);
}
static int dw_socketpair(int family, int type, int protocol, int *ends) {
    return socketpair(hostFamily(family), type, protocol, ends);
}
static int dw_connect(int file, const char *address, socklen_t size) {
    struct sockaddr_storage own;
    size = hostAddress(address, size, &own);
    return connect(file, (void *)&own, size);
}
static int dw_bind(int file, const char *address, socklen_t size) {
    struct sockaddr_storage own;
    size = hostAddress(address, size, &own);
    return bind(file, (void *)&own, size);
}
static int dw_accept(int file, char *address, socklen_t *size) {
    struct sockaddr_storage own;
    socklen_t length = sizeof own;
    const int result = accept(file, (void *)&own, &length);
    if (result >= 0)
        giveAddress(&own, length, address, size);
    return result;
}
static int dw_getsockname(int file, char *address, socklen_t *size) {
    struct sockaddr_storage own;
    socklen_t length = sizeof own;
    const int result = getsockname(file, (void *)&own, &length);
    if (result == 0)
        giveAddress(&own, length, address, size);
    return result;
}
static int dw_getpeername(int file, char *address, socklen_t *size) {
    struct sockaddr_storage own;
    socklen_t length = sizeof own;
    const int result = getpeername(file, (void *)&own, &length);
    if (result == 0)
        giveAddress(&own, length, address, size);
    return result;
}
static const struct pair socketOptions[] = {PAIR(SO_ERROR),  PAIR(SO_REUSEADDR), PAIR(SO_RCVTIMEO), PAIR(SO_SNDTIMEO),
                                            PAIR(SO_SNDBUF), PAIR(SO_RCVBUF),    PAIR(SO_TYPE)};
static int hostOption(int *level, int option) {
    if (*level == DWC_IPPROTO_IPV6 && option == DWC_IPV6_V6ONLY)
        return IPV6_V6ONLY;
    if (*level != DWC_SOL_SOCKET)
        return -1;
    *level = SOL_SOCKET;
    return HOST_OF(socketOptions, option, -1);
}
static int dw_getsockopt(int file, int level, int option, int *value, socklen_t *size) {
    const int own = hostOption(&level, option);
    const int result = getsockopt(file, level, own, value, size);
    if (result == 0 && own == SO_ERROR)
        *value = darwinError(*value);
    return result;
}
static int dw_setsockopt(int file, int level, int option, const void *value, socklen_t size) {
    return setsockopt(file, level, hostOption(&level, option), value, size);
}
static int messageFlags(int flags) {
    return (flags & DWC_MSG_PEEK ? MSG_PEEK : 0) | (flags & DWC_MSG_DONTWAIT ? MSG_DONTWAIT : 0) |
           (flags & DWC_MSG_NOSIGNAL ? MSG_NOSIGNAL : 0);
}
static ssize_t dw_recv(int file, void *buffer, size_t size, int flags) {
    return recv(file, buffer, size, messageFlags(flags));
}
static ssize_t dw_send(int file, const void *buffer, size_t size, int flags) {
    return send(file, buffer, size, messageFlags(flags));
}
static const struct pair requests[] = {PAIR(FIONREAD), PAIR(FIONBIO), PAIR(TIOCGWINSZ), PAIR(TIOCSWINSZ)};
static int dw_ioctl(int file, unsigned long request, void *argument) { // their records agree
    const int own = HOST_OF(requests, (long)request, -1);
    return own == -1 ? (errno = EINVAL, -1) : ioctl(file, (unsigned long)own, argument);
}
static const char *dw_inet_ntop(int family, const void *from, char *to, socklen_t size) {
    return inet_ntop(hostFamily(family), from, to, size);
}
static int dw_inet_pton(int family, const char *from, void *to) {
    return inet_pton(hostFamily(family), from, to);
}
static int lookUpError; // one for all threads there, too; the numbers agree
/** Each thread has an answer of its own there; the record agrees but for the family's number. */
static struct hostent *dw_gethostbyname(const char *name) {
    static __thread struct hostent answer;
    static __thread char buffer[65536];
    struct hostent *found = NULL;
    if (gethostbyname_r(name, &answer, buffer, sizeof buffer, &found, &lookUpError) != 0 || !found)
        return NULL;
    answer.h_addrtype = darwinFamily(answer.h_addrtype);
    return &answer;
}

// clang-format off
const struct name networkNames[] = {
    N(getifaddrs), N(freeifaddrs), N(getaddrinfo), N(freeaddrinfo), N(getnameinfo), N(gai_strerror), N(socket),
    N(socketpair), N(connect), N(bind), N(accept), N(getsockname), N(getpeername), N(getsockopt), N(setsockopt),
    N(recv), N(send), N(ioctl), N(inet_ntop), N(inet_pton), N(gethostbyname), NAMED("_h_errno", &lookUpError), SAME(listen), SAME(shutdown),
    SAME(poll), SAME(if_nametoindex), SAME(if_indextoname), SAME(gethostname), SAME(sethostname), SAME(setdomainname),
    {NULL, NULL},
};
// clang-format on
