// The machine's own file systems and their space. Only these are asked for it: a remote one that has gone away would
// keep the caller waiting for ever.

#include "source/platform/host.h"

#include "source/platform/linux/mount_table.h"
#include "source/platform/linux/system_file.h"
#include "source/platform/posix.h"

#include <sys/vfs.h>

namespace zor::host {

namespace {

constexpr size_t kMaxMountTableBytes = size_t{32} * 1024 * 1024; // the kernel allows 100,000 mounts

std::optional<struct statfs> spaceOn(const char *path) {
    struct statfs space;
    if (retryInterrupted([&] { return statfs(path, &space); }) != 0)
        return std::nullopt;
    return space;
}

// Blocks are counted in fragments, which some file systems make smaller than the block size they prefer.
uint64_t blockSizeOf(const struct statfs &space) {
    return static_cast<uint64_t>(space.f_frsize > 0 ? space.f_frsize : space.f_bsize);
}

} // namespace

std::optional<std::vector<MountedFileSystem>> mountedFileSystems() {
    const std::optional<std::string> mountinfo = readSystemFile("/proc/self/mountinfo", kMaxMountTableBytes);
    const std::optional<std::vector<Mount>> mounts = mountinfo ? parseMountTable(*mountinfo) : std::nullopt;
    if (!mounts)
        return std::nullopt;
    std::vector<MountedFileSystem> fileSystems;
    for (const Mount &mount : chooseLocalMounts(*mounts))
        if (const std::optional<struct statfs> space = spaceOn(mount.mountPoint.c_str()))
            fileSystems.push_back({mount.mountPoint, blockSizeOf(*space), space->f_blocks, space->f_bfree, true});
    return fileSystems;
}

std::optional<FileSystemSpace> fileSystemSpace(const char *path) {
    const std::optional<struct statfs> space = spaceOn(path);
    if (!space)
        return std::nullopt;
    return FileSystemSpace{blockSizeOf(*space), space->f_bavail};
}

} // namespace zor::host
