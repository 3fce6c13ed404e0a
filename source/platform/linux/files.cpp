// File facts, and the walk by calls that take an open folder. Where the C library's dates have 32 bits its own calls
// refuse a file with a date beyond 2038, so there the facts come from the system's call with dates of 64.

#include "source/platform/files.h"
#include "source/platform/folder_calls.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

namespace zor::host {

namespace {

std::optional<FileFacts> factsByShortDates(int folder, const char *name, int flags) {
    struct stat facts;
    const bool isOpenFile = (flags & AT_EMPTY_PATH) != 0;
    if ((isOpenFile ? fstat(folder, &facts) : fstatat(folder, name, &facts, flags)) != 0)
        return std::nullopt;
    return FileFacts{facts.st_dev, facts.st_ino, facts.st_mode, facts.st_size, facts.st_atime, facts.st_mtime};
}

std::optional<FileFacts> factsByLongDates(int folder, const char *name, int flags) {
    struct statx facts;
    if (statx(folder, name, flags | AT_NO_AUTOMOUNT, STATX_BASIC_STATS, &facts) == 0)
        return FileFacts{makedev(facts.stx_dev_major, facts.stx_dev_minor),
                         facts.stx_ino,
                         facts.stx_mode,
                         static_cast<int64_t>(facts.stx_size),
                         facts.stx_atime.tv_sec,
                         facts.stx_mtime.tv_sec};
    // Old systems lack the call, old sandboxes forbid it; there it answers so, and for no other reason.
    return errno == ENOSYS || errno == EPERM ? factsByShortDates(folder, name, flags) : std::nullopt;
}

std::optional<FileFacts> facts(int folder, const char *name, int flags) {
    return sizeof(time_t) < 8 ? factsByLongDates(folder, name, flags) : factsByShortDates(folder, name, flags);
}

} // namespace

std::optional<FileFacts> fileFacts(const char *path) {
    return facts(AT_FDCWD, path, 0);
}

std::optional<FileFacts> linkFacts(const char *path) {
    return facts(AT_FDCWD, path, AT_SYMLINK_NOFOLLOW);
}

std::optional<FileFacts> openFileFacts(int descriptor) {
    return facts(descriptor, "", AT_EMPTY_PATH);
}

mode_t kindOf(int folder, const char *name) {
    const auto known = facts(callFolder(folder), name, AT_SYMLINK_NOFOLLOW);
    return known ? known->mode & S_IFMT : 0;
}

} // namespace zor::host
