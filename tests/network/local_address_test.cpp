// The local address towards a peer, over real sockets on the loopback interface and a made-up resolver.

#include "zorcomn/network.h"

#include "tests/network/fake_network.h"
#include "tests/network/listener.h"
#include "tests/support/failing_calls.h"

#include <chrono>
#include <string>

namespace {

using velmora_com::vta::ANetworkUtil;
using zor::test::FailingCall;
using zor::test::fakeNetwork;
using zor::test::Listener;
using zor::test::SilentListener;

class LocalAddress : public zor::test::FakeNetworkTest {
protected:
    /** The address found, or "error" and the result's number; a failure must leave the text alone. */
    std::string towards(const std::string &peer, const std::string &service, int seconds, bool ipv4Only = false,
                        int flags = NI_NUMERICHOST) {
        return checked([&](std::string &local) {
            return util.zorGetLocalIPAddress(peer, service, local, ipv4Only, seconds, flags);
        });
    }
    std::string towardsOneOf(const std::string &peers, const std::string &service, int unused, int seconds) {
        return checked([&](std::string &local) {
            return util.zorGetLocalIPAddressFromList(peers, service, local, true, unused, seconds);
        });
    }

    ANetworkUtil util;

private:
    template <class Call> static std::string checked(Call call) {
        std::string local = "mine";
        const int result = call(local);
        EXPECT_TRUE(result == 0 || local == "mine") << local;
        return result == 0 ? local : "error " + std::to_string(result);
    }
};

const std::string kUnknownName = "error " + std::to_string(EAI_NONAME);

TEST_F(LocalAddress, TowardsAListeningPeer_IsTheConnectionsOwn) {
    const Listener peer;
    for (const int seconds : {0, 2})
        EXPECT_EQ(towards("127.0.0.1", peer.service(), seconds), "127.0.0.1");
    EXPECT_EQ(towards("127.0.0.1", peer.service(), 2, true), "127.0.0.1");
    const zor::Descriptor one = peer.accept(), two = peer.accept(), three = peer.accept();
    EXPECT_TRUE(one && two && three) << "each was a real connection";
}

TEST_F(LocalAddress, TowardsAnIPv6Peer_IsExpanded) {
    if (!zor::openSocket(AF_INET6, SOCK_STREAM, 0))
        GTEST_SKIP() << "no IPv6 here";
    const Listener peer("::1");
    for (const char *text : {"::1", "[::1]", "[::1%4]"})
        EXPECT_EQ(towards(text, peer.service(), 2), "0:0:0:0:0:0:0:1") << text;
    EXPECT_NE(towards("::1", peer.service(), 2, true).substr(0, 5), "0:0:0") << "IPv4 only";
}

TEST_F(LocalAddress, PeersAddresses_AreTriedInTheResolversOrder) {
    const Listener peer; // nobody listens at 127.0.0.9, nor at the port on 127.0.0.8
    fakeNetwork.hosts["alpha"] = {"127.0.0.9", "127.0.0.8", "127.0.0.1"};
    EXPECT_EQ(towards("alpha", peer.service(), 0), "127.0.0.1");
}

TEST_F(LocalAddress, FamilyWithoutSockets_IsPassedOver) {
    const Listener peer;
    fakeNetwork.hosts["alpha"] = {"::1", "127.0.0.1"};
    fakeNetwork.refusedFamilies = {AF_INET6};
    EXPECT_EQ(towards("alpha", peer.service(), 0), "127.0.0.1");
    EXPECT_EQ(towards("::1", peer.service(), 0), "error -1");
}

TEST_F(LocalAddress, RefusingPeer_FailsWithoutALimit) {
    Listener peer;
    peer.refuse();
    EXPECT_EQ(towards("127.0.0.1", peer.service(), 0), "error -1");
}

TEST_F(LocalAddress, RefusingPeer_PassesWithinALimit_Kept) {
    Listener peer;
    peer.refuse();
    EXPECT_NE(towards("127.0.0.1", peer.service(), 2).substr(0, 5), "error");
}

TEST_F(LocalAddress, PeerThatNeverAnswers_FailsWhenTimeRunsOut) {
    const SilentListener peer;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(towards("127.0.0.1", peer.service(), 1), "error -1");
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
    {
        const FailingCall connecting("connect", 1, EINPROGRESS), waiting("poll", 1, EINTR);
        EXPECT_NE(towards("127.0.0.1", peer.service(), -1), "error -1") << "a negative limit is the longest";
    }
}

TEST_F(LocalAddress, UnknownPeer_GivesTheResolversError) {
    EXPECT_EQ(towards("badhost", "80", 0), kUnknownName);
    EXPECT_EQ(towards("", "80", 0), "error -1");
}

TEST_F(LocalAddress, EachFailingCall_PassesOnToTheNextAddress) {
    const Listener peer;
    fakeNetwork.hosts["alpha"] = {"127.0.0.1", "127.0.0.1"};
    for (const char *call : {"socket", "connect", "getsockname", "getnameinfo"}) {
        const FailingCall failing(call, 1, EAI_FAIL);
        EXPECT_EQ(towards("alpha", peer.service(), 0), "127.0.0.1") << call;
        EXPECT_TRUE(failing.wasReached()) << call;
        const FailingCall failingAlone(call, 1, EAI_FAIL);
        EXPECT_EQ(towards("127.0.0.1", peer.service(), 0), "error -1") << call;
        EXPECT_TRUE(failingAlone.wasReached()) << call;
    }
}

TEST_F(LocalAddress, OutOfMemory_LeaksNothing) {
    bool reached = true;
    for (int nth = 1; reached && nth < 200; ++nth) {
        forgetQuestions();
        size_t live = 0;
        {
            const zor::test::AllocationScope allocations;
            std::string local;
            {
                const FailingCall failing("operator new", nth);
                static_cast<void>(util.zorGetLocalIPAddressFromList("127.0.0.1", "1", local, false, 0, 2));
                reached = failing.wasReached();
            }
            forgetQuestions();
            live = allocations.live();
        }
        EXPECT_EQ(live, 0u) << nth;
    }
    EXPECT_FALSE(reached);
}

TEST_F(LocalAddress, LinkLocalEntry_GetsItsScopeBeforeTheConnection) {
    fakeNetwork.indexes = {{"en0", 4}};
    fakeNetwork.entries.addLink("en0", 1);
    fakeNetwork.entries.addAddress("en0", zor::test::kUp, "10.0.0.1", "255.0.0.0");
    fakeNetwork.hosts["alpha"] = {"fe80::1"}; // without a scope, as from a name service
    fakeNetwork.refusedFamilies = {AF_INET6}; // so that nothing is sent
    EXPECT_EQ(towards("alpha", "1", 0), "error -1");
    ASSERT_EQ(fakeNetwork.questions.size(), 2u);
    EXPECT_EQ(fakeNetwork.questions[0].node, "alpha");
    EXPECT_EQ(fakeNetwork.questions[1].node, "fe80::1%4");
}

TEST_F(LocalAddress, LinkLocalEntryOf32Characters_GetsNoScope_Kept) {
    fakeNetwork.indexes = {{"en0", 4}};
    fakeNetwork.entries.addLink("en0", 1);
    fakeNetwork.entries.addAddress("en0", zor::test::kUp, "10.0.0.1", "255.0.0.0");
    fakeNetwork.refusedFamilies = {AF_INET6}; // so that nothing is sent
    const std::string of31 = "fe80:1:1111:2222:3333:4444:5:66", of32 = of31 + '6';
    const struct {
        std::string address;
        size_t questions; // the peer's name, then the address with a scope
    } rows[] = {{of31, 2}, {of32, 1}};
    for (const auto &row : rows) {
        fakeNetwork.questions.clear();
        fakeNetwork.hosts["alpha"] = {row.address};
        EXPECT_EQ(towards("alpha", "1", 0), "error -1");
        EXPECT_EQ(fakeNetwork.questions.size(), row.questions) << row.address;
    }
}

TEST_F(LocalAddress, List_EachPeerIsTriedUntilOneSucceeds) {
    const Listener peer;
    const struct {
        const char *peers;
        std::string result;
        size_t questions;
    } rows[] = {
        {"127.0.0.1", "127.0.0.1", 1},
        {"badhost;127.0.0.1", "127.0.0.1", 2},
        {"127.0.0.1;badhost", "127.0.0.1", 1},
        {"127.0.0.9;127.0.0.1;127.0.0.8", "127.0.0.1", 2},
        {"127.0.0.1;", "127.0.0.1", 1},
        {";;127.0.0.1", "127.0.0.1", 1},
        {"badhost;127.0.0.9", "error -1", 2},
        {"127.0.0.9;badhost", kUnknownName, 2},
        {"127.0.0.9;badhost;", kUnknownName, 2},
        {"badhost;;", "error -1", 1},
        {" 127.0.0.1", kUnknownName, 1},
        {"", "error -1", 0},
        {";", "error -1", 0},
        {";;;", "error -1", 0},
    };
    for (const auto &row : rows) {
        fakeNetwork.questions.clear();
        EXPECT_EQ(towardsOneOf(row.peers, peer.service(), 0, 0), row.result) << row.peers;
        EXPECT_EQ(fakeNetwork.questions.size(), row.questions) << row.peers;
    }
}

TEST_F(LocalAddress, List_SixthArgumentIsTheTimeOutAndTheFifthIsNot_Kept) {
    const SilentListener peer;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(towardsOneOf("127.0.0.1", peer.service(), 0, 1), "error -1");
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(30));
    Listener refusing;
    refusing.refuse();
    EXPECT_EQ(towardsOneOf("127.0.0.1", refusing.service(), 2, 0), "error -1");
    EXPECT_NE(towardsOneOf("127.0.0.1", refusing.service(), 0, 2).substr(0, 5), "error");
}

} // namespace
