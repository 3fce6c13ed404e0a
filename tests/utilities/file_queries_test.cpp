#include "zorcomn/utilities.h"

#include "tests/support/fake_host.h"
#include "tests/support/temporary_folder.h"

#include <cstring>
#include <string>

#include <gtest/gtest.h>
#include <unistd.h>

namespace {

using zor::host::fakeHost;
using zor::host::FakeHostTest;
using zor::host::FileSystemSpace;
using zor::test::TemporaryFolder;

constexpr uint32_t kFailed = 0x80000008u;

TEST(FindUtilities, Wrappers_MapTheFailureOfTheFirstCallToZero) {
    const TemporaryFolder folder;
    folder.write("a1", "");
    folder.write("a2", "");
    qelFindData data;
    EXPECT_EQ(qelcomn_findfirstA((folder / "none").c_str(), &data), 0);
    EXPECT_EQ(qelcomn_findfirstA((folder / "none/*").c_str(), &data), 0);
    EXPECT_EQ(qelcomn_findfirstA(nullptr, &data), 0);
    EXPECT_EQ(qelcomn_findfirstA((folder / "*").c_str(), nullptr), 0);
    const int32_t search = qelcomn_findfirstA((folder / "a*").c_str(), &data);
    ASSERT_GE(search, 1);
    std::string names = data.name;
    EXPECT_EQ(qelcomn_findnextA(search, &data), 1);
    names += data.name;
    EXPECT_TRUE(names == "a1a2" || names == "a2a1") << names;
    EXPECT_EQ(qelcomn_findnextA(search, &data), 0);
    EXPECT_EQ(qelcomn_findclose(search), 1);
    nErrno = 0;
    EXPECT_EQ(qelcomn_findclose(search), 0);
    EXPECT_EQ(nErrno, 22);
    EXPECT_EQ(qelcomn_findnextA(0, &data), 0);
}

TEST(GetFileSize, NamedFile_HasItsSize) {
    const TemporaryFolder folder;
    uint32_t size = 99;
    EXPECT_EQ(qelcomn_get_file_sizeA(folder.write("file", std::string(70000, 'x')).c_str(), &size), 0u);
    EXPECT_EQ(size, 70000u);
    EXPECT_EQ(qelcomn_get_file_sizeA(folder.write("empty", "").c_str(), &size), 0u);
    EXPECT_EQ(size, 0u);
}

TEST(GetFileSize, BeyondFourGigabytes_IsTheLow32Bits_Kept) {
    const TemporaryFolder folder;
    const std::string path = folder.write("file", "");
    if (truncate(path.c_str(), (static_cast<off_t>(1) << 32) + 5) != 0)
        GTEST_SKIP() << "the file system has no files of 4 GiB";
    uint32_t size = 99;
    EXPECT_EQ(qelcomn_get_file_sizeA(path.c_str(), &size), 0u);
    EXPECT_EQ(size, 5u);
    ASSERT_EQ(truncate(path.c_str(), 0xFFFFFFFFLL), 0);
    EXPECT_EQ(qelcomn_get_file_sizeA(path.c_str(), &size), 0u) << "all ones is a size like any other here";
    EXPECT_EQ(size, 0xFFFFFFFFu);
}

TEST(GetFileSize, MissingFileOrNull_Fails) {
    const TemporaryFolder folder;
    uint32_t size = 99;
    nErrno = 4711;
    EXPECT_EQ(qelcomn_get_file_sizeA((folder / "none").c_str(), &size), kFailed);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(qelcomn_get_file_sizeA(nullptr, &size), kFailed);
    EXPECT_EQ(qelcomn_get_file_sizeA("/", nullptr), kFailed);
    EXPECT_EQ(nErrno, 4711);
}

class FreeSpace : public FakeHostTest {};

TEST_F(FreeSpace, Product_WrapsAt32BitsAndIsSigned_Kept) {
    constexpr struct {
        uint64_t blockSize, blocks;
        int64_t bytes;
    } kRows[] = {
        {4096, 0, 0},
        {4096, 1, 4096000},
        {4096, 524, 2146304000},
        {4096, 525, -2144567296},
        {4096, 1000, -198967296},
        {4096, 1048576, 0},
        {512, 4194305, 512000},
        {4096, 0x100000001ull, 4096000},
        {0x100000200ull, 3, 1536000},
        {1, 0xFFFFFFFFull, -1000},
    };
    for (const auto &row : kRows) {
        fakeHost.fileSystemSpace = FileSystemSpace{row.blockSize, row.blocks};
        int64_t bytes = 99;
        EXPECT_EQ(qelcomn_get_disk_free_spaceA("/", &bytes), 0u);
        EXPECT_EQ(bytes, row.bytes) << row.blockSize << " x " << row.blocks;
    }
}

TEST_F(FreeSpace, Failure_LeavesTheOutput) {
    int64_t bytes = 99;
    EXPECT_EQ(qelcomn_get_disk_free_spaceA("/", &bytes), kFailed);
    fakeHost.fileSystemSpace = FileSystemSpace{4096, 1};
    EXPECT_EQ(qelcomn_get_disk_free_spaceA(nullptr, &bytes), kFailed);
    EXPECT_EQ(bytes, 99);
    EXPECT_EQ(qelcomn_get_disk_free_spaceA("/", nullptr), kFailed);
}

} // namespace
