#include "zorcomn/utilities.h"

#include "source/portability/file_record.h"
#include "source/portability/handles.h"
#include "tests/support/child.h"
#include "tests/support/descriptors.h"
#include "tests/support/long_paths.h"
#include "tests/support/temporary_folder.h"

#include <string>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using zor::test::childPasses;
using zor::test::openDescriptors;
using zor::test::readFile;
using zor::test::TemporaryFolder;

constexpr uint32_t kFailed = 0x80000008u;
constexpr uint32_t kRead = 0x80000000u;
constexpr uint32_t kBoth = 0xC0000000u;
constexpr uint32_t kOpenExisting = 3;
constexpr uint32_t kOpenAlways = 4;

qeFileObject *createFile(const std::string &path, uint32_t access, uint32_t disposition) {
    qeFileObject *file = nullptr;
    EXPECT_EQ(qeCreateFile(path.c_str(), access, 0, disposition, 0, &file), 0u) << path;
    return file;
}

TEST(FileObject, Table_HoldsTheFourOperationsInOrder) {
    const TemporaryFolder folder;
    const std::string path = folder.write("file", "");
    qeFileObject *const first = createFile(path, kRead, kOpenExisting);
    qeFileObject *const second = createFile(path, kRead, kOpenExisting);
    EXPECT_EQ(first->ops->close, qeCloseFile);
    EXPECT_EQ(first->ops->read, qeReadFile);
    EXPECT_EQ(first->ops->write, qeWriteFile);
    EXPECT_EQ(first->ops->getSize, qeGetFileSize);
    EXPECT_NE(first->ops, second->ops) << "each object has a table of its own";
    EXPECT_EQ(qeCloseFile(first), 0u);
    EXPECT_EQ(qeCloseFile(second), 0u);
}

TEST(FileObject, CallsThroughTheTable_ReachTheFile) {
    const TemporaryFolder folder;
    const std::string path = folder / "file";
    const size_t before = openDescriptors();
    qeFileObject *const file = createFile(path, kBoth, kOpenAlways);
    uint32_t count = 0;
    EXPECT_EQ(file->ops->write(file, "abc", 3, &count), 0u);
    EXPECT_EQ(count, 3u);
    EXPECT_EQ(file->ops->getSize(file, &count), 0u);
    EXPECT_EQ(count, 3u);
    EXPECT_EQ(qelSetFilePointer(file->file, 1, nullptr, 0), 1u);
    char buffer[8] = {};
    EXPECT_EQ(file->ops->read(file, buffer, sizeof buffer, &count), 0u);
    EXPECT_EQ(count, 2u);
    EXPECT_STREQ(buffer, "bc");
    EXPECT_EQ(file->ops->close(file), 0u);
    EXPECT_EQ(readFile(path), "abc");
    EXPECT_EQ(openDescriptors(), before);
}

TEST(FileObject, ReadAtTheEnd_FailsWithNoBytes_Kept) {
    const TemporaryFolder folder;
    qeFileObject *const file = createFile(folder.write("file", "abc"), kRead, kOpenExisting);
    char buffer[8];
    uint32_t count = 99;
    EXPECT_EQ(qeReadFile(file, buffer, sizeof buffer, &count), 0u);
    EXPECT_EQ(count, 3u);
    EXPECT_EQ(qeReadFile(file, buffer, sizeof buffer, &count), kFailed);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(qelSetFilePointer(file->file, 0, nullptr, 0), 0u);
    EXPECT_EQ(qeReadFile(file, buffer, 0, &count), kFailed) << "asking for nothing is no better";
    EXPECT_EQ(qeCloseFile(file), 0u);
}

TEST(FileObject, FailedTransfers_ReportTheOneNumber) {
    const TemporaryFolder folder;
    qeFileObject *const file = createFile(folder.write("file", "abc"), kRead, kOpenExisting);
    uint32_t count = 99;
    EXPECT_EQ(qeWriteFile(file, "x", 1, &count), kFailed);
    EXPECT_EQ(qeReadFile(file, nullptr, 4, &count), kFailed);
    char buffer[4];
    EXPECT_EQ(qeReadFile(file, buffer, 4, nullptr), kFailed);
    EXPECT_EQ(qeWriteFile(file, buffer, 4, nullptr), kFailed);
    EXPECT_EQ(qeCloseFile(file), 0u);
}

TEST(FileObject, SizeOfAllOnes_CountsAsFailureAndIsStored_Kept) {
    const TemporaryFolder folder;
    const std::string path = folder.write("file", "");
    qeFileObject *const file = createFile(path, kRead, kOpenExisting);
    uint32_t size = 99;
    EXPECT_EQ(qeGetFileSize(file, &size), 0u);
    EXPECT_EQ(size, 0u);
    if (truncate(path.c_str(), 0xFFFFFFFFLL) == 0) {
        EXPECT_EQ(qeGetFileSize(file, &size), kFailed);
        EXPECT_EQ(size, 0xFFFFFFFFu);
    }
    EXPECT_EQ(qeCloseFile(file), 0u);
}

