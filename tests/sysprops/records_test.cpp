#include "zorcomn/sysprops.h"

#include "tests/support/failing_calls.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

using namespace velmora_com::vta::sysprops;

namespace {

using Fields = std::vector<const std::wstring *>;

Fields fieldsOf(const CPUInformation &info) {
    return {&info.CPUType, &info.CPUSpeed, &info.NumOfCPU, &info.CPUSerialNumber, &info.IsPortable};
}

Fields fieldsOf(const NetworkInformation &info) {
    return {&info.DomainName, &info.ComputerName, &info.IPAddress,  &info.SubnetAddress,
            &info.SubnetMask, &info.NETAddress,   &info.IPXAddress, &info.IPHostName};
}

Fields fieldsOf(const MemoryInformation &info) {
    return {&info.TotalPhysicalMemory, &info.FreeMemory};
}

Fields fieldsOf(const OSInformation &info) {
    return {&info.OSType,     &info.OSPlatform, &info.OSVersion,  &info.OSCsdVersion,
            &info.OSBuildNum, &info.OSOEMId,    &info.PlatformID, &info.OSBitMode};
}

Fields fieldsOf(const DiskInformation &info) {
    return {&info.TotalDiskSpace, &info.FreeDiskSpace, &info.NumberOfFileSystems};
}

Fields fieldsOf(const MiscInformation &info) {
    return {&info.UserName, &info.TimeZone, &info.DefaultLangID, &info.LastUpdate};
}

/** The values of a fresh record's fields; they must lie in the record one after the other. */
template <class Record> std::vector<std::wstring> freshValues() {
    const Record record;
    std::vector<std::wstring> values;
    const auto *expected = reinterpret_cast<const std::wstring *>(&record);
    for (const std::wstring *field : fieldsOf(record)) {
        EXPECT_EQ(field, expected++) << "field " << values.size() + 1;
        values.push_back(*field);
    }
    return values;
}

using Values = std::vector<std::wstring>;

TEST(Record, Fresh_HoldsTheDefaultInEveryField) {
    EXPECT_EQ(freshValues<NetworkInformation>(), Values(8, L"N/A"));
    EXPECT_EQ(freshValues<MemoryInformation>(), Values(2, L"N/A"));
    EXPECT_EQ(freshValues<DiskInformation>(), Values(3, L"N/A"));
    EXPECT_EQ(freshValues<MiscInformation>(), Values(4, L"N/A"));
    EXPECT_TRUE(DiskInformation().FileSystems.empty());
}

TEST(Record, FreshProcessor_StartsWithEmptyPortability_Kept) {
    EXPECT_EQ(freshValues<CPUInformation>(), (Values{L"N/A", L"N/A", L"N/A", L"N/A", L""}));
}

TEST(Record, FreshOperatingSystem_StartsWithEmptyPlatformIdentifier_Kept) {
    EXPECT_EQ(freshValues<OSInformation>(), (Values{L"N/A", L"N/A", L"N/A", L"N/A", L"N/A", L"N/A", L"", L"N/A"}));
}

TEST(Record, SystemProperties_HoldOneOfEachAndNothingElse) {
    EXPECT_EQ(sizeof(ISysProps), sizeof(CPUInformation) + sizeof(NetworkInformation) + sizeof(MemoryInformation) +
                                     sizeof(OSInformation) + sizeof(DiskInformation) + sizeof(MiscInformation));
}

TEST(LastKnownLocalIP, IsEmptyUntilSet) {
    ISysProps::m_wstrLastKnownLocalIP.clear();
    EXPECT_EQ(ISysProps::GetLastKnownLocalIP(), L"");
    ISysProps::updateLocalIP(L"10.0.0.5");
    EXPECT_EQ(ISysProps::GetLastKnownLocalIP(), L"10.0.0.5");
    EXPECT_EQ(ISysProps::m_wstrLastKnownLocalIP, L"10.0.0.5");
    ISysProps::updateLocalIP(L"");
    EXPECT_EQ(ISysProps::GetLastKnownLocalIP(), L"");
}

TEST(LastKnownLocalIP, WithoutMemory_StaysAndReadsEmpty) {
    const std::wstring longAddress = L"fe80:0000:0000:0000:0211:22ff:fe33:4455";
    ISysProps::m_wstrLastKnownLocalIP = std::wstring();
    {
        const zor::test::FailingCall failing("operator new");
        ISysProps::updateLocalIP(longAddress);
        EXPECT_TRUE(failing.wasReached());
    }
    EXPECT_EQ(ISysProps::GetLastKnownLocalIP(), L"");
    ISysProps::updateLocalIP(longAddress);
    {
        const zor::test::FailingCall failing("operator new");
        EXPECT_EQ(ISysProps::GetLastKnownLocalIP(), L"");
        EXPECT_TRUE(failing.wasReached());
    }
    EXPECT_EQ(ISysProps::GetLastKnownLocalIP(), longAddress);
    ISysProps::updateLocalIP(L"");
}

} // namespace
