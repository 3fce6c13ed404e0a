#include "zorcomn/portability.h"

#include "source/portability/file_record.h"
#include "source/portability/handles.h"
#include "tests/support/child.h"
#include "tests/support/descriptors.h"
#include "tests/support/eventually.h"
#include "tests/support/long_paths.h"
#include "tests/support/temporary_folder.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using zor::test::childPasses;
using zor::test::eventually;
using zor::test::exists;
using zor::test::makeFolderOfLength;
using zor::test::openDescriptors;
using zor::test::readFile;
using zor::test::TemporaryFolder;

constexpr uint32_t kRead = 0x80000000u;
constexpr uint32_t kWrite = 0x40000000u;
constexpr uint32_t kBoth = 0xC0000000u;
constexpr uint32_t kCreateNew = 1;
constexpr uint32_t kCreateAlways = 2;
constexpr uint32_t kOpenExisting = 3;
constexpr uint32_t kOpenAlways = 4;
constexpr uint32_t kNormal = 128;
constexpr uint32_t kDeleteOnClose = 0x04000000u;
constexpr uint32_t kAllOnes = 0xFFFFFFFFu;
constexpr int32_t kUntouched = 4711;

HANDLE openFile(const std::string &path, uint32_t access, uint32_t disposition, uint32_t attributes = 0) {
    return qelCreateFileAW(path.c_str(), access, 0, nullptr, disposition, attributes, nullptr);
}

zor::FileRecord &fileRecord(HANDLE file) {
    return *static_cast<zor::FileRecord *>(zor::recordOf(file).objectData);
}

/** A file handle that is closed at the end of the test. */
class OpenFile {
public:
    OpenFile(const std::string &path, uint32_t access, uint32_t disposition = kOpenExisting)
        : m_handle(openFile(path, access, disposition)) {
        EXPECT_NE(m_handle, nullptr) << path << ": " << std::strerror(errno);
    }
    ~OpenFile() { EXPECT_EQ(qelCloseHandle(m_handle), 1); }
    OpenFile(const OpenFile &) = delete;
    OpenFile &operator=(const OpenFile &) = delete;
    operator HANDLE() const { return m_handle; }

private:
    HANDLE m_handle;
};

TEST(CreateFile, RefusedArguments_SetCell22AndMakeNothing_Kept) {
    constexpr struct {
        uint32_t access, disposition, attributes;
    } kRows[] = {
        {0, kOpenAlways, 0},
        {1, kOpenAlways, 0},
        {0x20000000u, kOpenAlways, 0},
        {0x10000000u, kOpenAlways, 0},
        {kBoth | 1, kOpenAlways, 0},
        {kAllOnes, kOpenAlways, 0},
        {kBoth, 0, 0},
        {kBoth, 5, 0},
        {kBoth, 6, 0},
        {kBoth, kAllOnes, 0},
        {kBoth, kOpenAlways, 1},
        {kBoth, kOpenAlways, 2},
        {kBoth, kOpenAlways, 129},
        {kBoth, kOpenAlways, kDeleteOnClose | kNormal},
        {kBoth, kOpenAlways, 0x80000000u},
        {kBoth, kOpenAlways, kAllOnes},
    };
    const TemporaryFolder folder;
    for (const auto &row : kRows) {
        nErrno = 0;
        EXPECT_EQ(openFile(folder / "file", row.access, row.disposition, row.attributes), nullptr)
            << std::hex << row.access << ' ' << row.disposition << ' ' << row.attributes;
        EXPECT_EQ(nErrno, 22);
        EXPECT_FALSE(exists(folder / "file"));
    }
    nErrno = 0;
    EXPECT_EQ(qelCreateFileAW(nullptr, kBoth, 0, nullptr, kOpenAlways, 0, nullptr), nullptr);
    EXPECT_EQ(nErrno, 22);
}

