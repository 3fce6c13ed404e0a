// Cancelled threads and the functions on files, searches and paths: what is no cancellation point runs to its end, what
// is one leaves neither a descriptor nor memory behind.

#include "zorcomn/utilities.h"

#include "tests/support/child.h"
#include "tests/support/descriptors.h"
#include "tests/support/eventually.h"
#include "tests/support/failing_calls.h"
#include "tests/support/temporary_folder.h"

#include <atomic>
#include <functional>
#include <string>
#include <thread>

#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using namespace zor::test;
using velmora_com::vta::FileNameFlattener;
using velmora_com::vta::FileNameResolver;

constexpr uint32_t kBoth = 0xC0000000u;
constexpr uint32_t kOpenAlways = 4;

/** Runs a body on a thread that is to be cancelled from its start; whether the body came to its end. */
bool endsOnACancelledThread(const std::function<void()> &body) {
    bool isEnded = false;
    std::thread([&] {
        pthread_cancel(pthread_self());
        body();
        isEnded = true;
        pthread_testcancel();
        ADD_FAILURE() << "the cancellation was lost";
    }).join();
    return isEnded;
}

HANDLE open(const std::string &path, uint32_t attributes = 0) {
    return qelCreateFileAW(path.c_str(), kBoth, 0, nullptr, kOpenAlways, attributes, nullptr);
}

TEST(Cancellation, WhatIsNoCancellationPoint_RunsToItsEnd) {
    const TemporaryFolder folder;
    const std::string file = folder.write("file", "content");
    const HANDLE opened = open(file);
    qelFindData data;
    char name[1024];
    uint32_t size = 0;
    int64_t space = 0;
    const struct {
        const char *name;
        std::function<void()> body;
    } rows[] = {
        {"open and close", [&] { EXPECT_EQ(qelCloseHandle(open(file)), 1); }},
        {"delete on close", [&] { EXPECT_EQ(qelCloseHandle(open(folder / "gone", 0x04000000u)), 1); }},
        {"seek", [&] { EXPECT_EQ(qelSetFilePointer(opened, 7, nullptr, 0), 7u); }},
        {"truncate", [&] { EXPECT_EQ(qelSetEndOfFile(opened), 1); }},
        {"size", [&] { EXPECT_EQ(qelGetFileSize(opened, nullptr), 7u); }},
        {"temporary name", [&] { EXPECT_EQ(qelGetTempFileName(folder.path().c_str(), "p", 3, name), 3u); }},
        {"move", [&] { EXPECT_EQ(qelMoveFile(name, (folder / "moved").c_str()), 1); }},
        {"search",
         [&] {
             const int32_t search = qelFindFirstDirEnt((folder / "*").c_str(), &data);
             EXPECT_EQ(qelFindNextDirEnt(search, &data), 1);
             EXPECT_EQ(qelFindCloseDirEnt(search), 1);
         }},
        {"search without a match", [&] { EXPECT_EQ(qelcomn_findfirstA((folder / "none").c_str(), &data), 0); }},
        {"file object",
         [&] {
             qeFileObject *object = nullptr;
             EXPECT_EQ(qeCreateFile(file.c_str(), kBoth, 0, kOpenAlways, 0, &object), 0u);
             EXPECT_EQ(qeGetFileSize(object, &size), 0u);
             EXPECT_EQ(qeCloseFile(object), 0u);
         }},
        {"folder test", [&] { EXPECT_EQ(qeFolderExists(folder.path().c_str()), 1); }},
        {"size by path", [&] { EXPECT_EQ(qelcomn_get_file_sizeA(file.c_str(), &size), 0u); }},
        {"free space", [&] { qelcomn_get_disk_free_spaceA("/", &space); }},
        {"folders", [&] { qelcomn_MakeRecursiveDirectoryA((folder / "a/b/c/").c_str()); }},
        {"files for deleting", [&] { qelCloseHandle(open(folder / "a/b/file")); }},
        {"emptying", [&] { EXPECT_EQ(qelcomn_delsubtree((folder / "a/b").c_str()), 1); }},
        {"deleting", [&] { EXPECT_EQ(qelcomn_deltree((folder / "a").c_str()), 0); }},
        {"flattener",
         [&] {
             std::string flat;
             EXPECT_EQ(FileNameFlattener("b", "a").GetFlatPath(flat), 1);
         }},
        {"resolver",
         [&] {
             void *resolver = nullptr;
             EXPECT_EQ(qelcomn_filenameresolver_create(file.c_str(), &resolver), 0u);
             EXPECT_EQ(qelcomn_filenameresolver_destroy(resolver), 0u);
             std::string absolute;
             EXPECT_EQ(FileNameResolver(file).GetAbsolutePath(absolute), 1);
         }},
    };
    const size_t descriptors = openDescriptors();
    for (const auto &row : rows) {
        EXPECT_TRUE(endsOnACancelledThread(row.body)) << row.name;
        EXPECT_EQ(openDescriptors(), descriptors) << row.name;
    }
    EXPECT_EQ(qelCloseHandle(opened), 1);
}

