#include "zorcomn/utilities.h"

#include "tests/support/child.h"
#include "tests/support/descriptors.h"
#include "tests/support/long_paths.h"
#include "tests/support/temporary_folder.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using zor::test::childPasses;
using zor::test::exists;
using zor::test::makeFolderOfLength;
using zor::test::openDescriptors;
using zor::test::readFile;
using zor::test::TemporaryFolder;

int32_t deltree(const std::string &path) {
    return qelcomn_deltree(path.c_str());
}

int32_t delsubtree(const std::string &path) {
    return qelcomn_delsubtree(path.c_str());
}

std::string makeFolder(const std::string &path) {
    std::filesystem::create_directories(path);
    return path;
}

void makeLink(const std::string &target, const std::string &path) {
    ASSERT_EQ(symlink(target.c_str(), path.c_str()), 0) << path;
}

/** A tree with files, hidden names, empty folders and folders in folders. */
std::string makeTree(const TemporaryFolder &folder, const std::string &name) {
    const std::string top = makeFolder(folder / name);
    makeFolder(folder / (name + "/a/b/c"));
    makeFolder(folder / (name + "/empty"));
    makeFolder(folder / (name + "/.hidden"));
    for (const char *file : {"/one", "/..two", "/a/three", "/a/b/c/four", "/.hidden/.five", "/a/*", "/a/b/ \n"})
        folder.write(name + file, "content");
    return top;
}

bool isEmptyFolder(const std::string &path) {
    return std::filesystem::is_directory(path) && std::filesystem::is_empty(path);
}

TEST(Deltree, NestedTree_GoesWithItsTop) {
    const TemporaryFolder folder;
    const size_t before = openDescriptors();
    const std::string top = makeTree(folder, "top");
    makeTree(folder, "top2");
    EXPECT_EQ(deltree(top), 0);
    EXPECT_FALSE(exists(top));
    EXPECT_TRUE(exists(folder / "top2/a/b/c/four")) << "a name that begins alike is no part of it";
    EXPECT_EQ(deltree(makeTree(folder, "again") + "///"), 0);
    EXPECT_FALSE(exists(folder / "again"));
    EXPECT_EQ(deltree(makeFolder(folder / "empty")), 0);
    EXPECT_EQ(openDescriptors(), before);
    EXPECT_EQ(std::count(pDirEntTable, pDirEntTable + 50, nullptr), 50);
}

TEST(Deltree, RelativePath_IsTakenFromHere) {
    EXPECT_TRUE(childPasses([] {
        const TemporaryFolder folder;
        makeTree(folder, "top");
        ASSERT_EQ(chdir(folder.path().c_str()), 0);
        EXPECT_EQ(deltree("top"), 0);
        EXPECT_TRUE(isEmptyFolder(folder.path()));
        makeTree(folder, "top");
        EXPECT_EQ(deltree("."), -1) << "the system does not remove '.'";
        EXPECT_TRUE(isEmptyFolder(folder.path()));
        EXPECT_EQ(chdir("/"), 0);
    }));
}

TEST(Delsubtree, NestedTree_LeavesItsTopAndReturnsTheCloseResult_Kept) {
    const TemporaryFolder folder;
    const std::string top = makeTree(folder, "top");
    EXPECT_EQ(delsubtree(top), 1);
    EXPECT_TRUE(isEmptyFolder(top));
    EXPECT_EQ(delsubtree(top + "/"), 1);
    EXPECT_TRUE(isEmptyFolder(top));
}

TEST(Delsubtree, NothingToSearch_ReturnsZero_Kept) {
    const TemporaryFolder folder;
    nErrno = 4711;
    EXPECT_EQ(delsubtree(folder / "none"), 0);
    EXPECT_EQ(delsubtree(folder.write("file", "x")), 0);
    EXPECT_EQ(readFile(folder / "file"), "x");
    EXPECT_EQ(nErrno, 4711);
}