TEST(CreateFile, Disposition_DecidesWhatHappensToTheFile) {
    constexpr struct {
        uint32_t disposition;
        bool opensExisting, makesMissing;
        const char *contentAfter;
    } kRows[] = {{kCreateNew, false, true, "old"},
                 {kCreateAlways, true, true, ""},
                 {kOpenExisting, true, false, "old"},
                 {kOpenAlways, true, true, "old"}};
    for (const auto &row : kRows) {
        const TemporaryFolder folder;
        const std::string existing = folder.write("existing", "old");
        nErrno = kUntouched;
        errno = 0;
        const HANDLE opened = openFile(existing, kBoth, row.disposition);
        EXPECT_EQ(opened != nullptr, row.opensExisting) << row.disposition;
        EXPECT_EQ(errno, row.opensExisting ? 0 : EEXIST) << row.disposition;
        EXPECT_EQ(readFile(existing), row.contentAfter) << row.disposition;
        errno = 0;
        const HANDLE made = openFile(folder / "missing", kBoth, row.disposition);
        EXPECT_EQ(made != nullptr, row.makesMissing) << row.disposition;
        EXPECT_EQ(errno, row.makesMissing ? 0 : ENOENT) << row.disposition;
        EXPECT_EQ(exists(folder / "missing"), row.makesMissing) << row.disposition;
        EXPECT_EQ(nErrno, kUntouched) << "a failed open leaves its errno alone";
        EXPECT_EQ(qelCloseHandle(opened), 1);
        EXPECT_EQ(qelCloseHandle(made), 1);
    }
}

TEST(CreateFile, Access_DecidesWhichTransfersWork) {
    constexpr struct {
        uint32_t access;
        bool reads, writes;
    } kRows[] = {{kRead, true, false}, {kWrite, false, true}, {kBoth, true, true}};
    const TemporaryFolder folder;
    const std::string path = folder.write("file", "content");
    for (const auto &row : kRows) {
        const OpenFile file(path, row.access);
        char buffer[4];
        uint32_t count = 99;
        errno = 0;
        EXPECT_EQ(qelReadFile(file, buffer, 4, &count, nullptr), row.reads) << std::hex << row.access;
        EXPECT_EQ(count, row.reads ? 4u : 99u);
        EXPECT_EQ(errno, row.reads ? 0 : EBADF);
        count = 99;
        errno = 0;
        EXPECT_EQ(qelWriteFile(file, "c", 1, &count, nullptr), row.writes) << std::hex << row.access;
        EXPECT_EQ(count, row.writes ? 1u : 99u);
        EXPECT_EQ(errno, row.writes ? 0 : EBADF);
    }
}

TEST(CreateFile, NewFile_HasBits0660WithinTheMask) {
    EXPECT_TRUE(childPasses([] {
        const TemporaryFolder folder;
        struct stat facts;
        umask(0);
        { const OpenFile file(folder / "open", kWrite, kCreateNew); }
        ASSERT_EQ(stat((folder / "open").c_str(), &facts), 0);
        EXPECT_EQ(facts.st_mode & 07777, 0660u);
        umask(0026);
        { const OpenFile file(folder / "masked", kWrite, kCreateNew); }
        ASSERT_EQ(stat((folder / "masked").c_str(), &facts), 0);
        EXPECT_EQ(facts.st_mode & 07777, 0640u);
    }));
}

TEST(CreateFile, Record_IsFilledAsTheLayerNeedsIt) {
    const TemporaryFolder folder;
    const std::string path = folder.write("file", "");
    const OpenFile file(path, kRead);
    const zor::HandleObject &object = zor::recordOf(file);
    EXPECT_EQ(object.type, 0);
    EXPECT_EQ(object.referenceCount, 1);
    EXPECT_EQ(object.signalled, 0);
    EXPECT_EQ(fileRecord(file).deleteOnClose, 0);
    EXPECT_EQ(fileRecord(file).endOfFile, 0);
    EXPECT_EQ(fileRecord(file).name, path);
    EXPECT_EQ(fcntl(fileRecord(file).descriptor, F_GETFD), FD_CLOEXEC);
    nErrno = 0;
    EXPECT_EQ(qelWaitForSingleObject(file, 0), 0u) << "a file cannot be waited on";
    EXPECT_EQ(nErrno, 22);
}

TEST(CreateFile, PathBeyondTheNameField_FillsItWithoutTerminator_Kept) {
    const TemporaryFolder folder;
    folder.write("file", "");
    const std::string path = folder.path() + std::string(300, '/') + "file";
    const OpenFile file(path, kRead);
    EXPECT_EQ(std::memcmp(fileRecord(file).name, path.data(), 260), 0);
}

