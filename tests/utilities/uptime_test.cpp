#include "zorcomn/utilities.h"

#include "tests/support/fake_host.h"

#include <ctime>

#include <gtest/gtest.h>

using namespace velmora_com::vta;
using zor::host::fakeHost;

namespace {

using Uptime = zor::host::FakeHostTest;

/** Expects both functions to count from a boot time, whatever second they are called in. */
void expectUptime(int64_t boot) {
    fakeHost.bootTimeSeconds = boot;
    const int64_t before = std::time(nullptr) - boot;
    const int32_t uptime = get_system_uptime_osx();
    const int32_t forwarded = qelcomn_get_system_uptime();
    const int64_t after = std::time(nullptr) - boot;
    EXPECT_GE(uptime, before);
    EXPECT_LE(uptime, forwarded);
    EXPECT_LE(forwarded, after);
}

TEST_F(Uptime, BootInThePast_GivesTheSecondsSince) {
    expectUptime(std::time(nullptr));
    expectUptime(std::time(nullptr) - 1000);
    expectUptime(std::time(nullptr) - 86400 * 3650);
}

TEST_F(Uptime, ClockSetBackBehindTheBoot_GivesANegativeNumber) {
    expectUptime(std::time(nullptr) + 100);
}

TEST_F(Uptime, BootTimeNotKnown_GivesTheLargestNumber_Kept) {
    fakeHost.bootTimeSeconds = std::nullopt;
    EXPECT_EQ(get_system_uptime_osx(), 0x7FFFFFFF);
    EXPECT_EQ(qelcomn_get_system_uptime(), 0x7FFFFFFF);
}

TEST_F(Uptime, AbsurdBootTime_Wraps) {
    expectUptime(std::time(nullptr) - 5);
    const int32_t near = get_system_uptime_osx();
    fakeHost.bootTimeSeconds = *fakeHost.bootTimeSeconds - (int64_t{1} << 40);
    EXPECT_GE(get_system_uptime_osx(), near);
    EXPECT_LT(get_system_uptime_osx(), near + 1000);
}

} // namespace
