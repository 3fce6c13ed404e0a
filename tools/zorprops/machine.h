#pragma once

// What the library tells about this machine, as narrow text.

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace zorprops {

struct FileSystem {
    std::string mountPoint, totalMegabytes, freeMegabytes;
};

struct Report {
    std::map<std::string, std::string> properties;
    std::vector<FileSystem> fileSystems; // by mount point
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
};

/** Sets the last known local address for what is collected from now on. */
void setLocalAddress(const std::string &address);

/** Every property and file system. */
Report collectReport();

/** The values of some properties, in the order asked; nothing for a name that no property has. */
std::vector<std::optional<std::string>> collectProperties(const std::vector<std::string> &names);

/** The interfaces that are up and have an address, in the library's order. */
std::vector<Interface> collectInterfaces(bool includeLoopback);

Users collectUsers();

} // namespace zorprops
