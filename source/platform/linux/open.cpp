// Every descriptor is close-on-exec from its first moment: each of these calls takes the flag.

#include "source/platform/open.h"

#include <cstdlib>

#include <fcntl.h>
#include <sys/auxv.h>
#include <sys/socket.h>
#include <unistd.h>

namespace zor::host {

Descriptor openFile(const char *path, int flags, mode_t mode) {
    return Descriptor(retryInterrupted([&] { return open(path, flags | O_CLOEXEC, mode); }));
}

Descriptor openTemporaryFile(std::string &pattern) {
    const std::string asGiven = pattern; // a failed call may leave anything in its place
    Descriptor opened(retryInterrupted([&] {
        pattern = asGiven;
        return mkostemp(pattern.data(), O_CLOEXEC);
    }));
    if (!opened)
        pattern = asGiven;
    return opened;
}

Directory openDirectory(const char *path) {
    return openInterrupted(path);
}

Pipe startCommand(const char *command) {
    return Pipe(popen(command, "re"));
}

bool hasRaisedPrivileges() {
    return getauxval(AT_SECURE) != 0 || geteuid() != getuid() || getegid() != getgid();
}

} // namespace zor::host

namespace zor {

Descriptor openSocket(int family, int type, int protocol) {
    return Descriptor(socket(family, type | SOCK_CLOEXEC, protocol));
}

} // namespace zor
