// Connections within a time limit, over real sockets on the loopback interface.

#include "zorcomn/network.h"

#include "tests/network/fake_network.h"
#include "tests/network/listener.h"
#include "tests/support/child.h"
#include "tests/support/failing_calls.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/select.h>
#include <sys/time.h>

namespace {

using velmora_com::vta::ANetworkUtil;
using zor::Descriptor;
using zor::openSocket;
using zor::test::FailingCall;
using zor::test::Listener;
using zor::test::SilentListener;
using Clock = std::chrono::steady_clock;

class Connect : public zor::test::FakeNetworkTest {
protected:
    ANetworkUtil util;
};

bool isNonBlocking(int descriptor) {
    return (fcntl(descriptor, F_GETFL) & O_NONBLOCK) != 0;
}

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

TEST_F(Connect, MakeSocketNonBlocking_AddsToTheFlags) {
    const Descriptor socket = openSocket(AF_INET, SOCK_STREAM, 0);
    ASSERT_EQ(fcntl(socket.get(), F_SETFL, O_APPEND), 0);
    EXPECT_TRUE(util.makeSocketNonBlocking(socket.get()));
    EXPECT_EQ(fcntl(socket.get(), F_GETFL) & (O_APPEND | O_NONBLOCK), O_APPEND | O_NONBLOCK);
    EXPECT_TRUE(util.makeSocketNonBlocking(socket.get()));
}

TEST_F(Connect, MakeSocketNonBlocking_UnreadableFlagsBecomeNonBlockingAlone) {
    const Descriptor socket = openSocket(AF_INET, SOCK_STREAM, 0);
    ASSERT_EQ(fcntl(socket.get(), F_SETFL, O_APPEND), 0);
    const FailingCall failing("fcntl64", 1, EIO);
    EXPECT_TRUE(util.makeSocketNonBlocking(socket.get()));
    EXPECT_TRUE(failing.wasReached());
    EXPECT_EQ(fcntl(socket.get(), F_GETFL) & (O_APPEND | O_NONBLOCK), O_NONBLOCK);
}

TEST_F(Connect, MakeSocketNonBlocking_FailsWhenTheFlagsCannotBeSet) {
    const Descriptor socket = openSocket(AF_INET, SOCK_STREAM, 0);
    const FailingCall failing("fcntl64", 2, EIO);
    EXPECT_FALSE(util.makeSocketNonBlocking(socket.get()));
    EXPECT_TRUE(failing.wasReached());
    EXPECT_FALSE(util.makeSocketNonBlocking(-1));
}

TEST_F(Connect, OpenedSocket_IsNotHandedOnToPrograms) {
    const Descriptor socket = openSocket(AF_INET, SOCK_STREAM, 0);
    EXPECT_EQ(fcntl(socket.get(), F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
}

TEST_F(Connect, ListeningPeer_IsConnectedTo) {
    for (const char *address : {"127.0.0.1", "::1"}) {
        const Descriptor probe = openSocket(AF_INET6, SOCK_STREAM, 0);
        if (!probe && address[0] == ':')
            GTEST_SKIP() << "no IPv6 here";
        for (const unsigned int seconds : {0u, 2u, 0x7FFFFFFFu}) {
            Listener peer(address);
            const Descriptor socket = openSocket(peer.address()->sa_family, SOCK_STREAM, 0);
            EXPECT_EQ(util.ConnectWithTimeout(socket.get(), peer.address(), peer.length(), seconds), 0);
            EXPECT_EQ(isNonBlocking(socket.get()), seconds != 0);
            const Descriptor other = peer.accept();
            EXPECT_EQ(send(socket.get(), "x", 1, MSG_NOSIGNAL), 1);
            char received = 0;
            EXPECT_EQ(recv(other.get(), &received, 1, 0), 1);
        }
    }
}

TEST_F(Connect, RefusingPeer_FailsWithoutALimit) {
    Listener peer;
    peer.refuse();
    const Descriptor socket = openSocket(AF_INET, SOCK_STREAM, 0);
    EXPECT_EQ(util.ConnectWithTimeout(socket.get(), peer.address(), peer.length(), 0), -1);
    EXPECT_EQ(errno, ECONNREFUSED);
    EXPECT_FALSE(isNonBlocking(socket.get()));
}

TEST_F(Connect, RefusingPeer_CountsAsConnectedWithinALimit_Kept) {
    Listener peer;
    peer.refuse();
    const Descriptor socket = openSocket(AF_INET, SOCK_STREAM, 0);
    EXPECT_EQ(util.ConnectWithTimeout(socket.get(), peer.address(), peer.length(), 2), 0);
    EXPECT_EQ(send(socket.get(), "x", 1, MSG_NOSIGNAL), -1) << "the first send reveals it";
}

TEST_F(Connect, PeerThatNeverAnswers_FailsWhenTimeRunsOut) {
    SilentListener peer;
    const Descriptor socket = openSocket(AF_INET, SOCK_STREAM, 0);
    const auto start = Clock::now();
    EXPECT_EQ(util.ConnectWithTimeout(socket.get(), peer.address(), peer.length(), 2), -1);
    EXPECT_EQ(errno, ETIMEDOUT);
    EXPECT_GE(secondsSince(start), 2.0);
    EXPECT_LT(secondsSince(start), 30.0);
    EXPECT_TRUE(isNonBlocking(socket.get())) << "still open, and non-blocking";
}

TEST_F(Connect, WaitAfterSignals_TakesTheWholeTime) {
    EXPECT_TRUE(zor::test::childPasses([&] {
        struct sigaction action {};
        action.sa_handler = [](int) {}; // no SA_RESTART: every call is interrupted
        ASSERT_EQ(sigaction(SIGALRM, &action, nullptr), 0);
        const itimerval every50Milliseconds = {{0, 50000}, {0, 50000}};
        ASSERT_EQ(setitimer(ITIMER_REAL, &every50Milliseconds, nullptr), 0);
        SilentListener peer;
        const Descriptor socket = openSocket(AF_INET, SOCK_STREAM, 0);
        const auto start = Clock::now();
        EXPECT_EQ(util.ConnectWithTimeout(socket.get(), peer.address(), peer.length(), 1), -1);
        EXPECT_EQ(errno, ETIMEDOUT);
        EXPECT_GE(secondsSince(start), 1.0);
        const itimerval never = {};
        setitimer(ITIMER_REAL, &never, nullptr);
    }));
}

TEST_F(Connect, InterruptedWait_GoesOn) {
    Listener peer;
    const Descriptor socket = openSocket(AF_INET, SOCK_STREAM, 0);
    const FailingCall connecting("connect", 1, EINPROGRESS), waiting("poll", 1, EINTR);
    EXPECT_EQ(util.ConnectWithTimeout(socket.get(), peer.address(), peer.length(), 2), 0);
    EXPECT_TRUE(connecting.wasReached() && waiting.wasReached());
}

/** A socket with a connection under way, about which connect is to say that a signal interrupted it. */
Descriptor connectingSocket(Listener &peer) {
    Descriptor socket = openSocket(AF_INET, SOCK_STREAM, 0);
    connect(socket.get(), peer.address(), static_cast<socklen_t>(peer.length()));
    return socket;
}

TEST_F(Connect, InterruptedConnect_IsFinished) {
    Listener peer;
    const Descriptor socket = connectingSocket(peer);
    const FailingCall connecting("connect", 1, EINTR), waiting("poll", 1, EINTR);
    EXPECT_EQ(util.ConnectWithTimeout(socket.get(), peer.address(), peer.length(), 0), 0);
    EXPECT_TRUE(connecting.wasReached() && waiting.wasReached());
    EXPECT_EQ(send(socket.get(), "x", 1, MSG_NOSIGNAL), 1);
}

TEST_F(Connect, InterruptedConnectThatFails_SaysWhy) {
    Listener peer;
    for (const char *call : {"poll", "getsockopt"}) {
        const Descriptor socket = connectingSocket(peer);
        const FailingCall connecting("connect", 1, EINTR), failing(call, 1, ENOMEM);
        EXPECT_EQ(util.ConnectWithTimeout(socket.get(), peer.address(), peer.length(), 0), -1) << call;
        EXPECT_EQ(errno, ENOMEM);
        EXPECT_TRUE(failing.wasReached());
    }
}

TEST_F(Connect, FailingWait_Fails) {
    Listener peer;
    for (const char *call : {"poll", "getsockopt"}) {
        const Descriptor socket = openSocket(AF_INET, SOCK_STREAM, 0);
        const FailingCall connecting("connect", 1, EINPROGRESS), failing(call, 1, ENOMEM);
        EXPECT_EQ(util.ConnectWithTimeout(socket.get(), peer.address(), peer.length(), 2), -1) << call;
        EXPECT_EQ(errno, ENOMEM);
        EXPECT_TRUE(failing.wasReached());
    }
}

TEST_F(Connect, WhyAConnectionIsNotMadeAtOnce_IsNotLookedAt_Kept) {
    Listener peer;
    const Descriptor socket = openSocket(AF_INET, SOCK_STREAM, 0);
    const FailingCall connecting("connect", 1, ENETUNREACH);
    EXPECT_EQ(util.ConnectWithTimeout(socket.get(), peer.address(), peer.length(), 2), 0)
        << "a socket that is not connected is writable here";
}

TEST_F(Connect, SocketThatCannotBeMadeNonBlocking_FailsOnlyWithALimit) {
    Listener peer;
    const Descriptor socket = openSocket(AF_INET, SOCK_STREAM, 0);
    {
        const FailingCall failing("fcntl64", 2, EIO);
        EXPECT_EQ(util.ConnectWithTimeout(socket.get(), peer.address(), peer.length(), 2), -1);
        EXPECT_TRUE(failing.wasReached());
    }
    EXPECT_EQ(util.ConnectWithTimeout(socket.get(), peer.address(), peer.length(), 0), 0);
}

TEST_F(Connect, BadArguments_AreRefused) {
    Listener peer;
    const Descriptor socket = openSocket(AF_INET, SOCK_STREAM, 0);
    for (const unsigned int seconds : {0u, 2u}) {
        EXPECT_EQ(util.ConnectWithTimeout(socket.get(), nullptr, peer.length(), seconds), -1);
        EXPECT_EQ(util.ConnectWithTimeout(socket.get(), peer.address(), -1, seconds), -1);
        EXPECT_EQ(errno, EINVAL);
        EXPECT_EQ(util.ConnectWithTimeout(-1, peer.address(), peer.length(), seconds), -1);
        EXPECT_EQ(errno, EBADF);
    }
    EXPECT_FALSE(isNonBlocking(socket.get()));
}

TEST_F(Connect, LimitBeyondWhatCanBeWaited_IsTheLongestThereIs) {
    Listener peer;
    for (const unsigned int seconds : {0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
        const Descriptor socket = openSocket(AF_INET, SOCK_STREAM, 0);
        const FailingCall connecting("connect", 1, EINPROGRESS), waiting("poll", 1, EINTR);
        EXPECT_EQ(util.ConnectWithTimeout(socket.get(), peer.address(), peer.length(), seconds), 0) << seconds;
        EXPECT_TRUE(connecting.wasReached() && waiting.wasReached()) << seconds;
    }
}

TEST_F(Connect, DescriptorTooLargeForSelect_IsConnected) {
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    constexpr int kLarge = FD_SETSIZE + 100;
    if (limit.rlim_max <= kLarge)
        GTEST_SKIP() << "this process may not have " << kLarge << " descriptors";
    EXPECT_TRUE(zor::test::childPasses([&] {
        limit.rlim_cur = kLarge + 1;
        ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
        Listener peer;
        SilentListener silent;
        ASSERT_EQ(dup2(openSocket(AF_INET, SOCK_STREAM, 0).get(), kLarge), kLarge);
        EXPECT_EQ(util.ConnectWithTimeout(kLarge, peer.address(), peer.length(), 2), 0);
        EXPECT_EQ(send(kLarge, "x", 1, MSG_NOSIGNAL), 1);
        ASSERT_EQ(dup2(openSocket(AF_INET, SOCK_STREAM, 0).get(), kLarge), kLarge);
        EXPECT_EQ(util.ConnectWithTimeout(kLarge, silent.address(), silent.length(), 1), -1);
        EXPECT_EQ(errno, ETIMEDOUT);
    }));
}

} // namespace
