// Opening where close-on-exec takes a second call, run here as built for the oldest system: what happens between the
// two calls is forced by functions in the place of the system's.

#include "source/platform/files.h"
#include "source/platform/open.h"

#include "tests/support/child.h"
#include "tests/support/descriptors.h"
#include "tests/support/eventually.h"
#include "tests/support/temporary_folder.h"
#include "thread_folder.h"

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <functional>
#include <string>
#include <thread>

#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sched.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

std::function<bool()> g_beforeFlag; // false: setting the flag fails
std::atomic<bool> g_hasStarted{false};
std::atomic<bool> g_isWaiting{false};

} // namespace

extern "C" {

int fcntl(int descriptor, int command, ...) {
    static const auto own = reinterpret_cast<int (*)(int, int, ...)>(dlsym(RTLD_NEXT, "fcntl64"));
    va_list arguments;
    va_start(arguments, command);
    const long argument = va_arg(arguments, long);
    va_end(arguments);
    if (command == F_SETFD && g_beforeFlag && !std::exchange(g_beforeFlag, nullptr)()) {
        errno = EIO;
        return -1;
    }
    return own(descriptor, command, argument);
}

std::FILE *popen(const char *command, const char *mode) {
    static const auto own = reinterpret_cast<std::FILE *(*)(const char *, const char *)>(dlsym(RTLD_NEXT, "popen"));
    g_hasStarted = true;
    return own(command, mode);
}

int sched_yield() noexcept {
    g_isWaiting = true;
    return 0;
}

} // extern "C"

namespace {

using namespace zor;
using zor::test::TemporaryFolder;

class OpeningInTwoSteps : public ::testing::Test {
protected:
    ~OpeningInTwoSteps() override { g_beforeFlag = nullptr; }

    /** Each way of opening; the descriptor, if it was opened. */
    struct Way {
        const char *name;
        std::function<Descriptor()> open;
    };
    std::vector<Way> ways() {
        const std::string file = m_folder.write("file", "x");
        return {{"file", [file] { return host::openFile(file.c_str(), O_RDONLY); }},
                {"temporary file",
                 [this] {
                     std::string pattern = m_folder / "XXXXXX";
                     return host::openTemporaryFile(pattern);
                 }},
                {"socket", [] { return openSocket(AF_UNIX, SOCK_STREAM, 0); }},
                {"command", [] {
                     const Pipe pipe = host::startCommand("true");
                     return pipe ? Descriptor(dup(fileno(pipe.get()))) : Descriptor();
                 }}};
    }

