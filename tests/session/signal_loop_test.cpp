// The waiting loop against scripted answers of the calls below it, and what reaches the C library's log. The linker
// leads these calls here (see CMakeLists.txt).

#include "zorcomn/session.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <deque>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <pthread.h>

using velmora_com::vta::SignalHandler;

namespace {

struct Wait {
    int result, error, signal;
};
std::deque<Wait> waits;
std::deque<int> memberships; // answers of the membership test; the real one once they are used up
std::vector<std::string> logged;
const char *identOpened = nullptr; // where the C library was told to find it

} // namespace

extern "C" {
int __wrap_sigwait(const sigset_t *, int *signal) {
    if (waits.empty()) {
        ADD_FAILURE() << "waits once more than scripted";
        std::abort();
    }
    const Wait wait = waits.front();
    waits.pop_front();
    errno = wait.error;
    if (wait.result == 0)
        *signal = wait.signal;
    return wait.result;
}

int __real_sigismember(const sigset_t *set, int signal);
int __wrap_sigismember(const sigset_t *set, int signal) {
    if (memberships.empty())
        return __real_sigismember(set, signal);
    const int answer = memberships.front();
    memberships.pop_front();
    return answer;
}

// Each is a cancellation point, as the system's may be.
void __wrap_openlog(const char *ident, int options, int facility) {
    logged.push_back("open " + std::string(ident) + " " + std::to_string(options) + " " + std::to_string(facility));
    identOpened = ident;
    pthread_testcancel();
    errno = ECONNREFUSED;
}
ZORCOMN_PRINTF(2, 0) void __wrap_vsyslog(int priority, const char *format, va_list arguments) {
    const std::string error = std::strerror(errno);
    char text[200];
    vsnprintf(text, sizeof text, format, arguments);
    logged.push_back(std::to_string(priority) + " " + text + (std::strstr(format, "%m") ? " (" + error + ")" : ""));
    pthread_testcancel();
    errno = EPIPE;
}
// What a checked build calls instead.
ZORCOMN_PRINTF(3, 0) void __wrap___vsyslog_chk(int priority, int, const char *format, va_list arguments) {
    __wrap_vsyslog(priority, format, arguments);
}
void __wrap_closelog() {
    logged.push_back("close");
    errno = EBADF;
}
}

class SignalLoop : public ::testing::Test {
protected:
    SignalLoop() {
        sigprocmask(SIG_SETMASK, nullptr, &m_before);
        waits.clear();
        memberships.clear();
        logged.clear();
    }
    ~SignalLoop() override { sigprocmask(SIG_SETMASK, &m_before, nullptr); }

    /** Runs the loop with SIGHUP called back, SIGTERM to stop; the messages, apart from opening and closing. */
    std::vector<std::string> run(const std::deque<Wait> &scripted) {
        waits = scripted;
        SignalHandler handler;
        handler.addSignalToBlock(SIGHUP);
        handler.addSignalToBlock(SIGTERM);
        handler.registerOnSignalCallback(SIGHUP, [this] { ++m_callbacks; });
        handler();
        EXPECT_TRUE(waits.empty());
        std::vector<std::string> messages;
        for (size_t i = 0; i < logged.size(); i += 3) {
            EXPECT_EQ(logged[i], "open [VTA] 10 8");
            messages.push_back(logged.at(i + 1));
            EXPECT_EQ(logged.at(i + 2), "close");
        }
        return messages;
    }

    int m_callbacks = 0;

private:
    sigset_t m_before;
};

using Messages = std::vector<std::string>;
constexpr char kStopped[] = "6 Received signal to stop VTA.";

TEST_F(SignalLoop, SignalWithoutCallback_IsLoggedAndEndsIt) {
    EXPECT_EQ(run({{0, 0, SIGTERM}}), Messages{kStopped});
    EXPECT_EQ(m_callbacks, 0);
}

TEST_F(SignalLoop, SignalWithCallback_RunsItAndIsWaitedOn) {
    EXPECT_EQ(run({{0, 0, SIGHUP}, {0, 0, SIGHUP}, {0, 0, SIGTERM}}), Messages{kStopped});
    EXPECT_EQ(m_callbacks, 2);
}

