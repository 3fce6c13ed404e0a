#include "zorcomn/sysprops.h"

#include "tests/support/environment_guard.h"
#include "tests/support/failing_calls.h"
#include "tests/support/fake_host.h"
#include "tests/support/temporary_folder.h"

#include <clocale>
#include <cstdlib>

namespace {

using velmora_com::vta::sysprops::DiskInformation;
using velmora_com::vta::sysprops::ISysProps;
using zor::host::fakeHost;
using zor::host::MountedFileSystem;

using DiskTest = zor::host::FakeHostTest;
using Table = decltype(DiskInformation().FileSystems);

/** A local file system with blocks of 4,096 bytes, 256 to a megabyte. */
MountedFileSystem disk(const std::string &mountPoint, uint64_t megabytes, uint64_t freeMegabytes) {
    return {mountPoint, 4096, megabytes * 256, freeMegabytes * 256, true};
}

DiskInformation collect(const std::vector<MountedFileSystem> &mounted) {
    fakeHost.mountedFileSystems = mounted;
    DiskInformation info;
    EXPECT_TRUE(ISysProps().GetDiskInformation(info));
    return info;
}

TEST_F(DiskTest, OneDisk_IsToldInMegabytes) {
    const DiskInformation info = collect({disk("/", 1000, 573)});
    EXPECT_EQ(info.NumberOfFileSystems, L"1");
    EXPECT_EQ(info.TotalDiskSpace, L"1000.00");
    EXPECT_EQ(info.FreeDiskSpace, L"550.00");
    EXPECT_EQ(info.FileSystems, (Table{{L"/", {L"1000.00", L"550.00"}}}));
}

TEST_F(DiskTest, Sums_AreOfUnroundedAmountsAndRoundedOnce) {
    // Alone, 59 of 100 free is 55 and 54 of 100 is 50; together, 113 of 200 is 110.
    const DiskInformation info = collect({disk("/", 100, 59), disk("/Volumes/Data", 100, 54)});
    EXPECT_EQ(info.NumberOfFileSystems, L"2");
    EXPECT_EQ(info.TotalDiskSpace, L"200.00");
    EXPECT_EQ(info.FreeDiskSpace, L"110.00");
    EXPECT_EQ(info.FileSystems, (Table{{L"/", {L"100.00", L"55.00"}}, {L"/Volumes/Data", {L"100.00", L"50.00"}}}));
}

TEST_F(DiskTest, RemoteAndBlocklessFileSystems_DoNotCount) {
    MountedFileSystem remote = disk("/net", 100, 50);
    remote.isLocal = false;
    MountedFileSystem withoutBlocks = disk("/proc", 0, 0);
    MountedFileSystem withoutBlockSize = disk("/odd", 100, 50);
    withoutBlockSize.blockSizeBytes = 0;
    const DiskInformation info = collect({remote, withoutBlocks, withoutBlockSize, disk("/", 100, 3)});
    EXPECT_EQ(info.NumberOfFileSystems, L"1");
    EXPECT_EQ(info.TotalDiskSpace, L"100.00");
    EXPECT_EQ(info.FreeDiskSpace, L"3.00") << "below the first step, unchanged";
    EXPECT_EQ(info.FileSystems.size(), 1u);
}

TEST_F(DiskTest, VolumesOfOneContainer_CountOnce) {
    std::vector<MountedFileSystem> mounted = {disk("/", 1000, 573), disk("/System/Volumes/Data", 1000, 573),
                                              disk("/Volumes/Other", 100, 59), disk("/Volumes/Old", 100, 54)};
    mounted[0].container = mounted[1].container = "/dev/disk3";
    mounted[2].container = "/dev/disk5";
    const DiskInformation info = collect(mounted);
    EXPECT_EQ(info.NumberOfFileSystems, L"3");
    EXPECT_EQ(info.TotalDiskSpace, L"1200.00");
    EXPECT_EQ(info.FreeDiskSpace, L"660.00");
    EXPECT_EQ(info.FileSystems, (Table{{L"/", {L"1000.00", L"550.00"}},
                                       {L"/Volumes/Old", {L"100.00", L"50.00"}},
                                       {L"/Volumes/Other", {L"100.00", L"55.00"}}}));
}

TEST_F(DiskTest, VolumeThatDoesNotCount_StandsForNoContainer) {
    std::vector<MountedFileSystem> mounted = {disk("/odd", 0, 0), disk("/", 100, 59)};
    mounted[0].container = mounted[1].container = "/dev/disk3";
    EXPECT_EQ(collect(mounted).NumberOfFileSystems, L"1");
}

TEST_F(DiskTest, NoDisk_GivesZeros) {
    const DiskInformation info = collect({});
    EXPECT_EQ(info.NumberOfFileSystems, L"0");
    EXPECT_EQ(info.TotalDiskSpace, L"0.00");
    EXPECT_EQ(info.FreeDiskSpace, L"0.00");
    EXPECT_TRUE(info.FileSystems.empty());
}

TEST_F(DiskTest, TableThatCannotBeRead_CountsAsEmpty) {
    DiskInformation info;
    EXPECT_TRUE(ISysProps().GetDiskInformation(info));
    EXPECT_EQ(info.NumberOfFileSystems, L"0");
    EXPECT_EQ(info.TotalDiskSpace, L"0.00");
    EXPECT_EQ(info.FreeDiskSpace, L"0.00");
}

TEST_F(DiskTest, SecondOnAMountPoint_IsCountedButNotListed_Kept) {
    const DiskInformation info = collect({disk("/", 100, 59), disk("/", 300, 3)});
    EXPECT_EQ(info.NumberOfFileSystems, L"2");
    EXPECT_EQ(info.TotalDiskSpace, L"400.00");
    EXPECT_EQ(info.FileSystems, (Table{{L"/", {L"100.00", L"55.00"}}}));
}

TEST_F(DiskTest, EarlierRun_StaysExceptOnTheSameMountPoint_Kept) {
    fakeHost.mountedFileSystems = {disk("/", 100, 59), disk("/old", 40, 1)};
    DiskInformation info;
    ISysProps properties;
    EXPECT_TRUE(properties.GetDiskInformation(info));
    fakeHost.mountedFileSystems = {disk("/", 100, 44), disk("/new", 60, 2)};
    EXPECT_TRUE(properties.GetDiskInformation(info));
    EXPECT_EQ(info.NumberOfFileSystems, L"2");
    EXPECT_EQ(info.TotalDiskSpace, L"160.00");
    EXPECT_EQ(info.FileSystems,
              (Table{{L"/", {L"100.00", L"40.00"}}, {L"/new", {L"60.00", L"2.00"}}, {L"/old", {L"40.00", L"1.00"}}}));
}

TEST_F(DiskTest, OddBlockSizes_GiveTwoDecimals) {
    const DiskInformation info = collect({{"/", 512, 1000, 1000, true}, {"/big", 1 << 20, 7, 0, true}});
    EXPECT_EQ(info.FileSystems, (Table{{L"/", {L"0.49", L"0.46"}}, {L"/big", {L"7.00", L"0.00"}}}));
}

TEST_F(DiskTest, DiskAbove16Terabytes_IsWhole) {
    constexpr uint64_t kTerabyte = 1024 * 1024; // in megabytes
    const DiskInformation info = collect({disk("/", 20 * kTerabyte, 11 * kTerabyte)});
    EXPECT_EQ(info.TotalDiskSpace, L"20971520.00");
    EXPECT_EQ(info.FreeDiskSpace, L"10485760.00") << "11 of 20 lies exactly on a step";
}

TEST_F(DiskTest, LargestDisk_FitsTheText) {
    const DiskInformation info = collect({{"/", UINT32_MAX, UINT64_MAX, UINT64_MAX, true}});
    EXPECT_EQ(info.TotalDiskSpace, L"75557863708322137374720.00");
}

TEST_F(DiskTest, MountPointThatIsNoUtf8_IsListedUpToThere) {
    const DiskInformation info = collect({disk("/a\xFF"
                                               "b",
                                               100, 3),
                                          disk("/\xC3\xA9 x\n", 100, 3), disk("\xFF", 100, 3)});
    EXPECT_EQ(info.NumberOfFileSystems, L"3");
    EXPECT_EQ(
        info.FileSystems,
        (Table{{L"", {L"100.00", L"3.00"}}, {L"/a", {L"100.00", L"3.00"}}, {L"/\u00E9 x\n", {L"100.00", L"3.00"}}}));
}

TEST_F(DiskTest, UnknownLocale_ChangesNothing) {
    EXPECT_EQ(std::setlocale(LC_ALL, "xx_XX.none"), nullptr);
    EXPECT_EQ(collect({disk("/", 1000, 573)}).TotalDiskSpace, L"1000.00");
}

/** Makes a locale of a decimal comma in the folder, whatever locales this machine has; false where none can be made.
 * The compiler complains of all that a locale has besides, and writes it nevertheless. */
bool makeCommaLocale(const zor::test::TemporaryFolder &folder) {
    folder.write("source", "LC_NUMERIC\ndecimal_point \",\"\nthousands_sep \"\"\ngrouping -1\nEND LC_NUMERIC\n");
    folder.write("characters", "<code_set_name> TEST\nCHARMAP\n<U002C> /x2c\nEND CHARMAP\n");
    const std::string command = "cd '" + folder.path() +
                                "' && PATH=$PATH:/usr/sbin:/sbin localedef --no-archive -c -i ./source -f ./characters "
                                "./comma >/dev/null 2>&1";
    static_cast<void>(!std::system(command.c_str()));
    return std::filesystem::exists(folder / "comma/LC_NUMERIC");
}

TEST_F(DiskTest, LocaleWithADecimalComma_PrintsIt_Kept) {
    const zor::test::TemporaryFolder folder;
    const zor::test::EnvironmentGuard path("LOCPATH", folder.path());
    if (!makeCommaLocale(folder) || !std::setlocale(LC_NUMERIC, "comma"))
        GTEST_SKIP() << "no locale can be made here: needs a localedef of this machine's word size and byte order";
    EXPECT_EQ(collect({disk("/", 1000, 573)}).TotalDiskSpace, L"1000,00");
    std::setlocale(LC_NUMERIC, "C");
}

TEST_F(DiskTest, NoMemoryAtAnyPoint_LeavesWhatIsDone) {
    fakeHost.mountedFileSystems = {disk("/", 1000, 573), disk("/Volumes/A volume of a longer name", 100, 3)};
    bool wasReached = true;
    int points = 0;
    while (wasReached) {
        DiskInformation info;
        const zor::test::FailingCall failing("operator new", points + 1);
        const bool result = ISysProps().GetDiskInformation(info);
        wasReached = failing.wasReached();
        EXPECT_EQ(result, true) << points;
        points += wasReached;
    }
    EXPECT_GT(points, 2);
}

} // namespace
