// The network record as the report fills it, over made-up interfaces.

#include "zorcomn/network.h"
#include "zorcomn/sysprops.h"

#include "tests/network/fake_network.h"
#include "tests/support/child.h"
#include "tests/support/failing_calls.h"
#include "tests/support/private_machine.h"
#include "tests/support/temporary_folder.h"

#include <map>
#include <optional>
#include <string>

#include <time.h>

namespace {

using namespace velmora_com::vta;
using sysprops::ISysProps;
using sysprops::NetworkInformation;
using zor::test::FailingCall;
using zor::test::fakeNetwork;
using zor::test::kLoopback;
using zor::test::kUp;

class CollectNetwork : public zor::test::FakeNetworkTest {
protected:
    CollectNetwork() {
        fakeNetwork.indexes = {{"lo0", 1}, {"en0", 4}, {"en1", 5}};
        zor::host::fakeHost.nisDomainName = "nis.example";
        zor::host::fakeHost.officialHostName = [](const std::string &) { return "alpha.beta.gamma"; };
    }
    ~CollectNetwork() override { ISysProps::updateLocalIP(L""); }

    static void addInterfaces() {
        fakeNetwork.entries.addLink("lo0", 0);
        fakeNetwork.entries.addLink("en0", 0x10);
        fakeNetwork.entries.addLink("en1", 0x11);
        fakeNetwork.entries.addAddress("lo0", kLoopback, "127.0.0.1", "255.0.0.0");
        fakeNetwork.entries.addAddress("en0", kUp, "10.0.0.5", "255.0.0.0");
        fakeNetwork.entries.addAddress("en1", kUp, "192.168.1.20", "255.255.255.0");
        fakeNetwork.entries.addAddress("en1", kUp, "2001:db8::5", "ffff:ffff:ffff:ffff::");
    }

    static void expectNames(const NetworkInformation &info) {
        std::string computerName;
        ASSERT_TRUE(sysprops::getComputerName(computerName));
        EXPECT_EQ(info.ComputerName, sysprops::sysprops_ansi_to_wide(computerName));
        EXPECT_EQ(info.DomainName, L"nis.example");
        EXPECT_EQ(info.IPHostName, L"alpha.beta.gamma");
        EXPECT_EQ(info.IPXAddress, L"N/A");
    }

    /** A record in which every field holds a text of its own. */
    static NetworkInformation filledRecord() {
        NetworkInformation info;
        info.DomainName = info.ComputerName = info.IPXAddress = info.IPHostName = L"old name";
        info.IPAddress = info.SubnetAddress = info.SubnetMask = info.NETAddress = L"old address";
        return info;
    }
};

TEST_F(CollectNetwork, FirstIPv4Address_RepresentsTheMachine) {
    addInterfaces();
    NetworkInformation info;
    EXPECT_TRUE(ISysProps().GetNetworkInformation(info));
    expectNames(info);
    EXPECT_EQ(info.IPAddress, L"10.0.0.5");
    EXPECT_EQ(info.SubnetAddress, L"10.0.0.0");
    EXPECT_EQ(info.SubnetMask, L"255.0.0.0");
    EXPECT_EQ(info.NETAddress, L"020000000010");
}

TEST_F(CollectNetwork, LastKnownLocalAddress_Wins) {
    addInterfaces();
    ISysProps::updateLocalIP(L"192.168.1.20");
    NetworkInformation info;
    EXPECT_TRUE(ISysProps().GetNetworkInformation(info));
    EXPECT_EQ(info.IPAddress, L"192.168.1.20");
    EXPECT_EQ(info.SubnetAddress, L"192.168.1.0");
    EXPECT_EQ(info.NETAddress, L"020000000011");
    EXPECT_EQ(ISysProps::GetLastKnownLocalIP(), L"192.168.1.20") << "it is only read";
}

TEST_F(CollectNetwork, LastKnownIPv6Address_IsFoundInItsExpandedForm) {
    addInterfaces();
    for (const wchar_t *lastKnown : {L"2001:db8:0:0:0:0:0:5", L"2001:db8::99"}) {
        ISysProps::updateLocalIP(lastKnown);
        NetworkInformation info;
        EXPECT_TRUE(ISysProps().GetNetworkInformation(info));
        EXPECT_EQ(info.IPAddress, L"2001:db8:0:0:0:0:0:5");
        EXPECT_EQ(info.SubnetAddress, L"2001:db8:0:0:0:0:0:0");
        EXPECT_EQ(info.SubnetMask, L"ffff:ffff:ffff:ffff:0:0:0:0");
    }
}

TEST_F(CollectNetwork, OnlyLoopback_SetsTheNamesAndLeavesTheAddressFields) {
    fakeNetwork.entries.addLink("lo0", 0);
    fakeNetwork.entries.addAddress("lo0", kLoopback, "127.0.0.1", "255.0.0.0");
    ISysProps::updateLocalIP(L"127.0.0.1");
    NetworkInformation info = filledRecord();
    EXPECT_FALSE(ISysProps().GetNetworkInformation(info));
    expectNames(info);
    for (const std::wstring &field : {info.IPAddress, info.SubnetAddress, info.SubnetMask, info.NETAddress})
        EXPECT_EQ(field, L"old address");
}

TEST_F(CollectNetwork, UnreadableInterfaceList_LeavesTheAddressFields) {
    fakeNetwork.listFails = true;
    NetworkInformation info = filledRecord();
    EXPECT_FALSE(ISysProps().GetNetworkInformation(info));
    expectNames(info);
    EXPECT_EQ(info.IPAddress, L"old address");
}

TEST_F(CollectNetwork, NothingToTellOfTheNames_IsNotAvailable) {
    addInterfaces();
    zor::host::fakeHost = {};
    NetworkInformation info = filledRecord();
    const FailingCall computerName("uname"), hostName("gethostname"); // asked for once
    EXPECT_TRUE(ISysProps().GetNetworkInformation(info));
    EXPECT_TRUE(computerName.wasReached() && hostName.wasReached());
    EXPECT_EQ(info.ComputerName, L"N/A");
    EXPECT_EQ(info.DomainName, L"N/A");
    EXPECT_EQ(info.IPHostName, L"N/A");
    EXPECT_EQ(info.IPXAddress, L"N/A");
    EXPECT_EQ(info.IPAddress, L"10.0.0.5");
}

/** A machine without NIS domain whose resolver counts its questions. */
class NameLookUps : public CollectNetwork {
protected:
    NameLookUps() {
        addInterfaces();
        zor::host::fakeHost.nisDomainName = "";
        zor::host::fakeHost.officialHostName = [this](const std::string &) -> std::optional<std::string> {
            ++m_questions;
            return m_isKnown ? std::optional<std::string>("alpha.beta.gamma") : std::nullopt;
        };
    }