TEST(Deltree, NothingToRemove_ReturnsMinusOne) {
    const TemporaryFolder folder;
    nErrno = 4711;
    EXPECT_EQ(deltree(folder / "none"), -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(deltree(folder.write("file", "x")), -1);
    EXPECT_EQ(errno, ENOTDIR);
    EXPECT_EQ(readFile(folder / "file"), "x");
    EXPECT_EQ(nErrno, 4711);
}

TEST(TreeDelete, NullOrEmptyPath_DoesNothingAndReturnsMinusOne) {
    EXPECT_TRUE(childPasses([] {
        const TemporaryFolder folder;
        folder.write("file", "x");
        ASSERT_EQ(chdir(folder.path().c_str()), 0);
        EXPECT_EQ(qelcomn_deltree(nullptr), -1);
        EXPECT_EQ(qelcomn_delsubtree(nullptr), -1);
        EXPECT_EQ(deltree(""), -1);
        EXPECT_EQ(delsubtree(""), -1);
        EXPECT_TRUE(exists("file"));
        EXPECT_EQ(chdir("/"), 0);
    }));
}

TEST(TreeDelete, LinksInTheTree_AreRemovedAsLinks) {
    const TemporaryFolder folder;
    makeFolder(folder / "outside/sub");
    folder.write("outside/file", "x");
    for (int32_t (*remove)(const char *) : {qelcomn_deltree, qelcomn_delsubtree}) {
        const std::string top = makeTree(folder, "top");
        makeLink("../outside", top + "/relative");
        makeLink(folder / "outside", top + "/a/absolute");
        makeLink(folder / "outside/file", top + "/a/file");
        makeLink("nowhere", top + "/dangling");
        makeLink("self", top + "/self");
        makeLink(".", top + "/here");
        makeLink("..", top + "/a/parent");
        makeLink("/", top + "/a/b/root");
        remove(top.c_str());
        EXPECT_EQ(exists(top), remove == qelcomn_delsubtree);
        EXPECT_TRUE(!exists(top) || isEmptyFolder(top));
        EXPECT_TRUE(exists(folder / "outside/sub"));
        EXPECT_EQ(readFile(folder / "outside/file"), "x");
    }
}

TEST(Deltree, LinkAsTheTop_IsRemovedAsALink) {
    const TemporaryFolder folder;
    makeFolder(folder / "outside/sub");
    folder.write("outside/file", "x");
    for (const char *ending : {"", "/", "//"}) {
        makeLink("outside", folder / "link");
        EXPECT_EQ(deltree((folder / "link") + ending), 0) << ending;
        EXPECT_FALSE(exists(folder / "link")) << ending;
    }
    makeLink("nowhere", folder / "dangling");
    EXPECT_EQ(deltree(folder / "dangling"), 0);
    EXPECT_FALSE(exists(folder / "dangling"));
    EXPECT_TRUE(exists(folder / "outside/sub"));
    EXPECT_TRUE(exists(folder / "outside/file"));
}

TEST(Delsubtree, LinkAsTheTop_IsRefused) {
    const TemporaryFolder folder;
    folder.write(makeFolder(folder / "outside").substr(folder.path().size() + 1) + "/file", "x");
    makeLink("outside", folder / "link");
    EXPECT_EQ(delsubtree(folder / "link"), -1);
    EXPECT_EQ(delsubtree(folder / "link/"), -1);
    EXPECT_TRUE(exists(folder / "link"));
    EXPECT_TRUE(exists(folder / "outside/file"));
}

TEST(Deltree, LinkOnTheWayToTheTop_IsFollowed) {
    const TemporaryFolder folder;
    makeTree(folder, "real");
    makeLink("real", folder / "link");
    EXPECT_EQ(deltree(folder / "link/a"), 0);
    EXPECT_FALSE(exists(folder / "real/a"));
    EXPECT_TRUE(exists(folder / "real/one"));
}

TEST(TreeDelete, OtherKindsOfFiles_AreUnlinked) {
    const TemporaryFolder folder;
    const std::string top = makeFolder(folder / "top");
    ASSERT_EQ(mkfifo((top + "/pipe").c_str(), 0600), 0);
    const std::string kept = folder.write("kept", "x");
    ASSERT_EQ(link(kept.c_str(), (top + "/hard").c_str()), 0);
    folder.write("top/readonly", "");
    ASSERT_EQ(chmod((top + "/readonly").c_str(), 0400), 0);
    EXPECT_EQ(deltree(top), 0);
    EXPECT_EQ(readFile(kept), "x");
}

TEST(TreeDelete, EntryThatCannotBeRemoved_DoesNotStopTheWalk) {
    ZORCOMN_SKIP_WITHOUT_NAMESPACES();
    EXPECT_TRUE(childPasses([] {
        ASSERT_TRUE(zor::test::enterPrivateMounts());
        const TemporaryFolder folder;
        const std::string top = makeTree(folder, "top");
        ASSERT_EQ(mount("tmpfs", (top + "/a").c_str(), "tmpfs", 0, "size=1m"), 0);
        EXPECT_EQ(deltree(top), -1) << "a folder in use stays, and the top with it";
        EXPECT_EQ(errno, ENOTEMPTY);
        EXPECT_EQ(std::distance(std::filesystem::directory_iterator(top), std::filesystem::directory_iterator()), 1);
        makeTree(folder, "top");
        EXPECT_EQ(delsubtree(top), 1) << "failures inside are not told";
        EXPECT_EQ(std::distance(std::filesystem::directory_iterator(top), std::filesystem::directory_iterator()), 1);
        ASSERT_EQ(umount((top + "/a").c_str()), 0);
        EXPECT_EQ(deltree(top), 0);
    }));
}

/** Folders named "d", one in the other, count of them below top, with a file in each and in top. */
void makeChain(const TemporaryFolder &folder, const std::string &top, int count) {
    std::string path = top;
    makeFolder(folder / path);
    folder.write(path + "/file", "x");
    for (int i = 0; i < count; ++i) {
        path += "/d";
        makeFolder(folder / path);
        folder.write(path + "/file", "x");
    }
}

int depthOf(std::string path) {
    int depth = 0;
    while (exists(path += "/d"))
        ++depth;
    return depth;
}

// The table has 50 searches: the top takes the first, so 49 folders below it can be searched.
TEST(TreeDelete, DepthOf50Searches_IsTheLimit) {
    EXPECT_TRUE(childPasses([] {
        const TemporaryFolder folder;
        makeChain(folder, "fits", 49);
        nErrno = 0;
        EXPECT_EQ(deltree(folder / "fits"), 0);
        EXPECT_EQ(nErrno, 0);
        makeChain(folder, "fits", 49);
        EXPECT_EQ(delsubtree(folder / "fits"), 1);
        EXPECT_TRUE(isEmptyFolder(folder / "fits"));

        makeChain(folder, "deep", 53);
        EXPECT_EQ(deltree(folder / "deep"), -1);
        EXPECT_EQ(nErrno, 35);
        EXPECT_EQ(depthOf(folder / "deep"), 53) << "what lies below the limit stays";
        EXPECT_FALSE(exists(folder / "deep/file"));
        std::string path = folder / "deep";
        for (int i = 0; i < 49; ++i)
            path += "/d";
        EXPECT_FALSE(exists(path + "/file"));
        EXPECT_TRUE(exists(path + "/d/file"));
        EXPECT_TRUE(exists(path + "/d/d/d/d/file"));
        EXPECT_EQ(delsubtree(folder / "deep"), -1) << "refusing is told here too";
        EXPECT_EQ(deltree(folder / "deep/d/d/d/d"), 0) << "from further below there are searches enough";
        EXPECT_EQ(deltree(folder / "deep"), 0);
        EXPECT_EQ(std::count(pDirEntTable, pDirEntTable + 50, nullptr), 50);
    }));
}

TEST(TreeDelete, EmptyFolderBelowTheLastSearch_IsRemovedWithoutOne) {
    EXPECT_TRUE(childPasses([] {
        const TemporaryFolder folder;
        makeChain(folder, "top", 50);
        std::string path = folder / "top";
        for (int i = 0; i < 50; ++i)
            path += "/d";
        ASSERT_EQ(unlink((path + "/file").c_str()), 0);
        EXPECT_EQ(delsubtree(folder / "top"), 1);
        EXPECT_TRUE(isEmptyFolder(folder / "top"));
    }));
}

TEST(TreeDelete, FullTable_RemovesNothing) {
    EXPECT_TRUE(childPasses([] {
        const TemporaryFolder folder;
        const std::string top = makeTree(folder, "top");
        qelFindData data;
        for (int32_t i = 1; i <= 50; ++i)
            ASSERT_EQ(qelFindFirstDirEnt("/*", &data), i);
        EXPECT_EQ(deltree(top), -1);
        EXPECT_EQ(delsubtree(top), 0) << "no search could be started";
        EXPECT_TRUE(exists(top + "/a/b/c/four"));
        EXPECT_TRUE(exists(top + "/one"));
    }));
}

TEST(TreeDelete, TopBeyond259Bytes_IsRefusedAndNeverCut) {
    const TemporaryFolder folder;
    const std::string longest = makeFolderOfLength(folder.path(), 259);
    const std::string beyond = makeFolderOfLength(longest, 262);
    EXPECT_EQ(deltree(beyond), -1);
    EXPECT_EQ(delsubtree(beyond), -1);
    EXPECT_TRUE(exists(beyond));
    EXPECT_EQ(deltree(longest + "n"), -1);
    EXPECT_EQ(deltree(folder.path() + std::string(300, '/')), -1);
    EXPECT_TRUE(exists(beyond));
}

TEST(TreeDelete, EntryBeyond259Bytes_IsRefusedAndNeverCut) {
    const TemporaryFolder folder;
    const std::string top = makeFolderOfLength(folder.path(), 250);
    const auto write = [&](const std::string &path) { folder.write(path.substr(folder.path().size() + 1), "x"); };
    write(top + "/12345678");        // 259 bytes
    write(top + "/123456789");       // 260
    makeFolder(top + "/abcdefgh/x"); // 259 and 261
    makeFolder(top + "/abcdefghi");  // 260
    EXPECT_EQ(delsubtree(top), -1);
    EXPECT_FALSE(exists(top + "/12345678"));
    EXPECT_TRUE(exists(top + "/123456789"));
    EXPECT_TRUE(exists(top + "/abcdefgh/x"));
    EXPECT_TRUE(exists(top + "/abcdefghi"));
    EXPECT_EQ(deltree(top), -1);
    EXPECT_TRUE(exists(top + "/123456789"));
    EXPECT_TRUE(exists(top + "/abcdefgh/x"));

    ASSERT_EQ(unlink((top + "/123456789").c_str()), 0);
    std::filesystem::remove_all(top + "/abcdefghi");
    std::filesystem::remove_all(top + "/abcdefgh/x");
    EXPECT_EQ(deltree(top), 0) << "a folder whose path is 259 bytes long can be removed";
}

} // namespace
