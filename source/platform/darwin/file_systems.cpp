// Mounted file systems and their space. The table of mounts is read without waiting for any of them, since one whose
// server has gone would never answer; then those on local disks are asked for their space.

// The records with names of 1024 bytes and counts of 64 bits, there since 10.5; the others cut a name at 89 bytes. An
// older system ignores the word, and today's knows no others.
#define _DARWIN_USE_64_BIT_INODE 1

#include "source/platform/host.h"

#include "source/platform/darwin/text_field.h"

#include <cerrno>
#include <cstring>

#include <sys/mount.h>
#include <sys/param.h>

namespace zor::host {

namespace {

/** The mounts as the system keeps them, with the space that they last told. */
std::optional<std::vector<struct statfs>> mountTable() {
    const int expected = getfsstat(nullptr, 0, MNT_NOWAIT);
    if (expected < 0)
        return std::nullopt;
    std::vector<struct statfs> records(static_cast<size_t>(expected));
    const size_t bytes = records.size() * sizeof(struct statfs);
    const int filled = getfsstat(records.data(), static_cast<int>(bytes), MNT_NOWAIT);
    if (filled < 0)
        return std::nullopt;
    records.resize(std::min(records.size(), static_cast<size_t>(filled)));
    return records;
}

bool isLocal(const struct statfs &mounted) {
    return (mounted.f_flags & MNT_LOCAL) != 0;
}

/** A mount with the space that it has now. Where no path leads to it, because another covers it or a folder on the way
 * is closed to us, what the table holds is all there is to know; one that fails otherwise is none. */
std::optional<struct statfs> refreshed(const struct statfs &listed) {
    struct statfs now = {};
    if (statfs(textIn(listed.f_mntonname).c_str(), &now) != 0)
        return errno == EACCES ? std::optional<struct statfs>(listed) : std::nullopt;
    return std::memcmp(&now.f_fsid, &listed.f_fsid, sizeof now.f_fsid) == 0 ? now : listed;
}

/** The disk whose blocks an APFS volume shares with the other volumes on it: "disk3" of "/dev/disk3s1" and of a
 * snapshot, "name@/dev/disk3s1s1". Empty for any other file system, which has its blocks for itself. */
std::string containerOf(const struct statfs &mounted) {
    constexpr char kDisk[] = "/dev/disk";
    const std::string device = textIn(mounted.f_mntfromname);
    const size_t disk = device.rfind(kDisk);
    if (textIn(mounted.f_fstypename) != "apfs" || disk == std::string::npos)
        return {};
    const size_t number = disk + std::strlen(kDisk);
    const size_t end = std::min(device.find_first_not_of("0123456789", number), device.size());
    return end == number ? std::string() : device.substr(disk, end - disk);
}

MountedFileSystem describe(const struct statfs &mounted) {
    return {textIn(mounted.f_mntonname),
            static_cast<uint64_t>(mounted.f_bsize),
            static_cast<uint64_t>(mounted.f_blocks),
            static_cast<uint64_t>(mounted.f_bfree),
            isLocal(mounted),
            containerOf(mounted)};
}

} // namespace

std::optional<std::vector<MountedFileSystem>> mountedFileSystems() {
    const std::optional<std::vector<struct statfs>> table = mountTable();
    if (!table)
        return std::nullopt;
    std::vector<MountedFileSystem> mounted;
    for (const struct statfs &listed : *table)
        if (const auto record = isLocal(listed) ? refreshed(listed) : listed)
            mounted.push_back(describe(*record));
    return mounted;
}

std::optional<FileSystemSpace> fileSystemSpace(const char *path) {
    struct statfs space = {};
    if (statfs(path, &space) != 0)
        return std::nullopt;
    return FileSystemSpace{static_cast<uint64_t>(space.f_bsize), static_cast<uint64_t>(space.f_bavail)};
}

} // namespace zor::host