TEST(CreateFile, IgnoredArguments_MayBeAnything) {
    const TemporaryFolder folder;
    const HANDLE file =
        qelCreateFileAW((folder / "file").c_str(), kBoth, kAllOnes, &nErrno, kCreateNew, kNormal, zor::invalidHandle());
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(qelCloseHandle(file), 1);
    EXPECT_TRUE(exists(folder / "file"));
}

TEST(CreateFile, DeleteOnClose_RemovesTheFileWithItsHandle) {
    const TemporaryFolder folder;
    const std::string path = folder / "file";
    const HANDLE file = openFile(path, kWrite, kCreateNew, kDeleteOnClose);
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(fileRecord(file).deleteOnClose, 1);
    EXPECT_TRUE(exists(path));
    EXPECT_EQ(qelCloseHandle(file), 1);
    EXPECT_FALSE(exists(path));
}

TEST(CreateFile, DeleteOnClose_LeavesAFolderInTheFilesPlace) {
    const TemporaryFolder folder;
    const HANDLE file = openFile(folder / "file", kBoth, kCreateNew, kDeleteOnClose);
    ASSERT_EQ(unlink((folder / "file").c_str()), 0);
    ASSERT_EQ(mkdir((folder / "file").c_str(), 0700), 0);
    const size_t before = openDescriptors();
    ASSERT_EQ(qelCloseHandle(file), 0);
    EXPECT_EQ(errno, EISDIR);
    EXPECT_TRUE(exists(folder / "file"));
    EXPECT_EQ(openDescriptors(), before - 1);
    delete &fileRecord(file); // kept, as after any removal that failed
    delete &zor::recordOf(file);
}

TEST(CreateFile, FailedOpen_LeaksNoDescriptor) {
    const TemporaryFolder folder;
    const size_t before = openDescriptors();
    errno = 0;
    EXPECT_EQ(openFile(folder.path(), kWrite, kOpenExisting), nullptr);
    EXPECT_EQ(errno, EISDIR);
    EXPECT_EQ(openFile(std::string(5000, 'x'), kRead, kOpenExisting), nullptr);
    EXPECT_EQ(errno, ENAMETOOLONG);
    EXPECT_EQ(openDescriptors(), before);
}

TEST(ReadFile, AtTheEnd_DeliversNothingAndSetsTheFlag) {
    const TemporaryFolder folder;
    const OpenFile file(folder.write("file", "abcde"), kRead);
    char buffer[8] = {};
    uint32_t count = 99;
    EXPECT_EQ(qelReadFile(file, buffer, sizeof buffer, &count, nullptr), 1);
    EXPECT_EQ(count, 5u);
    EXPECT_STREQ(buffer, "abcde");
    EXPECT_EQ(fileRecord(file).endOfFile, 0) << "a short read is not the end";
    EXPECT_EQ(qelReadFile(file, buffer, sizeof buffer, &count, nullptr), 1);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(fileRecord(file).endOfFile, 1);
}

TEST(ReadFile, CountOfZero_SetsTheFlagToo_Kept) {
    const TemporaryFolder folder;
    const OpenFile file(folder.write("file", "abcde"), kRead);
    uint32_t count = 99;
    EXPECT_EQ(qelReadFile(file, nullptr, 0, &count, nullptr), 1);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(fileRecord(file).endOfFile, 1);
}

TEST(ReadFile, NullBuffer_FailsWithTheSystemsErrno) {
    const TemporaryFolder folder;
    const OpenFile file(folder.write("file", "abcde"), kBoth);
    uint32_t count = 99;
    nErrno = kUntouched;
    errno = 0;
    EXPECT_EQ(qelReadFile(file, nullptr, 4, &count, nullptr), 0);
    EXPECT_EQ(errno, EFAULT);
    EXPECT_EQ(nErrno, kUntouched);
    EXPECT_EQ(count, 99u);
}

TEST(Transfer, NullCount_IsRefusedBeforeAnythingMoves) {
    const TemporaryFolder folder;
    const std::string path = folder.write("file", "abcde");
    const OpenFile file(path, kBoth);
    char buffer[2] = {'x', 'y'};
    nErrno = 0;
    EXPECT_EQ(qelReadFile(file, buffer, 2, nullptr, nullptr), 0);
    EXPECT_EQ(nErrno, 22);
    nErrno = 0;
    EXPECT_EQ(qelWriteFile(file, buffer, 2, nullptr, nullptr), 0);
    EXPECT_EQ(nErrno, 22);
    EXPECT_EQ(qelSetFilePointer(file, 0, nullptr, 1), 0u);
    EXPECT_EQ(readFile(path), "abcde");
}

