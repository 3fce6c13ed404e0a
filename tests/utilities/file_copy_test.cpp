#include "zorcomn/utilities.h"

#include "tests/support/child.h"
#include "tests/support/descriptors.h"
#include "tests/support/long_paths.h"
#include "tests/support/temporary_folder.h"

#include <cerrno>
#include <string>

#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using zor::test::childPasses;
using zor::test::exists;
using zor::test::openDescriptors;
using zor::test::readFile;
using zor::test::TemporaryFolder;

int32_t copyFile(const std::string &source, const std::string &destination, int32_t overwrite) {
    return qelcomn_copy_file(source.c_str(), destination.c_str(), overwrite);
}

/** Bytes of every value that do not repeat with the step. */
std::string content(size_t size) {
    std::string bytes(size, '\0');
    uint32_t state = 1;
    for (char &byte : bytes) {
        state = state * 1664525u + 1013904223u;
        byte = static_cast<char>(state >> 24);
    }
    return bytes;
}

TEST(CopyFile, EachSize_ComesOutIdentical) {
    const TemporaryFolder folder;
    const size_t before = openDescriptors();
    for (const size_t size : {0u, 1u, 511u, 512u, 513u, 1024u, 131071u, 131072u, 131584u, 5u * 1024 * 1024 + 7}) {
        const std::string bytes = content(size);
        const std::string source = folder.write("source", bytes);
        EXPECT_EQ(copyFile(source, folder / "copy", 1), 1) << size;
        EXPECT_TRUE(readFile(folder / "copy") == bytes) << size;
        EXPECT_TRUE(readFile(source) == bytes) << size;
    }
    EXPECT_EQ(openDescriptors(), before);
}

TEST(CopyFile, ExistingDestination_IsReplacedOnRequestAlone) {
    const TemporaryFolder folder;
    const std::string source = folder.write("source", "new");
    const std::string existing = folder.write("existing", "a longer old text");
    EXPECT_EQ(copyFile(source, existing, 0), 0);
    EXPECT_EQ(readFile(existing), "a longer old text");
    EXPECT_EQ(copyFile(source, existing, 1), 1);
    EXPECT_EQ(readFile(existing), "new");
    folder.write("existing", "old");
    EXPECT_EQ(copyFile(source, existing, -1), 1) << "any other number than 0 allows it";
    EXPECT_EQ(readFile(existing), "new");
    EXPECT_EQ(copyFile(source, folder / "other", 0), 1);
    EXPECT_EQ(readFile(folder / "other"), "new");
}

TEST(CopyFile, ParentsOfTheDestination_AreMade) {
    const TemporaryFolder folder;
    const std::string source = folder.write("source", "bytes");
    EXPECT_EQ(copyFile(source, folder / "a/b/c/copy", 0), 1);
    EXPECT_EQ(readFile(folder / "a/b/c/copy"), "bytes");
    EXPECT_EQ(copyFile(folder / "none", folder / "d/e/copy", 0), 0);
    EXPECT_TRUE(exists(folder / "d/e")) << "the parents come first";
    EXPECT_FALSE(exists(folder / "d/e/copy"));
}

TEST(CopyFile, NullPaths_FailAndDoNothing) {
    const TemporaryFolder folder;
    nErrno = 4711;
    EXPECT_EQ(qelcomn_copy_file(nullptr, (folder / "a/copy").c_str(), 1), 0);
    EXPECT_EQ(qelcomn_copy_file((folder / "a").c_str(), nullptr, 1), 0);
    EXPECT_EQ(qelcomn_copy_file(nullptr, nullptr, 1), 0);
    EXPECT_FALSE(exists(folder / "a"));
    EXPECT_EQ(nErrno, 4711);
}

TEST(CopyFile, SourceThatCannotBeRead_LeavesTheDestination) {
    const TemporaryFolder folder;
    const std::string existing = folder.write("existing", "old");
    EXPECT_EQ(copyFile(folder / "none", existing, 1), 0);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(copyFile(folder.path(), existing, 1), 0) << "a folder is no source";
    EXPECT_EQ(readFile(existing), "old");
    EXPECT_EQ(copyFile(folder / "none", folder / "new", 1), 0);
    EXPECT_FALSE(exists(folder / "new"));
}

TEST(CopyFile, DestinationThatCannotBeOpened_Fails) {
    const TemporaryFolder folder;
    const std::string source = folder.write("source", "bytes");
    EXPECT_EQ(copyFile(source, folder.path(), 1), 0);
    EXPECT_EQ(errno, EISDIR);
    EXPECT_EQ(copyFile(source, folder / "source/below", 1), 0);
    EXPECT_EQ(errno, ENOTDIR);
    EXPECT_EQ(copyFile(source, folder / std::string(300, 'n'), 1), 0);
    EXPECT_EQ(errno, ENAMETOOLONG);
}

