// The walk over the system's interface list, with lists made up here.

#include "zorcomn/network.h"

#include "tests/network/fake_network.h"

#include <string>
#include <vector>

#include <netinet/in.h>

namespace {

using namespace velmora_com::vta;
using zor::test::fakeNetwork;
using zor::test::kLoopback;
using zor::test::kUp;

class Interfaces : public zor::test::FakeNetworkTest {
protected:
    Interfaces() { fakeNetwork.indexes = {{"lo0", 1}, {"en0", 4}, {"en1", 5}}; }

    static void addEn0() { fakeNetwork.entries.addLink("en0", 0x10); }
};

std::vector<IPAddress> addressesOf(const NetInterfaceList &list, unsigned int index) {
    NetInterface record;
    EXPECT_EQ(list.getNetInterface(index, record), 1u) << index;
    const std::list<IPAddress> addresses = record.getIPAddress();
    return {addresses.begin(), addresses.end()};
}

std::vector<std::string> textsOf(const NetInterfaceList &list, unsigned int index) {
    std::vector<std::string> texts;
    for (const IPAddress &address : addressesOf(list, index))
        texts.push_back(address.getIPAddress());
    return texts;
}

using Texts = std::vector<std::string>;
using Indexes = std::list<unsigned int>;

TEST_F(Interfaces, IPv4Address_GetsMaskSubnetFamilyNameAndHardwareAddress) {
    addEn0();
    fakeNetwork.entries.addAddress("en0", kUp, "10.1.2.3", "255.255.0.0");
    NetInterfaceList list(false);
    EXPECT_EQ(list.initialize(), 1u);
    NetInterface record;
    ASSERT_EQ(list.getNetInterface(4, record), 1u);
    EXPECT_EQ(record.getIndex(), 4u);
    EXPECT_EQ(record.getIndexName(), "en0");
    EXPECT_EQ(record.getMACAddress(), "020000000010");
    EXPECT_EQ(record.getSortLast(), 0u);
    const auto addresses = addressesOf(list, 4);
    ASSERT_EQ(addresses.size(), 1u);
    EXPECT_EQ(addresses[0].getIPAddress(), "10.1.2.3");
    EXPECT_EQ(addresses[0].getSubNetMask(), "255.255.0.0");
    EXPECT_EQ(addresses[0].getSubNetAddr(), "10.1.0.0");
    EXPECT_EQ(addresses[0].getIPFamily(), static_cast<unsigned int>(AF_INET));
}

TEST_F(Interfaces, IPv6Address_IsExpandedWithMaskAndSubnet) {
    addEn0();
    fakeNetwork.entries.addAddress("en0", kUp, "2001:db8::a1b2:c3d4:e5f6:1", "ffff:ffff:ffff:ff00::");
    NetInterfaceList list(false);
    EXPECT_NE(list.initialize(), 0u);
    const auto addresses = addressesOf(list, 4);
    ASSERT_EQ(addresses.size(), 1u);
    EXPECT_EQ(addresses[0].getIPAddress(), "2001:db8:0:0:a1b2:c3d4:e5f6:1");
    EXPECT_EQ(addresses[0].getSubNetMask(), "ffff:ffff:ffff:ff00:0:0:0:0");
    EXPECT_EQ(addresses[0].getSubNetAddr(), "2001:db8:0:0:0:0:0:0");
    EXPECT_EQ(addresses[0].getIPFamily(), static_cast<unsigned int>(AF_INET6));
}

TEST_F(Interfaces, LinkLocalAddress_IsStoredWithoutItsScope) {
    addEn0();
    ifaddrs &entry = fakeNetwork.entries.addAddress("en0", kUp, "fe80::1", "ffff:ffff:ffff:ffff::");
    reinterpret_cast<sockaddr_in6 *>(entry.ifa_addr)->sin6_scope_id = 4;
    NetInterfaceList list(false);
    list.initialize();
    EXPECT_EQ(textsOf(list, 4), Texts{"fe80:0:0:0:0:0:0:1"});
}

TEST_F(Interfaces, SeveralAddresses_ShareOneRecordInTheSystemsOrder) {
    addEn0();
    fakeNetwork.entries.addLink("en1", 0x11);
    fakeNetwork.entries.addAddress("en0", kUp, "10.0.0.9", "255.0.0.0");
    fakeNetwork.entries.addAddress("en1", kUp, "172.16.0.1", "255.255.255.0");
    fakeNetwork.entries.addAddress("en0", kUp, "2001:db8::5", "ffff:ffff::");
    fakeNetwork.entries.addAddress("en0", kUp, "10.0.0.1", "255.0.0.0");
    NetInterfaceList list(false);
    EXPECT_NE(list.initialize(), 0u);
    EXPECT_EQ(list.getIndexes(), (Indexes{4, 5}));
    EXPECT_EQ(textsOf(list, 4), (Texts{"10.0.0.9", "2001:db8:0:0:0:0:0:5", "10.0.0.1"}));
    EXPECT_EQ(textsOf(list, 5), Texts{"172.16.0.1"});
}

TEST_F(Interfaces, TwentyAddresses_AreAllListed) {
    Texts expected;
    for (int i = 1; i <= 20; ++i)
        expected.push_back("10.0.0." + std::to_string(i));
    for (const std::string &text : expected)
        fakeNetwork.entries.addAddress("en0", kUp, text.c_str(), "255.255.255.0");
    addEn0(); // a link-level entry may also come last
    NetInterfaceList list(false);
    EXPECT_NE(list.initialize(), 0u);
    EXPECT_EQ(textsOf(list, 4), expected);
}

TEST_F(Interfaces, UnreadableList_GivesZeroAndLeavesTheMap) {
    fakeNetwork.listFails = true;
    NetInterfaceList list(true);
    list.getNetInterface(9);
    EXPECT_EQ(list.initialize(), 0u);
    EXPECT_FALSE(getNetInterfacesList(list));
    EXPECT_EQ(list.getIndexes(), Indexes{9});
}

TEST_F(Interfaces, EmptyList_GivesZero) {
    NetInterfaceList list(true);
    EXPECT_EQ(list.initialize(), 0u);
    EXPECT_TRUE(list.getIndexes().empty());
}

TEST_F(Interfaces, Loopback_IsListedOnlyOnRequest) {
    fakeNetwork.entries.addLink("lo0", 0);
    fakeNetwork.entries.addAddress("lo0", kLoopback, "127.0.0.1", "255.0.0.0");
    fakeNetwork.entries.addAddress("lo0", kLoopback, "::1", "ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff");
    NetInterfaceList without(false), with(true);
    EXPECT_FALSE(getNetInterfacesList(without));
    EXPECT_TRUE(without.getIndexes().empty());
    EXPECT_TRUE(getNetInterfacesList(with));
    EXPECT_EQ(with.getIndexes(), Indexes{1});
    EXPECT_EQ(textsOf(with, 1), (Texts{"127.0.0.1", "0:0:0:0:0:0:0:1"}));
}

TEST_F(Interfaces, InterfaceThatIsDown_ContributesNothing) {
    addEn0();
    fakeNetwork.entries.addAddress("en0", 0, "10.0.0.1", "255.0.0.0");
    fakeNetwork.entries.addAddress("en0", IFF_LOOPBACK, "10.0.0.2", "255.0.0.0");
    NetInterfaceList list(true);
    EXPECT_EQ(list.initialize(), 0u);
    EXPECT_TRUE(list.getIndexes().empty());
}

TEST_F(Interfaces, EntryThatLacksSomething_IsPassedOverWithoutATrace) {
    addEn0();
    fakeNetwork.entries.addAddress("en0", kUp, nullptr, "255.0.0.0");      // no address
    fakeNetwork.entries.addFamily("en0", kUp, AF_UNIX);                    // another family
    fakeNetwork.entries.addAddress("en0", kUp, "10.0.0.1", nullptr);       // no mask
    fakeNetwork.entries.addAddress("en1", kUp, "10.0.0.2", "255.0.0.0");   // no link-level entry
    fakeNetwork.entries.addAddress("en", kUp, "10.0.0.3", "255.0.0.0");    // no entry of exactly this name
    fakeNetwork.entries.addAddress("en0:1", kUp, "10.0.0.4", "255.0.0.0"); // nor of this one
    fakeNetwork.entries.addAddress("en0", kUp, "10.0.0.5", "255.0.0.0").ifa_netmask->sa_family = AF_UNIX;
    NetInterfaceList list(false);
    EXPECT_EQ(list.initialize(), 0u);
    EXPECT_TRUE(list.getIndexes().empty());
    fakeNetwork.entries.addAddress("en0", kUp, "10.0.0.6", "255.0.0.0");
    EXPECT_EQ(list.initialize(), 1u);
    EXPECT_EQ(textsOf(list, 4), Texts{"10.0.0.6"});
}

TEST_F(Interfaces, FamilyWithoutSockets_IsPassedOver) {
    addEn0();
    fakeNetwork.entries.addAddress("en0", kUp, "2001:db8::5", "ffff::");
    fakeNetwork.entries.addAddress("en0", kUp, "10.0.0.1", "255.0.0.0");
    fakeNetwork.refusedFamilies = {AF_INET6};
    NetInterfaceList list(false);
    EXPECT_NE(list.initialize(), 0u);
    EXPECT_EQ(textsOf(list, 4), Texts{"10.0.0.1"});
    EXPECT_EQ(fakeNetwork.socketsOpened, 1);
}

TEST_F(Interfaces, AddressThatCannotBeMadeText_IsPassedOver) {
    addEn0();
    fakeNetwork.entries.addAddress("en0", kUp, "10.0.0.1", "255.0.0.0");
    fakeNetwork.namesFail = true;
    NetInterfaceList list(false);
    EXPECT_EQ(list.initialize(), 0u);
    EXPECT_TRUE(list.getIndexes().empty());
}

TEST_F(Interfaces, FirstLinkEntryOfTheName_GivesTheHardwareAddress) {
    addEn0();
    fakeNetwork.entries.addLink("en0", 0x77);
    fakeNetwork.entries.addAddress("en0", kUp, "10.0.0.1", "255.0.0.0");
    NetInterfaceList list(false);
    list.initialize();
    std::string mac;
    EXPECT_EQ(getMACAddressFromIPAddress(mac, "10.0.0.1", list), 1u);
    EXPECT_EQ(mac, "020000000010");
}

TEST_F(Interfaces, Alias_HasTheHardwareAddressOfItsInterface) {
    zor::host::fakeHost.isSameInterface = [](const std::string &link, const std::string &address) {
        return link == address.substr(0, address.find(':'));
    };
    fakeNetwork.indexes = {{"en0", 4}, {"en0:1", 4}, {"en1:1", 5}};
    addEn0();
    fakeNetwork.entries.addAddress("en0", kUp, "10.0.0.1", "255.0.0.0");
    fakeNetwork.entries.addAddress("en1:1", kUp, "10.0.0.2", "255.0.0.0"); // of no link
    fakeNetwork.entries.addAddress("en0:1", kUp, "10.0.0.3", "255.0.0.0");
    NetInterfaceList list(false);
    EXPECT_NE(list.initialize(), 0u);
    EXPECT_EQ(list.getIndexes(), Indexes{4});
    EXPECT_EQ(textsOf(list, 4), (Texts{"10.0.0.1", "10.0.0.3"}));
    NetInterface record;
    ASSERT_EQ(list.getNetInterface(4, record), 1u);
    EXPECT_EQ(record.getIndexName(), "en0:1");
    EXPECT_EQ(record.getMACAddress(), "020000000010");
}

TEST_F(Interfaces, LinkOfInterfaceThatIsDown_StillGivesTheHardwareAddress) {
    fakeNetwork.entries.addLink("en0", 0x10).ifa_flags = 0;
    fakeNetwork.entries.addAddress("en0", kUp, "10.0.0.1", "255.0.0.0");
    NetInterfaceList list(false);
    EXPECT_NE(list.initialize(), 0u);
}

TEST_F(Interfaces, MaskOfFamilyZero_CountsAsIPv4) {
    addEn0();
    fakeNetwork.entries.addAddress("en0", kUp, "10.1.2.3", "255.255.255.0").ifa_netmask->sa_family = AF_UNSPEC;
    NetInterfaceList list(false);
    EXPECT_NE(list.initialize(), 0u);
    EXPECT_EQ(addressesOf(list, 4)[0].getSubNetMask(), "255.255.255.0");
    EXPECT_EQ(addressesOf(list, 4)[0].getSubNetAddr(), "10.1.2.0");
}

TEST_F(Interfaces, MaskOfStatedLength_ReadsAsZeroBeyondIt) {
    addEn0();
    ifaddrs &entry = fakeNetwork.entries.addAddress("en0", kUp, "10.1.2.3", "255.255.255.255");
    entry.ifa_netmask->sa_family = AF_UNSPEC;
    zor::host::fakeHost.socketAddressLength = [mask = entry.ifa_netmask](const sockaddr &address) {
        return &address == mask ? offsetof(sockaddr_in, sin_addr) + 2 : sizeof(sockaddr_in);
    };
    NetInterfaceList list(false);
    EXPECT_NE(list.initialize(), 0u);
    EXPECT_EQ(addressesOf(list, 4)[0].getSubNetMask(), "255.255.0.0");
    EXPECT_EQ(addressesOf(list, 4)[0].getSubNetAddr(), "10.1.0.0");
}

TEST_F(Interfaces, StatedLengthBeyondStorage_IsBounded) {
    addEn0();
    fakeNetwork.entries.addAddress("en0", kUp, "10.1.2.3", "255.0.0.0");
    zor::host::fakeHost.socketAddressLength = [](const sockaddr &) { return size_t(255); };
    NetInterfaceList list(false);
    EXPECT_NE(list.initialize(), 0u);
    EXPECT_EQ(textsOf(list, 4), Texts{"10.1.2.3"});
}

// A mask that leaves its family out is read where an IPv4 mask has its bytes, also beside an IPv6 address.
TEST_F(Interfaces, MaskOfFamilyZeroBesideIPv6_IsReadAtTheIPv4Place_Kept) {
    addEn0();
    ifaddrs &entry = fakeNetwork.entries.addAddress("en0", kUp, "2001:db8::5", "ffff:ffff::");
    entry.ifa_netmask->sa_family = AF_UNSPEC;
    zor::host::fakeHost.socketAddressLength = [](const sockaddr &) { return sizeof(sockaddr_in6); };
    NetInterfaceList list(false);
    EXPECT_NE(list.initialize(), 0u);
    EXPECT_EQ(addressesOf(list, 4)[0].getSubNetMask(), "0:0:ffff:ffff:0:0:0:0");
    EXPECT_EQ(addressesOf(list, 4)[0].getSubNetAddr(), "0:0:0:0:0:0:0:0");
}

TEST_F(Interfaces, UnknownName_HasIndexZero) {
    fakeNetwork.entries.addLink("odd name", 0x33);
    fakeNetwork.entries.addAddress("odd name", kUp, "10.0.0.1", "255.0.0.0");
    NetInterfaceList list(false);
    EXPECT_NE(list.initialize(), 0u);
    NetInterface record;
    ASSERT_EQ(list.getNetInterface(0, record), 1u);
    EXPECT_EQ(record.getIndexName(), "odd name");
    EXPECT_EQ(record.getIndex(), 0u);
}

TEST_F(Interfaces, OddNames_AreTakenAsTheyAre) {
    const std::string longName(300, 'x');
    for (const char *name : {"", "en\xff\xfe", longName.c_str()}) {
        fakeNetwork.entries.clear();
        fakeNetwork.entries.addLink(name, 1);
        fakeNetwork.entries.addAddress(name, kUp, "10.0.0.1", "255.0.0.0");
        NetInterfaceList list(false);
        EXPECT_NE(list.initialize(), 0u);
        NetInterface record;
        ASSERT_EQ(list.getNetInterface(0, record), 1u);
        EXPECT_EQ(record.getIndexName(), name);
    }
}

TEST_F(Interfaces, NullName_IsAnEmptyOne) {
    addEn0();
    fakeNetwork.entries.addAddress("en0", kUp, "10.0.0.1", "255.0.0.0").ifa_name = nullptr;
    NetInterfaceList list(false);
    EXPECT_EQ(list.initialize(), 0u);
}

// Two names of one index: the record keeps the name and hardware address of the last address added.
TEST_F(Interfaces, LastAddress_SetsNameAndHardwareAddress) {
    fakeNetwork.indexes["en0b"] = 4;
    addEn0();
    fakeNetwork.entries.addLink("en0b", 0x12);
    fakeNetwork.entries.addAddress("en0", kUp, "10.0.0.1", "255.0.0.0");
    fakeNetwork.entries.addAddress("en0b", kUp, "10.0.0.2", "255.0.0.0");
    NetInterfaceList list(false);
    list.initialize();
    NetInterface record;
    ASSERT_EQ(list.getNetInterface(4, record), 1u);
    EXPECT_EQ(record.getIndexName(), "en0b");
    EXPECT_EQ(record.getMACAddress(), "020000000012");
    EXPECT_EQ(textsOf(list, 4), (Texts{"10.0.0.1", "10.0.0.2"}));
}

TEST_F(Interfaces, SecondInitialize_AddsEverythingAgain_Kept) {
    addEn0();
    fakeNetwork.entries.addAddress("en0", kUp, "10.0.0.1", "255.0.0.0");
    fakeNetwork.entries.addAddress("en0", kUp, "10.0.0.2", "255.0.0.0");
    NetInterfaceList list(false);
    EXPECT_EQ(list.initialize(), 1u);
    EXPECT_EQ(list.initialize(), 1u);
    EXPECT_EQ(textsOf(list, 4), (Texts{"10.0.0.1", "10.0.0.2", "10.0.0.1", "10.0.0.2"}));
}

TEST_F(Interfaces, IndexThatTheListTells_IsNotAskedFor) {
    zor::host::fakeHost.linkIndex = [](const ifaddrs &entry) { return entry.ifa_name == std::string("en0") ? 4u : 0u; };
    addEn0();
    fakeNetwork.entries.addLink("en1", 0x11);
    fakeNetwork.entries.addAddress("en0", kUp, "10.0.0.1", "255.0.0.0");
    fakeNetwork.entries.addAddress("en1", kUp, "10.0.0.2", "255.0.0.0");
    NetInterfaceList list(false);
    EXPECT_NE(list.initialize(), 0u);
    EXPECT_EQ(list.getIndexes(), (Indexes{4, 5}));
    EXPECT_EQ(fakeNetwork.indexLookups, 1) << "of the one that the list does not tell";
}

TEST_F(Interfaces, ManyAddresses_OpenOneSocketForEachFamily) {
    addEn0();
    for (int i = 1; i <= 200; ++i) {
        fakeNetwork.entries.addAddress("en0", kUp, ("10.0.0." + std::to_string(i)).c_str(), "255.0.0.0");
        fakeNetwork.entries.addAddress("en0", kUp, ("2001:db8::" + std::to_string(i)).c_str(), "ffff::");
    }
    NetInterfaceList list(false);
    EXPECT_NE(list.initialize(), 0u);
    EXPECT_EQ(addressesOf(list, 4).size(), 400u);
    EXPECT_EQ(fakeNetwork.socketsOpened, 2);
}

TEST_F(Interfaces, ThousandAddresses_NeedOneListAndOneIndexPerName) {
    addEn0();
    fakeNetwork.entries.addLink("en1", 0x11);
    for (int i = 0; i < 1000; ++i) {
        const std::string text = "10.0." + std::to_string(i / 250) + "." + std::to_string(i % 250 + 1);
        fakeNetwork.entries.addAddress(i % 2 == 0 ? "en0" : "en1", kUp, text.c_str(), "255.255.0.0");
    }
    NetInterfaceList list(false);
    EXPECT_NE(list.initialize(), 0u);
    EXPECT_EQ(addressesOf(list, 4).size(), 500u);
    EXPECT_EQ(addressesOf(list, 5).size(), 500u);
    EXPECT_EQ(fakeNetwork.listsRead, 1);
    EXPECT_EQ(fakeNetwork.indexLookups, 2);
}

} // namespace