TEST(WriteFile, Bytes_ArriveAsGiven) {
    const TemporaryFolder folder;
    const std::string path = folder / "file";
    const std::string bytes("a\0b\xFF\n", 5);
    {
        const OpenFile file(path, kWrite, kCreateNew);
        uint32_t count = 99;
        EXPECT_EQ(qelWriteFile(file, bytes.data(), 5, &count, nullptr), 1);
        EXPECT_EQ(count, 5u);
        EXPECT_EQ(qelWriteFile(file, nullptr, 0, &count, nullptr), 1);
        EXPECT_EQ(count, 0u);
    }
    EXPECT_EQ(readFile(path), bytes);
}

TEST(WriteFile, FullDevice_FailsWithTheSystemsErrno) {
    const HANDLE file = openFile("/dev/full", kWrite, kOpenExisting);
    if (!file)
        GTEST_SKIP() << "needs /dev/full";
    uint32_t count = 99;
    nErrno = kUntouched;
    EXPECT_EQ(qelWriteFile(file, "x", 1, &count, nullptr), 0);
    EXPECT_EQ(errno, ENOSPC);
    EXPECT_EQ(qelGetLastError(), 259u);
    EXPECT_EQ(nErrno, kUntouched);
    EXPECT_EQ(count, 99u);
    EXPECT_EQ(qelCloseHandle(file), 1);
}

std::atomic<int> g_signals{0};

TEST(ReadFile, Interrupted_GoesOnWaiting) {
    EXPECT_TRUE(childPasses([] {
        const TemporaryFolder folder;
        const std::string path = folder / "pipe";
        ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
        struct sigaction action = {};
        action.sa_handler = [](int) { ++g_signals; };
        ASSERT_EQ(sigaction(SIGUSR1, &action, nullptr), 0);
        const OpenFile file(path, kBoth);
        char received = 0;
        uint32_t count = 99;
        int32_t result = -1;
        std::thread reader([&] { result = qelReadFile(file, &received, 1, &count, nullptr); });
        for (int sent = 1; sent <= 20; ++sent) {
            ASSERT_EQ(pthread_kill(reader.native_handle(), SIGUSR1), 0);
            ASSERT_TRUE(eventually([&] { return g_signals == sent; }));
        }
        uint32_t written = 0;
        EXPECT_EQ(qelWriteFile(file, "z", 1, &written, nullptr), 1);
        reader.join();
        EXPECT_EQ(result, 1);
        EXPECT_EQ(count, 1u);
        EXPECT_EQ(received, 'z');
    }));
}

TEST(FileHandle, AnythingElse_IsRefusedWithCell22ByEachOperation) {
    const HANDLE event = qelCreateEvent(nullptr, 1, 0, nullptr);
    const HANDLE mutex = qelCreateMutex(nullptr, 0, nullptr);
    zor::HandleObject withoutFile = {};
    char buffer[4] = {};
    uint32_t cell = 99;
    for (const HANDLE handle : {HANDLE(nullptr), zor::invalidHandle(), event, mutex, HANDLE(&withoutFile)}) {
        nErrno = 0;
        EXPECT_EQ(qelReadFile(handle, buffer, 4, &cell, nullptr), 0);
        EXPECT_EQ(std::exchange(nErrno, 0), 22);
        EXPECT_EQ(qelWriteFile(handle, buffer, 4, &cell, nullptr), 0);
        EXPECT_EQ(std::exchange(nErrno, 0), 22);
        EXPECT_EQ(qelSetFilePointer(handle, 0, nullptr, 0), kAllOnes);
        EXPECT_EQ(std::exchange(nErrno, 0), 22);
        EXPECT_EQ(qelSetEndOfFile(handle), 0);
        EXPECT_EQ(std::exchange(nErrno, 0), 22);
        EXPECT_EQ(qelGetFileSize(handle, &cell), kAllOnes);
        EXPECT_EQ(std::exchange(nErrno, 0), 22);
        EXPECT_EQ(cell, 99u);
    }
    EXPECT_EQ(qelCloseHandle(event), 1);
    EXPECT_EQ(qelCloseHandle(mutex), 1);
}

