#pragma once

// The table of mounts as the kernel writes it, and the choice of the mounts that stand for the machine's own file
// systems. Text in, choice out; nothing here touches a file.

#include <cstdint>
#include <functional>
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

/** The mounts of /proc/self/mountinfo, in its order, with escaped characters decoded. A line that is not as the kernel
 * writes it, or was cut short, is passed over alone. */
std::vector<Mount> parseMountTable(std::string_view mountinfo);

/** Whether a file system of this type, mounted there, counts as one of this machine's own disks. A remote one may never
 * answer; one in memory or made of the kernel's own data is no disk; a layered one shows the space of the file system
 * below it and counts on "/" only, where a container has no other. */
bool isLocal(const std::string &type, const std::string &mountPoint);

/** Whether a program or another machine answers for a file system of this type, be its data local or not. */
bool isServedElsewhere(const std::string &type);

struct LocalMount {
    const Mount *mount;
    bool mayHang; // asking for it may take for ever: it, or what the way leads through, is of a type that is not known
                  // to be the kernel's alone. The process's own root, which holds its program, is taken to answer.
};

/** The mounts of each local file system, one list for each device, in the order in which they are to be asked for their
 * space: the one on "/", those of the whole tree, those of a part; in the table's order within each.
 *
 * Only mounts that their own path leads to, and not one that covers them, on the same path or on a folder above. No
 * path leads through a remote mount, which may be dead; what is mounted on a remote one's own mount point is not
 * reached through it. A mount put over the process's own root folder covers nothing, since no path is followed into it;
 * neither does that root itself count as remote, since every path begins there. */
std::vector<std::vector<LocalMount>> findLocalMounts(const std::vector<Mount> &mounts);

/** What a mount tells when asked for its space. */
struct VolumeSpace {
    bool isFolder; // what it is mounted on; else a file
    uint64_t blockSizeBytes;
    uint64_t blocks;
    uint64_t freeBlocks;
};
using AskSpace = std::function<std::optional<VolumeSpace>(const LocalMount &mount)>;

struct Volume {
    const Mount *mount;
    VolumeSpace space;
};

/** One mount for each local file system that answers, in the table's order: the first folder, in the order above, that
 * does. A file stands for a file system that has no folder to show, but in a container, whose root shows the space that
 * such files come from, it stands for none. */
std::vector<Volume> chooseVolumes(const std::vector<Mount> &mounts, const AskSpace &ask);

} // namespace zor::host
