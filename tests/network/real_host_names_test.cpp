// The machine's names over the real resolver, with hosts files and names of the test's own.

#include "zorcomn/network.h"
#include "zorcomn/sysprops.h"

#include "tests/network/private_network.h"

#include <atomic>
#include <string>
#include <thread>

#include <gtest/gtest.h>
#include <netdb.h>

namespace {

using velmora_com::vta::getDomainName;
using velmora_com::vta::getFqdnAddress;

/** Runs body in a child whose host and NIS domain name and hosts file are these, with no network beyond. */
::testing::AssertionResult passesOnHost(const std::string &hostName, const std::string &nisDomain,
                                        const std::string &hosts, const std::function<void()> &body) {
    const zor::test::TemporaryFolder folder;
    return zor::test::childPasses([&] {
        ASSERT_TRUE(zor::test::enterPrivateMounts() && zor::test::enterPrivateNetwork());
        ASSERT_TRUE(zor::test::enterPrivateNames(hostName, nisDomain));
        zor::test::coverHosts(folder, hosts);
        body();
    });
}

TEST(RealHostNames, EachMachine_IsNamedAsListed) {
    ZORCOMN_SKIP_WITHOUT_NAMESPACES();
    const struct {
        const char *hostName, *nisDomain, *hosts;
        const wchar_t *domain, *fullName;
    } rows[] = {
        {"alpha", "", "10.0.0.1 alpha.beta.gamma alpha\n", L"beta.gamma", L"alpha.beta.gamma"},
        {"alpha", "nis.example", "10.0.0.1 alpha.beta.gamma alpha\n", L"nis.example", L"alpha.beta.gamma"},
        {"alpha", "(none)", "10.0.0.1 alpha.beta.gamma alpha\n", L"beta.gamma", L"alpha.beta.gamma"},
        {"alpha", "", "10.0.0.1 alpha\n", L"N/A", L"alpha"},
        {"alpha", "", "127.0.0.1 localhost\n", L"N/A", L"alpha."},
        {"alpha", "(none)", "127.0.0.1 localhost\n", L"N/A", L"alpha."},
        {"alpha", "nis.example", "127.0.0.1 localhost\n", L"nis.example", L"alpha.nis.example"},
        {"alpha.delta", "", "127.0.0.1 localhost\n", L"N/A", L"alpha.delta."},
    };
    for (const auto &row : rows)
        EXPECT_TRUE(passesOnHost(row.hostName, row.nisDomain, row.hosts,
                                 [&] {
                                     EXPECT_EQ(getDomainName(), row.domain);
                                     EXPECT_EQ(getFqdnAddress(), row.fullName);
                                 }))
            << row.hostName << ' ' << row.nisDomain << ' ' << row.hosts;
}

TEST(RealHostNames, LongAnswer_IsDeliveredWhole) {
    ZORCOMN_SKIP_WITHOUT_NAMESPACES();
    std::string hosts = "10.0.0.1 alpha.beta.gamma alpha";
    for (int i = 0; i < 2000; ++i)
        hosts += " alias-number-" + std::to_string(i);
    EXPECT_TRUE(passesOnHost("alpha", "", hosts + "\n", [] { EXPECT_EQ(getFqdnAddress(), L"alpha.beta.gamma"); }));
}

TEST(RealHostNames, NamesInTheReport_AreTheMachinesOwn) {
    ZORCOMN_SKIP_WITHOUT_NAMESPACES();
    EXPECT_TRUE(passesOnHost("alpha.beta", "", "10.0.0.1 alpha.beta.gamma alpha.beta\n", [] {
        velmora_com::vta::sysprops::NetworkInformation info;
        EXPECT_FALSE(velmora_com::vta::sysprops::ISysProps().GetNetworkInformation(info)) << "no interface is up";
        EXPECT_EQ(info.ComputerName, L"alpha");
        EXPECT_EQ(info.DomainName, L"beta.gamma");
        EXPECT_EQ(info.IPHostName, L"alpha.beta.gamma");
        EXPECT_EQ(info.IPXAddress, L"N/A");
        EXPECT_EQ(info.IPAddress, L"N/A");
    }));
}

TEST(RealHostNames, OtherThreadsLookUps_DoNotSpoilTheAnswer) {
    ZORCOMN_SKIP_WITHOUT_NAMESPACES();
    EXPECT_TRUE(passesOnHost("alpha", "", "10.0.0.1 alpha.beta.gamma alpha\n10.0.0.2 another.host.example\n", [] {
        std::atomic<bool> stop{false};
        std::thread other([&] {
            while (!stop)
                gethostbyname("another.host.example");
        });
        for (int i = 0; i < 300; ++i)
            EXPECT_EQ(getFqdnAddress(), L"alpha.beta.gamma");
        stop = true;
        other.join();
    }));
}

} // namespace
