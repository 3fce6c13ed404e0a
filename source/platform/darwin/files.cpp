// File facts come from stat(), which cuts a date to the room that there is and never fails for it. The calls that take
// an open folder are newer than 10.9. Before, each step of the walk is made by a thread that stands in the folder: a
// working folder of the thread's own, not the process's. A thread of the caller's that had one loses it by a walk.

#include "source/platform/files.h"

#include <Availability.h>

#if __MAC_OS_X_VERSION_MIN_REQUIRED >= 101000
#include "source/platform/folder_calls.h"
#else
#include "source/platform/darwin/inheritance.h"

#include <cerrno>
#include <cstdio>

#include <fcntl.h>
#include <unistd.h>

/** Gives the calling thread a working folder of its own; -1 gives it the process's again. In every system since 10.5.
 */
extern "C" int __pthread_fchdir(int folder);
#endif

namespace zor::host {

namespace {

std::optional<FileFacts> factsOf(int result, const struct stat &facts) {
    if (result != 0)
        return std::nullopt;
    return FileFacts{static_cast<uint64_t>(facts.st_dev),
                     facts.st_ino,
                     facts.st_mode,
                     facts.st_size,
                     facts.st_atime,
                     facts.st_mtime};
}

} // namespace

std::optional<FileFacts> fileFacts(const char *path) {
    struct stat facts;
    return factsOf(stat(path, &facts), facts);
}

std::optional<FileFacts> linkFacts(const char *path) {
    struct stat facts;
    return factsOf(lstat(path, &facts), facts);
}

std::optional<FileFacts> openFileFacts(int descriptor) {
    struct stat facts;
    return factsOf(fstat(descriptor, &facts), facts);
}

#if __MAC_OS_X_VERSION_MIN_REQUIRED >= 101000

mode_t kindOf(int folder, const char *name) {
    struct stat facts;
    return fstatat(callFolder(folder), name, &facts, AT_SYMLINK_NOFOLLOW) == 0 ? facts.st_mode & S_IFMT : 0;
}

#else

namespace {

/** Stands in a folder, with this thread alone; tests as true when it does. */
class StandingIn {
public:
    explicit StandingIn(int folder)
        : m_isOwn(folder != kWorkingFolder), m_stands(!m_isOwn || __pthread_fchdir(folder) == 0) {}
    ~StandingIn() {
        const CleanUpScope quiet;
        if (m_isOwn)
            __pthread_fchdir(-1);
    }
    StandingIn(const StandingIn &) = delete;
    StandingIn &operator=(const StandingIn &) = delete;

    explicit operator bool() const { return m_stands; }

private:
    bool m_isOwn;
    bool m_stands;
};

/** The folder itself, and not what stands in its name's place a moment later. */
Descriptor openItself(int parent, const char *name) {
    const StandingIn here(parent);
    Descriptor folder(here ? retryInterrupted([&] { return open(name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK); }) : -1);
    struct stat facts;
    if (!folder || fstat(folder.get(), &facts) != 0)
        return Descriptor();
    if (S_ISDIR(facts.st_mode))
        return folder;
    folder.reset();
    errno = ENOTDIR;
    return folder;
}

} // namespace

Directory openFolder(int parent, const char *name) {
    const InheritanceLock lock; // neither call takes close-on-exec; opendir() sets it in a second step
    const Descriptor folder = openItself(parent, name);
    if (!folder)
        return nullptr;
    const StandingIn here(folder.get());
    return here ? openInterrupted(".") : nullptr;
}

mode_t kindOf(int folder, const char *name) {
    const StandingIn here(folder);
    struct stat facts;
    return here && lstat(name, &facts) == 0 ? facts.st_mode & S_IFMT : 0;
}

bool removeFile(int folder, const char *name) {
    const StandingIn here(folder);
    return here && retryInterrupted([&] { return unlink(name); }) == 0;
}

bool removeFolder(int folder, const char *name) {
    const StandingIn here(folder);
    return here && retryInterrupted([&] { return rmdir(name); }) == 0;
}

#endif

} // namespace zor::host
