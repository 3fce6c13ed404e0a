// Queries and the full collection with the real collectors, on a host that the test makes up.

#include "zorcomn/sysprops.h"

#include "tests/support/child.h"
#include "tests/support/failing_calls.h"
#include "tests/support/fake_host.h"
#include "tests/support/private_machine.h"
#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>
#include <unistd.h>

using namespace velmora_com::vta::sysprops;

namespace {

using FullReport = zor::host::FakeHostTest;
using Properties = std::map<std::wstring, std::wstring>;
using FileSystems = std::map<std::wstring, std::pair<std::wstring, std::wstring>>;
constexpr uint64_t kMegabyte = 1048576;

void mountTwoVolumes() {
    zor::host::fakeHost.mountedFileSystems = std::vector<zor::host::MountedFileSystem>{
        {"/", kMegabyte, 1000, 573, true}, {"/Volumes/Data", kMegabyte, 100, 3, true}};
}

TEST_F(FullReport, TwoVolumes_Give33Names) {
    mountTwoVolumes();
    Properties props;
    EXPECT_TRUE(ISysProps().GetAllSystemProperties(props));
    EXPECT_EQ(props.size(), 33u);
    EXPECT_EQ(props[L"FileSystem\"/\" Total_Disk_Space_in_MB"], L"1000.00");
    EXPECT_EQ(props[L"FileSystem\"/\" Free_Disk_Space_in_MB"], L"550.00");
    EXPECT_EQ(props[L"FileSystem\"/Volumes/Data\" Total_Disk_Space_in_MB"], L"100.00");
    EXPECT_EQ(props[L"FileSystem\"/Volumes/Data\" Free_Disk_Space_in_MB"], L"3.00");
    EXPECT_EQ(props[L"NumberOfFileSystems"], L"2");
}

TEST_F(FullReport, TwoVolumesApart_Give30NamesAndTheTable) {
    mountTwoVolumes();
    Properties props;
    FileSystems fileSystems = {{L"left over", {L"1", L"2"}}};
    EXPECT_TRUE(ISysProps().GetAllSystemProperties(props, fileSystems));
    EXPECT_EQ(props.size(), 30u);
    EXPECT_EQ(fileSystems, (FileSystems{{L"/", {L"1000.00", L"550.00"}}, {L"/Volumes/Data", {L"100.00", L"3.00"}}}));
}

TEST_F(FullReport, HostThatKnowsNothing_IsReportedAllTheSame) {
    Properties props;
    FileSystems fileSystems;
    EXPECT_TRUE(ISysProps().GetAllSystemProperties(props, fileSystems));
    EXPECT_EQ(props.size(), 30u);
    EXPECT_EQ(props[L"TotalPhysicalMemory"], L"N/A");
    EXPECT_EQ(props[L"CPUSerialNumber"], L"N/A");
    EXPECT_EQ(props[L"OSVersion"], L"N/A");
    EXPECT_TRUE(fileSystems.empty());
}

TEST_F(FullReport, WithoutVersionFileAndUsers_StartsNoCommand) {
    if (access("/System/Library/CoreServices/SystemVersion.plist", F_OK) == 0)
        GTEST_SKIP() << "this machine has a version file";
    const zor::test::TemporaryFolder folder;
    EXPECT_TRUE(zor::test::childPasses([&] {
        zor::test::writeLoginRecords(folder / "logins", {});
        Properties props;
        const zor::test::FailingCall command("popen");
        EXPECT_TRUE(ISysProps().GetAllSystemProperties(props));
        EXPECT_FALSE(command.wasReached());
        EXPECT_EQ(props[L"UserName"], L"NA");
    }));
}

TEST_F(FullReport, UnmountedVolume_StaysListedByTheSameObject_Kept) {
    mountTwoVolumes();
    ISysProps object;
    Properties props;
    object.GetAllSystemProperties(props);
    zor::host::fakeHost.mountedFileSystems->pop_back();
    object.GetAllSystemProperties(props);
    EXPECT_EQ(props.size(), 33u);
    EXPECT_EQ(props[L"NumberOfFileSystems"], L"1");
    ISysProps().GetAllSystemProperties(props);
    EXPECT_EQ(props.size(), 31u);
}

TEST_F(FullReport, MountPointOfInvalidUtf8_IsCutNotFatal) {
    zor::host::fakeHost.mountedFileSystems =
        std::vector<zor::host::MountedFileSystem>{{"/mnt/\xFF\xFE", kMegabyte, 100, 50, true}};
    Properties props;
    EXPECT_TRUE(ISysProps().GetAllSystemProperties(props));
    EXPECT_EQ(props.count(L"FileSystem\"/mnt/\" Total_Disk_Space_in_MB"), 1u);
}

TEST_F(FullReport, FreeMemory_IsCollectedAgainByEveryQuery) {
    zor::host::fakeHost.physicalMemoryBytes = 1000;
    zor::host::fakeHost.freeMemory = zor::host::FreeMemory{999, 1};
    ISysProps object;
    EXPECT_EQ(object.GetOneSystemProperty(L"FreeMemory"), L"950");
    zor::host::fakeHost.freeMemory = zor::host::FreeMemory{101, 1};
    EXPECT_EQ(object.GetOneSystemProperty(L"FreeMemory"), L"100");
    zor::host::fakeHost.freeMemory.reset();
    EXPECT_EQ(object.GetOneSystemProperty(L"FreeMemory"), L"100"); // not found any more: the earlier value
    EXPECT_EQ(qelcomn_get_free_memory(), L"N/A");
}

} // namespace
