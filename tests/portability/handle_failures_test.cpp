// What creating, signalling, waiting and closing do when a call beneath them fails: the result, the error cell, and
// nothing left allocated.

#include "zorcomn/portability.h"

#include "source/portability/file_record.h"
#include "source/portability/handles.h"
#include "tests/support/failing_calls.h"
#include "tests/support/temporary_folder.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <functional>
#include <string>
#include <thread>

#include <fcntl.h>
#include <gtest/gtest.h>

namespace {

using namespace zor::test;

constexpr int32_t kUntouched = -7;
const HANDLE kAllOnes = reinterpret_cast<HANDLE>(~static_cast<uintptr_t>(0));

struct CreationFailure {
    const char *function;
    int nth;
    int32_t cell;
};

void expectNothingLeft(const CreationFailure &row, HANDLE failure, const std::function<HANDLE()> &create) {
    SCOPED_TRACE(std::string(row.function) + " " + std::to_string(row.nth));
    nErrno = kUntouched;
    HANDLE handle;
    size_t live;
    bool wasReached;
    {
        AllocationScope allocations;
        FailingCall failing(row.function, row.nth);
        handle = create();
        wasReached = failing.wasReached();
        live = allocations.live();
    }
    EXPECT_TRUE(wasReached);
    EXPECT_EQ(handle, failure);
    EXPECT_EQ(nErrno, row.cell);
    EXPECT_EQ(live, 0u);
}

TEST(CreateEvent, EachCallFailing_LeavesNothingButTheCell) {
    constexpr CreationFailure kRows[] = {
        {"operator new", 1, 12},       {"pthread_cond_init", 1, kUntouched}, {"pthread_mutex_init", 1, kUntouched},
        {"pthread_mutex_lock", 1, 16}, {"pthread_cond_broadcast", 1, 16},    {"pthread_mutex_unlock", 1, 16},
    };
    for (const CreationFailure &row : kRows)
        expectNothingLeft(row, nullptr, [] { return qelCreateEvent(nullptr, 1, 1, nullptr); });
}

TEST(CreateMutex, EachCallFailing_LeavesNothingButTheCell) {
    constexpr CreationFailure kRows[] = {
        {"operator new", 1, 12},
        {"operator new", 2, 12},
        {"pthread_cond_init", 1, kUntouched},
        {"pthread_mutex_init", 1, kUntouched},
        {"pthread_mutex_init", 2, kUntouched},
        {"pthread_mutex_lock", 1, kUntouched},
    };
    for (const CreationFailure &row : kRows)
        expectNothingLeft(row, nullptr, [] { return qelCreateMutex(nullptr, 1, nullptr); });
}

uint32_t mustNotRun(void *) {
    ADD_FAILURE() << "the thread was started";
    return 0;
}

TEST(BeginThread, EachCallFailing_LeavesNothingButTheCell) {
    constexpr CreationFailure kRows[] = {
        {"operator new", 1, 12},
        {"operator new", 2, 12},
        {"operator new", 3, 12},
        {"pthread_cond_init", 1, kUntouched},
        {"pthread_mutex_init", 1, kUntouched},
        {"pthread_attr_init", 1, kUntouched},
        {"pthread_attr_setdetachstate", 1, kUntouched},
        {"pthread_create", 1, kUntouched},
    };
    uint32_t threadId = 77;
    for (const CreationFailure &row : kRows) {
        expectNothingLeft(row, kAllOnes, [&] { return qelBeginThread(nullptr, 0, mustNotRun, nullptr, 0, &threadId); });
        expectNothingLeft(row, nullptr, [&] { return qelCreateThread(nullptr, 0, mustNotRun, nullptr, 0, &threadId); });
    }
    EXPECT_EQ(threadId, 77u);
}

class HandleFailure : public ::testing::Test {
protected:
    void SetUp() override { nErrno = kUntouched; }
    void TearDown() override { EXPECT_EQ(nErrno, kUntouched) << "a failing call must leave the error cell alone"; }

