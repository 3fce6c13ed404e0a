// The thread that waits for the process's signals. The signals are blocked everywhere and taken here one after the
// other, so that callbacks are ordinary code on an ordinary thread. What ends the waiting is a signal nobody has a
// callback for: a request to stop.

#include "zorcomn/session.h"

#include "source/platform/posix.h"

#include <cerrno>
#include <utility>

#include <pthread.h>
#include <signal.h>

static_assert(sizeof bSigTermReceived == 4, "callers declare the flag with 32 bits");
volatile std::sig_atomic_t bSigTermReceived = 0;

void CatchSIGTERM(int) {
    bSigTermReceived = 1;
}

namespace velmora_com {
namespace vta {

SignalHandler::SignalHandler() {
    sigemptyset(&m_signals);
}

SignalHandler::~SignalHandler() = default;

// Kept: the thread's mask becomes exactly this object's set; a signal blocked before and not in it is let through.
int SignalHandler::addSignalToBlock(int signal) {
    sigaddset(&m_signals, signal);
    pthread_sigmask(SIG_SETMASK, &m_signals, nullptr);
    return 0;
}

// Kept: only the mask changes; the loop goes on to treat the signal as one of its own.
int SignalHandler::unblockSignal(int signal) {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, signal);
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
    return 0;
}

// Kept: the first registration for a signal wins.
int SignalHandler::registerOnSignalCallback(int signal, std::function<void()> callback) {
    const int result = zor::guarded(-1, [&] {
        m_callbacks.emplace(signal, std::move(callback));
        return 0;
    });
    if (result != 0) // without its callback it would be a request to stop
        sigdelset(&m_signals, signal);
    return result;
}

// Nothing is caught here: a callback may end its thread, and what it throws is its caller's.
// Kept: every message is informational, those about errors too.
void SignalHandler::operator()() {
    for (;;) {
        int signal = 0;
        const int result = sigwait(&m_signals, &signal);
        if (result != 0) {
            LogInSystemLog(SyslogInfo, "Error (%d) occurred waiting for signal ... ignoring.",
                           result == -1 ? errno : result);
            continue;
        }
        const int isOurs = sigismember(&m_signals, signal);
        if (isOurs < 0) {
            LogInSystemLog(SyslogInfo, "VTA received invalid signal ... ignoring.");
            continue;
        }
        if (isOurs == 0) {
            LogInSystemLog(SyslogInfo, "VTA received unknown signal ... ignoring.");
            continue;
        }
        const auto registered = m_callbacks.find(signal);
        if (registered == m_callbacks.end()) {
            LogInSystemLog(SyslogInfo, "Received signal to stop VTA.");
            return;
        }
        if (registered->second)
            registered->second();
    }
}

} // namespace vta
} // namespace velmora_com
