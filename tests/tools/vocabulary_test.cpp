// The words that zorprops knows are those that the library has.

#include "zorcomn/sysprops.h"

#include "tools/zorprops/items.h"
#include "tools/zorprops/vocabulary.h"

#include <algorithm>
#include <set>

#include <gtest/gtest.h>

using namespace zorprops;
namespace sysprops = velmora_com::vta::sysprops;

TEST(Vocabulary, Properties_AreTheLibrarysInTheirGroups) {
    sysprops::ISysProps machine;
    std::set<std::string> names;
    for (const Word &word : properties()) {
        const std::wstring name = sysprops::sysprops_ansi_to_wide(word.name);
        EXPECT_TRUE(names.insert(word.name).second) << word.name;
        EXPECT_EQ(machine.IsOSProperty(name), word.source == Source::System) << word.name;
        EXPECT_EQ(machine.IsCPUProperty(name), word.source == Source::Processor) << word.name;
        EXPECT_EQ(machine.IsMemoryProperty(name), word.source == Source::Memory) << word.name;
        EXPECT_EQ(machine.IsNetworkProperty(name), word.source == Source::Network) << word.name;
        EXPECT_EQ(machine.IsMiscProperty(name), word.source == Source::Users) << word.name;
        EXPECT_EQ(machine.IsDiskProperty(name) || name == sysprops::NumFileSystems_Key, word.source == Source::Disks)
            << word.name;
    }
    EXPECT_EQ(names.size(), 30u);
}

TEST(Vocabulary, FigureNames_AreTheLibrarys) {
    const std::wstring prefix = sysprops::FileSystemName + L"\"/mnt\" ";
    EXPECT_EQ(figureName("/mnt", true), sysprops::sysprops_wide_to_ansi(prefix + sysprops::FileSystemTotalSpace));
    EXPECT_EQ(figureName("/mnt", false), sysprops::sysprops_wide_to_ansi(prefix + sysprops::FileSystemFreeSpace));
}

TEST(Vocabulary, FigureName_IsTakenApart) {
    std::string mountPoint;
    bool isTotal = false;
    ASSERT_TRUE(isFigureName("filesystem\"/A b\"\" TOTAL_disk_space_in_mb", mountPoint, isTotal));
    EXPECT_EQ(mountPoint, "/A b\"");
    EXPECT_TRUE(isTotal);
    ASSERT_TRUE(isFigureName("FileSystem\"\" Free_Disk_Space_in_MB", mountPoint, isTotal));
    EXPECT_EQ(mountPoint, "");
    EXPECT_FALSE(isTotal);
    for (const char *name : {"", "FileSystem", "FileSystem\" Free_Disk_Space_in_MB", "\" Free_Disk_Space_in_MB",
                             "FileSystem\"/\" Free", "Filesystem'/' Free_Disk_Space_in_MB"})
        EXPECT_FALSE(isFigureName(name, mountPoint, isTotal)) << name;
}
