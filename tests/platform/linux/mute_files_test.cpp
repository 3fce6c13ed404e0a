// The seam beside a file system whose server does not answer any more: what it covers is not known, the rest is, and
// everybody comes back.

#include "source/platform/host.h"
#include "source/platform/linux/system_file.h"

#include "tests/support/child.h"
#include "tests/support/descriptors.h"
#include "tests/support/mute_file_system.h"
#include "tests/support/temporary_folder.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>

#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace host = zor::host;
using std::chrono::milliseconds;
using zor::test::childPasses;
using zor::test::kHangSeconds;
using zor::test::MuteFileSystem;
using zor::test::TemporaryFolder;
using Requests = MuteFileSystem::Requests;

namespace {

constexpr milliseconds kShort{20};

#define ZORCOMN_SKIP_WITHOUT_MUTE_FILES()                                                                              \
    ZORCOMN_SKIP_WITHOUT_NAMESPACES();                                                                                 \
    ZORCOMN_SKIP_WITHOUT_FUSE()

/** Whether the kernel tells what is mounted on a folder without the table in it. Else one file of somebody else's makes
 * the whole folder doubtful. */
bool tellsMounts() {
    constexpr long kStatmount = 457;
    return syscall(kStatmount, nullptr, nullptr, 0, 0) != -1 || errno != ENOSYS;
}

bool run(const std::string &command) {
    return system(("PATH=$PATH:/usr/sbin:/sbin; " + command).c_str()) == 0;
}

/** The output of a command, without its newline. */
std::string outputOf(const std::string &command) {
    char text[256] = {};
    FILE *const pipe = popen(("PATH=$PATH:/usr/sbin:/sbin; " + command).c_str(), "r");
    const size_t length = pipe ? fread(text, 1, sizeof text - 1, pipe) : 0;
    if (pipe)
        pclose(pipe);
    return std::string(text, length > 0 ? length - 1 : 0);
}

/** For a child: a block device that holds a small disk, in a folder; "" where there can be none. */
std::string makeBlockDevice(const TemporaryFolder &folder) {
    const std::string image = folder / "image";
    if (!run("truncate -s 8M " + image + " && mkfs.ext4 -q -F " + image + " 2>/dev/null"))
        return "";
    return outputOf("losetup -f --show " + image + " 2>/dev/null");
}

/** Has a device in use go with the last that uses it. */
void freeBlockDevice(const std::string &device) {
    EXPECT_TRUE(run("losetup -d " + device));
}

std::vector<std::string> mountPoints() {
    std::vector<std::string> paths;
    const auto fileSystems = host::mountedFileSystems();
    EXPECT_TRUE(fileSystems);
    for (const host::MountedFileSystem &fileSystem : fileSystems.value_or(std::vector<host::MountedFileSystem>()))
        paths.push_back(fileSystem.mountPoint);
    return paths;
}

TEST(MuteFile, OverAFileOfProc_IsNotKnown) {
    ZORCOMN_SKIP_WITHOUT_MUTE_FILES();
    for (const Requests requests : {Requests::left, Requests::taken})
        EXPECT_TRUE(childPasses(
            [&] {
                ASSERT_TRUE(zor::test::enterPrivateMounts());
                MuteFileSystem mute("/proc/meminfo", requests);
                ASSERT_TRUE(mute.isMounted());
                const size_t descriptors = zor::test::openDescriptors();
                EXPECT_EQ(host::reachOf("/proc/meminfo"), host::Reach::foreign);
                EXPECT_EQ(host::readSystemFile("/proc/meminfo", 4096, kShort), std::nullopt);
                EXPECT_EQ(host::readFirstParagraph("/proc/meminfo", 4096, kShort), std::nullopt);
                EXPECT_FALSE(host::freeMemory());
                if (tellsMounts()) {
                    EXPECT_EQ(host::reachOf("/proc/stat"), host::Reach::here);
                    EXPECT_EQ(host::reachOf("/proc/no such file"), host::Reach::nowhere);
                    EXPECT_TRUE(host::bootTimeSeconds());
                }
                EXPECT_TRUE(host::processorCount());
                EXPECT_EQ(zor::test::openDescriptors(), descriptors);
            },
            kHangSeconds));
}

TEST(MuteFile, OverAFolderOfSys_IsNotKnown) {
    ZORCOMN_SKIP_WITHOUT_MUTE_FILES();
    if (access("/sys/devices/system/cpu/online", F_OK) != 0)
        GTEST_SKIP() << "no such file here";
    EXPECT_TRUE(childPasses(
        [] {
            ASSERT_TRUE(zor::test::enterPrivateMounts());
            MuteFileSystem mute("/sys/devices/system/cpu", Requests::taken);
            ASSERT_TRUE(mute.isMounted());
            EXPECT_EQ(host::readSystemFile("/sys/devices/system/cpu/online", 4096, kShort), std::nullopt);
            // The C library reads that folder itself.
            EXPECT_FALSE(host::processorCount());
        },
        kHangSeconds));
}

TEST(MuteFile, OverTheWholeOfSys_IsNotKnown) {
    ZORCOMN_SKIP_WITHOUT_MUTE_FILES();
    EXPECT_TRUE(childPasses(
        [] {
            ASSERT_TRUE(zor::test::enterPrivateMounts());
            MuteFileSystem mute("/sys", Requests::left);
            ASSERT_TRUE(mute.isMounted());
            EXPECT_EQ(host::readSystemFile("/sys/class/dmi/id/product_name", 4096, kShort), std::nullopt);
        },
        kHangSeconds));
}

TEST(MuteFile, OverTheWholeOfProc_IsNotKnown) {
    ZORCOMN_SKIP_WITHOUT_MUTE_FILES();
    if (!tellsMounts())
        GTEST_SKIP() << "needs a kernel that tells what is mounted on a folder without the table in it";
    EXPECT_TRUE(childPasses(
        [] {
            ASSERT_TRUE(zor::test::enterPrivateMounts());
            MuteFileSystem mute("/proc", Requests::left);
            ASSERT_TRUE(mute.isMounted());
            EXPECT_EQ(host::readSystemFile("/proc/meminfo", 4096, kShort), std::nullopt);
            EXPECT_FALSE(host::mountedFileSystems());
        },
        kHangSeconds));
}

TEST(MuteFile, OverTheOwnMountTable_IsReadByAnother) {
    ZORCOMN_SKIP_WITHOUT_MUTE_FILES();
    EXPECT_TRUE(childPasses(
        [] {
            ASSERT_TRUE(zor::test::enterPrivateMounts());
            if (host::reachOf("/proc/self/root/proc") != host::Reach::foreign) // a link to elsewhere
                return; // an older kernel, which reads the table unseen
            const std::vector<std::string> before = mountPoints();
            MuteFileSystem mute("/proc/self/mountinfo", Requests::left);
            ASSERT_TRUE(mute.isMounted());
            // The process that is asked has a table of its own, which tells the same.
            EXPECT_EQ(mountPoints(), before);
        },
        kHangSeconds));
}

TEST(MuteFile, ProcessThatItHoldsUp_DoesNotKeepItsCallerFromEnding) {
    ZORCOMN_SKIP_WITHOUT_MUTE_FILES();
    EXPECT_TRUE(childPasses(
        [] {
            ASSERT_TRUE(zor::test::enterPrivateMounts());
            MuteFileSystem mute("/proc/meminfo", Requests::taken);
            ASSERT_TRUE(mute.isMounted());
            // The server lives on in this process; who asked ends before it.
            EXPECT_TRUE(
                childPasses([] { EXPECT_EQ(host::readSystemFile("/proc/meminfo", 4096, kShort), std::nullopt); },
                            kHangSeconds / 2));
        },
        kHangSeconds));
}

TEST(MuteFile, ProcessesThatCannotBeEnded_StayFewAndAreGoneInTheEnd) {
    ZORCOMN_SKIP_WITHOUT_MUTE_FILES();
    EXPECT_TRUE(childPasses(
        [] {
            ASSERT_TRUE(zor::test::enterPrivateMounts());
            {
                MuteFileSystem mute("/proc/meminfo", Requests::taken);
                ASSERT_TRUE(mute.isMounted());
                for (int i = 0; i < 20; ++i)
                    EXPECT_EQ(host::readSystemFile("/proc/meminfo", 4096, kShort), std::nullopt);
                std::ifstream children("/proc/thread-self/children");
                const auto count = std::distance(std::istream_iterator<int>(children), std::istream_iterator<int>());
                EXPECT_LE(count, 8 + 1) << "and the server";
                // The place that has none left is no reason to go where it hangs.
                EXPECT_EQ(host::readSystemFile("/proc/meminfo", 4096, std::chrono::hours(1)), std::nullopt);
            }
            ASSERT_EQ(umount2("/proc/meminfo", MNT_DETACH), 0);
            EXPECT_TRUE(host::freeMemory());
            const TemporaryFolder folder;
            ASSERT_EQ(
                mount(folder.write("meminfo", "MemFree: 8 kB\n").c_str(), "/proc/meminfo", nullptr, MS_BIND, nullptr),
                0);
            // They end now that the server is gone: then there are places again.
            while (!host::readSystemFile("/proc/meminfo", 4096))
                usleep(1000);
            ASSERT_EQ(umount2("/proc/meminfo", MNT_DETACH), 0);
        },
        kHangSeconds));
}

TEST(StrangersFile, OverAFileOfProc_IsReadApart) {
    ZORCOMN_SKIP_WITHOUT_NAMESPACES();
    const TemporaryFolder folder;
    EXPECT_TRUE(childPasses(
        [&] {
            ASSERT_TRUE(zor::test::enterPrivateMounts());
            const std::string content = "a: 1\nb: 2\n\n" + std::string(100000, 'x') + "\n";
            ASSERT_EQ(mount(folder.write("file", content).c_str(), "/proc/cpuinfo", nullptr, MS_BIND, nullptr), 0);
            EXPECT_EQ(host::readSystemFile("/proc/cpuinfo", content.size()), content);
            EXPECT_EQ(host::readSystemFile("/proc/cpuinfo", content.size() - 1), std::nullopt);
            EXPECT_EQ(host::readFirstParagraph("/proc/cpuinfo", 10000), "a: 1\nb: 2\n") << "the rest is not read";
        },
        kHangSeconds));
}

TEST(LocalVolume, BelowAMuteRemoteMount_DoesNotHoldUp) {
    ZORCOMN_SKIP_WITHOUT_MUTE_FILES();
    if (!MuteFileSystem::canAnswer())
        GTEST_SKIP() << "the kernel's requests may be in another byte order than this program's";
    const TemporaryFolder folder;
    EXPECT_TRUE(childPasses(
        [&] {
            ASSERT_TRUE(zor::test::enterPrivateMounts());
            const std::vector<std::string> before = mountPoints();
            ASSERT_EQ(mkdir((folder / "remote").c_str(), 0700), 0);
            MuteFileSystem mute(folder / "remote", Requests::answered);
            ASSERT_TRUE(mute.isMounted());
            const std::string device = makeBlockDevice(folder);
            if (device.empty())
                return; // no disk can be made here
            EXPECT_EQ(mount(device.c_str(), (folder / "remote/disk").c_str(), "ext4", 0, nullptr), 0);
            freeBlockDevice(device);
            mute.mute();
            EXPECT_EQ(mountPoints(), before);
            // Where the same disk can be seen from elsewhere, it is.
            ASSERT_EQ(mkdir((folder / "elsewhere").c_str(), 0700), 0);
            EXPECT_EQ(mount(device.c_str(), (folder / "elsewhere").c_str(), "ext4", 0, nullptr), 0);
            EXPECT_EQ(mountPoints().back(), folder / "elsewhere");
            EXPECT_EQ(umount((folder / "elsewhere").c_str()), 0);
            // On the remote mount's own mount point no path leads through it.
            EXPECT_EQ(mount(device.c_str(), (folder / "remote").c_str(), "ext4", 0, nullptr), 0);
            EXPECT_EQ(mountPoints().back(), folder / "remote");
        },
        kHangSeconds));
}

TEST(LocalVolume, ServedByAMuteProgram_IsLeftOut) {
    ZORCOMN_SKIP_WITHOUT_MUTE_FILES();
    const TemporaryFolder folder;
    EXPECT_TRUE(childPasses(
        [&] {
            ASSERT_TRUE(zor::test::enterPrivateMounts());
            const std::vector<std::string> before = mountPoints();
            const std::string device = makeBlockDevice(folder);
            if (device.empty())
                return; // no disk can be made here
            ASSERT_EQ(mkdir((folder / "disk").c_str(), 0700), 0);
            {
                MuteFileSystem mute(folder / "disk", Requests::taken, "fuseblk", device);
                EXPECT_TRUE(mute.isMounted()) << strerror(errno);
                freeBlockDevice(device);
                EXPECT_EQ(mountPoints(), before);
            }
        },
        kHangSeconds));
}

} // namespace
