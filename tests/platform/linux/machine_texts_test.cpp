#include "source/platform/linux/machine_texts.h"

#include "source/platform/host.h"

#include "tests/support/child.h"
#include "tests/support/temporary_folder.h"

#include <fstream>

#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

namespace host = zor::host;
using zor::test::childPasses;
using zor::test::TemporaryFolder;

namespace {

constexpr char kMeminfo[] = "MemTotal:       24684092 kB\n"
                            "MemFree:        23049816 kB\n"
                            "MemAvailable:   23612140 kB\n"
                            "HugePages_Total:       0\n";

TEST(MemoryAmount, KernelsText_GivesBytes) {
    EXPECT_EQ(host::memoryAmount(kMeminfo, "MemTotal"), 24684092ull * 1024);
    EXPECT_EQ(host::memoryAmount(kMeminfo, "MemFree"), 23049816ull * 1024);
    EXPECT_EQ(host::memoryAmount("MemFree: 0 kB\n", "MemFree"), 0u);
    EXPECT_EQ(host::memoryAmount("MemTotal: 18014398509481983 kB\n", "MemTotal"), 18446744073709550592ull);
}

TEST(MemoryAmount, OddText_IsNotKnown) {
    constexpr const char *kTexts[] = {
        "",
        "MemTotal",
        "MemTotal:\n",
        "MemTotal: kB\n",
        "MemTotal: 24684092",    // cut short
        "MemTotal: 24684092 kB", // cut short
        "MemTotal: 24684092\n",  // no unit
        "MemTotal: 24684092 MB\n",
        "MemTotal: 24684092kB\n",
        "MemTotal: -5 kB\n",
        "MemTotal: +5 kB\n",
        "MemTotal: 0x10 kB\n",
        "MemTotal: 1 2 kB\n",
        "MemTotal: 12.5 kB\n",
        "MemTotal: 18014398509481984 kB\n",    // too many bytes
        "MemTotal: 99999999999999999999 kB\n", // too many kilobytes
        "memtotal: 5 kB\n",
        "MemTotal2: 5 kB\n",
        "xMemTotal: 5 kB\n",
    };
    for (const char *text : kTexts)
        EXPECT_EQ(host::memoryAmount(text, "MemTotal"), std::nullopt) << text;
    EXPECT_EQ(host::memoryAmount(std::string_view("MemTotal: 5\0 kB\n", 16), "MemTotal"), std::nullopt);
}

TEST(BootTime, KernelsText_GivesSeconds) {
    EXPECT_EQ(host::bootTime("cpu  1 2 3\nintr 5 0 0\nctxt 7\nbtime 1763713421\nprocesses 9\n"), 1763713421);
    EXPECT_EQ(host::bootTime("btime 0\n"), 0);
    EXPECT_EQ(host::bootTime("btime 9223372036854775807\n"), INT64_MAX);
}

TEST(BootTime, OddText_IsNotKnown) {
    for (const char *text : {"", "btime", "btime\n", "btime \n", "btime 17637", "btime -1\n", "btime 1 2\n",
                             "btime 9223372036854775808\n", "xbtime 5\n", " btime 5\n", "btime 5 \n"})
        EXPECT_EQ(host::bootTime(text), std::nullopt) << text;
}

TEST(DeviceTreeModel, NullByte_EndsIt) {
    EXPECT_EQ(host::deviceTreeModel(std::string_view("PowerBook6,8\0", 13)), "PowerBook6,8");
    EXPECT_EQ(host::deviceTreeModel(std::string_view("one\0two\0", 8)), "one");
    EXPECT_EQ(host::deviceTreeModel(std::string_view("\0", 1)), std::nullopt);
    EXPECT_EQ(host::deviceTreeModel("PowerBook6"), std::nullopt) << "cut short";
    EXPECT_EQ(host::deviceTreeModel(""), std::nullopt);
}

TEST(FirmwareProductName, OneLine_IsTheName) {
    EXPECT_EQ(host::firmwareProductName("MacBookPro11,1\n"), "MacBookPro11,1");
    EXPECT_EQ(host::firmwareProductName(" EliteBook 840 G5 \n"), " EliteBook 840 G5 ");
    for (const char *text : {"", "\n", "MacBook", "Mac\nBook\n"})
        EXPECT_EQ(host::firmwareProductName(text), std::nullopt) << text;
    EXPECT_EQ(host::firmwareProductName(std::string_view("Mac\0Book\n", 9)), std::nullopt);
}

// From here on, made files lie over the kernel's own, in a namespace of the test's.

/** Puts a file with this content over an existing one. */
void cover(const TemporaryFolder &folder, const std::string &content, const char *path) {
    static int number = 0;
    const std::string made = folder.write("cover" + std::to_string(++number), content);
    ASSERT_EQ(mount(made.c_str(), path, nullptr, MS_BIND, nullptr), 0) << path << ": " << strerror(errno);
}

TEST(MachineSources, MadeFiles_AreRead) {
    ZORCOMN_SKIP_WITHOUT_NAMESPACES();
    const TemporaryFolder folder;
    EXPECT_TRUE(childPasses([&] {
        ASSERT_TRUE(zor::test::enterPrivateMounts());
        cover(folder, kMeminfo, "/proc/meminfo");
        cover(folder, "btime 1202029500\n", "/proc/stat");
        EXPECT_EQ(host::physicalMemoryBytes(), 24684092ull * 1024);
        const std::optional<host::FreeMemory> free = host::freeMemory();
        ASSERT_TRUE(free);
        EXPECT_EQ(free->pageSizeBytes, static_cast<uint64_t>(sysconf(_SC_PAGESIZE)));
        EXPECT_EQ(free->freePages, 23049816ull * 1024 / free->pageSizeBytes);
        EXPECT_EQ(host::bootTimeSeconds(), 1202029500);
    }));
}

TEST(MachineSources, HugeOrEmptyFiles_AreNotKnown) {
    ZORCOMN_SKIP_WITHOUT_NAMESPACES();
    const TemporaryFolder folder;
    for (const std::string &content : {std::string(), std::string(kMeminfo) + std::string(9 * 1024 * 1024, '\n')})
        EXPECT_TRUE(childPasses([&] {
            ASSERT_TRUE(zor::test::enterPrivateMounts());
            cover(folder, content, "/proc/meminfo");
            cover(folder, content.empty() ? content : "btime 5\n" + content, "/proc/stat");
            EXPECT_EQ(host::physicalMemoryBytes(), std::nullopt);
            EXPECT_FALSE(host::freeMemory());
            EXPECT_EQ(host::bootTimeSeconds(), std::nullopt);
        })) << content.size();
}

TEST(MachineSources, MemoryOfZero_IsNotKnown) {
    ZORCOMN_SKIP_WITHOUT_NAMESPACES();
    const TemporaryFolder folder;
    EXPECT_TRUE(childPasses([&] {
        ASSERT_TRUE(zor::test::enterPrivateMounts());
        cover(folder, "MemTotal: 0 kB\nMemFree: 0 kB\n", "/proc/meminfo");
        EXPECT_EQ(host::physicalMemoryBytes(), std::nullopt);
        ASSERT_TRUE(host::freeMemory());
        EXPECT_EQ(host::freeMemory()->freePages, 0u);
    }));
}

/** Makes a file and the folders above it. */
void makeFile(const std::string &path, const std::string &content) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream(path, std::ios::binary) << content;
}

