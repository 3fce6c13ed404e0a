// Mounted file systems and their space.

#include "source/platform/host.h"
#include "source/platform/posix.h"

#include <algorithm>
#include <cstring>

#include <sys/mount.h>
#include <sys/param.h>

namespace zor::host {

namespace {

MountedFileSystem describe(const struct statfs &mounted) {
    return {std::string(mounted.f_mntonname, boundedLength(mounted.f_mntonname, sizeof mounted.f_mntonname)),
            static_cast<uint64_t>(mounted.f_bsize), static_cast<uint64_t>(mounted.f_blocks),
            static_cast<uint64_t>(mounted.f_bfree), (mounted.f_flags & MNT_LOCAL) != 0};
}

} // namespace

std::optional<std::vector<MountedFileSystem>> mountedFileSystems() {
    const int expected = getfsstat(nullptr, 0, MNT_WAIT);
    if (expected < 0)
        return std::nullopt;
    std::vector<struct statfs> records(static_cast<size_t>(expected));
    const size_t bytes = records.size() * sizeof(struct statfs);
    const int filled = getfsstat(records.data(), static_cast<int>(bytes), MNT_WAIT);
    if (filled < 0)
        return std::nullopt;
    records.resize(std::min(records.size(), static_cast<size_t>(filled)));
    std::vector<MountedFileSystem> mounted;
    for (const struct statfs &record : records)
        mounted.push_back(describe(record));
    return mounted;
}

std::optional<FileSystemSpace> fileSystemSpace(const char *path) {
    struct statfs space = {};
    if (statfs(path, &space) != 0)
        return std::nullopt;
    return FileSystemSpace{static_cast<uint64_t>(space.f_bsize), static_cast<uint64_t>(space.f_bavail)};
}

} // namespace zor::host
