// Messages for administrators. The C library has one log connection with one ident for the whole process: each message
// opens it with its own ident and closes it again, and a lock keeps two threads' messages apart meanwhile, so that no
// message comes out under the ident of another.

#include "zorcomn/session.h"

#include "source/platform/fork.h"
#include "source/platform/posix.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>

#include <pthread.h>
#include <syslog.h>

namespace {

constexpr char kIdent[] = "[VTA]";

zor::Mutex logMutex = PTHREAD_MUTEX_INITIALIZER; // guards the C library's log connection and its ident
const zor::ForkRepair logForks(logMutex);

using OwnIdent = std::unique_ptr<char, zor::Releaser<std::free>>;

/** The log connection, open for the life of one message. */
class OpenLog {
public:
    explicit OpenLog(const char *ident) ZORCOMN_REQUIRES(logMutex) { openlog(ident, LOG_CONS | LOG_NDELAY, LOG_USER); }
    ~OpenLog() { closelog(); }
    OpenLog(const OpenLog &) = delete;
    OpenLog &operator=(const OpenLog &) = delete;
};

int systemPriority(velmora_com::vta::SyslogPriority priority) {
    switch (static_cast<int>(priority)) {
    case velmora_com::vta::SyslogCritical:
        return LOG_CRIT;
    case velmora_com::vta::SyslogError:
        return LOG_ERR;
    case velmora_com::vta::SyslogWarning:
        return LOG_WARNING;
    default:
        return LOG_INFO;
    }
}

} // namespace

namespace velmora_com {
namespace vta {

bool LogInSystemLog(SyslogPriority priority, const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    vLogInSystemLog(systemPriority(priority), format, arguments);
    va_end(arguments);
    return true;
}

bool LogInSystemLog(SyslogPriority priority, const char *ident, const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    vLogInSystemLog(systemPriority(priority), ident, format, arguments);
    va_end(arguments);
    return true;
}

bool vLogInSystemLog(int priority, const char *format, va_list arguments) {
    return vLogInSystemLog(priority, kIdent, format, arguments);
}

bool vLogInSystemLog(int priority, const char *ident, const char *format, va_list arguments) {
    if (!format)
        return true;
    const int callersErrno = errno;
    {
        // A thread that ended in here would leave the log open. So does, in its child, one that another thread forks
        // meanwhile; the ident is a copy, since the caller's may stand on a stack that is not the child's.
        const zor::UncancellableScope uncancellable;
        const OwnIdent copy(ident ? strdup(ident) : nullptr);
        const zor::MutexLock lock(logMutex);
        const zor::ForkDelay delay; // the connection has a lock of its own
        const OpenLog log(copy ? copy.get() : kIdent);
        errno = callersErrno; // what %m stands for
        vsyslog(priority, format, arguments);
    }
    errno = callersErrno;
    return true;
}

} // namespace vta
} // namespace velmora_com
