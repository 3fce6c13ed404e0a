// A machine that is the same everywhere and at every time: two interfaces, three users, the version file and commands
// of the home system. What its answers need they allocate like the system's own, so that they fail like those.

#include "tests/torture/interposer.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <initializer_list>

#include <arpa/inet.h>
#include <fcntl.h>
#include <grp.h>
#include <ifaddrs.h>
#include <linux/if_packet.h>
#include <net/if.h>
#include <netdb.h>
#include <netinet/in.h>
#include <pwd.h>
#include <sys/syscall.h>
#include <sys/times.h>
#include <unistd.h>
#include <utmpx.h>

namespace zor::torture {

namespace {

char folderPath[256] = ""; // empty: this machine itself answers

template <class Function> Function *systems(const char *name) {
    return reinterpret_cast<Function *>(systemFunction(name));
}

const char *inFolder(const char *name) {
    thread_local char path[320];
    std::snprintf(path, sizeof path, "%s/%s", folderPath, name);
    return path;
}

time_t fixedTime(time_t *told) {
    constexpr time_t kNow = 1163548800; // 2006-11-15 00:00:00 UTC
    if (told)
        *told = kNow;
    return kNow;
}

clock_t fixedTicks(tms *) {
    return 4321;
}

/** The file that stands for one of the kernel's or the system's; null for any other path. */
const char *substitute(const char *path) {
    constexpr struct {
        const char *path, *name;
    } kFiles[] = {{"/proc/meminfo", "meminfo"},
                  {"/proc/cpuinfo", "cpuinfo"},
                  {"/proc/stat", "stat"},
                  {"/System/Library/CoreServices/SystemVersion.plist", "SystemVersion.plist"}};
    for (const auto &file : kFiles)
        if (std::strcmp(path, file.path) == 0)
            return inFolder(file.name);
    return nullptr;
}

long openBelow(long, long, const char *below) {
    return syscall(SYS_openat, AT_FDCWD, inFolder(below), O_RDONLY | O_CLOEXEC);
}

FILE *openAnswer(const char *command, const char *) {
    const char *name = "nothing";
    if (std::strstr(command, "/Users/alice "))
        name = std::strstr(command, "userPrincipalName") ? "alice" : "nothing";
    else if (std::strncmp(command, "sw_vers", 7) == 0)
        name = "sw_vers";
    else if (std::strncmp(command, "sysctl", 6) == 0)
        name = "sysctl";
    return std::fopen(inFolder(name), "re");
}

int closeAnswer(FILE *stream) {
    return std::fclose(stream);
}

int grantAccess(const char *, int) {
    return 0;
}

// Three who are logged on, one who is not any more.
size_t nextRecord = 0;

utmpx *readRecord() {
    static utmpx record;
    constexpr struct {
        short type;
        const char *user;
    } kRecords[] = {{USER_PROCESS, "alice"}, {USER_PROCESS, "Bob"}, {DEAD_PROCESS, "eve"}, {USER_PROCESS, "carol"}};
    if (nextRecord == sizeof kRecords / sizeof *kRecords)
        return nullptr;
    std::memset(&record, 0, sizeof record);
    record.ut_type = kRecords[nextRecord].type;
    std::strncpy(record.ut_user, kRecords[nextRecord].user, sizeof record.ut_user - 1);
    std::memcpy(record.ut_id, "ts/1", 4);
    std::memcpy(record.ut_line, "pts/1", 5);
    ++nextRecord;
    return &record;
}

void rewindRecords() {
    nextRecord = 0;
}

int findAccount(const char *name, passwd *account, char *buffer, size_t size, passwd **found) {
    *found = nullptr;
    void *const memory = std::malloc(64); // as the system's own would
    if (!memory)
        return ENOMEM;
    std::free(memory);
    std::memset(account, 0, sizeof *account);
    account->pw_name = buffer;
    std::snprintf(buffer, size, "%s", name);
    account->pw_gid = std::strcmp(name, "carol") == 0 ? 200 : 100;
    *found = account;
    return 0;
}

int findUser(uid_t, passwd *account, char *buffer, size_t size, passwd **found) {
    return findAccount("root", account, buffer, size, found);
}

int findGroup(gid_t number, group *entry, char *buffer, size_t size, group **found) {
    std::memset(entry, 0, sizeof *entry);
    entry->gr_name = buffer;
    entry->gr_gid = number;
    std::snprintf(buffer, size, "%s", number == 200 ? "CORP\\Domain Users" : "users");
    *found = entry;
    return 0;
}

int ownName(char *name, size_t size) {
    std::snprintf(name, size, "torture");
    return 0;
}

int domainName(char *name, size_t size) {
    std::snprintf(name, size, "(none)");
    return 0;
}

int findHost(const char *, hostent *entry, char *buffer, size_t size, hostent **found, int *) {
    static char *none[] = {nullptr};
    *found = nullptr;
    void *const memory = std::malloc(64);
    if (!memory)
        return ENOMEM;
    std::free(memory);
    std::snprintf(buffer, size, "torture.example.org");
    *entry = {buffer, none, AF_INET, 4, none};
    *found = entry;
    return 0;
}

int resolve(const char *host, const char *service, const addrinfo *hints, addrinfo **list) {
    const bool isName =
        host && std::strchr(host, ':') == nullptr && std::strspn(host, "0123456789.") != std::strlen(host);
    static auto *const real = systems<decltype(getaddrinfo)>("getaddrinfo");
    return real(isName ? "192.0.2.55" : host, service, hints, list);
}

unsigned int indexOf(const char *name) {
    return std::strcmp(name, "en1") == 0 ? 5 : 4;
}

/** One block holds a whole list: entries, addresses and masks. */
struct InterfaceBlock {
    static constexpr size_t kEntries = 7;
    ifaddrs entries[kEntries];
    sockaddr_storage addresses[kEntries], masks[kEntries];
    char names[kEntries][8];
};

void fillAddress(sockaddr_storage &storage, const char *text) {
    std::memset(&storage, 0, sizeof storage);
    auto &four = reinterpret_cast<sockaddr_in &>(storage);
    auto &six = reinterpret_cast<sockaddr_in6 &>(storage);
    if (std::strchr(text, ':')) {
        six.sin6_family = AF_INET6;
        inet_pton(AF_INET6, text, &six.sin6_addr);
    } else {
        four.sin_family = AF_INET;
        inet_pton(AF_INET, text, &four.sin_addr);
    }
}

void fillLink(sockaddr_storage &storage, unsigned int index) {
    std::memset(&storage, 0, sizeof storage);
    auto &link = reinterpret_cast<sockaddr_ll &>(storage);
    link.sll_family = AF_PACKET;
    link.sll_ifindex = static_cast<int>(index);
    link.sll_halen = 6;
    for (unsigned char i = 0; i < 6; ++i)
        link.sll_addr[i] = static_cast<unsigned char>(0x10 * index + i);
}

int listInterfaces(ifaddrs **list) {
    constexpr struct {
        const char *name, *address, *mask; // without an address: the link
    } kEntries[InterfaceBlock::kEntries] = {{"en0", nullptr, nullptr},
                                            {"en1", nullptr, nullptr},
                                            {"en0", "192.0.2.10", "255.255.255.0"},
                                            {"en1", "198.51.100.7", "255.255.255.128"},
                                            {"en0", "fe80::10", "ffff:ffff:ffff:ffff::"},
                                            {"en1", "2001:db8::7", "ffff:ffff:ffff:ffff::"},
                                            {"en1", "198.51.100.99", "255.255.255.128"}};
    auto *const block = static_cast<InterfaceBlock *>(std::calloc(1, sizeof(InterfaceBlock)));
    if (!block)
        return -1;
    for (size_t i = 0; i < InterfaceBlock::kEntries; ++i) {
        ifaddrs &entry = block->entries[i];
        std::snprintf(block->names[i], sizeof block->names[i], "%s", kEntries[i].name);
        entry.ifa_next = i + 1 < InterfaceBlock::kEntries ? &block->entries[i + 1] : nullptr;
        entry.ifa_name = block->names[i];
        entry.ifa_flags = IFF_UP;
        entry.ifa_addr = reinterpret_cast<sockaddr *>(&block->addresses[i]);
        if (!kEntries[i].address) {
            fillLink(block->addresses[i], indexOf(kEntries[i].name));
            continue;
        }
        fillAddress(block->addresses[i], kEntries[i].address);
        fillAddress(block->masks[i], kEntries[i].mask);
        entry.ifa_netmask = reinterpret_cast<sockaddr *>(&block->masks[i]);
    }
    *list = block->entries;
    return 0;
}

void releaseInterfaces(ifaddrs *list) {
    std::free(list);
}

void *answerToSystemCall(const uint64_t *arguments) {
    if (arguments[0] != 437) // openat2
        return nullptr;
    const char *const below = reinterpret_cast<const char *>(arguments[2]);
    for (const char *name : {"meminfo", "cpuinfo", "stat"})
        if (std::strcmp(below, name) == 0)
            return reinterpret_cast<void *>(openBelow);
    return nullptr;
}

} // namespace

void setMachine(const char *folder) {
    std::snprintf(folderPath, sizeof folderPath, "%s", folder);
}

void *machineAnswer(const char *name, uint64_t *arguments) {
    if (folderPath[0] == '\0')
        return nullptr;
    static const struct {
        const char *name;
        void *answer;
    } kAnswers[] = {{"time", reinterpret_cast<void *>(fixedTime)},
                    {"times", reinterpret_cast<void *>(fixedTicks)},
                    {"popen", reinterpret_cast<void *>(openAnswer)},
                    {"pclose", reinterpret_cast<void *>(closeAnswer)},
                    {"getutxent", reinterpret_cast<void *>(readRecord)},
                    {"setutxent", reinterpret_cast<void *>(rewindRecords)},
                    {"getpwnam_r", reinterpret_cast<void *>(findAccount)},
                    {"getpwuid_r", reinterpret_cast<void *>(findUser)},
                    {"getgrgid_r", reinterpret_cast<void *>(findGroup)},
                    {"gethostname", reinterpret_cast<void *>(ownName)},
                    {"__gethostname_chk", reinterpret_cast<void *>(ownName)},
                    {"getdomainname", reinterpret_cast<void *>(domainName)},
                    {"gethostbyname_r", reinterpret_cast<void *>(findHost)},
                    {"getaddrinfo", reinterpret_cast<void *>(resolve)},
                    {"if_nametoindex", reinterpret_cast<void *>(indexOf)},
                    {"getifaddrs", reinterpret_cast<void *>(listInterfaces)},
                    {"freeifaddrs", reinterpret_cast<void *>(releaseInterfaces)}};
    for (const auto &row : kAnswers)
        if (std::strcmp(name, row.name) == 0)
            return row.answer;
    if (std::strcmp(name, "syscall") == 0)
        return answerToSystemCall(arguments);
    const char *const path = reinterpret_cast<const char *>(arguments[0]);
    if (std::strcmp(name, "access") == 0 && std::strcmp(path, "/usr/bin/dscl") == 0)
        return reinterpret_cast<void *>(grantAccess);
    if (std::strcmp(name, "open64") == 0 || std::strcmp(name, "__open64_2") == 0)
        if (const char *const other = substitute(path))
            arguments[0] = reinterpret_cast<uint64_t>(other);
    return nullptr;
}

} // namespace zor::torture