TEST(Cancellation, ReadsAndWrites_AreCancellationPoints) {
    const TemporaryFolder folder;
    const HANDLE opened = open(folder.write("file", "content"));
    qeFileObject *object = nullptr;
    ASSERT_EQ(qeCreateFile((folder / "file").c_str(), kBoth, 0, kOpenAlways, 0, &object), 0u);
    char buffer[4] = {};
    uint32_t count = 0;
    EXPECT_FALSE(endsOnACancelledThread([&] { qelReadFile(opened, buffer, 4, &count, nullptr); }));
    EXPECT_FALSE(endsOnACancelledThread([&] { qelWriteFile(opened, buffer, 4, &count, nullptr); }));
    EXPECT_FALSE(endsOnACancelledThread([&] { qeReadFile(object, buffer, 4, &count); }));
    EXPECT_FALSE(endsOnACancelledThread([&] { qeWriteFile(object, buffer, 4, &count); }));
    EXPECT_EQ(qeCloseFile(object), 0u);
    EXPECT_EQ(qelCloseHandle(opened), 1);
}

struct Copying {
    const std::string source, copy;
    const char *function;
    int nth;
    bool isEnded;
};

/** Has nothing of its own to destroy: not every system unwinds the stack of a cancelled thread. */
void *copyUntilCancelled(void *argument) {
    auto &copying = *static_cast<Copying *>(argument);
    const AfterCall cancelling(copying.function, copying.nth, [] { pthread_cancel(pthread_self()); });
    qelCopyFile(copying.source.c_str(), copying.copy.c_str(), 0);
    copying.isEnded = true;
    return nullptr;
}

/** Copies on a thread that is cancelled after the nth call of a function; whether the copy came to its end. */
bool copyEnds(const TemporaryFolder &folder, const char *function, int nth) {
    Copying copying{folder / "source", folder / "copy", function, nth, false};
    pthread_t thread;
    if (pthread_create(&thread, nullptr, copyUntilCancelled, &copying) == 0)
        pthread_join(thread, nullptr);
    return copying.isEnded;
}

TEST(Cancellation, CopyCancelledAnywhere_LeavesNothingBehind) {
    const TemporaryFolder folder;
    folder.write("source", std::string(500000, 'x'));
    const size_t descriptors = openDescriptors();
    const struct {
        const char *function;
        int nth;
    } rows[] = {{"open64", 1}, {"open64", 2}, {"read", 1}, {"read", 3}, {"write", 1}, {"write", 2}};
    for (const auto &row : rows) {
        bool isEnded;
        size_t live;
        {
            const AllocationScope allocations;
            isEnded = copyEnds(folder, row.function, row.nth);
            live = allocations.live();
        }
        EXPECT_FALSE(isEnded) << row.function << ' ' << row.nth;
        EXPECT_EQ(live, 0u) << row.function << ' ' << row.nth;
        EXPECT_EQ(openDescriptors(), descriptors) << row.function << ' ' << row.nth;
    }
}

TEST(Cancellation, CopyWaitingForAPipesWriter_CanBeCancelled) {
    ZORCOMN_SKIP_WITHOUT_CANCELLATION();
    const TemporaryFolder folder;
    ASSERT_EQ(mkfifo((folder / "source").c_str(), 0600), 0);
    const size_t descriptors = openDescriptors();
    std::atomic<bool> isStarted{false};
    std::thread copying([&] {
        isStarted = true;
        qelcomn_copy_file((folder / "source").c_str(), (folder / "copy").c_str(), 1);
        ADD_FAILURE() << "nobody ever writes";
    });
    while (!isStarted)
        std::this_thread::yield();
    pthread_cancel(copying.native_handle());
    copying.join();
    EXPECT_EQ(openDescriptors(), descriptors);
}

} // namespace