TEST(SetFilePointer, EachMethod_MovesFromItsOrigin) {
    const TemporaryFolder folder;
    const OpenFile file(folder.write("file", "0123456789"), kRead);
    EXPECT_EQ(qelSetFilePointer(file, 4, nullptr, 0), 4u);
    EXPECT_EQ(qelSetFilePointer(file, 3, nullptr, 1), 7u);
    EXPECT_EQ(qelSetFilePointer(file, -6, nullptr, 1), 1u);
    EXPECT_EQ(qelSetFilePointer(file, -2, nullptr, 2), 8u);
    EXPECT_EQ(qelSetFilePointer(file, 5, nullptr, 2), 15u) << "beyond the end is a position";
    nErrno = kUntouched;
    errno = 0;
    EXPECT_EQ(qelSetFilePointer(file, -1, nullptr, 0), kAllOnes);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(qelSetFilePointer(file, 0, nullptr, 77), kAllOnes);
    EXPECT_EQ(qelSetFilePointer(file, 0, nullptr, kAllOnes), kAllOnes);
    EXPECT_EQ(nErrno, kUntouched);
    EXPECT_EQ(qelSetFilePointer(file, 0, nullptr, 1), 15u) << "a failed move moves nothing";
}

TEST(SetFilePointer, HighPart_IsNeitherReadNorWritten_Kept) {
    const TemporaryFolder folder;
    const OpenFile file(folder.write("file", "0123456789"), kRead);
    int32_t high = 7;
    EXPECT_EQ(qelSetFilePointer(file, 4, &high, 0), 4u);
    EXPECT_EQ(high, 7);
}

TEST(SetFilePointer, BeyondFourGigabytes_ReturnsTheLow32Bits_Kept) {
    const TemporaryFolder folder;
    const std::string path = folder.write("file", "");
    if (truncate(path.c_str(), (static_cast<off_t>(1) << 32) + 5) != 0)
        GTEST_SKIP() << "the file system has no files of 4 GiB";
    const OpenFile file(path, kRead);
    EXPECT_EQ(qelSetFilePointer(file, 0, nullptr, 2), 5u);
    EXPECT_EQ(qelSetFilePointer(file, -6, nullptr, 2), kAllOnes) << "a position that reads like a failure";
    EXPECT_EQ(qelSetFilePointer(file, INT32_MAX, nullptr, 0), static_cast<uint32_t>(INT32_MAX));
    EXPECT_EQ(qelSetFilePointer(file, INT32_MAX, nullptr, 1), 0xFFFFFFFEu);
    EXPECT_EQ(qelSetFilePointer(file, INT32_MAX, nullptr, 1), 0x7FFFFFFDu) << "the position has more than 32 bits";
    EXPECT_EQ(lseek(fileRecord(file).descriptor, 0, SEEK_CUR), static_cast<off_t>(3) * INT32_MAX);
}

TEST(SetEndOfFile, CurrentPosition_BecomesTheEnd) {
    const TemporaryFolder folder;
    const std::string path = folder.write("file", "0123456789");
    const OpenFile file(path, kBoth);
    EXPECT_EQ(qelSetFilePointer(file, 4, nullptr, 0), 4u);
    EXPECT_EQ(qelSetEndOfFile(file), 1);
    EXPECT_EQ(readFile(path), "0123");
    EXPECT_EQ(qelSetFilePointer(file, 6, nullptr, 0), 6u);
    EXPECT_EQ(qelSetEndOfFile(file), 1);
    EXPECT_EQ(readFile(path), std::string("0123\0\0", 6));
}

TEST(SetEndOfFile, ReadOnlyFileOrPipe_FailsAndLeavesTheCell) {
    const TemporaryFolder folder;
    const std::string path = folder.write("file", "0123456789");
    nErrno = kUntouched;
    {
        const OpenFile file(path, kRead);
        EXPECT_EQ(qelSetEndOfFile(file), 0);
    }
    EXPECT_EQ(readFile(path), "0123456789");
    ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
    const OpenFile pipe(folder / "pipe", kBoth);
    EXPECT_EQ(qelSetEndOfFile(pipe), 0);
    EXPECT_EQ(errno, ESPIPE);
    EXPECT_EQ(qelSetFilePointer(pipe, 0, nullptr, 1), kAllOnes);
    EXPECT_EQ(nErrno, kUntouched);
}

