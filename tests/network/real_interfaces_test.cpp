// Real interfaces, in a network that the test makes for itself.

#include "zorcomn/network.h"
#include "zorcomn/sysprops.h"

#include "tests/network/private_network.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <net/if.h>

namespace {

using namespace velmora_com::vta;
using zor::test::addInterface;
using zor::test::ip;
using zor::test::passesInPrivateNetwork;

/** "name hardware-address: address/mask/subnet ..." for every interface, in the list's order. */
std::vector<std::string> contentOf(const NetInterfaceList &list) {
    std::vector<std::string> lines;
    for (const unsigned int index : list.getIndexes()) {
        NetInterface record;
        EXPECT_EQ(list.getNetInterface(index, record), 1u);
        EXPECT_EQ(record.getIndex(), index);
        std::string line = record.getIndexName() + ' ' + record.getMACAddress() + ':';
        for (const IPAddress &address : record.getIPAddress())
            line += ' ' + address.getIPAddress() + '/' + address.getSubNetMask() + '/' + address.getSubNetAddr();
        lines.push_back(line);
    }
    return lines;
}

std::vector<std::string> enumerate(bool includeLoopback) {
    NetInterfaceList list(includeLoopback);
    const unsigned int result = list.initialize();
    const auto lines = contentOf(list);
    EXPECT_EQ(result, lines.empty() ? 0u : 1u);
    return lines;
}

using Lines = std::vector<std::string>;

TEST(RealInterfaces, SeveralAddresses_AreListedByInterface) {
    ZORCOMN_SKIP_WITHOUT_PRIVATE_NETWORK();
    EXPECT_TRUE(passesInPrivateNetwork([] {
        addInterface("za", 1);
        addInterface("zb", 2);
        ip("addr add 10.1.2.3/16 dev za");
        ip("addr add 192.168.7.9/28 dev za");
        ip("addr add 172.16.0.1/12 dev zb");
        ip("link set za up");
        ip("link set zb up");
        EXPECT_EQ(enumerate(false), (Lines{"za 020000000001: 10.1.2.3/255.255.0.0/10.1.0.0 "
                                           "192.168.7.9/255.255.255.240/192.168.7.0",
                                           "zb 020000000002: 172.16.0.1/255.240.0.0/172.16.0.0"}));
        NetInterfaceList list(false);
        ASSERT_TRUE(getNetInterfacesList(list));
        EXPECT_EQ(list.getIndexes(), (std::list<unsigned int>{if_nametoindex("za"), if_nametoindex("zb")}));
        std::string mac;
        EXPECT_EQ(getMACAddressFromIPAddress(mac, "172.16.0.1", list), 1u);
        EXPECT_EQ(mac, "020000000002");
    }));
}

TEST(RealInterfaces, IPv6Addresses_AreExpandedAndWithoutScope) {
    ZORCOMN_SKIP_WITHOUT_PRIVATE_NETWORK();
    ZORCOMN_SKIP_WITHOUT_IPV6();
    EXPECT_TRUE(passesInPrivateNetwork([] {
        addInterface("za", 1);
        ip("link set za up");
        ip("addr add 10.1.2.3/8 dev za");
        ip("addr add fe80::5/64 dev za nodad");
        NetInterfaceList list(false);
        EXPECT_EQ(enumerate(false), (Lines{"za 020000000001: 10.1.2.3/255.0.0.0/10.0.0.0 "
                                           "fe80:0:0:0:0:0:0:5/ffff:ffff:ffff:ffff:0:0:0:0/fe80:0:0:0:0:0:0:0"}));
        ip("addr del fe80::5/64 dev za");
        ip("addr add 2001:db8:1:2::a/48 dev za nodad");
        EXPECT_EQ(enumerate(false), (Lines{"za 020000000001: 10.1.2.3/255.0.0.0/10.0.0.0 "
                                           "2001:db8:1:2:0:0:0:a/ffff:ffff:ffff:0:0:0:0:0/2001:db8:1:0:0:0:0:0"}));
    }));
}

TEST(RealInterfaces, InterfaceThatIsDown_ContributesNothing) {
    ZORCOMN_SKIP_WITHOUT_PRIVATE_NETWORK();
    EXPECT_TRUE(passesInPrivateNetwork([] {
        addInterface("za", 1);
        addInterface("zb", 2);
        ip("addr add 10.1.2.3/16 dev za");
        ip("addr add 10.2.2.3/16 dev zb");
        EXPECT_EQ(enumerate(false), Lines{});
        ip("link set zb up");
        EXPECT_EQ(enumerate(false), Lines{"zb 020000000002: 10.2.2.3/255.255.0.0/10.2.0.0"});
    }));
}

TEST(RealInterfaces, Loopback_IsListedOnlyOnRequest) {
    ZORCOMN_SKIP_WITHOUT_PRIVATE_NETWORK();
    EXPECT_TRUE(passesInPrivateNetwork([] {
        EXPECT_EQ(enumerate(false), Lines{});
        const Lines lines = enumerate(true);
        ASSERT_EQ(lines.size(), 1u);
        const std::string ipv4 = "lo 000000000000: 127.0.0.1/255.0.0.0/127.0.0.0";
        EXPECT_EQ(lines[0].substr(0, ipv4.size()), ipv4);
        if (zor::test::hasIPv6()) {
            EXPECT_EQ(lines[0].substr(ipv4.size()),
                      " 0:0:0:0:0:0:0:1/ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff/0:0:0:0:0:0:0:1");
        }
    }));
}

TEST(RealInterfaces, LabelledAddresses_BelongToTheInterfaceBeforeTheColon) {
    ZORCOMN_SKIP_WITHOUT_PRIVATE_NETWORK();
    EXPECT_TRUE(passesInPrivateNetwork([] {
        addInterface("za", 1);
        ip("addr add 10.1.2.3/16 dev za");
        ip("addr add 10.1.2.4/16 dev za label za:1");
        ip("addr add 10.9.2.4/16 dev za label za:web");
        ip("link set za up");
        EXPECT_EQ(enumerate(false), Lines{"za:1 020000000001: 10.1.2.3/255.255.0.0/10.1.0.0 "
                                          "10.9.2.4/255.255.0.0/10.9.0.0 10.1.2.4/255.255.0.0/10.1.0.0"})
            << "the name is the one of the last address in the system's order";
    }));
}

/** What happens to a tunnel, which has no hardware address. */
enum class Tunnel { NotHere, LeftOut, Listed };
Tunnel makeAndListTunnel() {
    if (std::system("ip tuntap add mode tun name zt 2>/dev/null") != 0)
        return Tunnel::NotHere;
    ip("addr add 10.9.0.1 peer 10.9.0.2/32 dev zt");
    ip("link set zt up");
    return enumerate(false).empty() ? Tunnel::LeftOut : Tunnel::Listed;
}

TEST(RealInterfaces, TunnelWithoutLinkLevelAddress_ContributesNothing) {
    ZORCOMN_SKIP_WITHOUT_PRIVATE_NETWORK();
    const zor::test::ChildResult result = zor::test::runInChild([] {
        EXPECT_TRUE(zor::test::enterPrivateNetwork());
        return static_cast<int>(makeAndListTunnel());
    });
    ASSERT_TRUE(result.exited) << result.output;
    if (result.code == static_cast<int>(Tunnel::NotHere))
        GTEST_SKIP() << "needs tun devices";
    EXPECT_EQ(result.code, static_cast<int>(Tunnel::LeftOut)) << result.output;
}

TEST(RealInterfaces, PointToPointAddress_IsTheLocalEnd) {
    ZORCOMN_SKIP_WITHOUT_PRIVATE_NETWORK();
    EXPECT_TRUE(passesInPrivateNetwork([] {
        addInterface("za", 1);
        ip("addr add 10.9.0.1 peer 10.9.0.2/32 dev za");
        ip("link set za up");
        EXPECT_EQ(enumerate(false), Lines{"za 020000000001: 10.9.0.1/255.255.255.255/10.9.0.1"});
    }));
}

TEST(RealInterfaces, SecondInitialize_AddsEveryAddressAgain_Kept) {
    ZORCOMN_SKIP_WITHOUT_PRIVATE_NETWORK();
    EXPECT_TRUE(passesInPrivateNetwork([] {
        addInterface("za", 1);
        ip("addr add 10.1.2.3/16 dev za");
        ip("link set za up");
        NetInterfaceList list(false);
        EXPECT_EQ(list.initialize(), 1u);
        EXPECT_EQ(list.initialize(), 1u);
        EXPECT_EQ(contentOf(list), Lines{"za 020000000001: 10.1.2.3/255.255.0.0/10.1.0.0 "
                                         "10.1.2.3/255.255.0.0/10.1.0.0"});
    }));
}

TEST(RealInterfaces, NetworkRecord_ReportsTheAddressThatRepresentsTheMachine) {
    ZORCOMN_SKIP_WITHOUT_PRIVATE_NETWORK();
    EXPECT_TRUE(passesInPrivateNetwork([] {
        using sysprops::ISysProps;
        addInterface("za", 1);
        addInterface("zb", 2);
        ip("addr add 10.0.0.5/8 dev za");
        ip("addr add 192.168.1.20/24 dev zb");
        ip("link set za up");
        ip("link set zb up");
        sysprops::NetworkInformation info;
        EXPECT_TRUE(ISysProps().GetNetworkInformation(info));
        EXPECT_EQ(info.IPAddress, L"10.0.0.5");
        ISysProps::updateLocalIP(L"192.168.1.20");
        EXPECT_TRUE(ISysProps().GetNetworkInformation(info));
        EXPECT_EQ(info.IPAddress, L"192.168.1.20");
        EXPECT_EQ(info.SubnetAddress, L"192.168.1.0");
        EXPECT_EQ(info.SubnetMask, L"255.255.255.0");
        EXPECT_EQ(info.NETAddress, L"020000000002");
        ip("link set zb down");
        EXPECT_TRUE(ISysProps().GetNetworkInformation(info));
        EXPECT_EQ(info.IPAddress, L"10.0.0.5");
        ip("link set za down");
        EXPECT_FALSE(ISysProps().GetNetworkInformation(info));
        EXPECT_EQ(info.IPAddress, L"10.0.0.5") << "left as it was";
    }));
}

} // namespace
