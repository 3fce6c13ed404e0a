// The machine's domain and full name, with the resolver and the NIS domain as the test sets them. The host name is the
// machine's own, whatever it is.

#include "zorcomn/network.h"
#include "zorcomn/sysprops.h"

#include "tests/support/fake_host.h"

#include <unistd.h>

namespace {

using velmora_com::vta::getDomainName;
using velmora_com::vta::getFqdnAddress;
using zor::host::fakeHost;

class HostNames : public zor::host::FakeHostTest {
protected:
    HostNames() {
        char name[256] = {};
        gethostname(name, sizeof name - 1);
        m_hostName = name;
    }
    void answerOfficialName(const std::string &official) {
        fakeHost.officialHostName = [this, official](const std::string &asked) {
            EXPECT_EQ(asked, m_hostName);
            ++m_questions;
            return official;
        };
    }
    std::wstring wideHostName() const { return velmora_com::vta::sysprops::sysprops_ansi_to_wide(m_hostName); }

    std::string m_hostName;
    int m_questions = 0;
};

TEST_F(HostNames, NisDomain_IsTheDomainWithoutAskingTheResolver) {
    answerOfficialName("alpha.beta.gamma");
    fakeHost.nisDomainName = "nis.example";
    EXPECT_EQ(getDomainName(), L"nis.example");
    EXPECT_EQ(m_questions, 0);
}

TEST_F(HostNames, WithoutNisDomain_DomainIsWhatFollowsTheFirstDot) {
    for (const std::optional<std::string> &nis : {std::optional<std::string>(), std::optional<std::string>("")}) {
        fakeHost.nisDomainName = nis;
        answerOfficialName("alpha.beta.gamma");
        EXPECT_EQ(getDomainName(), L"beta.gamma");
        answerOfficialName("alpha.");
        EXPECT_EQ(getDomainName(), L"");
        answerOfficialName(".beta");
        EXPECT_EQ(getDomainName(), L"beta");
    }
}

TEST_F(HostNames, OfficialNameWithoutDot_GivesNoDomain) {
    answerOfficialName("alpha");
    EXPECT_EQ(getDomainName(), L"N/A");
    answerOfficialName("");
    EXPECT_EQ(getDomainName(), L"N/A");
}

TEST_F(HostNames, UnknownToTheResolver_GivesNoDomain) {
    EXPECT_EQ(getDomainName(), L"N/A");
}

TEST_F(HostNames, FullName_IsTheResolversOfficialName) {
    fakeHost.nisDomainName = "nis.example";
    for (const char *official : {"alpha.beta.gamma", "alpha", ""}) {
        answerOfficialName(official);
        EXPECT_EQ(getFqdnAddress(), std::wstring(official, official + std::string(official).size()));
    }
}

TEST_F(HostNames, UnknownToTheResolver_FullNameIsHostAndNisDomain) {
    fakeHost.nisDomainName = "nis.example";
    EXPECT_EQ(getFqdnAddress(), wideHostName() + L".nis.example");
}

TEST_F(HostNames, UnknownToTheResolverWithoutNisDomain_FullNameEndsInADot_Kept) {
    fakeHost.nisDomainName = "";
    EXPECT_EQ(getFqdnAddress(), wideHostName() + L".");
}

TEST_F(HostNames, UnreadableNisDomain_FullNameIsTheBareHostName) {
    EXPECT_EQ(getFqdnAddress(), wideHostName());
}

TEST_F(HostNames, HostileOfficialName_IsDeliveredUpToItsFirstBadByte) {
    answerOfficialName("alpha.b\xff\xfe");
    EXPECT_EQ(getDomainName(), L"b");
    answerOfficialName("alpha." + std::string(100000, 'x'));
    EXPECT_EQ(getDomainName(), std::wstring(100000, L'x'));
}

} // namespace
