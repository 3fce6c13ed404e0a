// What files and searches do when a call beneath them fails: the result, the error cell, and nothing left open or
// allocated.

#include "zorcomn/portability.h"

#include "tests/support/child.h"
#include "tests/support/failing_calls.h"
#include "tests/support/run_failing.h"
#include "tests/support/temporary_folder.h"

#include <algorithm>
#include <cerrno>
#include <string>

#include <gtest/gtest.h>
#include <unistd.h>

namespace {

using namespace zor::test;

constexpr uint32_t kBoth = 0xC0000000u;
constexpr uint32_t kOpenAlways = 4;

TEST(CreateFile, EachCallFailing_LeavesNothingButTheCell) {
    const TemporaryFolder folder;
    const std::string path = folder / "file";
    constexpr Failure kRows[] = {{"operator new", 1, 12}, {"operator new", 2, 12}};
    for (const Failure &row : kRows) {
        const HANDLE file =
            runFailing(row, [&] { return qelCreateFileAW(path.c_str(), kBoth, 0, nullptr, kOpenAlways, 0, nullptr); });
        EXPECT_EQ(file, nullptr) << row.function;
    }
}

TEST(CreateFile, ConditionOrGuardFailing_IsNotChecked_Kept) {
    const TemporaryFolder folder;
    const std::string path = folder.write("file", "abc");
    for (const char *function : {"pthread_cond_init", "pthread_mutex_init"}) {
        const int32_t closed = runFailing({function, 1, kUntouched}, [&] {
            const HANDLE file = qelCreateFileAW(path.c_str(), kBoth, 0, nullptr, kOpenAlways, 0, nullptr);
            EXPECT_EQ(qelGetFileSize(file, nullptr), 3u) << function;
            return qelCloseHandle(file);
        });
        EXPECT_EQ(closed, 1) << function;
    }
}

TEST(CloseFile, Interrupted_HasClosedAndRemovesTheFile) {
    EXPECT_TRUE(childPasses([] { // the descriptor itself stays open
        const TemporaryFolder folder;
        const std::string path = folder.write("file", "abc");
        const HANDLE file = qelCreateFileAW(path.c_str(), kBoth, 0, nullptr, kOpenAlways, 0x04000000u, nullptr);
        const FailingCall failing("close", 1, EINTR);
        EXPECT_EQ(qelCloseHandle(file), 1);
        EXPECT_TRUE(failing.wasReached());
        EXPECT_NE(access(path.c_str(), F_OK), 0);
    }));
}

TEST(Opening, InterruptedOnce_IsMadeAgain) {
    const TemporaryFolder folder;
    const std::string path = folder.write("file", "abc");
    {
        const FailingCall failing("open64", 1, EINTR);
        const HANDLE file = qelCreateFileAW(path.c_str(), kBoth, 0, nullptr, kOpenAlways, 0, nullptr);
        EXPECT_TRUE(failing.wasReached());
        EXPECT_EQ(qelCloseHandle(file), 1);
    }
    {
        const FailingCall failing("mkostemp64", 1, EINTR);
        char name[1024] = "";
        EXPECT_EQ(qelGetTempFileName(folder.path().c_str(), "p", 3, name), 3u);
        EXPECT_TRUE(failing.wasReached());
        EXPECT_EQ(access(name, F_OK), 0);
    }
    {
        const FailingCall failing("opendir", 1, EINTR);
        qelFindData data;
        const int32_t search = qelFindFirstDirEnt((folder / "file").c_str(), &data);
        EXPECT_TRUE(failing.wasReached());
        EXPECT_EQ(qelFindCloseDirEnt(search), 1);
    }
}

TEST(Transfer, InterruptedOnce_IsMadeAgain) {
    const TemporaryFolder folder;
    const HANDLE file =
        qelCreateFileAW(folder.write("file", "abc").c_str(), kBoth, 0, nullptr, kOpenAlways, 0, nullptr);
    char buffer[4] = {};
    uint32_t count = 99;
    {
        const FailingCall failing("read", 1, EINTR);
        EXPECT_EQ(qelReadFile(file, buffer, 3, &count, nullptr), 1);
        EXPECT_TRUE(failing.wasReached());
    }
    EXPECT_EQ(count, 3u);
    EXPECT_STREQ(buffer, "abc");
    {
        const FailingCall failing("write", 1, EINTR);
        EXPECT_EQ(qelWriteFile(file, "def", 3, &count, nullptr), 1);
        EXPECT_TRUE(failing.wasReached());
    }
    EXPECT_EQ(count, 3u);
    EXPECT_EQ(readFile(folder / "file"), "abcdef");
    EXPECT_EQ(qelCloseHandle(file), 1);
}

TEST(Transfer, FailedCall_LeavesItsErrno) {
    const TemporaryFolder folder;
    const HANDLE file =
        qelCreateFileAW(folder.write("file", "abc").c_str(), kBoth, 0, nullptr, kOpenAlways, 0, nullptr);
    char buffer[4];
    uint32_t count = 99;
    nErrno = kUntouched;
    for (const char *function : {"read", "write"}) {
        const FailingCall failing(function, 1, EIO);
        errno = 0;
        const bool isRead = std::string(function) == "read";
        EXPECT_EQ(isRead ? qelReadFile(file, buffer, 3, &count, nullptr) : qelWriteFile(file, "d", 1, &count, nullptr),
                  0);
        EXPECT_EQ(errno, EIO);
        EXPECT_EQ(qelGetLastError(), 38u);
    }
    EXPECT_EQ(count, 99u);
    EXPECT_EQ(nErrno, kUntouched);
    EXPECT_EQ(qelCloseHandle(file), 1);
}

TEST(GetTempFileName, NoMemory_MakesNothing) {
    const TemporaryFolder folder;
    char name[1024] = "untouched";
    const uint32_t result = runFailing({"operator new", 1, kUntouched},
                                       [&] { return qelGetTempFileName(folder.path().c_str(), "p", 3, name); });
    EXPECT_EQ(result, 0u);
    EXPECT_STREQ(name, "untouched");
}

TEST(FindDirEnt, EachCallFailing_TakesNoSlot) {
    const TemporaryFolder folder;
    const std::string path = folder / "*";
    constexpr Failure kRows[] = {{"operator new", 1, 35}, {"pthread_mutex_lock", 1, kUntouched}};
    for (const Failure &row : kRows) {
        qelFindData data;
        EXPECT_EQ(runFailing(row, [&] { return qelFindFirstDirEnt(path.c_str(), &data); }), -1) << row.function;
        EXPECT_EQ(std::count(pDirEntTable, pDirEntTable + 50, nullptr), 50);
        const int32_t search = qelFindFirstDirEnt(path.c_str(), &data);
        EXPECT_EQ(search, 1) << "the next search goes on as ever";
        EXPECT_EQ(qelFindCloseDirEnt(search), 1);
    }
}

TEST(FindDirEnt, FailedClose_FreesTheSlotAllTheSame) {
    EXPECT_TRUE(childPasses([] { // the directory itself stays open
        qelFindData data;
        const int32_t search = qelFindFirstDirEnt("/*", &data);
        const FailingCall failing("closedir", 1, EIO);
        nErrno = kUntouched;
        EXPECT_EQ(qelFindCloseDirEnt(search), 0);
        EXPECT_EQ(errno, EIO);
        EXPECT_EQ(nErrno, kUntouched);
        EXPECT_EQ(pDirEntTable[search - 1], nullptr);
    }));
}

} // namespace
