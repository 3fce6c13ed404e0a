// What the file system utilities do when a call beneath them fails: the result, and nothing lost, left open or
// allocated.

#include "zorcomn/utilities.h"

#include "tests/support/child.h"
#include "tests/support/failing_calls.h"
#include "tests/support/long_paths.h"
#include "tests/support/run_failing.h"
#include "tests/support/temporary_folder.h"

#include <cerrno>
#include <string>

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace {

using namespace zor::test;

constexpr uint32_t kBoth = 0xC0000000u;
constexpr uint32_t kOpenAlways = 4;

TEST(FileObject, EachAllocationFailing_LeavesANullPointer) {
    const TemporaryFolder folder;
    const std::string path = folder / "file";
    constexpr Failure kRows[] = {{"operator new", 1, kUntouched},
                                 {"operator new", 2, kUntouched},
                                 {"operator new", 3, 12},
                                 {"operator new", 4, 12}};
    for (const Failure &row : kRows) {
        char other;
        auto *file = reinterpret_cast<qeFileObject *>(&other);
        const uint32_t result =
            runFailing(row, [&] { return qeCreateFile(path.c_str(), kBoth, 0, kOpenAlways, 0, &file); });
        EXPECT_EQ(result, 0x80000008u) << row.nth;
        EXPECT_EQ(file, nullptr) << row.nth;
    }
}

TEST(TreeDelete, FolderThatCannotBeRead_StaysWithWhatItHolds) {
    const TemporaryFolder folder;
    ASSERT_EQ(mkdir((folder / "top").c_str(), 0700), 0);
    folder.write("top/file", "x");
    const std::string top = folder / "top";
    EXPECT_EQ(runFailing({"fdopendir", 1, kUntouched}, [&] { return qelcomn_deltree(top.c_str()); }), -1);
    EXPECT_EQ(runFailing({"fdopendir", 1, kUntouched}, [&] { return qelcomn_delsubtree(top.c_str()); }), 0);
    EXPECT_EQ(runFailing({"operator new", 1, 35}, [&] { return qelcomn_deltree(top.c_str()); }), -1);
    EXPECT_TRUE(exists(top + "/file"));
}

TEST(CopyFile, NoMemoryForBuffers_CopiesAllTheSame) {
    const TemporaryFolder folder;
    const std::string bytes(100000, 'x');
    const std::string source = folder.write("source", bytes);
    const std::string copy = folder / "copy";
    for (const int nth : {1, 2}) {
        EXPECT_EQ(runFailing({"operator new", nth, kUntouched},
                             [&] { return qelcomn_copy_file(source.c_str(), copy.c_str(), 1); }),
                  1);
        EXPECT_EQ(readFile(copy), bytes);
    }
}

TEST(CopyFile, DestinationThatCannotBeOpened_LosesNothing) {
    const TemporaryFolder folder;
    const std::string source = folder.write("source", "bytes");
    const std::string existing = folder.write("existing", "old");
    for (const int nth : {1, 2}) {
        EXPECT_EQ(runFailing({"open64", nth, kUntouched},
                             [&] { return qelcomn_copy_file(source.c_str(), existing.c_str(), 1); }),
                  0);
        EXPECT_EQ(readFile(existing), "old") << nth;
    }
}

TEST(CopyFile, EachReadAndWriteInterrupted_IsMadeAgain) {
    const TemporaryFolder folder;
    const std::string bytes(500000, 'x');
    const std::string source = folder.write("source", bytes);
    const std::string copy = folder / "copy";
    for (const char *function : {"open64", "read", "write"}) {
        bool wasReached = true;
        int nth = 1;
        for (; wasReached; ++nth) {
            const FailingCall failing(function, nth, EINTR);
            EXPECT_EQ(qelcomn_copy_file(source.c_str(), copy.c_str(), 1), 1) << function << ' ' << nth;
            wasReached = failing.wasReached();
            EXPECT_TRUE(readFile(copy) == bytes) << function << ' ' << nth;
        }
        EXPECT_GT(nth, 3) << function;
    }
}

TEST(CopyFile, FailedReadOnTheWay_KeepsWhatWasReadAndItsErrno) {
    const TemporaryFolder folder;
    const std::string bytes(200000, 'x');
    const std::string source = folder.write("source", bytes);
    const std::string copy = folder / "copy";
    const FailingCall failing("read", 2, EIO);
    EXPECT_EQ(qelcomn_copy_file(source.c_str(), copy.c_str(), 1), 0);
    EXPECT_EQ(errno, EIO);
    EXPECT_EQ(readFile(copy).size(), 131072u);
}

TEST(CopyFile, FailedWrite_IsNotRepeated) {
    const TemporaryFolder folder;
    const std::string source = folder.write("source", std::string(200000, 'x'));
    const std::string copy = folder / "copy";
    const FailingCall failing("write", 2, EIO);
    EXPECT_EQ(qelcomn_copy_file(source.c_str(), copy.c_str(), 1), 0);
    EXPECT_EQ(errno, EIO);
    EXPECT_EQ(readFile(copy).size(), 131072u);
}

TEST(CopyFile, RefusedOnlyAtTheClose_IsAFailure) {
    EXPECT_TRUE(childPasses([] { // the descriptor itself stays open
        const TemporaryFolder folder;
        const std::string source = folder.write("source", "bytes");
        const FailingCall failing("close", 1, EIO);
        EXPECT_EQ(qelcomn_copy_file(source.c_str(), (folder / "copy").c_str(), 1), 0);
        EXPECT_TRUE(failing.wasReached());
        EXPECT_EQ(errno, EIO);
    }));
}

TEST(TreeDelete, NoMemoryForTheNames_LeavesTheFolderAndSaysSo) {
    const TemporaryFolder folder;
    ASSERT_EQ(mkdir((folder / "top").c_str(), 0700), 0);
    const std::string top = folder / "top";
    const std::string file = "top/" + std::string(100, 'n'); // more than a string has room for without memory
    folder.write(file, "x");
    EXPECT_EQ(runFailing({"operator new", 2, kUntouched}, [&] { return qelcomn_deltree(top.c_str()); }), -1);
    EXPECT_EQ(runFailing({"operator new", 2, kUntouched}, [&] { return qelcomn_delsubtree(top.c_str()); }), -1);
    EXPECT_EQ(readFile(folder / file), "x");
    EXPECT_EQ(qelcomn_deltree(top.c_str()), 0);
}

TEST(TreeDelete, InterruptedOpening_IsMadeAgain) {
    const TemporaryFolder folder;
    ASSERT_EQ(mkdir((folder / "top").c_str(), 0700), 0);
    folder.write("top/file", "x");
    const FailingCall failing("openat64", 1, EINTR);
    EXPECT_EQ(qelcomn_deltree((folder / "top").c_str()), 0);
    EXPECT_TRUE(failing.wasReached());
}

} // namespace