TEST(GetFileSize, HighPart_IsTheLowPartOver65535_Kept) {
    constexpr struct {
        int64_t size;
        uint32_t low, high;
    } kRows[] = {{0, 0, 0},
                 {65534, 65534, 0},
                 {65535, 65535, 1},
                 {65536, 65536, 1},
                 {70000, 70000, 1},
                 {131069, 131069, 1},
                 {131070, 131070, 2},
                 {0xFFFFFFFELL, 0xFFFFFFFEu, 65536},
                 {0xFFFFFFFFLL, 0xFFFFFFFFu, 65537},
                 {0x100000005LL, 5, 0},
                 {0x100000000LL + 70000, 70000, 1}};
    const TemporaryFolder folder;
    const std::string path = folder.write("file", "");
    const OpenFile file(path, kRead);
    for (const auto &row : kRows) {
        if (truncate(path.c_str(), static_cast<off_t>(row.size)) != 0)
            GTEST_SKIP() << "the file system has no files of " << row.size << " bytes";
        uint32_t high = 99;
        EXPECT_EQ(qelGetFileSize(file, &high), row.low) << row.size;
        EXPECT_EQ(high, row.high) << row.size;
        EXPECT_EQ(qelGetFileSize(file, nullptr), row.low) << row.size;
    }
}

TEST(GetTempFileName, UniqueNumber_IsReturnedAndOneForZero) {
    const TemporaryFolder folder;
    const size_t before = openDescriptors();
    std::vector<char> name(folder.path().size() + 1 + 3 + 6 + 1, '~');
    nErrno = kUntouched;
    EXPECT_EQ(qelGetTempFileName(folder.path().c_str(), "pre", 0, name.data()), 1u);
    const std::string first(name.data());
    EXPECT_EQ(first.size(), name.size() - 1);
    EXPECT_EQ(first.compare(0, first.size() - 6, folder / "pre"), 0) << first;
    EXPECT_EQ(readFile(first), "");
    EXPECT_TRUE(exists(first));
    EXPECT_EQ(qelGetTempFileName(folder.path().c_str(), "pre", 77, name.data()), 77u);
    EXPECT_NE(first, name.data());
    EXPECT_TRUE(exists(name.data()));
    EXPECT_EQ(openDescriptors(), before);
    EXPECT_EQ(nErrno, kUntouched);
}

TEST(GetTempFileName, NullPrefix_LeavesTheSixCharacters) {
    const TemporaryFolder folder;
    char name[1024];
    EXPECT_EQ(qelGetTempFileName(folder.path().c_str(), nullptr, 5, name), 5u);
    EXPECT_EQ(std::strlen(name), folder.path().size() + 7);
    EXPECT_TRUE(exists(name));
}

TEST(GetTempFileName, LongDirectory_IsNotCut) {
    const TemporaryFolder folder;
    const std::string directory = makeFolderOfLength(folder.path(), 900);
    char name[1024];
    ASSERT_EQ(qelGetTempFileName(directory.c_str(), "p", 0, name), 1u);
    EXPECT_EQ(std::string(name).compare(0, directory.size() + 2, directory + "/p"), 0);
    EXPECT_TRUE(exists(name));
}

TEST(GetTempFileName, Failure_LeavesTheBuffer) {
    const TemporaryFolder folder;
    char name[16] = "untouched";
    nErrno = kUntouched;
    errno = 0;
    EXPECT_EQ(qelGetTempFileName((folder / "none").c_str(), "p", 3, name), 0u);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(qelGetTempFileName(std::string(100000, 'd').c_str(), "p", 3, name), 0u);
    EXPECT_EQ(errno, ENAMETOOLONG);
    EXPECT_EQ(nErrno, kUntouched);
    EXPECT_EQ(qelGetTempFileName(nullptr, "p", 3, name), 0u);
    EXPECT_EQ(nErrno, 22);
    nErrno = 0;
    EXPECT_EQ(qelGetTempFileName(folder.path().c_str(), "p", 3, nullptr), 0u);
    EXPECT_EQ(nErrno, 22);
    EXPECT_STREQ(name, "untouched");
}