TEST(CopyFile, OntoItself_FailsAndLosesNothing) {
    const TemporaryFolder folder;
    const std::string file = folder.write("file", "bytes");
    ASSERT_EQ(link(file.c_str(), (folder / "hard").c_str()), 0);
    ASSERT_EQ(symlink("file", (folder / "soft").c_str()), 0);
    for (const std::string &other : {file, folder / "./file", folder / "hard", folder / "soft"}) {
        for (const int32_t overwrite : {0, 1}) {
            EXPECT_EQ(copyFile(file, other, overwrite), 0) << other;
            EXPECT_EQ(copyFile(other, file, overwrite), 0) << other;
            EXPECT_EQ(readFile(file), "bytes") << other;
        }
    }
}

TEST(CopyFile, PipeInTheDestinationsPlace_DoesNotHang) {
    const TemporaryFolder folder;
    const std::string source = folder.write("source", "bytes");
    ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
    EXPECT_EQ(copyFile(source, folder / "pipe", 0), 0);
}

TEST(CopyFile, LinkThatLeadsNowhere_ExistsForWhoMustNotReplace) {
    const TemporaryFolder folder;
    const std::string source = folder.write("source", "bytes");
    ASSERT_EQ(symlink("target", (folder / "link").c_str()), 0);
    EXPECT_EQ(copyFile(source, folder / "link", 0), 0);
    EXPECT_FALSE(exists(folder / "target"));
    EXPECT_EQ(copyFile(source, folder / "link", 1), 1);
    EXPECT_EQ(readFile(folder / "target"), "bytes");
}

TEST(CopyFile, NewDestination_HasBits0666WithinTheMask) {
    EXPECT_TRUE(childPasses([] {
        const TemporaryFolder folder;
        const std::string source = folder.write("source", "bytes");
        umask(0);
        ASSERT_EQ(copyFile(source, folder / "copy", 1), 1);
        struct stat facts;
        ASSERT_EQ(stat((folder / "copy").c_str(), &facts), 0);
        EXPECT_EQ(facts.st_mode & 07777, 0666u);
    }));
}

// The last byte is refused only when the stream is closed: all before fitted into its buffer.
TEST(CopyFile, FullDevice_FailsAtTheFirstByteAndAtAnyOther) {
    if (!exists("/dev/full"))
        GTEST_SKIP() << "needs /dev/full";
    const TemporaryFolder folder;
    for (const size_t size : {1u, 511u, 512u, 513u, 131072u, 1024u * 1024}) {
        errno = 0;
        EXPECT_EQ(copyFile(folder.write("source", content(size)), "/dev/full", 1), 0) << size;
        EXPECT_EQ(errno, ENOSPC) << size;
    }
    EXPECT_EQ(copyFile(folder.write("source", ""), "/dev/full", 1), 1) << "nothing to write, nothing to refuse";
}

TEST(CopyFile, DeviceThatFillsUp_FailsAndKeepsWhatWasWritten) {
    ZORCOMN_SKIP_WITHOUT_NAMESPACES();
    EXPECT_TRUE(childPasses([] {
        ASSERT_TRUE(zor::test::enterPrivateMounts());
        const TemporaryFolder folder;
        const std::string source = folder.write("source", content(2 * 1024 * 1024));
        const std::string small = folder / "small";
        ASSERT_EQ(mkdir(small.c_str(), 0700), 0);
        ASSERT_EQ(mount("tmpfs", small.c_str(), "tmpfs", 0, "size=1m"), 0);
        EXPECT_EQ(copyFile(source, small + "/copy", 1), 0);
        EXPECT_EQ(errno, ENOSPC);
        EXPECT_TRUE(exists(small + "/copy")) << "what was made before a failure is not removed";
        EXPECT_EQ(copyFile(folder.write("one", "x"), small + "/one", 1), 0) << "refused at the close at the latest";
        EXPECT_EQ(umount(small.c_str()), 0);
    }));
}

TEST(CopyFile, FailedRead_IsNoEndOfFile) {
    const TemporaryFolder folder;
    // The first page of a process's memory can be opened but not read.
    const std::string unreadable = "/proc/self/mem";
    if (!exists(unreadable))
        GTEST_SKIP() << "needs " << unreadable;
    errno = 0;
    EXPECT_EQ(copyFile(unreadable, folder / "copy", 1), 0);
    EXPECT_EQ(errno, EIO);
}

} // namespace
