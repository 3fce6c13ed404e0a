#include "own_output.h"

#include <cerrno>
#include <csignal>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace zorprops {

namespace {

constexpr int kFirstOwnDescriptor = 3; // not one of the standard three, even when the program starts without them
constexpr unsigned int kUsualColumns = 80;

/** The lowest free descriptor is the one that opens: from 0 on, each that is missing gets taken. */
void takeMissingDescriptors() {
    for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor)
        if (fcntl(descriptor, F_GETFD) < 0 && errno == EBADF)
            open("/dev/null", O_RDWR);
}

/** What takes everything and keeps nothing; where the system has no such file, a pipe that nobody reads. */
int openNowhere() {
    const int nowhere = open("/dev/null", O_RDWR);
    int ends[2];
    if (nowhere >= 0 || pipe(ends) != 0)
        return nowhere;
    close(ends[0]);
    return ends[1];
}

/** Points standard output elsewhere; false when diagnostics would still land in the output. */
bool redirectStandardOutput(bool toStandardError) {
    const int nowhere = openNowhere(); // open for a moment alone
    const int target = toStandardError || nowhere < 0 ? STDERR_FILENO : nowhere;
    bool isRedirected = dup2(target, STDOUT_FILENO) == STDOUT_FILENO;
    if (!isRedirected) { // the other way: the lowest free one is what opens next
        close(STDOUT_FILENO);
        isRedirected = open("/dev/null", O_RDWR) == STDOUT_FILENO;
    }
    if (nowhere >= kFirstOwnDescriptor)
        close(nowhere);
    return isRedirected;
}

/** A descriptor of the same file that commands run by the library do not inherit; -1, and errno tells why. In two
 * steps, which every system knows: no thread of this program runs a command yet. */
int ownCopyOf(int descriptor) {
    const int own = fcntl(descriptor, F_DUPFD, kFirstOwnDescriptor);
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
    : m_descriptor(ownCopyOf(STDOUT_FILENO)), m_error(m_descriptor < 0 ? errno : 0),
      m_messages(ownCopyOf(STDERR_FILENO)) {
    std::signal(SIGPIPE, SIG_IGN); // errors to report, not silent ends
#ifdef SIGXFSZ
    std::signal(SIGXFSZ, SIG_IGN);
#endif
    takeMissingDescriptors();
    if (!redirectStandardOutput(passDiagnosticsOn) && m_error == 0)
        m_error = EBADF; // rather no report than a spoilt one
    if (!passDiagnosticsOn && m_messages >= 0 && m_error == 0)
        dup2(STDOUT_FILENO, STDERR_FILENO); // which leads nowhere by now; where it is refused, both are still right
}

OwnOutput::~OwnOutput() {
    for (const int descriptor : {m_descriptor, m_messages})
        if (descriptor >= 0)
            close(descriptor);
}

void OwnOutput::tell(std::string_view text) const {
    for (size_t written = 0; m_messages >= 0 && written < text.size();) {
        const ssize_t count = ::write(m_messages, text.data() + written, text.size() - written);
        if (count >= 0)
            written += static_cast<size_t>(count);
        else if (errno == EAGAIN)
            waitUntilWritable(m_messages);
        else if (errno != EINTR)
            return; // nowhere to complain
    }
}

int OwnOutput::write(const std::string &text) {
    for (size_t written = 0; m_error == 0 && written < text.size();) {
        const ssize_t count = ::write(m_descriptor, text.data() + written, text.size() - written);
        if (count >= 0)
            written += static_cast<size_t>(count);
        else if (errno == EAGAIN)
            waitUntilWritable(m_descriptor);
        else if (errno != EINTR)
            m_error = errno;
    }
    return m_error;
}

int OwnOutput::finish(const std::string &text) {
    write(text);
    // Some file systems tell only now that the disk is full.
    if (m_descriptor >= 0 && close(std::exchange(m_descriptor, -1)) != 0 && m_error == 0 && errno != EINTR)
        m_error = errno;
    return m_error;
}

bool OwnOutput::messagesGoToTerminal() const {
    return m_messages >= 0 && isatty(m_messages) == 1;
}

unsigned int OwnOutput::terminalColumns() const {
    if (m_descriptor < 0 || !isatty(m_descriptor))
        return 0;
    winsize size{};
    return ioctl(m_descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : kUsualColumns;
}

} // namespace zorprops
