// Signals, masks and the system log for real: in child processes, with a log socket of the test's own at the system
// log's address where it must be read.

#include "zorcomn/session.h"

#include "tests/support/child.h"
#include "tests/support/eventually.h"
#include "tests/support/private_machine.h"
#include "tests/support/temporary_folder.h"

#include <atomic>
#include <csignal>
#include <cstring>
#include <functional>
#include <thread>

#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

using velmora_com::vta::LogInSystemLog;
using velmora_com::vta::SignalHandler;
using zor::test::childPasses;

namespace {

bool isBlocked(int signal) {
    sigset_t mask;
    pthread_sigmask(SIG_SETMASK, nullptr, &mask);
    return sigismember(&mask, signal) == 1;
}

void block(int signal) {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, signal);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

} // namespace

TEST(SignalMask, AddedSignals_ReplaceTheMask_Kept) {
    EXPECT_TRUE(childPasses([] {
        block(SIGUSR1);
        SignalHandler handler;
        EXPECT_TRUE(isBlocked(SIGUSR1));
        EXPECT_EQ(handler.addSignalToBlock(SIGHUP), 0);
        EXPECT_TRUE(isBlocked(SIGHUP));
        EXPECT_FALSE(isBlocked(SIGUSR1));
        EXPECT_EQ(handler.addSignalToBlock(SIGTERM), 0);
        EXPECT_TRUE(isBlocked(SIGHUP));
        EXPECT_TRUE(isBlocked(SIGTERM));
    }));
}

TEST(SignalMask, TwoHandlers_EachSetTheirOwn_Kept) {
    EXPECT_TRUE(childPasses([] {
        SignalHandler one, other;
        one.addSignalToBlock(SIGHUP);
        other.addSignalToBlock(SIGTERM);
        EXPECT_FALSE(isBlocked(SIGHUP));
        EXPECT_TRUE(isBlocked(SIGTERM));
    }));
}

TEST(SignalMask, Threads_InheritIt) {
    EXPECT_TRUE(childPasses([] {
        SignalHandler handler;
        handler.addSignalToBlock(SIGHUP);
        std::thread([] { EXPECT_TRUE(isBlocked(SIGHUP)); }).join();
    }));
}

TEST(SignalMask, InvalidSignal_AddsNothing) {
    EXPECT_TRUE(childPasses([] {
        SignalHandler handler;
        for (const int signal : {0, -1, 1000}) {
            EXPECT_EQ(handler.addSignalToBlock(signal), 0);
            EXPECT_EQ(handler.unblockSignal(signal), 0);
        }
        EXPECT_EQ(handler.addSignalToBlock(SIGHUP), 0);
        EXPECT_TRUE(isBlocked(SIGHUP));
    }));
}

TEST(SignalMask, UnblockedSignal_LeavesTheMaskAlone) {
    EXPECT_TRUE(childPasses([] {
        SignalHandler handler;
        handler.addSignalToBlock(SIGHUP);
        handler.addSignalToBlock(SIGTERM);
        EXPECT_EQ(handler.unblockSignal(SIGHUP), 0);
        EXPECT_FALSE(isBlocked(SIGHUP));
        EXPECT_TRUE(isBlocked(SIGTERM));
        handler.addSignalToBlock(SIGUSR1); // the object still has it
        EXPECT_TRUE(isBlocked(SIGHUP));
    }));
}

TEST(SignalMask, DestroyedHandler_LeavesItAsItIs) {
    EXPECT_TRUE(childPasses([] {
        { SignalHandler().addSignalToBlock(SIGHUP); }
        EXPECT_TRUE(isBlocked(SIGHUP));
    }));
}

TEST(WaitingLoop, RealSignals_RunTheirCallbackOnTheWaitingThreadUntilOneStops) {
    EXPECT_TRUE(childPasses([] {
        SignalHandler handler;
        handler.addSignalToBlock(SIGHUP);
        handler.addSignalToBlock(SIGTERM);
        std::atomic<int> calls{0};
        std::thread::id calledOn;
        handler.registerOnSignalCallback(SIGHUP, [&] {
            calledOn = std::this_thread::get_id();
            ++calls;
        });
        std::thread waiting(std::ref(handler));
        const std::thread::id waitingId = waiting.get_id();
        for (int expected = 1; expected <= 3; ++expected) {
            kill(getpid(), SIGHUP);
            ASSERT_TRUE(zor::test::eventually([&] { return calls == expected; }));
        }
        kill(getpid(), SIGTERM);
        waiting.join();
        EXPECT_EQ(calls, 3);
        EXPECT_EQ(calledOn, waitingId);
    }));
}

