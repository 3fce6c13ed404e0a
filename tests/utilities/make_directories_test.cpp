#include "zorcomn/utilities.h"

#include "tests/support/child.h"
#include "tests/support/long_paths.h"
#include "tests/support/temporary_folder.h"

#include <filesystem>
#include <string>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using zor::test::childPasses;
using zor::test::exists;
using zor::test::makeFolderOfLength;
using zor::test::TemporaryFolder;

constexpr uint32_t kAlways = 0x80000008u;

uint32_t makeDirectories(const std::string &path) {
    return qelcomn_MakeRecursiveDirectoryA(path.c_str());
}

uint32_t makeWide(const std::wstring &path) {
    return qelcomn_MakeRecursiveDirectoryW(path.c_str());
}

std::wstring widened(const std::string &text) {
    return {text.begin(), text.end()};
}

TEST(MakeRecursiveDirectory, ComponentsBeforeASlash_AreMadeAndTheResultIsFailure_Kept) {
    const TemporaryFolder folder;
    EXPECT_EQ(makeDirectories(folder / "a/b/file"), kAlways);
    EXPECT_TRUE(std::filesystem::is_directory(folder / "a/b"));
    EXPECT_FALSE(exists(folder / "a/b/file"));
    EXPECT_EQ(makeDirectories(folder / "a/b/file/"), kAlways);
    EXPECT_TRUE(std::filesystem::is_directory(folder / "a/b/file"));
    EXPECT_EQ(makeDirectories(folder / "a//c/"), kAlways);
    EXPECT_TRUE(std::filesystem::is_directory(folder / "a/c"));
    EXPECT_EQ(makeWide(widened(folder / "w/x/file")), kAlways);
    EXPECT_TRUE(std::filesystem::is_directory(folder / "w/x"));
    EXPECT_FALSE(exists(folder / "w/x/file"));
}

TEST(MakeRecursiveDirectory, SlashAtIndexThreeOrBefore_MakesNothing_Kept) {
    EXPECT_TRUE(childPasses([] {
        const TemporaryFolder folder;
        ASSERT_EQ(chdir(folder.path().c_str()), 0);
        EXPECT_EQ(makeDirectories("a/"), kAlways);
        EXPECT_EQ(makeDirectories("abc/"), kAlways);
        EXPECT_EQ(makeDirectories("abc/d/"), kAlways);
        EXPECT_EQ(makeWide(L"abc/"), kAlways);
        EXPECT_TRUE(std::filesystem::is_empty("."));
        EXPECT_EQ(makeDirectories("abcd/"), kAlways);
        EXPECT_TRUE(exists("abcd"));
        EXPECT_EQ(makeWide(L"wxyz/"), kAlways);
        EXPECT_TRUE(exists("wxyz"));
        ASSERT_EQ(mkdir("abc", 0700), 0);
        EXPECT_EQ(makeDirectories("abc/d/"), kAlways);
        EXPECT_TRUE(exists("abc/d"));
        EXPECT_EQ(chdir("/"), 0);
    }));
}

TEST(MakeRecursiveDirectory, NewFolder_HasMode0700) {
    EXPECT_TRUE(childPasses([] {
        umask(0);
        const TemporaryFolder folder;
        makeDirectories(folder / "made/");
        struct stat facts;
        ASSERT_EQ(stat((folder / "made").c_str(), &facts), 0);
        EXPECT_EQ(facts.st_mode & 07777, 0700u);
    }));
}

TEST(MakeRecursiveDirectory, FailuresOnTheWay_AreIgnored) {
    const TemporaryFolder folder;
    folder.write("file", "x");
    EXPECT_EQ(makeDirectories(folder / "file/a/b/"), kAlways);
    EXPECT_EQ(zor::test::readFile(folder / "file"), "x");
    nErrno = 4711;
    EXPECT_EQ(makeDirectories(""), kAlways);
    EXPECT_EQ(makeDirectories("/"), kAlways);
    EXPECT_EQ(qelcomn_MakeRecursiveDirectoryA(nullptr), kAlways);
    EXPECT_EQ(qelcomn_MakeRecursiveDirectoryW(nullptr), kAlways);
    EXPECT_EQ(nErrno, 4711);
}

TEST(MakeRecursiveDirectory, PathBeyond259Characters_IsRefusedWhole) {
    const TemporaryFolder folder;
    const std::string base = makeFolderOfLength(folder.path(), 250) + "/";
    const std::string longest = base + "a/bcdef/"; // 259 characters
    ASSERT_EQ(longest.size(), 259u);
    EXPECT_EQ(makeDirectories(base + "a/bcdefg/"), kAlways);
    EXPECT_EQ(makeWide(widened(base + "a/bcdefg/")), kAlways);
    EXPECT_EQ(makeDirectories(base + std::string(5000, 'x')), kAlways);
    EXPECT_TRUE(std::filesystem::is_empty(base));
    EXPECT_EQ(makeDirectories(longest), kAlways);
    EXPECT_TRUE(exists(longest));
    std::filesystem::remove_all(base + "a");
    EXPECT_EQ(makeWide(widened(longest)), kAlways);
    EXPECT_TRUE(exists(longest));
}

TEST(MakeRecursiveDirectory, WideCharacters_KeepTheirLow8Bits_Kept) {
    const TemporaryFolder folder;
    const std::wstring base = widened(folder.path()) + L"/";
    EXPECT_EQ(makeWide(base + L"x\x161y/"), kAlways);
    EXPECT_TRUE(exists(folder / "xay"));
    EXPECT_EQ(makeWide(base + L"\xFC/"), kAlways);
    EXPECT_TRUE(exists(folder / "\xFC")) << "one byte, no UTF-8";
    EXPECT_EQ(makeWide(base + L"p\x12Fq"), kAlways);
    EXPECT_FALSE(exists(folder / "p")) << "a character whose low bits are those of '/' is no separator";
}

} // namespace