    /** Runs the operation with one call failing; its result. */
    template <class Operation> auto failing(const char *function, Operation operation, int nth = 1, int error = EPERM) {
        FailingCall call(function, nth, error);
        const auto result = operation();
        EXPECT_TRUE(call.wasReached()) << function;
        return result;
    }
    static pthread_mutex_t *guardOf(HANDLE handle) { return &zor::recordOf(handle).guard; }
    /** Whether the guard is free, as it must be after all but one failure. */
    static bool isGuardFree(HANDLE handle) {
        return pthread_mutex_trylock(guardOf(handle)) == 0 && pthread_mutex_unlock(guardOf(handle)) == 0;
    }
};

TEST_F(HandleFailure, SetEvent_EachCall_ReturnsZero) {
    const HANDLE event = qelCreateEvent(nullptr, 1, 0, nullptr);
    const auto set = [&] { return qelSetEvent(event); };
    EXPECT_EQ(failing("pthread_mutex_lock", set), 0);
    EXPECT_EQ(zor::recordOf(event).signalled, 0);
    EXPECT_EQ(failing("pthread_cond_broadcast", set), 0);
    EXPECT_TRUE(isGuardFree(event));
    EXPECT_EQ(failing("pthread_mutex_unlock", set), 0);
    pthread_mutex_unlock(guardOf(event));
    EXPECT_EQ(qelCloseHandle(event), 1);
}

TEST_F(HandleFailure, ResetEvent_EachCall_ReturnsZero) {
    const HANDLE event = qelCreateEvent(nullptr, 1, 1, nullptr);
    const auto reset = [&] { return qelResetEvent(event); };
    EXPECT_EQ(failing("pthread_mutex_lock", reset), 0);
    EXPECT_EQ(zor::recordOf(event).signalled, 1);
    EXPECT_EQ(failing("pthread_mutex_unlock", reset), 0);
    pthread_mutex_unlock(guardOf(event));
    EXPECT_EQ(qelCloseHandle(event), 1);
}

TEST_F(HandleFailure, ReleaseMutex_EachCall_ReturnsZero) {
    const HANDLE mutex = qelCreateMutex(nullptr, 1, nullptr);
    const auto release = [&] { return qelReleaseMutex(mutex); };
    EXPECT_EQ(failing("pthread_mutex_lock", release), 0);
    EXPECT_EQ(failing("pthread_mutex_unlock", release), 0) << "the owner lock's unlock";
    EXPECT_TRUE(isGuardFree(mutex));
    EXPECT_EQ(zor::recordOf(mutex).signalled, 0);
    EXPECT_EQ(failing("pthread_cond_broadcast", release), 0);
    EXPECT_TRUE(isGuardFree(mutex));
    EXPECT_EQ(qelWaitForSingleObject(mutex, 0), 2u);
    EXPECT_EQ(failing("pthread_mutex_unlock", release, 2), 0) << "the guard's unlock";
    pthread_mutex_unlock(guardOf(mutex));
    EXPECT_EQ(qelCloseHandle(mutex), 1);
}

TEST_F(HandleFailure, Wait_EachCall_ReturnsZero) {
    const HANDLE event = qelCreateEvent(nullptr, 1, 0, nullptr);
    const auto wait = [&] { return qelWaitForSingleObject(event, 1); };
    const auto waitForEver = [&] { return qelWaitForSingleObject(event, 0xFFFFFFFFu); };
    EXPECT_EQ(failing("pthread_mutex_lock", wait), 0u);
    EXPECT_EQ(failing("pthread_cond_timedwait", wait), 0u);
    EXPECT_TRUE(isGuardFree(event));
    EXPECT_EQ(failing("pthread_cond_wait", waitForEver), 0u);
    EXPECT_TRUE(isGuardFree(event));
    qelSetEvent(event);
    EXPECT_EQ(failing("pthread_mutex_unlock", wait), 0u);
    pthread_mutex_unlock(guardOf(event));
    EXPECT_EQ(qelCloseHandle(event), 1);
}

TEST_F(HandleFailure, WaitCallTimingOut_IsTheOnlyFailureThatGivesThree) {
    const HANDLE event = qelCreateEvent(nullptr, 1, 0, nullptr);
    const auto waitForEver = [&] { return qelWaitForSingleObject(event, 0xFFFFFFFFu); };
    EXPECT_EQ(failing("pthread_cond_wait", waitForEver, 1, ETIMEDOUT), 3u);
    EXPECT_TRUE(isGuardFree(event));
    EXPECT_EQ(qelCloseHandle(event), 1);
}

TEST_F(HandleFailure, WaitOnMutex_OwnerLockFailing_ReturnsZeroAndLeavesItFree) {
    const HANDLE mutex = qelCreateMutex(nullptr, 0, nullptr);
    EXPECT_EQ(failing("pthread_mutex_trylock", [&] { return qelWaitForSingleObject(mutex, 0xFFFFFFFFu); }), 0u);
    EXPECT_TRUE(isGuardFree(mutex));
    EXPECT_EQ(qelWaitForSingleObject(mutex, 0), 2u);
    qelReleaseMutex(mutex);
    EXPECT_EQ(qelCloseHandle(mutex), 1);
}

TEST_F(HandleFailure, WaitWithoutTheTime_ReturnsZeroAndLeavesTheGuardLocked_Kept) {
    const HANDLE event = qelCreateEvent(nullptr, 1, 0, nullptr);
    EXPECT_EQ(failing("gettimeofday", [&] { return qelWaitForSingleObject(event, 1); }), 0u);
    EXPECT_EQ(pthread_mutex_trylock(guardOf(event)), EBUSY);
    pthread_mutex_unlock(guardOf(event));
    EXPECT_EQ(qelCloseHandle(event), 1);
}

TEST_F(HandleFailure, WaitThatMeetsAFullSecond_ReturnsZero_Kept) {
    const HANDLE event = qelCreateEvent(nullptr, 1, 0, nullptr);
    timeval now = {};
    gettimeofday(&now, nullptr);
    now.tv_usec = 950000;
    const FixedTimeOfDay fixed(now);
    EXPECT_EQ(qelWaitForSingleObject(event, 50), 0u);
    EXPECT_TRUE(isGuardFree(event));
    EXPECT_EQ(qelCloseHandle(event), 1);
}

TEST_F(HandleFailure, CloseHandle_GuardFailing_ReturnsZero) {
    const HANDLE event = qelCreateEvent(nullptr, 1, 0, nullptr);
    EXPECT_EQ(failing("pthread_mutex_lock", [&] { return qelCloseHandle(event); }), 0);
    EXPECT_EQ(zor::recordOf(event).referenceCount, 1);
    EXPECT_EQ(failing("pthread_mutex_unlock", [&] { return qelCloseHandle(event); }), 0);
    EXPECT_EQ(zor::recordOf(event).referenceCount, 0);
    delete &zor::recordOf(event);
}

/** A file handle as qelCreateFileAW makes it, on a file of its own. */
HANDLE openFile(const std::string &path, const std::string &name, int32_t deleteOnClose) {
    auto *object = new zor::HandleObject();
    auto *file = new zor::FileRecord();
    file->descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    file->deleteOnClose = deleteOnClose;
    std::memcpy(file->name, name.data(), std::min(name.size(), sizeof file->name));
    object->objectData = file;
    object->referenceCount = 1;
    zor::initialiseGuard(*object);
    return object;
}

void freeKept(HANDLE handle) {
    delete static_cast<zor::FileRecord *>(zor::recordOf(handle).objectData);
    delete &zor::recordOf(handle);
}

TEST_F(HandleFailure, CloseFile_DescriptorFailing_KeepsEverythingButTheCount_Kept) {
    const TemporaryFolder folder;
    const std::string path = folder.write("file", "content");
    const HANDLE file = openFile(path, path, 1);
    EXPECT_EQ(failing(
                  "close", [&] { return qelCloseHandle(file); }, 1, EIO),
              0);
    EXPECT_EQ(errno, EIO);
    EXPECT_EQ(readFile(path), "content");
    EXPECT_EQ(zor::recordOf(file).referenceCount, 0);
    const auto *record = static_cast<zor::FileRecord *>(zor::recordOf(file).objectData);
    EXPECT_EQ(fcntl(record->descriptor, F_GETFD), FD_CLOEXEC);
    EXPECT_EQ(qelCloseHandle(file), 1) << "the count is below 0 now, nothing is freed";
    close(record->descriptor);
    freeKept(file);
}

TEST_F(HandleFailure, CloseFile_RemovalFailing_LeavesNoDescriptorBehind) {
    const TemporaryFolder folder;
    const std::string path = folder.write("file", "content");
    const HANDLE file = openFile(path, path, 1);
    EXPECT_EQ(failing(
                  "unlink", [&] { return qelCloseHandle(file); }, 1, EACCES),
              0);
    EXPECT_EQ(errno, EACCES);
    EXPECT_EQ(static_cast<zor::FileRecord *>(zor::recordOf(file).objectData)->descriptor, -1);
    freeKept(file);
}

TEST_F(HandleFailure, CloseFile_LeavesNothingAllocated) {
    const TemporaryFolder folder;
    const std::string path = folder.write("file", "content");
    size_t live;
    {
        AllocationScope allocations;
        const HANDLE file = openFile(path, path, 0);
        EXPECT_EQ(qelCloseHandle(file), 1);
        live = allocations.live();
    }
    EXPECT_EQ(live, 0u);
    EXPECT_EQ(readFile(path), "content");
}

TEST_F(HandleFailure, CloseFile_ByACancelledThread_IsDoneToTheEnd) {
    const TemporaryFolder folder;
    const std::string path = folder.write("file", "content");
    int32_t result = 77;
    size_t live = 77;
    std::thread([&] {
        AllocationScope allocations;
        const HANDLE file = openFile(path, path, 1);
        pthread_cancel(pthread_self());
        result = qelCloseHandle(file);
        live = allocations.live();
        pthread_testcancel();
        ADD_FAILURE() << "the cancellation was lost";
    }).join();
    EXPECT_EQ(result, 1);
    EXPECT_EQ(live, 0u);
    EXPECT_FALSE(std::filesystem::exists(path));
}

// A name that fills the field may be cut; another file may well bear the cut name.
TEST_F(HandleFailure, CloseFile_NameFillingTheField_RemovesOnlyTheFileItself) {
    const TemporaryFolder folder;
    const std::string path = folder.write("file", "content");
    const std::string other = folder.path() + std::string(zor::kFileNameSize - folder.path().size() - 5, '/') + "other";
    ASSERT_EQ(other.size(), zor::kFileNameSize);
    folder.write("other", "precious");

    HANDLE file = openFile(path, other, 1);
    EXPECT_EQ(qelCloseHandle(file), 0);
    EXPECT_EQ(errno, ENAMETOOLONG);
    EXPECT_EQ(readFile(other), "precious");
    EXPECT_EQ(readFile(path), "content");
    freeKept(file);

    file = openFile(other, other, 1);
    EXPECT_EQ(qelCloseHandle(file), 1);
    EXPECT_FALSE(std::filesystem::exists(other));
}

} // namespace
