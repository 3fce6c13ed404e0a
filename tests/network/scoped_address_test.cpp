// Address texts without brackets and scope, and the scope of a link-local address.

#include "zorcomn/network.h"

#include "tests/network/fake_network.h"

namespace {

using velmora_com::vta::ANetworkUtil;
using zor::test::fakeNetwork;
using zor::test::kLoopback;
using zor::test::kUp;

class ScopedAddress : public zor::test::FakeNetworkTest {
protected:
    ScopedAddress() {
        fakeNetwork.indexes = {{"lo0", 1}, {"en1", 7}, {"en0", 4}};
        for (const char *name : {"lo0", "en1", "en0"})
            fakeNetwork.entries.addLink(name, 1);
        fakeNetwork.entries.addAddress("lo0", kLoopback, "127.0.0.1", "255.0.0.0");
        fakeNetwork.entries.addAddress("en1", kUp, "10.0.0.2", "255.0.0.0");
        fakeNetwork.entries.addAddress("en0", kUp, "10.0.0.1", "255.0.0.0");
    }

    /** The scope found, or -1; the argument stays untouched where none is found. */
    int scopeOf(const std::string &address) {
        unsigned int scope = 99;
        const int found = util.zorGetScopeId(address, scope);
        EXPECT_TRUE(found == 1 || scope == 99u) << address;
        return found == 1 ? static_cast<int>(scope) : -1;
    }

    ANetworkUtil util;
};

TEST_F(ScopedAddress, FormatV6addr_EachRow_IsCleanedAsListed) {
    const struct {
        const char *address, *bare, *bracketed;
    } rows[] = {
        {"[fe80::1%4]", "fe80::1", "[fe80::1]"},
        {"fe80::1", "fe80::1", "fe80::1"},
        {"fe80::1%4", "fe80::1", "fe80::1"},
        {"[fe80::1]", "fe80::1", "[fe80::1]"},
        {"[fec0::1%en0]", "fec0::1", "[fec0::1]"},
        {"[2001:db8::1]:8080", "2001:db8::1", "[2001:db8::1]"},
        {"x[a]y[b]", "a", "[a]"},
        {"[]", "", "[]"},
        {"[%4]", "", "[]"},
        {"[fe80::1", "[fe80::1", "[fe80::1"},
        {"fe80::1]", "fe80::1]", "fe80::1]"},
        {"]fe80::1[", "]fe80::1[", "]fe80::1["},
        {"[fe80::1%4", "[fe80::1", "[fe80::1"},
        {"host.example", "host.example", "host.example"},
        {"", "", ""},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(util.formatV6addr(row.address, false), row.bare) << '"' << row.address << '"';
        EXPECT_EQ(util.formatV6addr(row.address, true), row.bracketed) << '"' << row.address << '"';
    }
}

TEST_F(ScopedAddress, FormatV6addr_ScopeOfAnyText_IsCut_Kept) {
    EXPECT_EQ(util.formatV6addr("2001:db8::1%4", false), "2001:db8::1");
    EXPECT_EQ(util.formatV6addr("10.0.0.1%4", false), "10.0.0.1");
    EXPECT_EQ(util.formatV6addr("100%sure[a]", false), "a");
    EXPECT_EQ(util.formatV6addr("100%sure", false), "100");
}

TEST_F(ScopedAddress, LinkLocalAddress_GetsTheFirstInterfaceThatIsAccepted) {
    EXPECT_EQ(scopeOf("fe80::1"), 4) << "ascending, loopback left out";
    EXPECT_EQ(scopeOf("[fe80::1%en7]"), 4) << "a scope in the text is not looked at";
    fakeNetwork.refusedHosts = {"fe80::1%4"};
    EXPECT_EQ(scopeOf("fe80::1"), 7);
    fakeNetwork.refusedHosts = {"fe80::1%4", "fe80::1%7"};
    EXPECT_EQ(scopeOf("fe80::1"), -1);
}

TEST_F(ScopedAddress, EachQuestion_IsForAStreamWithoutService) {
    scopeOf("fe80::1");
    ASSERT_EQ(fakeNetwork.questions.size(), 1u);
    const auto &question = fakeNetwork.questions[0];
    EXPECT_EQ(question.node, "fe80::1%4");
    EXPECT_EQ(question.service, std::nullopt);
    EXPECT_EQ(question.hints.ai_socktype, SOCK_STREAM);
    EXPECT_EQ(question.hints.ai_flags, 0);
    EXPECT_EQ(question.hints.ai_family, 0);
    EXPECT_EQ(question.hints.ai_protocol, 0);
}

TEST_F(ScopedAddress, OtherAddresses_GetNoScope_Kept) {
    for (const char *address : {"fec0::1", "2001:db8::1", "::1", "10.0.0.1", "FE80::1", "febf::1", "", "fe8", "x[fe80"})
        EXPECT_EQ(scopeOf(address), -1) << address;
    EXPECT_TRUE(fakeNetwork.questions.empty());
    EXPECT_EQ(fakeNetwork.listsRead, 0);
}

TEST_F(ScopedAddress, WithoutInterfaces_ThereIsNoScope) {
    fakeNetwork.listFails = true;
    EXPECT_EQ(scopeOf("fe80::1"), -1);
    fakeNetwork.listFails = false;
    fakeNetwork.entries.clear();
    EXPECT_EQ(scopeOf("fe80::1"), -1);
    EXPECT_TRUE(fakeNetwork.questions.empty());
}

TEST_F(ScopedAddress, FormatV6addrWithScope_EachRow_IsCompletedAsListed) {
    const struct {
        const char *address, *bare, *bracketed;
    } rows[] = {
        {"[fe80::1%en7]", "fe80::1%4", "[fe80::1%4]"}, {"fe80::1", "fe80::1%4", "fe80::1%4"},
        {"fe80::1%9", "fe80::1%4", "fe80::1%4"},       {"[2001:db8::1%9]", "2001:db8::1", "[2001:db8::1]"},
        {"10.0.0.1", "10.0.0.1", "10.0.0.1"},          {"[]", "", "[]"},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(util.formatV6addrWithScope(row.address, false), row.bare) << '"' << row.address << '"';
        EXPECT_EQ(util.formatV6addrWithScope(row.address, true), row.bracketed) << '"' << row.address << '"';
    }
    fakeNetwork.listFails = true;
    EXPECT_EQ(util.formatV6addrWithScope("[fe80::1%4]", true), "[fe80::1]");
}

TEST_F(ScopedAddress, TextOfAnyLength_IsNoAddress) {
    const std::string huge = "fe80::" + std::string(100000, '1');
    EXPECT_EQ(scopeOf(huge), -1);
    EXPECT_EQ(util.formatV6addrWithScope('[' + huge + "%4]", true), '[' + huge + ']');
}

} // namespace
