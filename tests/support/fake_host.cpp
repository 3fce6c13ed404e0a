#include "tests/support/fake_host.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace zor::host {

FakeHost fakeHost;

std::optional<int32_t> processorCount() {
    return fakeHost.processorCount;
}
std::optional<uint64_t> physicalMemoryBytes() {
    return fakeHost.physicalMemoryBytes;
}
std::optional<FreeMemory> freeMemory() {
    return fakeHost.freeMemory;
}
std::optional<int64_t> processorClockHertz() {
    return fakeHost.processorClockHertz;
}
std::optional<int32_t> architectureCode() {
    return fakeHost.architectureCode;
}
std::optional<int32_t> processorCode() {
    return fakeHost.processorCode;
}
std::optional<std::string> hardwareModel() {
    return fakeHost.hardwareModel;
}
std::optional<int64_t> bootTimeSeconds() {
    return fakeHost.bootTimeSeconds;
}
std::optional<std::string> nisDomainName() {
    return fakeHost.nisDomainName;
}
std::optional<std::string> officialHostName(const char *name) {
    return fakeHost.officialHostName ? fakeHost.officialHostName(name) : std::nullopt;
}
std::optional<std::vector<MountedFileSystem>> mountedFileSystems() {
    return fakeHost.mountedFileSystems;
}
std::optional<FileSystemSpace> fileSystemSpace(const char *) {
    return fakeHost.fileSystemSpace;
}

std::optional<std::vector<std::optional<std::string>>> lookUpInPropertyList(const std::string &bytes,
                                                                            const std::vector<std::string> &keys) {
    if (!fakeHost.lookUpInPropertyList)
        return std::nullopt;
    return fakeHost.lookUpInPropertyList(bytes, keys);
}

// Tests hand in interface entries whose link-level address is six bytes of sa_data in an AF_UNSPEC address.
std::optional<std::array<uint8_t, 6>> linkLevelAddress(const ifaddrs &entry) {
    if (!entry.ifa_addr || entry.ifa_addr->sa_family != AF_UNSPEC)
        return std::nullopt;
    std::array<uint8_t, 6> bytes;
    std::memcpy(bytes.data(), entry.ifa_addr->sa_data, bytes.size());
    return bytes;
}

unsigned int linkIndex(const ifaddrs &entry) {
    return fakeHost.linkIndex ? fakeHost.linkIndex(entry) : 0;
}

bool isSameInterface(const char *linkName, const char *addressName) {
    return fakeHost.isSameInterface ? fakeHost.isSameInterface(linkName, addressName)
                                    : std::strcmp(linkName, addressName) == 0;
}

size_t socketAddressLength(const sockaddr &address) {
    if (fakeHost.socketAddressLength)
        return fakeHost.socketAddressLength(address);
    return address.sa_family == AF_INET6 ? sizeof(sockaddr_in6) : sizeof(sockaddr);
}

pid_t processId() {
    return getpid();
}

std::optional<int32_t> daylightShiftWithoutRules() {
    return fakeHost.daylightShiftWithoutRules;
}

const char *wideEncodingName() {
    return "WCHAR_T";
}

void failAssertion(const char *function, const char *file, int line, const char *expression) {
    std::fprintf(stderr, "%s:%d: %s: Assertion `%s' failed.\n", file, line, function, expression);
    std::abort();
}

} // namespace zor::host
