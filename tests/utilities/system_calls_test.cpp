// Tests that put functions of their own in the place of the system's, for what no file system here does on request:
// telling which calls are made and losing a race. Built once more over the walk of systems without calls that take an
// open folder.

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
    std::function<void(const char *path, mode_t mode)> onMkdir; // called instead
    std::function<void(const char *name)> beforeOpen;           // called before, as are the next
    std::function<void(const char *name)> beforeRemoval;
    std::function<void()> beforeRead;
};
SystemCalls g_calls;

/** The system's own function; where there is a variant for large files, or large file numbers, the build uses that. */
template <class Function> Function systemsOwn(const std::string &name) {
    for (const char *variant : {"64", "$INODE64"}) {
        if (void *own = dlsym(RTLD_NEXT, (name + variant).c_str()))
            return reinterpret_cast<Function>(own);
    }
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name.c_str()));
}

} // namespace

extern "C" {

int mkdir(const char *path, mode_t mode) {
    static const auto own = systemsOwn<int (*)(const char *, mode_t)>("mkdir");
    if (!g_calls.onMkdir)
        return own(path, mode);
    g_calls.onMkdir(path, mode);
    return 0;
}

dirent *readdir(DIR *stream) {
    static const auto own = systemsOwn<dirent *(*)(DIR *)>("readdir");
    if (g_calls.beforeRead)
        g_calls.beforeRead();
    return own(stream);
}

int openat(int folder, const char *name, int flags, ...) {
    static const auto own = systemsOwn<int (*)(int, const char *, int, mode_t)>("openat");
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = flags & O_CREAT ? static_cast<mode_t>(va_arg(arguments, int)) : mode_t{0};
    va_end(arguments);
    if (g_calls.beforeOpen)
        g_calls.beforeOpen(name);
    return own(folder, name, flags, mode);
}

int open(const char *name, int flags, ...) {
    static const auto own = systemsOwn<int (*)(const char *, int, mode_t)>("open");
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = flags & O_CREAT ? static_cast<mode_t>(va_arg(arguments, int)) : mode_t{0};
    va_end(arguments);
    if (g_calls.beforeOpen)
        g_calls.beforeOpen(name);
    return own(name, flags, mode);
}

int unlinkat(int folder, const char *name, int flags) __THROW {
    static const auto own = systemsOwn<int (*)(int, const char *, int)>("unlinkat");
    if (g_calls.beforeRemoval)
        g_calls.beforeRemoval(name);
    return own(folder, name, flags);
}

int unlink(const char *name) __THROW {
    static const auto own = systemsOwn<int (*)(const char *)>("unlink");
    if (g_calls.beforeRemoval)
        g_calls.beforeRemoval(name);
    return own(name);
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

TEST_F(SystemCallsTest, NamesAreReadBeforeTheFirstGoes_SoThatNoneIsPassedOver) {
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder / "top");
    for (int i = 0; i < 2000; ++i)
        folder.write("top/" + std::to_string(i), "");
    int removals = 0, readsBehind = 0;
    g_calls.beforeRemoval = [&](const char *) { ++removals; };
    g_calls.beforeRead = [&] { readsBehind += removals > 0; };
    EXPECT_EQ(qelcomn_deltree((folder / "top").c_str()), 0);
    EXPECT_GE(removals, 2000);
    EXPECT_EQ(readsBehind, 0);
    EXPECT_FALSE(exists(folder / "top"));
}

// A writer that adds a file for each one that goes: a walk that looks again would go on for as long as it writes.
TEST_F(SystemCallsTest, WhatIsAddedMeanwhile_StaysAndTheWalkEnds) {
    const TemporaryFolder folder;
    for (int32_t (*remove)(const char *) : {qelcomn_deltree, qelcomn_delsubtree}) {
        std::filesystem::create_directories(folder / "top/sub");
        for (const char *file : {"top/1", "top/2", "top/sub/1"})
            folder.write(file, "x");
        std::vector<std::string> added;
        g_calls.beforeRemoval = [&](const char *name) {
            if (added.size() >= 100 || std::strlen(name) != 1)
                return;
            added.push_back("top/added" + std::to_string(added.size()));
            folder.write(added.back(), "x");
        };
        EXPECT_EQ(remove((folder / "top").c_str()), remove == qelcomn_deltree ? -1 : 1);
        g_calls = SystemCalls();
        EXPECT_EQ(added.size(), 3u);
        for (const std::string &file : added)
            EXPECT_TRUE(exists(folder / file)) << file;
        EXPECT_FALSE(exists(folder / "top/1"));
        EXPECT_FALSE(exists(folder / "top/sub"));
        std::filesystem::remove_all(folder / "top");
    }
}

TEST_F(SystemCallsTest, FolderReplacedByALink_IsNotEntered) {
    const TemporaryFolder folder;
    std::filesystem::create_directories(folder / "top/victim");
    std::filesystem::create_directories(folder / "outside");
    folder.write("outside/file", "x");
    bool isReplaced = false;
    g_calls.beforeOpen = [&](const char *name) {
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
        g_calls.beforeOpen = [&](const char *name) {
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
