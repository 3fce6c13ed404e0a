#pragma once

// What the library tells about this machine, as narrow text, and what is known about this host besides.

#include "vocabulary.h"
#include "workers.h"

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace zorprops {

struct FileSystem {
    std::string mountPoint, totalMegabytes, freeMegabytes;
    std::optional<uint64_t> totalBytes = {}, availableBytes = {}; // to users
};

/** Facts that were asked for, by name. */
struct Report {
    std::map<std::string, std::string> properties; // as the library has them
    std::map<std::string, std::string> host;       // what is known
    std::vector<FileSystem> fileSystems;           // by mount point
    std::set<std::string> late, unread;            // properties and host facts that are therefore not known

    bool isComplete() const { return late.empty() && unread.empty(); }
};

struct Address {
    bool isIpv6;
    std::string address, mask, subnet;
};

struct Interface {
    unsigned int index;
    std::string name, hardwareAddress;
    std::vector<Address> addresses;
};

struct Users {
    std::vector<std::string> network, local;
    std::string combined; // as the report has them: cut where they are many
    Outcome::State state = Outcome::Done;
};

/** Sets the last known local address for what is collected from now on. */
void setLocalAddress(const std::string &address);

/** Every property, fact of this host and file system. */
Report collectReport(const Patience &patience);

/** What these words need, and no more; withFileSystems: the table of file systems too. */
Report collect(const std::vector<const Word *> &asked, bool withFileSystems, const Patience &patience);

/** The interfaces that are up and have an address, in the library's order; none when they cannot be read. */
std::optional<std::vector<Interface>> collectInterfaces(bool includeLoopback);

Users collectUsers(const Patience &patience);

} // namespace zorprops