TEST(FileObject, FailedCreation_LeavesANullPointer) {
    const TemporaryFolder folder;
    const size_t before = openDescriptors();
    char other;
    auto *file = reinterpret_cast<qeFileObject *>(&other);
    EXPECT_EQ(qeCreateFile((folder / "none").c_str(), kRead, 0, kOpenExisting, 0, &file), kFailed);
    EXPECT_EQ(file, nullptr);
    file = reinterpret_cast<qeFileObject *>(&other);
    nErrno = 0;
    EXPECT_EQ(qeCreateFile((folder / "none").c_str(), kRead, 0, 5, 0, &file), kFailed);
    EXPECT_EQ(file, nullptr);
    EXPECT_EQ(nErrno, 22) << "the file layer below tells why";
    file = reinterpret_cast<qeFileObject *>(&other);
    EXPECT_EQ(qeCreateFile(nullptr, kRead, 0, kOpenAlways, 0, &file), kFailed);
    EXPECT_EQ(file, nullptr);
    EXPECT_EQ(qeCreateFile((folder / "none").c_str(), kRead, 0, kOpenAlways, 0, nullptr), kFailed);
    EXPECT_FALSE(zor::test::exists(folder / "none"));
    EXPECT_EQ(openDescriptors(), before);
}

TEST(FileObject, NullObject_IsRefusedAndClosesWithSuccess) {
    char buffer[4];
    uint32_t count = 99;
    EXPECT_EQ(qeReadFile(nullptr, buffer, 4, &count), kFailed);
    EXPECT_EQ(qeWriteFile(nullptr, buffer, 4, &count), kFailed);
    EXPECT_EQ(count, 99u);
    EXPECT_EQ(qeGetFileSize(nullptr, &count), kFailed);
    EXPECT_EQ(count, 0xFFFFFFFFu) << "the size is stored in every case";
    EXPECT_EQ(qeGetFileSize(nullptr, nullptr), kFailed);
    EXPECT_EQ(qeCloseFile(nullptr), 0u);
}

TEST(FileObject, FailedClose_IsReported) {
    // In a child: a handle whose descriptor cannot be closed is not freed.
    EXPECT_TRUE(childPasses([] {
        const TemporaryFolder folder;
        qeFileObject *const file = createFile(folder.write("file", ""), kRead, kOpenExisting);
        close(static_cast<zor::FileRecord *>(zor::recordOf(file->file).objectData)->descriptor);
        EXPECT_EQ(qeCloseFile(file), kFailed);
    }));
}

TEST(FolderExists, PathOf260Bytes_IsJudgedByTheFirst259_Kept) {
    const TemporaryFolder folder;
    const std::string longest = zor::test::makeFolderOfLength(folder.path(), 259);
    ASSERT_EQ(mkdir((longest + "x").c_str(), 0700), 0); // 260 bytes, and no folder by its first 259
    ASSERT_EQ(rmdir(longest.c_str()), 0);
    EXPECT_EQ(qeFolderExists((longest + "x").c_str()), 0);
}

TEST(FolderExists, EachEnding_IsJudgedAsListed) {
    const TemporaryFolder folder;
    folder.write("file", "");
    ASSERT_EQ(symlink(".", (folder / "link").c_str()), 0);
    const std::string path = folder.path();
    EXPECT_EQ(qeFolderExists(path.c_str()), 1);
    EXPECT_EQ(qeFolderExists((path + "/").c_str()), 1);
    EXPECT_EQ(qeFolderExists((path + "//").c_str()), 1);
    EXPECT_EQ(qeFolderExists((path + "/\\").c_str()), 1);
    EXPECT_EQ(qeFolderExists((path + "/link").c_str()), 1);
    EXPECT_EQ(qeFolderExists((path + "/file").c_str()), 0);
    EXPECT_EQ(qeFolderExists((path + "/file/").c_str()), 0);
    EXPECT_EQ(qeFolderExists((path + "/none").c_str()), 0);
    EXPECT_EQ(qeFolderExists(""), 0);
    EXPECT_EQ(qeFolderExists("\\"), 0);
    EXPECT_EQ(qeFolderExists("/"), 1);
    EXPECT_EQ(qeFolderExists("."), 1);
}

TEST(FolderExists, TrailingBackslash_IsCutOnce_Kept) {
    const TemporaryFolder folder;
    EXPECT_EQ(qeFolderExists((folder.path() + "\\").c_str()), 1);
    EXPECT_EQ(qeFolderExists((folder.path() + "\\\\").c_str()), 0);
}

TEST(FolderExists, PathBeyond259Bytes_IsCut_Kept) {
    const TemporaryFolder folder;
    const std::string longest = zor::test::makeFolderOfLength(folder.path(), 259);
    EXPECT_EQ(qeFolderExists(longest.c_str()), 1);
    EXPECT_EQ(qeFolderExists((longest + "/none").c_str()), 1);
    EXPECT_EQ(qeFolderExists((longest.substr(0, 258) + "x").c_str()), 0);
}

} // namespace