TEST(WaitingLoop, SecondRegistration_IsDropped_Kept) {
    EXPECT_TRUE(childPasses([] {
        SignalHandler handler;
        handler.addSignalToBlock(SIGHUP);
        handler.addSignalToBlock(SIGTERM);
        int first = 0, second = 0;
        EXPECT_EQ(handler.registerOnSignalCallback(SIGHUP, [&] { ++first; }), 0);
        EXPECT_EQ(handler.registerOnSignalCallback(SIGHUP, [&] { ++second; }), 0);
        kill(getpid(), SIGHUP); // pending until the loop takes it, before SIGTERM with its higher number
        kill(getpid(), SIGTERM);
        handler();
        EXPECT_EQ(first, 1);
        EXPECT_EQ(second, 0);
    }));
}

TEST(WaitingLoop, UnblockedSignal_IsStillItsOwn_Kept) {
    EXPECT_TRUE(childPasses([] {
        SignalHandler handler;
        handler.addSignalToBlock(SIGTERM);
        handler.unblockSignal(SIGTERM);
        block(SIGTERM); // by hand, so that it stays pending for the loop
        kill(getpid(), SIGTERM);
        handler();
    }));
}

TEST(WaitingLoop, SignalDuringACallback_StaysPending) {
    EXPECT_TRUE(childPasses([] {
        SignalHandler handler;
        handler.addSignalToBlock(SIGHUP);
        handler.addSignalToBlock(SIGTERM);
        bool isRunning = false;
        int calls = 0;
        handler.registerOnSignalCallback(SIGHUP, [&] {
            EXPECT_FALSE(isRunning);
            isRunning = true;
            kill(getpid(), ++calls < 3 ? SIGHUP : SIGTERM);
            isRunning = false;
        });
        kill(getpid(), SIGHUP);
        handler();
        EXPECT_EQ(calls, 3);
    }));
}

TEST(WaitingLoop, CancelledThread_Ends) {
    ZORCOMN_SKIP_WITHOUT_CANCELLATION();
    EXPECT_TRUE(childPasses([] {
        static SignalHandler handler;
        handler.addSignalToBlock(SIGTERM);
        pthread_t thread;
        ASSERT_EQ(pthread_create(
                      &thread, nullptr,
                      [](void *) -> void * {
                          handler();
                          return nullptr;
                      },
                      nullptr),
                  0);
        pthread_cancel(thread);
        void *result = nullptr;
        pthread_join(thread, &result);
        EXPECT_EQ(result, PTHREAD_CANCELED);
    }));
}

TEST(WaitingLoop, CallbackThatEndsItsThread_Unwinds) {
    EXPECT_TRUE(childPasses([] {
        static SignalHandler handler;
        handler.addSignalToBlock(SIGHUP);
        handler.registerOnSignalCallback(SIGHUP, [] { pthread_exit(nullptr); });
        kill(getpid(), SIGHUP);
        std::thread(std::ref(handler)).join();
    }));
}

TEST(CatchSigterm, Signal_SetsTheFlagAndNothingElse) {
    EXPECT_TRUE(childPasses([] {
        EXPECT_EQ(bSigTermReceived, 0);
        struct sigaction action {};
        action.sa_handler = CatchSIGTERM;
        sigaction(SIGTERM, &action, nullptr);
        errno = ERANGE;
        raise(SIGTERM);
        EXPECT_EQ(errno, ERANGE);
        EXPECT_EQ(bSigTermReceived, 1);
        bSigTermReceived = 0;
        CatchSIGTERM(0);
        EXPECT_EQ(bSigTermReceived, 1);
        EXPECT_EQ(sizeof bSigTermReceived, 4u);
    }));
}

namespace {

/** A log daemon's socket at the system log's address, in the child's own namespace. */
class LogSocket {
public:
    LogSocket() {
        m_files.place("/dev/log", "");
        unlink("/dev/log");
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::strcpy(address.sun_path, "/dev/log");
        m_socket = socket(AF_UNIX, SOCK_DGRAM, 0);
        m_ready = m_files.isReady() && bind(m_socket, reinterpret_cast<sockaddr *>(&address), sizeof address) == 0;
    }
    ~LogSocket() { close(m_socket); }

