// Space on mounted file systems.

#include "platform/host.h"
#include "platform/posix.h"

#include <sys/vfs.h>

namespace zor::host {

namespace {

// Blocks are counted in fragments, which some file systems make smaller than the block size they prefer.
uint64_t blockSizeOf(const struct statfs &space) {
    return static_cast<uint64_t>(space.f_frsize > 0 ? space.f_frsize : space.f_bsize);
}

} // namespace

std::optional<std::vector<MountedFileSystem>> mountedFileSystems() {
    return std::nullopt;
}

std::optional<FileSystemSpace> fileSystemSpace(const char *path) {
    struct statfs space;
    if (retryInterrupted([&] { return statfs(path, &space); }) != 0)
        return std::nullopt;
    return FileSystemSpace{blockSizeOf(space), space.f_bavail};
}

} // namespace zor::host
