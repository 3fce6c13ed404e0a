#include "zorcomn/sysprops.h"

#include "tests/support/failing_calls.h"
#include "tests/support/fake_host.h"

namespace {

using velmora_com::vta::sysprops::ISysProps;
using velmora_com::vta::sysprops::MemoryInformation;
using zor::host::fakeHost;

using MemoryTest = zor::host::FakeHostTest;

constexpr uint64_t kGigabyte = 1024ull * 1024 * 1024;

TEST_F(MemoryTest, KnownAmounts_AreBytesInDecimal) {
    fakeHost.physicalMemoryBytes = 2 * kGigabyte;
    fakeHost.freeMemory = {{131072 + 5, 4096}}; // just above five twentieths
    MemoryInformation info;
    EXPECT_TRUE(ISysProps().GetMemoryInformation(info));
    EXPECT_EQ(info.TotalPhysicalMemory, L"2147483648");
    EXPECT_EQ(info.FreeMemory, L"536870910") << "five times a twentieth without its rest";
}

TEST_F(MemoryTest, AmountsAbove32Bits_AreWhole) {
    fakeHost.physicalMemoryBytes = 18446744073709551615ull;
    fakeHost.freeMemory = {{1ull << 50, 4096}};
    MemoryInformation info;
    EXPECT_TRUE(ISysProps().GetMemoryInformation(info));
    EXPECT_EQ(info.TotalPhysicalMemory, L"18446744073709551615");
    EXPECT_EQ(info.FreeMemory, L"4611686018427387900") << "five steps of 922337203685477580, 4 less than is free";
}

TEST_F(MemoryTest, UnknownTotal_LeavesTheFieldAndTheFreeBytesUnrounded_Kept) {
    fakeHost.freeMemory = {{12345, 4096}};
    MemoryInformation info;
    info.TotalPhysicalMemory = L"before";
    EXPECT_TRUE(ISysProps().GetMemoryInformation(info));
    EXPECT_EQ(info.TotalPhysicalMemory, L"before");
    EXPECT_EQ(info.FreeMemory, L"50565120");
}

TEST_F(MemoryTest, UnknownFreeMemory_FailsAndLeavesTheField) {
    fakeHost.physicalMemoryBytes = 2 * kGigabyte;
    MemoryInformation info;
    EXPECT_FALSE(ISysProps().GetMemoryInformation(info));
    EXPECT_EQ(info.TotalPhysicalMemory, L"2147483648");
    EXPECT_EQ(info.FreeMemory, L"N/A");
}

TEST_F(MemoryTest, NothingKnown_LeavesAFreshRecord) {
    MemoryInformation info;
    EXPECT_FALSE(ISysProps().GetMemoryInformation(info));
    EXPECT_EQ(info.TotalPhysicalMemory, L"N/A");
    EXPECT_EQ(info.FreeMemory, L"N/A");
}

TEST_F(MemoryTest, AllFree_IsNineteenTwentieths) {
    fakeHost.physicalMemoryBytes = 20 * 4096;
    fakeHost.freeMemory = {{20, 4096}};
    MemoryInformation info;
    EXPECT_TRUE(ISysProps().GetMemoryInformation(info));
    EXPECT_EQ(info.FreeMemory, L"77824");
}

TEST_F(MemoryTest, NothingFree_IsZero) {
    fakeHost.physicalMemoryBytes = kGigabyte;
    fakeHost.freeMemory = {{0, 4096}};
    MemoryInformation info;
    EXPECT_TRUE(ISysProps().GetMemoryInformation(info));
    EXPECT_EQ(info.FreeMemory, L"0");
}

TEST_F(MemoryTest, NoMemoryAtAnyPoint_Fails) {
    fakeHost.physicalMemoryBytes = 2 * kGigabyte;
    fakeHost.freeMemory = {{131072, 4096}};
    bool wasReached = true;
    int points = 0;
    while (wasReached) {
        MemoryInformation info;
        const zor::test::FailingCall failing("operator new", points + 1);
        const bool result = ISysProps().GetMemoryInformation(info);
        wasReached = failing.wasReached();
        EXPECT_EQ(result, !wasReached) << points;
        points += wasReached;
    }
    EXPECT_GE(points, 2);
}

} // namespace
