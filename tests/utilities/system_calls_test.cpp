// Tests that put functions of their own in the place of the system's, for what no file system here does on request:
// telling which calls are made, passing entries over, and losing a race.

#include "zorcomn/utilities.h"

#include "tests/support/long_paths.h"
#include "tests/support/temporary_folder.h"

#include <cstdarg>
#include <cstring>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/** What the functions below do; empty or zero: what the system does. */
struct SystemCalls {
    std::function<void(const char *path, mode_t mode)> onMkdir;    // called instead
    std::function<void(const char *name, int flags)> beforeOpenat; // called before
    int entriesPerPass = 0; // readdir ends after as many entries, until rewinddir
    int entriesRead = 0;
};
SystemCalls g_calls;

/** The system's own function, under its name for files with 64-bit offsets where the build uses that. */
template <class Function> Function systemsOwn(const char *name, const char *largeFileName) {
    void *own = dlsym(RTLD_NEXT, largeFileName);
    return reinterpret_cast<Function>(own ? own : dlsym(RTLD_NEXT, name));
}

} // namespace

extern "C" {

int mkdir(const char *path, mode_t mode) {
    static const auto own = systemsOwn<int (*)(const char *, mode_t)>("mkdir", "mkdir");
    if (!g_calls.onMkdir)
        return own(path, mode);
    g_calls.onMkdir(path, mode);
    return 0;
}

dirent *readdir(DIR *stream) {
    static const auto own = systemsOwn<dirent *(*)(DIR *)>("readdir", "readdir64");
    if (g_calls.entriesPerPass > 0 && g_calls.entriesRead++ >= g_calls.entriesPerPass)
        return nullptr;
    return own(stream);
}

void rewinddir(DIR *stream) noexcept {
    static const auto own = systemsOwn<void (*)(DIR *)>("rewinddir", "rewinddir");
    g_calls.entriesRead = 0;
    own(stream);
}

int openat(int folder, const char *name, int flags, ...) {
    static const auto own = systemsOwn<int (*)(int, const char *, int, mode_t)>("openat", "openat64");
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = flags & O_CREAT ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    if (g_calls.beforeOpenat)
        g_calls.beforeOpenat(name, flags);
    return own(folder, name, flags, mode);
}

} // extern "C"

namespace {

using zor::test::exists;
using zor::test::TemporaryFolder;

class SystemCallsTest : public ::testing::Test {
protected:
    ~SystemCallsTest() override { g_calls = SystemCalls(); }
};

class MakeRecursiveDirectory : public SystemCallsTest {
protected:
    MakeRecursiveDirectory() {
        g_calls.onMkdir = [this](const char *path, mode_t mode) {
            m_made.emplace_back(path);
            EXPECT_EQ(mode, 0700u);
        };
    }
    std::vector<std::string> madeFor(const char *path) {
        m_made.clear();
        EXPECT_EQ(qelcomn_MakeRecursiveDirectoryA(path), 0x80000008u);
        const std::vector<std::string> narrow = m_made;
        m_made.clear();
        EXPECT_EQ(qelcomn_MakeRecursiveDirectoryW(std::wstring(path, path + std::strlen(path)).c_str()), 0x80000008u);
        EXPECT_EQ(narrow, m_made) << "wide and narrow go the same way";
        return m_made;
    }

private:
    std::vector<std::string> m_made;
};

using Paths = std::vector<std::string>;

TEST_F(MakeRecursiveDirectory, EachCountedSlash_IsOneCallInOrder_Kept) {
    EXPECT_EQ(madeFor("/tmp/a/b/file"), (Paths{"/tmp/", "/tmp/a/", "/tmp/a/b/"}));
    EXPECT_EQ(madeFor("/a/b/c"), Paths{"/a/b/"});
    EXPECT_EQ(madeFor("abc/d"), Paths());
    EXPECT_EQ(madeFor("abcd/e"), Paths{"abcd/"});
    EXPECT_EQ(madeFor("////////"), (Paths{"/////", "//////", "///////", "////////"}));
    EXPECT_EQ(madeFor("longname"), Paths());
}

TEST_F(SystemCallsTest, EntriesPassedOverWhileOthersGo_AreFoundInTheNextPass) {
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder / "top");
    for (int i = 0; i < 10; ++i)
        folder.write("top/" + std::to_string(i), "x");
    g_calls.entriesPerPass = 5;
    EXPECT_EQ(qelcomn_deltree((folder / "top").c_str()), 0);
    EXPECT_FALSE(exists(folder / "top"));
}

TEST_F(SystemCallsTest, FolderReplacedByALink_IsNotEntered) {
    const TemporaryFolder folder;
    std::filesystem::create_directories(folder / "top/victim");
    std::filesystem::create_directories(folder / "outside");
    folder.write("outside/file", "x");
    bool isReplaced = false;
    g_calls.beforeOpenat = [&](const char *name, int) {
        if (isReplaced || std::strcmp(name, "victim") != 0)
            return;
        isReplaced = true;
        std::filesystem::rename(folder / "top/victim", folder / "moved");
        std::filesystem::create_directory_symlink(folder / "outside", folder / "top/victim");
    };
    qelcomn_deltree((folder / "top").c_str());
    EXPECT_TRUE(isReplaced) << "the race was not lost, so nothing was tested";
    EXPECT_TRUE(exists(folder / "outside/file"));
}

TEST_F(SystemCallsTest, TopReplacedByALink_IsNotEntered) {
    const TemporaryFolder folder;
    std::filesystem::create_directories(folder / "outside");
    folder.write("outside/file", "x");
    for (int32_t (*remove)(const char *) : {qelcomn_deltree, qelcomn_delsubtree}) {
        std::filesystem::create_directories(folder / "top");
        bool isReplaced = false;
        g_calls.beforeOpenat = [&](const char *name, int) {
            if (isReplaced || name != folder / "top")
                return;
            isReplaced = true;
            std::filesystem::remove(folder / "top");
            std::filesystem::create_directory_symlink("outside", folder / "top");
        };
        remove((folder / "top").c_str());
        EXPECT_TRUE(isReplaced) << "the race was not lost, so nothing was tested";
        EXPECT_TRUE(exists(folder / "outside/file"));
        std::filesystem::remove(folder / "top");
    }
}

} // namespace
