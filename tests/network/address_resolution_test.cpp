// Addresses as text, names resolved into texts, and whose address a peer's is, over a made-up resolver.

#include "zorcomn/network.h"

#include "source/platform/posix.h"
#include "tests/network/fake_network.h"
#include "tests/network/socket_text.h"
#include "tests/support/failing_calls.h"

#include <string>
#include <vector>

#include <sys/un.h>

namespace {

using velmora_com::vta::ANetworkUtil;
using zor::test::FailingCall;
using zor::test::fakeNetwork;
using zor::test::kUp;
using zor::test::socketAddress;

using Texts = std::vector<std::string>;

class AddressResolution : public zor::test::FakeNetworkTest {
protected:
    ~AddressResolution() override { util.zorFreeAddrinfo(buffers); }

    Texts texts() const { return {buffers.begin(), buffers.end()}; }

    ANetworkUtil util;
    std::vector<char *> buffers;
};

/** An object whose marker is not 1: one that a caller has overwritten, or whose storage was never an object. */
class Unmarked {
public:
    explicit Unmarked(int32_t marker) {
        static_assert(sizeof(ANetworkUtil) == sizeof marker);
        std::memcpy(static_cast<void *>(&util), &marker, sizeof marker);
    }
    ANetworkUtil util;
};

std::string textOf(ANetworkUtil &util, const char *address, uint16_t port, int flags) {
    sockaddr_storage storage = socketAddress(address);
    reinterpret_cast<sockaddr_in &>(storage).sin_port = htons(port); // IPv6 has it at the same place
    return util.zorNetToString(reinterpret_cast<sockaddr *>(&storage), flags);
}

TEST_F(AddressResolution, NetToString_GivesTheHostOrThePort) {
    const struct {
        const char *address;
        int flags;
        const char *text;
    } rows[] = {
        {"10.1.2.3", NI_NUMERICHOST, "10.1.2.3"},
        {"10.1.2.3", NI_NUMERICSERV, "4711"},
        {"10.1.2.3", NI_NUMERICHOST | NI_NUMERICSERV, "4711"}, // the service goes first
        {"10.1.2.3", 0, ""},
        {"10.1.2.3", NI_DGRAM, ""},
        {"2001:db8::5", NI_NUMERICHOST, "2001:db8::5"},
        {"2001:db8::5", NI_NUMERICSERV, "4711"},
    };
    for (const auto &row : rows)
        EXPECT_EQ(textOf(util, row.address, 4711, row.flags), row.text) << row.address << ' ' << row.flags;
}

TEST_F(AddressResolution, NetToString_OfNothingOrAnUnknownFamily_IsEmpty) {
    EXPECT_EQ(util.zorNetToString(nullptr, NI_NUMERICHOST), "");
    sockaddr_storage storage{};
    storage.ss_family = AF_UNSPEC;
    EXPECT_EQ(util.zorNetToString(reinterpret_cast<sockaddr *>(&storage), NI_NUMERICHOST), "");
    EXPECT_EQ(util.zorNetToString(reinterpret_cast<sockaddr *>(&storage), NI_NUMERICSERV), "");
}

TEST_F(AddressResolution, NetToString_FailingConversion_IsEmpty) {
    fakeNetwork.namesFail = true;
    EXPECT_EQ(textOf(util, "10.1.2.3", 1, NI_NUMERICHOST), "");
    EXPECT_EQ(textOf(util, "10.1.2.3", 1, NI_NUMERICSERV), "");
}

TEST_F(AddressResolution, CreateAddrinfo_AsksForStreamsOfTheFamilyWanted) {
    for (const bool ipv4Only : {false, true}) {
        fakeNetwork.questions.clear();
        addrinfo *list = nullptr;
        EXPECT_EQ(util.zorCreateAddrinfo("10.0.0.1", "4711", &list, ipv4Only), 0);
        const zor::ResolvedAddresses owner(list);
        ASSERT_NE(list, nullptr);
        EXPECT_EQ(ntohs(reinterpret_cast<sockaddr_in *>(list->ai_addr)->sin_port), 4711);
        ASSERT_EQ(fakeNetwork.questions.size(), 1u);
        const auto &question = fakeNetwork.questions[0];
        EXPECT_EQ(question.node, "10.0.0.1");
        EXPECT_EQ(question.service, "4711");
        EXPECT_EQ(question.hints.ai_flags, 0);
        EXPECT_EQ(question.hints.ai_family, ipv4Only ? AF_INET : AF_UNSPEC);
        EXPECT_EQ(question.hints.ai_socktype, SOCK_STREAM);
        EXPECT_EQ(question.hints.ai_protocol, 0);
    }
}

TEST_F(AddressResolution, CreateAddrinfo_EmptyServiceIsNone) {
    addrinfo *list = nullptr;
    EXPECT_EQ(util.zorCreateAddrinfo("10.0.0.1", "", &list, false), 0);
    const zor::ResolvedAddresses owner(list);
    EXPECT_EQ(fakeNetwork.questions.at(0).service, std::nullopt);
}

TEST_F(AddressResolution, CreateAddrinfo_RefusesBadArguments) {
    addrinfo *list = reinterpret_cast<addrinfo *>(&util); // anything but null
    EXPECT_EQ(util.zorCreateAddrinfo("", "", &list, false), -1);
    EXPECT_EQ(list, nullptr);
    EXPECT_EQ(util.zorCreateAddrinfo("10.0.0.1", "", nullptr, false), -1);
    EXPECT_TRUE(fakeNetwork.questions.empty());
}

TEST_F(AddressResolution, CreateAddrinfo_HandsOnTheResolversError) {
    addrinfo *list = reinterpret_cast<addrinfo *>(&util);
    EXPECT_EQ(util.zorCreateAddrinfo("badhost", "", &list, false), EAI_NONAME);
    EXPECT_EQ(list, nullptr);
}

TEST_F(AddressResolution, CreateAddrinfo_DropsBracketsAndCompletesTheScope) {
    fakeNetwork.indexes = {{"en0", 4}};
    fakeNetwork.entries.addLink("en0", 1);
    fakeNetwork.entries.addAddress("en0", kUp, "10.0.0.1", "255.0.0.0");
    addrinfo *list = nullptr;
    EXPECT_EQ(util.zorCreateAddrinfo("[fe80::1%en7]", "", &list, false), 0);
    const zor::ResolvedAddresses owner(list);
    EXPECT_EQ(fakeNetwork.questions.back().node, "fe80::1%4");
    EXPECT_EQ(reinterpret_cast<sockaddr_in6 *>(list->ai_addr)->sin6_scope_id, 4u);
}

TEST_F(AddressResolution, GetAddrinfo_AppendsATextForEachAddress) {
    fakeNetwork.hosts["alpha"] = {"10.0.0.1", "2001:db8::5", "10.0.0.2"};
    EXPECT_EQ(util.zorGetAddrinfo("alpha", "", buffers, NI_NUMERICHOST), 0);
    EXPECT_EQ(texts(), (Texts{"10.0.0.1", "2001:db8::5", "10.0.0.2"}));
    EXPECT_EQ(util.zorGetAddrinfo("10.9.9.9", "4711", buffers, NI_NUMERICHOST), 0);
    EXPECT_EQ(texts(), (Texts{"10.0.0.1", "2001:db8::5", "10.0.0.2", "10.9.9.9"}));
    EXPECT_EQ(buffers[0][1024], '\0') << "each buffer has 1025 bytes";
    util.zorFreeAddrinfo(buffers);
    EXPECT_TRUE(buffers.empty());
}

TEST_F(AddressResolution, GetAddrinfo_StopsAfterFourteenTexts_Kept) {
    Texts addresses;
    for (int i = 1; i <= 20; ++i)
        addresses.push_back("10.0.0." + std::to_string(i));
    fakeNetwork.hosts["many"] = addresses;
    EXPECT_EQ(util.zorGetAddrinfo("many", "", buffers, NI_NUMERICHOST), 0);
    EXPECT_EQ(texts(), Texts(addresses.begin(), addresses.begin() + 14));
    EXPECT_EQ(util.zorGetAddrinfo("many", "", buffers, NI_NUMERICHOST), 0);
    EXPECT_EQ(buffers.size(), 28u) << "the limit is one call's";
}

TEST_F(AddressResolution, GetAddrinfo_TextThatCannotBeMade_DoesNotCount) {
    Texts addresses;
    for (int i = 1; i <= 20; ++i)
        addresses.push_back("10.0.0." + std::to_string(i));
    fakeNetwork.hosts["many"] = addresses;
    const FailingCall failing("getnameinfo", 3, EAI_FAIL);
    EXPECT_EQ(util.zorGetAddrinfo("many", "", buffers, NI_NUMERICHOST), 0);
    EXPECT_TRUE(failing.wasReached());
    addresses.erase(addresses.begin() + 2);
    EXPECT_EQ(texts(), Texts(addresses.begin(), addresses.begin() + 14));
}

TEST_F(AddressResolution, GetAddrinfo_WithoutAnyText_Fails) {
    fakeNetwork.hosts["alpha"] = {"10.0.0.1", "10.0.0.2"};
    fakeNetwork.namesFail = true;
    EXPECT_EQ(util.zorGetAddrinfo("alpha", "", buffers, NI_NUMERICHOST), -1);
    EXPECT_TRUE(buffers.empty());
}

TEST_F(AddressResolution, GetAddrinfo_HandsOnTheResolversError) {
    EXPECT_EQ(util.zorGetAddrinfo("badhost", "", buffers, NI_NUMERICHOST), EAI_NONAME);
    EXPECT_EQ(util.zorGetAddrinfo("", "", buffers, NI_NUMERICHOST), -1);
    EXPECT_TRUE(buffers.empty());
}

TEST_F(AddressResolution, GetAddrinfo_OutOfMemory_AppendsNothing) {
    fakeNetwork.hosts["alpha"] = {"10.0.0.1", "10.0.0.2", "10.0.0.3"};
    bool reached = true;
    int failures = 0;
    for (int nth = 1; reached && nth < 200; ++nth) {
        util.zorFreeAddrinfo(buffers);
        buffers.shrink_to_fit(); // so that the list has to grow
        int result = 0;
        {
            const FailingCall failing("operator new", nth);
            result = util.zorGetAddrinfo("alpha", "", buffers, NI_NUMERICHOST);
            reached = failing.wasReached();
        }
        EXPECT_EQ(buffers.size(), result == 0 ? 3u : 0u) << nth << ": " << result;
        failures += result == EAI_MEMORY ? 1 : 0;
    }
    EXPECT_FALSE(reached);
    EXPECT_GT(failures, 3);
}

TEST_F(AddressResolution, CompareAddress_OutOfMemory_BelongsToNobody) {
    const std::string name = "[]", peer = "2001:db8:0:0:0:0:0:bbbb"; // without memory for it, the peer were as empty
    bool reached = true;
    for (int nth = 1; reached && nth < 200; ++nth) {
        std::string passedName = name, passedService, passedPeer = peer;
        const FailingCall failing("operator new", nth);
        EXPECT_EQ(util.zorCompareAddressFromPeerAddress(std::move(passedName), passedService, std::move(passedPeer)), 0)
            << nth;
        reached = failing.wasReached();
    }
    EXPECT_FALSE(reached);
}

// Lets one allocation after the other fail; whatever happens, nothing is lost.
TEST_F(AddressResolution, GetAddrinfo_OutOfMemory_LeaksNothing) {
    fakeNetwork.hosts["alpha"] = {"10.0.0.1", "10.0.0.2", "10.0.0.3"};
    bool reached = true;
    for (int nth = 1; reached && nth < 200; ++nth) {
        forgetQuestions();
        size_t live = 0;
        {
            const zor::test::AllocationScope allocations;
            const FailingCall failing("operator new", nth);
            static_cast<void>(util.zorGetAddrinfo("alpha", "", buffers, NI_NUMERICHOST));
            reached = failing.wasReached();
            util.zorFreeAddrinfo(buffers);
            buffers.shrink_to_fit();
            forgetQuestions();
            live = allocations.live();
        }
        EXPECT_EQ(live, 0u) << nth;
    }
    EXPECT_FALSE(reached);
}

TEST_F(AddressResolution, FreeAddrinfo_PassesOverNullBuffers) {
    buffers = {nullptr, new char[1025], nullptr};
    util.zorFreeAddrinfo(buffers);
    EXPECT_TRUE(buffers.empty());
    util.zorFreeAddrinfo(buffers);
}

TEST_F(AddressResolution, Compare_EachPairOfTexts_IsJudgedAsListed) {
    const struct {
        const char *name, *peer;
        int belongs;
    } rows[] = {
        {"10.0.0.1", "10.0.0.1", 1},     {"[fe80::1]", "fe80::1", 1},  {"fe80::1", "[fe80::1%4]", 1},
        {"[fe80::1%7]", "fe80::1%4", 1}, {"10.0.0.15", "10.0.0.1", 0}, {"badhost", "10.0.0.1", 0},
        {"FE80::1", "fe80::2", 0},
    };
    for (const auto &row : rows)
        EXPECT_EQ(util.zorCompareAddressFromPeerAddress(row.name, "", row.peer), row.belongs)
            << row.name << ' ' << row.peer;
}

TEST_F(AddressResolution, Compare_PartOfThePeersText_Belongs_Kept) {
    EXPECT_EQ(util.zorCompareAddressFromPeerAddress("10.0.0", "", "10.0.0.15"), 1);
    EXPECT_EQ(util.zorCompareAddressFromPeerAddress("0.15", "", "10.0.0.15"), 1);
    EXPECT_EQ(util.zorCompareAddressFromPeerAddress("", "", "10.0.0.15"), 1);
    EXPECT_EQ(util.zorCompareAddressFromPeerAddress("", "", ""), 1);
    EXPECT_TRUE(fakeNetwork.questions.empty());
}

TEST_F(AddressResolution, Compare_NameThatResolvesToThePeer_Belongs) {
    fakeNetwork.hosts["alpha"] = {"10.0.0.1", "2001:db8::5", "10.0.0.2"};
    for (const char *peer : {"10.0.0.2", "2001:db8::5", "[2001:db8::5]"})
        EXPECT_EQ(util.zorCompareAddressFromPeerAddress("alpha", "4711", peer), 1) << peer;
    EXPECT_EQ(fakeNetwork.questions.at(0).service, "4711");
    for (const char *peer : {"10.0.0.3", "2001:db8:0:0:0:0:0:5", "", "alpha1"})
        EXPECT_EQ(util.zorCompareAddressFromPeerAddress("alpha1x", "", peer), 0) << peer;
    for (const char *peer : {"10.0.0.3", "2001:db8:0:0:0:0:0:5", ""})
        EXPECT_EQ(util.zorCompareAddressFromPeerAddress("alpha", "", peer), 0) << peer;
}

TEST_F(AddressResolution, WithoutTheMarker_NothingIsResolved) {
    fakeNetwork.indexes = {{"en0", 4}};
    fakeNetwork.entries.addLink("en0", 1);
    fakeNetwork.entries.addAddress("en0", kUp, "10.0.0.1", "255.0.0.0");
    fakeNetwork.hosts["alpha"] = {"10.0.0.1"};
    for (const int32_t marker : {0, 2, -1}) {
        Unmarked object(marker);
        EXPECT_EQ(textOf(object.util, "10.1.2.3", 1, NI_NUMERICHOST), "");
        unsigned int scope = 99;
        EXPECT_EQ(object.util.zorGetScopeId("fe80::1", scope), 0);
        EXPECT_EQ(scope, 99u);
        EXPECT_EQ(object.util.formatV6addrWithScope("fe80::1", false), "fe80::1");
        EXPECT_EQ(object.util.zorGetAddrinfo("alpha", "", buffers, NI_NUMERICHOST), -1);
        std::string local = "mine";
        EXPECT_EQ(object.util.zorGetLocalIPAddress("alpha", "", local, false, 0, NI_NUMERICHOST), -1);
        EXPECT_EQ(object.util.zorGetLocalIPAddressFromList("alpha", "", local, false, 0, 0), -1);
        EXPECT_EQ(local, "mine");
        EXPECT_EQ(object.util.zorCompareAddressFromPeerAddress("alpha", "", "10.0.0.1"), 0);
        EXPECT_EQ(object.util.zorCompareAddressFromPeerAddress("10.0.0", "", "10.0.0.1"), 1) << "needs no resolver";
        char buffer[1] = {};
        std::vector<char *> list = {buffer};
        object.util.zorFreeAddrinfo(list);
        EXPECT_EQ(list.size(), 1u);
    }
    EXPECT_TRUE(fakeNetwork.questions.empty());
}

} // namespace
