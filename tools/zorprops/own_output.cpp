#include "own_output.h"

#include <cerrno>
#include <csignal>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace zorprops {

namespace {

constexpr int kFirstOwnDescriptor = 3; // not one of the standard three, even when the program starts without them

/** Points standard output elsewhere. It is never left closed: the next file opened would become it, and diagnostics
 * would be written into that. */
void redirectStandardOutput(bool toStandardError) {
    const int nowhere = open("/dev/null", O_RDWR); // open for a moment alone
    if (toStandardError || nowhere < 0)
        dup2(STDERR_FILENO, STDOUT_FILENO);
    else
        dup2(nowhere, STDOUT_FILENO);
    if (nowhere >= kFirstOwnDescriptor)
        close(nowhere);
}

/** A descriptor of standard output's file that commands run by the library do not inherit. In two steps, which every
 * system knows: no thread of this program runs a command yet. */
int ownStandardOutput() {
    const int own = fcntl(STDOUT_FILENO, F_DUPFD, kFirstOwnDescriptor);
    if (own < 0 || fcntl(own, F_SETFD, FD_CLOEXEC) == 0)
        return own;
    const int error = errno;
    close(own);
    errno = error;
    return -1;
}

/** For a descriptor that somebody has set to return instead of waiting. */
void waitUntilWritable(int descriptor) {
    pollfd ready{descriptor, POLLOUT, 0};
    poll(&ready, 1, -1);
}

} // namespace

OwnOutput::OwnOutput(bool passDiagnosticsOn)
    : m_descriptor(ownStandardOutput()), m_error(m_descriptor < 0 ? errno : 0) {
    redirectStandardOutput(passDiagnosticsOn);
}

OwnOutput::~OwnOutput() {
    if (m_descriptor >= 0)
        close(m_descriptor);
}

int OwnOutput::finish(const std::string &text) {
    std::signal(SIGPIPE, SIG_IGN); // a reader gone is an error to report, not a silent end
    for (size_t written = 0; m_error == 0 && written < text.size();) {
        const ssize_t count = write(m_descriptor, text.data() + written, text.size() - written);
        if (count >= 0)
            written += static_cast<size_t>(count);
        else if (errno == EAGAIN)
            waitUntilWritable(m_descriptor);
        else if (errno != EINTR)
            m_error = errno;
    }
    // Some file systems tell only now that the disk is full.
    if (m_descriptor >= 0 && close(std::exchange(m_descriptor, -1)) != 0 && m_error == 0 && errno != EINTR)
        m_error = errno;
    return m_error;
}

} // namespace zorprops