    /** How many questions an action asks. */
    template <class Action> int questionsOf(Action action) {
        m_questions = 0;
        action();
        return m_questions;
    }

    bool m_isKnown = true;
    int m_questions = 0;
};

TEST_F(NameLookUps, OneCollection_AsksOnce) {
    for (const bool isKnown : {true, false}) {
        m_isKnown = isKnown;
        NetworkInformation info;
        EXPECT_EQ(questionsOf([&] { ISysProps().GetNetworkInformation(info); }), 1) << isKnown;
        EXPECT_EQ(info.DomainName, isKnown ? L"beta.gamma" : L"N/A");
    }
    zor::host::fakeHost.nisDomainName = "nis.example";
    NetworkInformation info;
    EXPECT_EQ(questionsOf([&] { ISysProps().GetNetworkInformation(info); }), 1) << "for the full name";
}

TEST_F(NameLookUps, FullReport_AsksOnce) {
    EXPECT_TRUE(zor::test::childPasses([&] {
        const zor::test::TemporaryFolder folder;
        zor::test::writeLoginRecords(folder / "utmp", {});
        for (const bool isKnown : {true, false}) {
            m_isKnown = isKnown;
            std::map<std::wstring, std::wstring> props;
            EXPECT_EQ(questionsOf([&] { ISysProps().GetAllSystemProperties(props); }), 1) << isKnown;
            EXPECT_EQ(props.at(L"DomainName"), isKnown ? L"beta.gamma" : L"N/A");
        }
    }));
}

TEST_F(NameLookUps, OneProperty_AsksOnlyWhenItsValueDependsOnTheAnswer) {
    EXPECT_TRUE(zor::test::childPasses([&] {
        const zor::test::TemporaryFolder folder;
        zor::test::writeLoginRecords(folder / "utmp", {});
        tzset(); // or the first collection would find another name than the next
        std::map<std::wstring, std::wstring> props;
        ISysProps object;
        object.GetAllSystemProperties(props);
        for (const auto &entry : props) {
            const std::wstring &name = entry.first;
            const bool depends = name == L"DomainName" || name == L"IPHostName";
            EXPECT_EQ(questionsOf([&] { object.GetOneSystemProperty(name); }), depends)
                << sysprops::sysprops_wide_to_ansi(name);
            if (name != L"LastUpdate" && name != L"NumberOfFileSystems") {
                EXPECT_EQ(object.GetOneSystemProperty(name), entry.second) << sysprops::sysprops_wide_to_ansi(name);
            }
        }
        zor::host::fakeHost.nisDomainName = "nis.example";
        EXPECT_EQ(questionsOf([&] { object.GetOneSystemProperty(L"DomainName"); }), 0);
    }));
}

TEST_F(NameLookUps, PropertyWithoutTheNames_StillCollectsTheAddress_Kept) {
    ISysProps object;
    object.GetOneSystemProperty(L"ComputerName");
    fakeNetwork.listFails = true;
    EXPECT_EQ(object.GetOneSystemProperty(L"IPAddress"), L"10.0.0.5") << "of the earlier run";
    EXPECT_EQ(ISysProps().GetOneSystemProperty(L"IPAddress"), L"N/A");
}

TEST_F(CollectNetwork, NoMemory_LeavesTheAddressFieldsOfAFailedCollection) {
    addInterfaces();
    ISysProps::updateLocalIP(L"2001:db8:0:0:0:0:0:5");
    ISysProps object;
    bool wasReached = true;
    for (int nth = 1; wasReached; ++nth) {
        NetworkInformation info = filledRecord();
        bool result = false;
        {
            const FailingCall failing("operator new", nth);
            result = object.GetNetworkInformation(info);
            wasReached = failing.wasReached();
        }
        if (result)
            continue;
        for (const std::wstring &field : {info.IPAddress, info.SubnetAddress, info.SubnetMask, info.NETAddress})
            EXPECT_EQ(field, L"old address") << nth;
    }
}

TEST_F(CollectNetwork, WithoutAHostName_TheResolverIsNotAsked) {
    zor::host::fakeHost.nisDomainName = "";
    zor::host::fakeHost.officialHostName = [](const std::string &name) {
        ADD_FAILURE() << name;
        return "alpha.beta.gamma";
    };
    for (std::wstring (*const name)() : {getDomainName, getFqdnAddress}) {
        const FailingCall failing("gethostname");
        EXPECT_EQ(name(), L"N/A");
        EXPECT_TRUE(failing.wasReached());
    }
}

} // namespace
