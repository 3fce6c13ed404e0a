// zorprops on a network of the test's own.

#include "tests/network/private_network.h"
#include "tests/tools/program.h"

#include <gtest/gtest.h>
#include <net/if.h>
#include <nlohmann/json.hpp>

using Json = nlohmann::ordered_json;
using zor::test::passesInPrivateNetwork;
using zor::test::runProgram;

class MadeUpNetwork : public ::testing::Test {
protected:
    void SetUp() override { ZORCOMN_SKIP_WITHOUT_PRIVATE_NETWORK(); }

    /** Two interfaces, the first with two addresses. */
    static void makeInterfaces() {
        zor::test::addInterface("one", 1);
        zor::test::addInterface("two", 2);
        zor::test::ip("address add 10.1.2.3/16 dev one");
        zor::test::ip("address add 192.168.7.9/24 dev one");
        zor::test::ip("address add 10.9.8.7/8 dev two");
        zor::test::ip("link set one up");
        zor::test::ip("link set two up");
    }
    static std::string index(const char *name) { return std::to_string(if_nametoindex(name)); }
};

TEST_F(MadeUpNetwork, NoInterfaceUp_IsSaid) {
    EXPECT_TRUE(passesInPrivateNetwork([] {
        EXPECT_EQ(runProgram({"interfaces"}).output, "No interface is up with an address.\n");
        EXPECT_EQ(Json::parse(runProgram({"interfaces", "--json"}).output).dump(), R"({"interfaces":[]})");
    }));
}

TEST_F(MadeUpNetwork, Loopback_IsThereWhenAskedFor) {
    EXPECT_TRUE(passesInPrivateNetwork([] {
        const std::string text = runProgram({"interfaces", "--loopback"}).output;
        EXPECT_EQ(text.substr(0, text.find('\n')), index("lo") + ": lo  hardware address 000000000000");
        EXPECT_NE(text.find("\n  127.0.0.1 "), std::string::npos) << text;
        const Json json = Json::parse(runProgram({"--json", "interfaces", "--loopback"}).output);
        EXPECT_EQ(json["interfaces"][0]["addresses"][0].dump(),
                  R"({"family":"IPv4","address":"127.0.0.1","mask":"255.0.0.0","subnet":"127.0.0.0"})");
    }));
}

TEST_F(MadeUpNetwork, Interfaces_AreListedWithEachAddress) {
    EXPECT_TRUE(passesInPrivateNetwork([] {
        zor::test::ip("link set lo down");
        makeInterfaces();
        zor::test::ip("-6 address flush scope link");
        EXPECT_EQ(runProgram({"interfaces"}).output, index("one") +
                                                         ": one  hardware address 020000000001\n"
                                                         "  Address      Mask           Subnet\n"
                                                         "  10.1.2.3     255.255.0.0    10.1.0.0\n"
                                                         "  192.168.7.9  255.255.255.0  192.168.7.0\n"
                                                         "\n" +
                                                         index("two") +
                                                         ": two  hardware address 020000000002\n"
                                                         "  Address   Mask       Subnet\n"
                                                         "  10.9.8.7  255.0.0.0  10.0.0.0\n");
        const Json json = Json::parse(runProgram({"interfaces", "--json"}).output);
        ASSERT_EQ(json["interfaces"].size(), 2u);
        EXPECT_EQ(json["interfaces"][1].dump(),
                  R"({"index":)" + index("two") +
                      R"(,"name":"two","hardwareAddress":"020000000002","addresses":[)"
                      R"({"family":"IPv4","address":"10.9.8.7","mask":"255.0.0.0","subnet":"10.0.0.0"}]})");
    }));
}

TEST_F(MadeUpNetwork, LocalAddress_IsTheOneReported) {
    EXPECT_TRUE(passesInPrivateNetwork([] {
        makeInterfaces();
        EXPECT_EQ(runProgram({"get", "IPAddress"}).output, "10.1.2.3\n");
        EXPECT_EQ(runProgram({"--local-ip", "10.9.8.7", "get", "IPAddress", "NETAddress"}).output,
                  "IPAddress=10.9.8.7\nNETAddress=020000000002\n");
        EXPECT_EQ(runProgram({"get", "--local-ip", "10.0.0.99", "IPAddress"}).output, "10.1.2.3\n");
        EXPECT_EQ(Json::parse(runProgram({"--json", "--local-ip=192.168.7.9"}).output)["properties"]["SubnetAddress"],
                  "192.168.7.0");
    }));
}

TEST_F(MadeUpNetwork, LocalAddressInShortForm_IsFoundAllTheSame) {
    ZORCOMN_SKIP_WITHOUT_IPV6();
    EXPECT_TRUE(passesInPrivateNetwork([] {
        makeInterfaces();
        zor::test::ip("address add fd00::a:1/64 dev two nodad");
        for (const char *address : {"fd00::a:1", "FD00:0:0::A:1", "fd00::a:1%two"})
            EXPECT_EQ(runProgram({"get", "IPAddress", "--local-ip", address}).output, "fd00:0:0:0:0:0:a:1\n")
                << address;
    }));
}