TEST(CopyFile, FailIfExists_IsTheOverwriteFlagTurnedRound) {
    const TemporaryFolder folder;
    const std::string source = folder.write("source", "new");
    const std::string existing = folder.write("existing", "old");
    EXPECT_EQ(qelCopyFile(source.c_str(), existing.c_str(), 1), 0);
    EXPECT_EQ(qelCopyFile(source.c_str(), existing.c_str(), -1), 0);
    EXPECT_EQ(readFile(existing), "old");
    EXPECT_EQ(qelCopyFile(source.c_str(), existing.c_str(), 0), 1);
    EXPECT_EQ(readFile(existing), "new");
    EXPECT_EQ(qelCopyFile(source.c_str(), (folder / "other").c_str(), 1), 1);
    EXPECT_EQ(readFile(folder / "other"), "new");
    EXPECT_EQ(qelCopyFile(nullptr, existing.c_str(), 0), 0);
}

TEST(MoveFile, Rename_DecidesTheResult) {
    const TemporaryFolder folder;
    const std::string from = folder.write("from", "content");
    const std::string to = folder.write("to", "old");
    EXPECT_EQ(qelMoveFile(from.c_str(), to.c_str()), 1);
    EXPECT_FALSE(exists(from));
    EXPECT_EQ(readFile(to), "content");
    nErrno = kUntouched;
    errno = 0;
    EXPECT_EQ(qelMoveFile(from.c_str(), to.c_str()), 0);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(nErrno, kUntouched);
    EXPECT_EQ(qelMoveFile(nullptr, to.c_str()), 0);
    EXPECT_EQ(std::exchange(nErrno, 0), 22);
    EXPECT_EQ(qelMoveFile(from.c_str(), nullptr), 0);
    EXPECT_EQ(nErrno, 22);
}

TEST(FixedAnswers, NothingIsDone_Kept) {
    const TemporaryFolder folder;
    const std::string path = folder.write("file", "x");
    struct stat before, after;
    ASSERT_EQ(stat(path.c_str(), &before), 0);
    EXPECT_EQ(qelSetFileAttributes(path.c_str(), 1), 1);
    EXPECT_EQ(qelSetFileAttributes(nullptr, kAllOnes), 1);
    ASSERT_EQ(stat(path.c_str(), &after), 0);
    EXPECT_EQ(before.st_mode, after.st_mode);
    char buffer[8] = "same";
    void *value = buffer;
    uint32_t length = 99;
    EXPECT_EQ(qelGetModuleFileName(nullptr, buffer, sizeof buffer), 0u);
    EXPECT_EQ(qelGetFileVersionInfo(path.c_str(), 0, sizeof buffer, buffer), 0);
    EXPECT_EQ(qelVerQueryValue(buffer, "\\", &value, &length), 0);
    EXPECT_STREQ(buffer, "same");
    EXPECT_EQ(value, buffer);
    EXPECT_EQ(length, 99u);
}

TEST(DirectoryAnswers, EachBufferSize_IsServedAsListed) {
    constexpr struct {
        uint32_t (*query)(char *, uint32_t);
        uint32_t size, result;
        const char *text;
    } kRows[] = {
        {qelGetWindowsDirectory, 0, 9, "~~~~~~~~~~~"}, {qelGetWindowsDirectory, 1, 9, "~~~~~~~~~~~"},
        {qelGetWindowsDirectory, 8, 9, "~~~~~~~~~~~"}, {qelGetWindowsDirectory, 9, 8, "/Library"},
        {qelGetWindowsDirectory, 10, 8, "/Library"},   {qelGetWindowsDirectory, kAllOnes, 8, "/Library"},
        {qelGetSystemDirectory, 0, 5, "~~~~~~~~~~~"},  {qelGetSystemDirectory, 3, 5, "~~~~~~~~~~~"},
        {qelGetSystemDirectory, 4, 5, "~~~~~~~~~~~"},  {qelGetSystemDirectory, 5, 4, "/usr"},
        {qelGetSystemDirectory, 6, 4, "/usr"},
    };
    for (const auto &row : kRows) {
        char buffer[] = "~~~~~~~~~~~";
        EXPECT_EQ(row.query(buffer, row.size), row.result) << row.text << ' ' << row.size;
        EXPECT_STREQ(buffer, row.text) << row.size;
        EXPECT_EQ(buffer[9], '~') << "nothing behind the terminator";
    }
    EXPECT_EQ(qelGetWindowsDirectory(nullptr, 0), 9u) << "the size may be asked for without a buffer";
    nErrno = 0;
    EXPECT_EQ(qelGetWindowsDirectory(nullptr, 9), 0u);
    EXPECT_EQ(nErrno, 22);
}

} // namespace