TEST_F(SignalLoop, WaitReturnsMinusOne_IsLoggedWithErrnoAndWaitedOn) {
    EXPECT_EQ(
        run({{-1, EAGAIN, 0}, {0, 0, SIGTERM}}),
        (Messages{"6 Error (" + std::to_string(EAGAIN) + ") occurred waiting for signal ... ignoring.", kStopped}));
}

TEST_F(SignalLoop, WaitReturnsANumber_IsLoggedWithItAndWaitedOn) {
    EXPECT_EQ(run({{EINVAL, EAGAIN, 0}, {EINTR, 0, 0}, {0, 0, SIGTERM}}),
              (Messages{"6 Error (22) occurred waiting for signal ... ignoring.",
                        "6 Error (4) occurred waiting for signal ... ignoring.", kStopped}));
}

TEST_F(SignalLoop, SignalNotInTheSet_IsLoggedAndWaitedOn) {
    EXPECT_EQ(run({{0, 0, SIGUSR1}, {0, 0, SIGTERM}}),
              (Messages{"6 VTA received unknown signal ... ignoring.", kStopped}));
}

TEST_F(SignalLoop, CallbackOfASignalNotInTheSet_DoesNotRun) {
    memberships = {0, 1};
    EXPECT_EQ(run({{0, 0, SIGHUP}, {0, 0, SIGTERM}}),
              (Messages{"6 VTA received unknown signal ... ignoring.", kStopped}));
    EXPECT_EQ(m_callbacks, 0);
}

TEST_F(SignalLoop, MembershipTestFails_IsLoggedAndWaitedOn) {
    memberships = {-1, 1};
    EXPECT_EQ(run({{0, 0, SIGHUP}, {0, 0, SIGTERM}}),
              (Messages{"6 VTA received invalid signal ... ignoring.", kStopped}));
    EXPECT_EQ(m_callbacks, 0);
}

TEST_F(SignalLoop, EveryMessage_IsInformational_Kept) {
    memberships = {-1, 0, 1};
    for (const std::string &message : run({{-1, EIO, 0}, {0, 0, SIGHUP}, {0, 0, SIGHUP}, {0, 0, SIGTERM}}))
        EXPECT_EQ(message.substr(0, 2), "6 ") << message;
}

TEST_F(SignalLoop, EmptyCallback_LetsTheSignalPass) {
    waits = {{0, 0, SIGHUP}, {0, 0, SIGTERM}};
    SignalHandler handler;
    handler.addSignalToBlock(SIGHUP);
    handler.addSignalToBlock(SIGTERM);
    EXPECT_EQ(handler.registerOnSignalCallback(SIGHUP, nullptr), 0);
    handler();
    EXPECT_EQ(logged.size(), 3u);
}

TEST_F(SignalLoop, WhatACallbackThrows_ComesOut) {
    waits = {{0, 0, SIGHUP}};
    SignalHandler handler;
    handler.addSignalToBlock(SIGHUP);
    handler.registerOnSignalCallback(SIGHUP, [] { throw 5; });
    EXPECT_THROW(handler(), int);
}

class SystemLog : public SignalLoop {};

using velmora_com::vta::LogInSystemLog;
using velmora_com::vta::SyslogPriority;

TEST_F(SystemLog, EachPriority_BecomesTheSystemsOwn) {
    const struct {
        int priority;
        const char *message;
    } rows[] = {{0, "2 text"}, {1, "3 text"}, {2, "4 text"}, {3, "6 text"}, {7, "6 text"}, {-1, "6 text"}};
    for (const auto &row : rows) {
        logged.clear();
        EXPECT_TRUE(LogInSystemLog(static_cast<SyslogPriority>(row.priority), "text"));
        EXPECT_EQ(logged, (Messages{"open [VTA] 10 8", row.message, "close"})) << row.priority;
    }
}

