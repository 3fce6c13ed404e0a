// Real mounts, made in a namespace of the test's own, as the seam reports them.

#include "source/platform/host.h"

#include "tests/support/child.h"
#include "tests/support/temporary_folder.h"

#include <algorithm>

#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <unistd.h>

namespace host = zor::host;
using zor::test::childPasses;
using zor::test::TemporaryFolder;

namespace {

std::vector<std::string> mountPoints() {
    const auto fileSystems = host::mountedFileSystems();
    EXPECT_TRUE(fileSystems);
    std::vector<std::string> paths;
    for (const host::MountedFileSystem &fileSystem : fileSystems.value_or(std::vector<host::MountedFileSystem>()))
        paths.push_back(fileSystem.mountPoint);
    return paths;
}

bool has(const std::vector<std::string> &paths, const std::string &path) {
    return std::find(paths.begin(), paths.end(), path) != paths.end();
}

void bindMount(const std::string &source, const std::string &target) {
    ASSERT_EQ(mount(source.c_str(), target.c_str(), nullptr, MS_BIND, nullptr), 0) << target << ": " << strerror(errno);
}

void mountInMemory(const std::string &target) {
    ASSERT_EQ(mount("none", target.c_str(), "tmpfs", 0, nullptr), 0) << target << ": " << strerror(errno);
}

void makeFolder(const std::string &path) {
    ASSERT_EQ(mkdir(path.c_str(), 0700), 0) << path;
}

TEST(MountedFileSystems, Root_IsListedWithAllItsFreeBlocks) {
    const auto fileSystems = host::mountedFileSystems();
    ASSERT_TRUE(fileSystems);
    const auto root = std::find_if(fileSystems->begin(), fileSystems->end(),
                                   [](const host::MountedFileSystem &entry) { return entry.mountPoint == "/"; });
    if (root == fileSystems->end())
        GTEST_SKIP() << "the root of this machine is in memory or remote";
    struct statfs space;
    ASSERT_EQ(statfs("/", &space), 0);
    EXPECT_TRUE(root->isLocal);
    EXPECT_EQ(root->blocks, space.f_blocks);
    EXPECT_EQ(root->blockSizeBytes, static_cast<uint64_t>(space.f_frsize));
    // Others may write meanwhile: within a sixteenth of the disk, but not without what only the superuser may use.
    EXPECT_LE(root->freeBlocks, root->blocks);
    EXPECT_NEAR(static_cast<double>(root->freeBlocks), static_cast<double>(space.f_bfree),
                static_cast<double>(space.f_blocks) / 16);
}

TEST(MountedFileSystems, BindMountsOfFoldersAndFiles_AddNothing) {
    ZORCOMN_SKIP_WITHOUT_NAMESPACES();
    const TemporaryFolder folder;
    EXPECT_TRUE(childPasses([&] {
        ASSERT_TRUE(zor::test::enterPrivateMounts());
        const std::vector<std::string> before = mountPoints();
        makeFolder(folder / "from");
        makeFolder(folder / "to");
        bindMount(folder / "from", folder / "to");
        bindMount(folder.write("one", "1"), folder.write("two", "2"));
        EXPECT_EQ(mountPoints(), before);
    }));
}

TEST(MountedFileSystems, TmpfsOverABind_AddsNothing) {
    ZORCOMN_SKIP_WITHOUT_NAMESPACES();
    const TemporaryFolder folder;
    EXPECT_TRUE(childPasses([&] {
        ASSERT_TRUE(zor::test::enterPrivateMounts());
        const std::vector<std::string> before = mountPoints();
        bindMount(folder.path(), folder.path());
        mountInMemory(folder.path());
        EXPECT_EQ(mountPoints(), before);
    }));
}

TEST(MountedFileSystems, NamedNetworkNamespace_AddsNothing) {
    ZORCOMN_SKIP_WITHOUT_NAMESPACES();
    EXPECT_TRUE(childPasses([] {
        ASSERT_TRUE(zor::test::enterPrivateMounts());
        mountInMemory("/run");
        const std::vector<std::string> before = mountPoints();
        if (system("ip netns add zorcomn-test") != 0) {
            std::puts("no ip command here, or a user's, which gives up half-way");
            mountInMemory("/run");
            // What the command leaves behind: a folder bound to itself, a namespace bound to a file in it.
            makeFolder("/run/netns");
            bindMount("/run/netns", "/run/netns");
            ASSERT_EQ(system(": > /run/netns/zorcomn-test"), 0);
            bindMount("/proc/self/ns/net", "/run/netns/zorcomn-test");
        }
        EXPECT_EQ(mountPoints(), before);
    }));
}

TEST(MountedFileSystems, PartBoundWhileTheWholeIsCovered_IsListedWithItsOddName) {
    ZORCOMN_SKIP_WITHOUT_NAMESPACES();
    const TemporaryFolder folder;
    const std::vector<std::string> before = mountPoints();
    if (!has(before, "/") || before.size() != 1)
        GTEST_SKIP() << "needs a machine with one local file system, on its root";
    const std::string name = "odd \n\t\\name\xFF";
    EXPECT_TRUE(childPasses([&] {
        ASSERT_TRUE(zor::test::enterPrivateMounts());
        // A root in memory that holds nothing but the folder: the disk is then seen through a bind of a part only.
        makeFolder(folder / "root");
        makeFolder(folder / "disk");
        mountInMemory(folder / "root");
        makeFolder(folder / "root/proc");
        makeFolder(folder / ("root/" + name));
        bindMount(folder / "disk", folder / ("root/" + name));
        bindMount("/proc", folder / "root/proc");
        ASSERT_EQ(chroot((folder / "root").c_str()), 0);
        ASSERT_EQ(chdir("/"), 0);
        EXPECT_EQ(mountPoints(), std::vector<std::string>{"/" + name});
    }));
}

TEST(FileSystemSpace, Folder_HasAvailableBlocks) {
    struct statfs space;
    ASSERT_EQ(statfs("/", &space), 0);
    const auto found = host::fileSystemSpace("/");
    ASSERT_TRUE(found);
    EXPECT_EQ(found->blockSizeBytes, static_cast<uint64_t>(space.f_frsize));
    EXPECT_LE(found->availableBlocks, space.f_blocks);
}

TEST(FileSystemSpace, MissingPath_LeavesTheErrorInErrno) {
    const TemporaryFolder folder;
    errno = 0;
    EXPECT_FALSE(host::fileSystemSpace((folder / "missing").c_str()));
    EXPECT_EQ(errno, ENOENT);
}

} // namespace