TEST(HardwareModel, DeviceTree_ComesBeforeFirmwareTables) {
    ZORCOMN_SKIP_WITHOUT_NAMESPACES();
    const std::string model("PowerBook6,8\0", 13);
    const struct {
        const char *deviceTree;
        size_t deviceTreeSize;
        const char *productName;
        std::optional<std::string> expected;
    } rows[] = {
        {"PowerBook6,8\0", 13, "Other\n", "PowerBook6,8"}, {nullptr, 0, "MacBook2,1\n", "MacBook2,1"},
        {"PowerBook", 9, "MacBook2,1\n", "MacBook2,1"},    {nullptr, 0, nullptr, std::nullopt},
        {"PowerBook", 9, "MacBook", std::nullopt},
    };
    for (const auto &row : rows)
        EXPECT_TRUE(childPasses([&] {
            ASSERT_TRUE(zor::test::enterPrivateMounts());
            ASSERT_EQ(mount("none", "/proc", "tmpfs", 0, nullptr), 0);
            ASSERT_EQ(mount("none", "/sys", "tmpfs", 0, nullptr), 0);
            if (row.deviceTree)
                makeFile("/proc/device-tree/model", std::string(row.deviceTree, row.deviceTreeSize));
            if (row.productName)
                makeFile("/sys/class/dmi/id/product_name", row.productName);
            EXPECT_EQ(host::hardwareModel(), row.expected);
        })) << (row.deviceTree ? row.deviceTree : "-")
            << ' ' << (row.productName ? row.productName : "-");
}

TEST(MachineSources, WithoutProc_NothingIsKnownAndNothingBreaks) {
    ZORCOMN_SKIP_WITHOUT_NAMESPACES();
    EXPECT_TRUE(childPasses([] {
        ASSERT_TRUE(zor::test::enterPrivateMounts());
        ASSERT_EQ(mount("none", "/proc", "tmpfs", 0, nullptr), 0);
        ASSERT_EQ(mount("none", "/sys", "tmpfs", 0, nullptr), 0);
        EXPECT_EQ(host::physicalMemoryBytes(), std::nullopt);
        EXPECT_FALSE(host::freeMemory());
        EXPECT_EQ(host::bootTimeSeconds(), std::nullopt);
        EXPECT_EQ(host::hardwareModel(), std::nullopt);
        EXPECT_EQ(host::processorClockHertz(), std::nullopt);
        EXPECT_EQ(host::processorCode(), std::nullopt);
        EXPECT_FALSE(host::mountedFileSystems());
    }));
}

TEST(NisDomain, EveryName_IsHandedOverButThePlaceholderOfTheKernel) {
    ZORCOMN_SKIP_WITHOUT_NAMESPACES();
    for (const std::string name : {"example.org", "(none)", "(none", ""})
        EXPECT_TRUE(childPasses([&] {
            ASSERT_TRUE(zor::test::enterPrivateNames("alpha", name));
            EXPECT_EQ(host::nisDomainName(), name == "(none)" ? "" : name);
        })) << name;
}

} // namespace
