#pragma once

// The one seam to the operating system, where systems differ. Every function hands over a raw fact or says that it is
// not known; nothing here formats, rounds or decides. platform/darwin/ and platform/linux/ implement it, and
// tests/support/fake_host.cpp does so a third time, with answers that a test sets. What POSIX gives to every system
// is called directly by the modules, not through here. A fact of the machine that does not come within a second or two,
// because a program that serves it hangs, is not known; what a caller's own path or name leads to takes its time.

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

struct ifaddrs;
struct sockaddr;

namespace zor::host {

/** Number of processors the system runs on. */
std::optional<int32_t> processorCount();

/** Physical memory in bytes. */
std::optional<uint64_t> physicalMemoryBytes();

struct FreeMemory {
    uint64_t freePages;
    uint64_t pageSizeBytes;
};
/** Free pages and the page size; both or nothing. */
std::optional<FreeMemory> freeMemory();

/** Processor clock in hertz; 64 bits, since clocks above 2^31 Hz exist. */
std::optional<int64_t> processorClockHertz();

/** Architecture in the numbers of ConvertGestaltSysArchToString. */
std::optional<int32_t> architectureCode();

/** Processor in the numbers of ConvertGestaltCPUTypeToString. */
std::optional<int32_t> processorCode();

/** The maker's model name of the machine, as the system spells it. */
std::optional<std::string> hardwareModel();

/** When the system was started, in seconds since 1970-01-01 UTC. */
std::optional<int64_t> bootTimeSeconds();

/** The NIS domain of the running system, empty when none is set. */
std::optional<std::string> nisDomainName();

/** The official name that gethostbyname gives for a host, in an answer of the calling thread's own; nothing when the
 * resolver does not know the host. errno is 0, or the number of what the resolver lacked to look. */
std::optional<std::string> officialHostName(const char *name);

struct MountedFileSystem {
    std::string mountPoint;
    uint64_t blockSizeBytes;
    uint64_t blocks;
    uint64_t freeBlocks; // all of them, also those kept for the superuser
    bool isLocal;
    std::string container = {}; // names the blocks that it shares with others of the same container; empty: its own
};
/** The mounted file systems in the system's order, without those that cannot be asked or do not answer in time; nothing
 * when the table cannot be read. */
std::optional<std::vector<MountedFileSystem>> mountedFileSystems();

struct FileSystemSpace {
    uint64_t blockSizeBytes;
    uint64_t availableBlocks; // to unprivileged users
};
/** Space on the file system that holds path; errno tells why there is none. */
std::optional<FileSystemSpace> fileSystemSpace(const char *path);

/** Looks keys up in an XML property list, given as its bytes.
 * @return one entry per key, in order: its text (UTF-8), or nothing where the list lacks the key. Nothing at all when
 *         the list does not parse, its root is no dictionary or a key asked for holds something else than a string.
 */
std::optional<std::vector<std::optional<std::string>>> lookUpInPropertyList(const std::string &bytes,
                                                                            const std::vector<std::string> &keys);

/** The link-level address that an interface list carries for an interface: the first six address bytes, whatever the
 * stated length; nothing when the entry is no link-level entry. */
std::optional<std::array<uint8_t, 6>> linkLevelAddress(const ifaddrs &entry);

/** The interface index that a link-level entry states; 0 when it states none. */
unsigned int linkIndex(const ifaddrs &entry);

/** Whether an interface list's link-level entry named linkName belongs to the entry named addressName, which may be an
 * alias of it where the system has such names. */
bool isSameInterface(const char *linkName, const char *addressName);

/** How many bytes an interface list really holds of an address: what the address itself states where addresses have a
 * length (masks then leave out trailing zeros), else what its family needs. */
size_t socketAddressLength(const sockaddr &address);

/** The calling process's identifier, also in a forked child; cheap enough for every hold of a lock. */
pid_t processId();

/** What mktime takes off a time that is marked as daylight-saving time in a zone that never had any, in seconds;
 * nothing where it refuses such a time. */
std::optional<int32_t> daylightShiftWithoutRules();

/** iconv's name for UTF-32 in the machine's byte order. */
const char *wideEncodingName();

/** Reports a failed assertion as the system's own assert does, and ends the process. */
[[noreturn]] void failAssertion(const char *function, const char *file, int line, const char *expression);

} // namespace zor::host