    const TemporaryFolder m_folder;
};

TEST_F(OpeningInTwoSteps, Descriptor_IsClosedInOtherPrograms) {
    for (const Way &way : ways()) {
        bool isSet = false;
        g_beforeFlag = [&] { return isSet = true; };
        EXPECT_TRUE(way.open()) << way.name;
        EXPECT_TRUE(isSet) << way.name;
    }
    const Descriptor file = host::openFile(m_folder.write("file", "x").c_str(), O_RDONLY);
    EXPECT_EQ(fcntl(file.get(), F_GETFD, 0), FD_CLOEXEC);
    const Directory folder = host::openFolder(host::kWorkingFolder, m_folder.path().c_str());
    EXPECT_EQ(fcntl(dirfd(folder.get()), F_GETFD, 0), FD_CLOEXEC);
}

TEST_F(OpeningInTwoSteps, FlagThatCannotBeSet_FailsTheOpening) {
    for (const Way &way : ways()) {
        const size_t before = zor::test::openDescriptors();
        g_beforeFlag = [] { return false; };
        EXPECT_FALSE(way.open()) << way.name;
        EXPECT_EQ(errno, EIO) << way.name;
        EXPECT_EQ(zor::test::openDescriptors(), before) << way.name;
    }
}

/** Whether an opening ends on a thread whose cancellation comes due in it. */
bool endsThoughCancelled(const std::function<Descriptor()> &open) {
    std::atomic<bool> hasEnded{false};
    std::thread([&] {
        hasEnded = static_cast<bool>(open());
        pthread_testcancel();
        ADD_FAILURE() << "the cancellation was lost";
    }).join();
    return hasEnded;
}

// A cancelled thread runs no destructors there: the lock would stay held, the descriptor open.
TEST_F(OpeningInTwoSteps, Cancelled_EndsFirst) {
    const auto isCancelled = [] {
        pthread_cancel(pthread_self());
        pthread_testcancel();
        return true;
    };
    for (const Way &way : ways()) {
        const size_t before = zor::test::openDescriptors();
        g_beforeFlag = isCancelled;
        EXPECT_TRUE(endsThoughCancelled(way.open)) << way.name << ", in between";
        EXPECT_TRUE(endsThoughCancelled([&] {
            pthread_cancel(pthread_self());
            return way.open();
        })) << way.name
            << ", before";
        EXPECT_EQ(zor::test::openDescriptors(), before) << way.name;
    }
    const std::string pipe = m_folder / "pipe"; // which is opened without the lock
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    g_beforeFlag = isCancelled;
    EXPECT_TRUE(endsThoughCancelled([&] { return host::openFile(pipe.c_str(), O_RDWR); }));
}

TEST_F(OpeningInTwoSteps, OwnCommand_IsNotStartedInBetween) {
    for (const Way &way : ways()) {
        std::thread other;
        g_beforeFlag = [&] {
            g_hasStarted = g_isWaiting = false;
            other = std::thread([] { host::startCommand("true"); });
            EXPECT_TRUE(zor::test::eventually([] { return g_hasStarted || g_isWaiting; }));
            EXPECT_FALSE(g_hasStarted) << way.name;
            return true;
        };
        EXPECT_TRUE(way.open()) << way.name;
        ASSERT_TRUE(other.joinable()) << way.name;
        other.join();
        EXPECT_TRUE(g_hasStarted) << way.name;
    }
}

TEST_F(OpeningInTwoSteps, ForkInBetween_LeavesTheChildAble) {
    g_beforeFlag = [&] {
        EXPECT_TRUE(zor::test::childPasses([&] {
            for (const Way &way : ways())
                EXPECT_TRUE(way.open()) << way.name;
        }));
        return true;
    };
    EXPECT_TRUE(host::openFile(m_folder.write("file", "x").c_str(), O_RDONLY));
}

TEST_F(OpeningInTwoSteps, WaitingForAPipesWriter_HoldsNobodyUp) {
    const std::string path = m_folder / "pipe";
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    std::thread reader([&] { EXPECT_TRUE(host::openFile(path.c_str(), O_RDONLY)); });
    for (const Way &way : ways())
        EXPECT_TRUE(way.open()) << way.name;
    Descriptor writer;
    EXPECT_TRUE(zor::test::eventually([&] {
        writer = host::openFile(path.c_str(), O_WRONLY | O_NONBLOCK);
        return static_cast<bool>(writer);
    }));
    reader.join();
}

TEST_F(OpeningInTwoSteps, TemporaryName_IsAsGivenAfterAFailure) {
    std::string pattern = m_folder / "none/XXXXXX";
    EXPECT_FALSE(host::openTemporaryFile(pattern));
    EXPECT_EQ(pattern, m_folder / "none/XXXXXX");
}

TEST(StandingWalk, EachStep_IsTakenInTheFolderAndLeavesIt) {
    const TemporaryFolder folder;
    folder.write("file", "x");
    ASSERT_EQ(mkdir((folder / "sub").c_str(), 0700), 0);
    ASSERT_EQ(symlink("sub", (folder / "link").c_str()), 0);
    const Directory top = host::openFolder(host::kWorkingFolder, folder.path().c_str());
    ASSERT_TRUE(top);
    const int inside = dirfd(top.get());
    const size_t before = zor::test::openDescriptors();

    EXPECT_EQ(host::kindOf(inside, "file"), S_IFREG);
    EXPECT_EQ(host::kindOf(inside, "sub"), S_IFDIR);
    EXPECT_EQ(host::kindOf(inside, "link"), S_IFLNK);
    EXPECT_EQ(host::kindOf(inside, "none"), 0u);
    EXPECT_TRUE(host::openFolder(inside, "sub"));
    EXPECT_FALSE(host::openFolder(inside, "link"));
    EXPECT_FALSE(host::openFolder(inside, "file"));
    EXPECT_EQ(errno, ENOTDIR);
    EXPECT_FALSE(host::removeFolder(inside, "file"));
    EXPECT_EQ(errno, ENOTDIR);
    EXPECT_FALSE(host::removeFile(inside, "none"));
    EXPECT_EQ(errno, ENOENT);
    EXPECT_TRUE(host::removeFile(inside, "link"));
    EXPECT_TRUE(host::removeFile(inside, "file"));
    EXPECT_TRUE(host::removeFolder(inside, "sub"));
    EXPECT_FALSE(zor::test::standsInOwnFolder());
    EXPECT_EQ(zor::test::openDescriptors(), before);
    // A folder that is none any more: no step is taken anywhere else instead.
    EXPECT_EQ(host::kindOf(-1, "tmp"), 0u);
    EXPECT_FALSE(host::removeFolder(-1, "none"));
    EXPECT_EQ(errno, EBADF);
    EXPECT_FALSE(host::openFolder(-1, "."));
}

} // namespace