TEST_F(SystemLog, Arguments_AreFormatted) {
    EXPECT_TRUE(LogInSystemLog(velmora_com::vta::SyslogError, "%d of %s", 7, "nine"));
    EXPECT_TRUE(LogInSystemLog(velmora_com::vta::SyslogError, "agent", "%d of %s", 7, "nine"));
    EXPECT_EQ(logged, (Messages{"open [VTA] 10 8", "3 7 of nine", "close", "open agent 10 8", "3 7 of nine", "close"}));
}

TEST_F(SystemLog, SecondText_MakesTheFormWithAnIdent_Kept) {
    const char *text = "message"; // a name, so that the compiler's check lets the mistake pass
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-security"
    LogInSystemLog(velmora_com::vta::SyslogError, "%s", text);
#pragma GCC diagnostic pop
    EXPECT_EQ(logged, (Messages{"open %s 10 8", "3 message", "close"}));
}

TEST_F(SystemLog, Null_CrashesNothing) {
    const char *none = nullptr;
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-security"
    EXPECT_TRUE(LogInSystemLog(velmora_com::vta::SyslogError, none));
    EXPECT_TRUE(LogInSystemLog(velmora_com::vta::SyslogError, "agent", none));
#pragma GCC diagnostic pop
    EXPECT_EQ(logged, Messages());
    EXPECT_TRUE(LogInSystemLog(velmora_com::vta::SyslogError, none, "%d", 5));
    EXPECT_EQ(logged, (Messages{"open [VTA] 10 8", "3 5", "close"}));
}

TEST_F(SystemLog, Errno_ReachesTheMessageAndTheCaller) {
    errno = ENOENT;
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat" // which does not know the system log's own %m when pedantic
    LogInSystemLog(velmora_com::vta::SyslogError, "failed: %m");
#pragma GCC diagnostic pop
    EXPECT_EQ(errno, ENOENT);
    ASSERT_EQ(logged.size(), 3u);
    EXPECT_NE(logged[1].find(std::string("(") + std::strerror(ENOENT) + ")"), std::string::npos) << logged[1];
}

TEST_F(SystemLog, Ident_IsACopyThatOutlivesTheCallersStackInAForkedChild) {
    const char ident[] = "on this stack";
    LogInSystemLog(velmora_com::vta::SyslogError, ident, "text");
    EXPECT_NE(identOpened, ident);
    EXPECT_EQ(logged, (Messages{"open on this stack 10 8", "3 text", "close"}));
}

TEST_F(SystemLog, CancelledThread_WritesItsMessageAndClosesTheLog) {
    for (const bool isLoop : {false, true}) { // whose own messages are no cancellation points either
        logged.clear();
        waits = {{0, 0, SIGTERM}};
        std::thread([&] {
            pthread_cancel(pthread_self());
            const std::string ident = "an ident of this thread's own";
            if (isLoop) {
                SignalHandler handler;
                handler.addSignalToBlock(SIGTERM);
                handler();
            } else {
                LogInSystemLog(velmora_com::vta::SyslogError, ident.c_str(), "text");
            }
            logged.push_back("returned");
        }).join();
        ASSERT_EQ(logged.size(), 4u);
        EXPECT_EQ(logged[2], "close");
        EXPECT_EQ(logged[3], "returned");
    }
}

namespace {

ZORCOMN_PRINTF(2, 3) bool logPlain(int priority, const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const bool result = velmora_com::vta::vLogInSystemLog(priority, format, arguments);
    va_end(arguments);
    return result;
}

ZORCOMN_PRINTF(3, 4) bool logAs(int priority, const char *ident, const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const bool result = velmora_com::vta::vLogInSystemLog(priority, ident, format, arguments);
    va_end(arguments);
    return result;
}

} // namespace

TEST_F(SystemLog, ArgumentLists_GoOutAtTheSystemsPriority) {
    EXPECT_TRUE(logPlain(0, "%s", "plain"));
    EXPECT_TRUE(logAs(7, "agent", "%s", "named"));
    EXPECT_EQ(logged, (Messages{"open [VTA] 10 8", "0 plain", "close", "open agent 10 8", "7 named", "close"}));
}
