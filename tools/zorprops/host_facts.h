#pragma once

// What a person asks first about this host. host_facts.cpp tells what every POSIX system tells in the same way; what
// systems tell differently comes from platform/.

#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace zorprops {

/** What systems tell each in a way of its own; raw, and none where it is not known. */
struct SystemFacts {
    std::optional<std::string> name, version, processor, container, virtualMachine, zoneFile;
    std::optional<uint64_t> memoryTotal, memoryAvailable; // bytes
    std::optional<uint64_t> uptime;                       // seconds
};

/** The seam: one implementation in platform/ for each system.
 * @param root  the folder that stands for '/', for tests; empty for the system's own. */
SystemFacts systemFacts(const std::string &root);
/** Whether the system lets its file systems be listed; the library tells a refusal as a machine without any. */
bool fileSystemsAreTold();

/** The facts of this host by name, without those of the disks; a fact that is not known is not there. Waits for nobody.
 * @param root  as for systemFacts. */
std::map<std::string, std::string> collectHostFacts(const std::string &root = {});

/** The name of the time zone that the C library would use.
 * @param zoneFile  where the system's zone file leads, if known: what follows "zoneinfo/" is the name. */
std::string zoneName(const char *tz, const std::optional<std::string> &zoneFile);

/** The values of a release file, NAME=value lines as a shell reads them; a line that is none is passed over. */
std::map<std::string, std::string> parseReleaseFile(const std::string &text);

} // namespace zorprops
