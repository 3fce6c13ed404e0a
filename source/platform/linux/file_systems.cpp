// The machine's own file systems and their space. Only these are asked for it: a remote one that has gone away would
// keep the caller waiting for ever. Those that might do so all the same, since a program serves them or the way to them
// leads through what it serves, are asked apart.

#include "source/platform/host.h"

#include "source/platform/linux/apart.h"
#include "source/platform/linux/mount_table.h"
#include "source/platform/linux/system_file.h"
#include "source/platform/posix.h"

#include <algorithm>
#include <cstring>

#include <fcntl.h>
#include <sys/syscall.h>
#include <sys/vfs.h>

namespace zor::host {

namespace {

constexpr size_t kMaxMountTableBytes = size_t{32} * 1024 * 1024;         // the kernel allows 100,000 mounts
constexpr std::chrono::milliseconds kAllAnswersLimit = 2 * kAnswerLimit; // for all that are asked apart in one go

// Blocks are counted in fragments, which some file systems make smaller than the block size they prefer.
uint64_t blockSizeOf(const struct statfs &space) {
    return static_cast<uint64_t>(space.f_frsize > 0 ? space.f_frsize : space.f_bsize);
}

/** A mount point's space. Nothing but system calls that are no cancellation points: also for asking apart. */
bool askSpace(const char *path, VolumeSpace &answer) {
    const long folder =
        retryInterrupted([&] { return syscall(SYS_openat, AT_FDCWD, path, O_PATH | O_DIRECTORY | O_CLOEXEC); });
    answer.isFolder = folder >= 0;
    if (!answer.isFolder && errno != ENOTDIR)
        return false;
    struct statfs space = {};
    const bool isTold = retryInterrupted([&] {
                            return folder >= 0 ? fstatfs(static_cast<int>(folder), &space) : statfs(path, &space);
                        }) == 0;
    if (folder >= 0)
        syscall(SYS_close, static_cast<int>(folder));
    answer.blockSizeBytes = blockSizeOf(space);
    answer.blocks = space.f_blocks;
    answer.freeBlocks = space.f_bfree;
    return isTold;
}

std::optional<VolumeSpace> askSpaceApart(const char *path, std::chrono::milliseconds limit) {
    VolumeSpace space{};
    const auto answer = askApart(
        [&](char *bytes, size_t room) -> ssize_t {
            VolumeSpace told{};
            if (room < sizeof told || !askSpace(path, told))
                return -1;
            std::memcpy(bytes, &told, sizeof told);
            return sizeof told;
        },
        sizeof space, limit);
    if (!answer || answer->size() != sizeof space)
        return std::nullopt;
    std::memcpy(&space, answer->data(), sizeof space);
    return space;
}

} // namespace

std::optional<std::vector<MountedFileSystem>> mountedFileSystems() {
    using Clock = std::chrono::steady_clock;
    const std::optional<std::string> mountinfo = readSystemFile(kMountTablePath, kMaxMountTableBytes);
    if (!mountinfo)
        return std::nullopt;
    std::chrono::milliseconds left = kAllAnswersLimit;
    const auto ask = [&](const LocalMount &candidate) -> std::optional<VolumeSpace> {
        const char *const path = candidate.mount->mountPoint.c_str();
        VolumeSpace space{};
        if (!candidate.mayHang)
            return askSpace(path, space) ? std::optional<VolumeSpace>(space) : std::nullopt;
        if (left.count() <= 0)
            return std::nullopt;
        const auto start = Clock::now();
        const std::optional<VolumeSpace> answer = askSpaceApart(path, std::min(left, kAnswerLimit));
        left -= std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start);
        return answer;
    };
    const std::vector<Mount> mounts = parseMountTable(*mountinfo);
    std::vector<MountedFileSystem> fileSystems;
    for (const auto &[mount, space] : chooseVolumes(mounts, ask))
        fileSystems.push_back(
            {mount->mountPoint, space.blockSizeBytes, space.blocks, space.freeBlocks, /* isLocal */ true});
    return fileSystems;
}

std::optional<FileSystemSpace> fileSystemSpace(const char *path) {
    struct statfs space;
    if (retryInterrupted([&] { return statfs(path, &space); }) != 0)
        return std::nullopt;
    return FileSystemSpace{blockSizeOf(space), space.f_bavail};
}

} // namespace zor::host
