#pragma once

// The table of mounts as the kernel writes it, and the choice of the mounts that stand for the machine's own file
// systems. Text in, choice out; nothing here touches a file.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zor::host {

struct Mount {
    uint64_t id;
    uint64_t parentId;
    std::string device;     // "major:minor", one for each file system
    std::string root;       // the part of the file system that is mounted, "/" for all of it
    std::string mountPoint; // any bytes but null
    std::string type;
};

/** The mounts of /proc/self/mountinfo, in its order, with escaped characters decoded; nothing when any line is not as
 * the kernel writes it. */
std::optional<std::vector<Mount>> parseMountTable(std::string_view mountinfo);

/** Whether a file system of this type, mounted there, counts as one of this machine's own disks. A remote one may never
 * answer; one in memory or made of the kernel's own data is no disk; a layered one shows the space of the file system
 * below it and counts on "/" only, where a container has no other. */
bool isLocal(const std::string &type, const std::string &mountPoint);

/** The mounts that stand for the local file systems, in the table's order: one for each device, the first mount of all
 * of it, else the first of a part. Mounts that others cover, so that their path leads elsewhere, do not count. */
std::vector<Mount> chooseLocalMounts(const std::vector<Mount> &mounts);

} // namespace zor::host
