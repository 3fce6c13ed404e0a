// Resolution and connections with the system's own resolver, in a network and with hosts files of the test's own.

#include "zorcomn/network.h"

#include "tests/network/listener.h"
#include "tests/network/private_network.h"
#include "tests/support/descriptors.h"

#include <chrono>
#include <string>
#include <vector>

#include <net/if.h>
#include <netdb.h>

namespace {

using velmora_com::vta::ANetworkUtil;
using zor::test::addInterface;
using zor::test::bringUp;
using zor::test::ip;
using zor::test::Listener;

/** Runs body in a child with a network, a hosts file and no other resolver of its own. */
::testing::AssertionResult passesWithHosts(const std::string &hosts, const std::function<void()> &body) {
    const zor::test::TemporaryFolder folder;
    return zor::test::passesInPrivateNetwork([&] {
        ASSERT_TRUE(zor::test::enterPrivateMounts());
        zor::test::coverHosts(folder, hosts);
        body();
    });
}

std::string localAddressTowards(const std::string &peer, const std::string &service, int seconds) {
    ANetworkUtil util;
    std::string local;
    const int result = util.zorGetLocalIPAddress(peer, service, local, false, seconds, NI_NUMERICHOST);
    return result == 0 ? local : "error " + std::to_string(result);
}

TEST(RealConnections, NameOfTwentyAddresses_GivesFourteenTexts_Kept) {
    ZORCOMN_SKIP_WITHOUT_PRIVATE_NETWORK();
    std::string hosts;
    for (int i = 1; i <= 20; ++i)
        hosts += "10.0.0." + std::to_string(i) + " many\n";
    EXPECT_TRUE(passesWithHosts(hosts + "10.0.1.1 one\n10.0.1.2 two\n10.0.1.3 two\n", [] {
        ANetworkUtil util;
        std::vector<char *> texts;
        EXPECT_EQ(util.zorGetAddrinfo("many", "", texts, NI_NUMERICHOST), 0);
        EXPECT_EQ(texts.size(), 14u);
        util.zorFreeAddrinfo(texts);
        EXPECT_EQ(util.zorGetAddrinfo("one", "", texts, NI_NUMERICHOST), 0);
        ASSERT_EQ(texts.size(), 1u);
        EXPECT_STREQ(texts[0], "10.0.1.1");
        util.zorFreeAddrinfo(texts);
        EXPECT_EQ(util.zorGetAddrinfo("badhost", "", texts, NI_NUMERICHOST), EAI_NONAME);
        EXPECT_EQ(util.zorCompareAddressFromPeerAddress("two", "", "10.0.1.3"), 1);
        EXPECT_EQ(util.zorCompareAddressFromPeerAddress("two", "", "10.0.1.1"), 0);
        EXPECT_EQ(util.zorCompareAddressFromPeerAddress("badhost", "", "10.0.1.1"), 0);
    }));
}

TEST(RealConnections, LocalAddress_IsTheOneOfTheRouteToThePeer) {
    ZORCOMN_SKIP_WITHOUT_PRIVATE_NETWORK();
    EXPECT_TRUE(passesWithHosts("127.0.0.1 near\n10.2.0.1 far\n", [] {
        addInterface("za", 1);
        addInterface("zb", 2);
        ip("addr add 10.1.0.1/16 dev za");
        ip("addr add 10.2.0.1/16 dev zb");
        bringUp("za");
        bringUp("zb");
        const Listener peer("0.0.0.0");
        const size_t descriptors = zor::test::openDescriptors();
        EXPECT_EQ(localAddressTowards("10.1.0.1", peer.service(), 0), "10.1.0.1");
        EXPECT_EQ(localAddressTowards("far", peer.service(), 2), "10.2.0.1");
        EXPECT_EQ(localAddressTowards("near", peer.service(), 2), "127.0.0.1");
        std::string local;
        ANetworkUtil util;
        EXPECT_EQ(util.zorGetLocalIPAddressFromList("badhost;10.9.9.9;far", peer.service(), local, true, 0, 0), 0);
        EXPECT_EQ(local, "10.2.0.1");
        EXPECT_EQ(zor::test::openDescriptors(), descriptors);
    }));
}

TEST(RealConnections, PacketsThatAreDropped_FailWhenTimeRunsOut) {
    ZORCOMN_SKIP_WITHOUT_PRIVATE_NETWORK();
    EXPECT_TRUE(passesWithHosts("", [] {
        addInterface("za", 1);
        ip("addr add 10.1.0.1/16 dev za");
        bringUp("za");
        ip("neigh add 10.1.0.2 lladdr 02:00:00:00:00:99 dev za"); // nobody: what is sent there is lost
        const size_t descriptors = zor::test::openDescriptors();
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(localAddressTowards("10.1.0.2", "4711", 1), "error -1");
        EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
        EXPECT_EQ(zor::test::openDescriptors(), descriptors);
    }));
}

TEST(RealConnections, WithoutARoute_OnlyAPlainConnectFails_Kept) {
    ZORCOMN_SKIP_WITHOUT_PRIVATE_NETWORK();
    EXPECT_TRUE(passesWithHosts("", [] {
        EXPECT_EQ(localAddressTowards("10.1.0.2", "4711", 0), "error -1");
        EXPECT_EQ(localAddressTowards("10.1.0.2", "4711", 2), "0.0.0.0") << "why it failed is not looked at";
    }));
}

TEST(RealConnections, LinkLocalPeer_IsReachedThroughItsScope) {
    ZORCOMN_SKIP_WITHOUT_PRIVATE_NETWORK();
    ZORCOMN_SKIP_WITHOUT_IPV6();
    EXPECT_TRUE(passesWithHosts("fe80::5 without-scope\n", [] {
        addInterface("za", 1);
        ip("addr add fe80::5/64 dev za nodad");
        bringUp("za");
        const unsigned int index = if_nametoindex("za");
        const std::string scope = '%' + std::to_string(index);
        const Listener peer("fe80::5", 8, index);
        ANetworkUtil util;
        unsigned int found = 0;
        EXPECT_EQ(util.zorGetScopeId("[fe80::5%nonsense]", found), 1);
        EXPECT_EQ(found, index);
        EXPECT_EQ(util.zorGetScopeId("fec0::5", found), 0);
        EXPECT_EQ(util.formatV6addrWithScope("[fe80::5]", true), "[fe80::5" + scope + ']');
        for (const char *text : {"fe80::5", "[fe80::5]", "[fe80::5%za]"})
            EXPECT_EQ(localAddressTowards(text, peer.service(), 2), "fe80:0:0:0:0:0:0:5") << text;
        EXPECT_EQ(localAddressTowards("without-scope", peer.service(), 0), "fe80:0:0:0:0:0:0:5");
    }));
}

TEST(RealConnections, IPv6Peer_IsReachedOverLoopback) {
    ZORCOMN_SKIP_WITHOUT_PRIVATE_NETWORK();
    ZORCOMN_SKIP_WITHOUT_IPV6();
    EXPECT_TRUE(passesWithHosts("::1 six\n127.0.0.1 both\n::1 both\n", [] {
        const Listener peer("::1");
        EXPECT_EQ(localAddressTowards("six", peer.service(), 0), "0:0:0:0:0:0:0:1");
        EXPECT_EQ(localAddressTowards("both", peer.service(), 0), "0:0:0:0:0:0:0:1") << "nobody listens on IPv4";
    }));
}

} // namespace