    bool isReady() const { return m_ready; }
    /** The next message without its time stamp: <priority>ident: text. */
    std::string next() { return receive(MSG_DONTWAIT); }
    std::string waitForNext() { return receive(0); }

private:
    std::string receive(int flags) {
        char bytes[2000];
        const ssize_t length = recv(m_socket, bytes, sizeof bytes, flags);
        if (length < 0)
            return "(none)";
        const std::string message(bytes, static_cast<size_t>(length));
        const size_t time = message.find('>') + 1;
        return message.substr(0, time) + message.substr(time + std::strlen("Jan  1 00:00:00 "));
    }

    zor::test::PrivateMachine m_files;
    int m_socket = -1;
    bool m_ready = false;
};

} // namespace

class RealLog : public ::testing::Test {
protected:
    void SetUp() override { ZORCOMN_SKIP_WITHOUT_NAMESPACES(); }
};

TEST_F(RealLog, EachPriority_ArrivesWithIdentAndFacility) {
    EXPECT_TRUE(childPasses([] {
        LogSocket log;
        ASSERT_TRUE(log.isReady());
        const int expected[] = {2, 3, 4, 6, 6, 6, 6, 6};
        for (int priority = 0; priority < 8; ++priority) {
            EXPECT_TRUE(
                LogInSystemLog(static_cast<velmora_com::vta::SyslogPriority>(priority), "message %d", priority));
            EXPECT_EQ(log.next(),
                      "<" + std::to_string(8 + expected[priority]) + ">[VTA]: message " + std::to_string(priority));
        }
        EXPECT_EQ(log.next(), "(none)");
    }));
}

TEST_F(RealLog, Ident_IsTheCallsOwn) {
    EXPECT_TRUE(childPasses([] {
        LogSocket log;
        ASSERT_TRUE(log.isReady());
        {
            const std::string ident = "agent"; // gone by the next message
            LogInSystemLog(velmora_com::vta::SyslogError, ident.c_str(), "%s", "one");
        }
        LogInSystemLog(velmora_com::vta::SyslogError, "two");
        EXPECT_EQ(log.next(), "<11>agent: one");
        EXPECT_EQ(log.next(), "<11>[VTA]: two");
    }));
}

TEST_F(RealLog, Loop_LogsTheStop) {
    EXPECT_TRUE(childPasses([] {
        LogSocket log;
        ASSERT_TRUE(log.isReady());
        SignalHandler handler;
        handler.addSignalToBlock(SIGTERM);
        kill(getpid(), SIGTERM);
        handler();
        EXPECT_EQ(log.next(), "<14>[VTA]: Received signal to stop VTA.");
        EXPECT_EQ(log.next(), "(none)");
    }));
}

TEST_F(RealLog, ThreadsWithIdentsOfTheirOwn_DoNotMixThem) {
    EXPECT_TRUE(childPasses([] {
        LogSocket log;
        ASSERT_TRUE(log.isReady());
        constexpr int kThreads = 4, kMessages = 500;
        std::vector<std::thread> threads;
        for (int i = 0; i < kThreads; ++i)
            threads.emplace_back([ident = "agent" + std::to_string(i)] {
                for (int message = 0; message < kMessages; ++message)
                    LogInSystemLog(velmora_com::vta::SyslogError, ident.c_str(), "%s", ident.c_str());
            });
        for (int i = 0; i < kThreads * kMessages; ++i) {
            const std::string message = log.waitForNext();
            const std::string ident = message.substr(0, message.find(':')),
                              text = message.substr(message.find(' ') + 1);
            EXPECT_EQ(ident, "<11>" + text);
        }
        for (std::thread &thread : threads)
            thread.join();
    }));
}

TEST_F(RealLog, NobodyListens_MessageGoesToTheConsole) {
    EXPECT_TRUE(childPasses([] {
        zor::test::PrivateMachine files;
        files.place("/dev/log", "");
        files.place("/dev/console", "");
        ASSERT_TRUE(files.isReady());
        EXPECT_TRUE(LogInSystemLog(velmora_com::vta::SyslogInfo, "nobody listens"));
        EXPECT_NE(zor::test::readFile("/dev/console").find("[VTA]: nobody listens"), std::string::npos);
    }));
}
