// open() takes close-on-exec from 10.7 on; before, as with temporary files, sockets and popen() to this day, a second
// call sets the flag.

#include "source/platform/open.h"
#include "source/platform/darwin/inheritance.h"

#include <cstdlib>
#include <optional>

#include <Availability.h>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zor::host {

namespace {

/** Sets the flag, not being cancelled meanwhile; a descriptor that would be inherited is closed again. */
Descriptor notInherited(Descriptor opened) {
    const UncancellableScope uncancellable;
    if (opened && fcntl(opened.get(), F_SETFD, FD_CLOEXEC) == -1)
        opened.reset();
    return opened;
}

#if __MAC_OS_X_VERSION_MIN_REQUIRED < 1070
/** Whether opening may wait for somebody else. No lock is held over that: it would keep all others waiting too. */
bool mayWait(const char *path) {
    struct stat facts;
    return stat(path, &facts) == 0 && (S_ISFIFO(facts.st_mode) || S_ISCHR(facts.st_mode));
}
#endif

} // namespace

Descriptor openFile(const char *path, int flags, mode_t mode) {
#if __MAC_OS_X_VERSION_MIN_REQUIRED >= 1070
    return Descriptor(retryInterrupted([&] { return open(path, flags | O_CLOEXEC, mode); }));
#else
    std::optional<InheritanceLock> lock;
    if (!mayWait(path))
        lock.emplace();
    return notInherited(Descriptor(retryInterrupted([&] { return open(path, flags, mode); })));
#endif
}

Descriptor openTemporaryFile(std::string &pattern) {
    const std::string asGiven = pattern; // a failed call may leave anything in its place
    Descriptor opened;
    {
        const InheritanceLock lock;
        opened = notInherited(Descriptor(retryInterrupted([&] {
            pattern = asGiven;
            return mkstemp(pattern.data());
        })));
    }
    if (!opened)
        pattern = asGiven;
    return opened;
}

Directory openDirectory(const char *path) {
    const InheritanceLock lock;
    return openInterrupted(path); // which sets the flag itself
}

Pipe startCommand(const char *command) {
    const InheritanceLock lock;
    Pipe pipe(popen(command, "r"));
    if (pipe && fcntl(fileno(pipe.get()), F_SETFD, FD_CLOEXEC) == -1)
        pipe.reset();
    return pipe;
}

bool hasRaisedPrivileges() {
    return issetugid() != 0 || geteuid() != getuid() || getegid() != getgid();
}

} // namespace zor::host

namespace zor {

Descriptor openSocket(int family, int type, int protocol) {
    const host::InheritanceLock lock;
    return host::notInherited(Descriptor(socket(family, type, protocol)));
}

} // namespace zor
