// Folders as no one makes them in good faith: crowded, with names of any bytes, and swapped for links by somebody else
// while they are worked on.

#include "zorcomn/portability.h"
#include "zorcomn/utilities.h"

#include "tests/support/child.h"
#include "tests/support/emulator.h"
#include "tests/support/environment_guard.h"
#include "tests/support/eventually.h"
#include "tests/support/long_paths.h"
#include "tests/support/temporary_folder.h"

#include <atomic>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <set>
#include <thread>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

using zor::test::childPasses;
using zor::test::exists;
using zor::test::TemporaryFolder;

namespace {

bool isEmulated() {
    return zor::test::underEmulator({"program"}).size() > 1;
}

/** Every byte that a name may have, in names of 255. */
std::set<std::string> oddNames() {
    std::set<std::string> names;
    for (int byte = 1; byte < 256; ++byte)
        if (byte != '/')
            names.insert(std::string(255, static_cast<char>(byte)));
    names.erase(std::string(255, '.'));
    return names;
}

/** Swaps a folder for a link to another one and back, until it ends. */
class Swapper {
public:
    Swapper(std::string folder, std::string target)
        : m_folder(std::move(folder)), m_target(std::move(target)), m_thread([this] { run(); }) {}
    ~Swapper() {
        m_isEnded = true;
        m_thread.join();
    }
    Swapper(const Swapper &) = delete;
    Swapper &operator=(const Swapper &) = delete;
    int swaps() const { return m_swaps; }

private:
    void run() {
        const std::string aside = m_folder + ".aside", link = m_folder + ".link";
        while (!m_isEnded) {
            if (symlink(m_target.c_str(), link.c_str()) != 0 && errno != EEXIST)
                continue;
            if (rename(m_folder.c_str(), aside.c_str()) == 0 && rename(link.c_str(), m_folder.c_str()) == 0)
                ++m_swaps;
            unlink(m_folder.c_str());
            rename(aside.c_str(), m_folder.c_str());
        }
        unlink(link.c_str());
    }

    std::string m_folder, m_target;
    std::atomic<bool> m_isEnded{false};
    std::atomic<int> m_swaps{0};
    std::thread m_thread;
};

TEST(CrowdedFolder, TwoHundredThousandEntries_AreAllFoundAndDeleted) {
    // In memory, where there is such a folder: that many take a second there.
    const zor::test::EnvironmentGuard place("TMPDIR", access("/dev/shm", W_OK) == 0
                                                          ? std::string("/dev/shm")
                                                          : std::filesystem::temp_directory_path().string());
    const TemporaryFolder folder;
    const std::string crowd = folder / "crowd";
    ASSERT_EQ(mkdir(crowd.c_str(), 0700), 0);
    const int count = isEmulated() ? 20000 : 200000;
    const int one = open((crowd + "/0").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    ASSERT_GE(one, 0);
    close(one);
    // Links are quicker to make than files; a file has no more than some ten thousand of them.
    std::string file = crowd + "/0";
    for (int i = 1; i < count; ++i) {
        const std::string name = crowd + "/" + std::to_string(i);
        if (i % 30000 == 0) {
            close(open(name.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
            file = name;
        } else {
            ASSERT_EQ(link(file.c_str(), name.c_str()), 0);
        }
    }
    qelFindData found;
    const int32_t search = qelFindFirstDirEnt((crowd + "/*").c_str(), &found);
    ASSERT_GT(search, 0);
    int seen = 1;
    while (qelFindNextDirEnt(search, &found) == 1)
        ++seen;
    EXPECT_EQ(qelFindCloseDirEnt(search), 1);
    EXPECT_EQ(seen, count + 2) << "and the two of every folder";
    EXPECT_EQ(qelcomn_deltree(crowd.c_str()), 0);
    EXPECT_FALSE(exists(crowd));
}

TEST(CrowdedFolder, NamesOf255BytesOfAnyValue_AreFoundAndDeleted) {
    const TemporaryFolder folder;
    EXPECT_TRUE(childPasses([&] {
        ASSERT_EQ(chdir(folder.path().c_str()), 0);
        ASSERT_EQ(mkdir("t", 0700), 0);
        std::set<std::string> names = oddNames();
        for (auto name = names.begin(); name != names.end();) { // a file system may want text
            const int file = open(("t/" + *name).c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
            if (file >= 0)
                close(file);
            name = file >= 0 ? std::next(name) : names.erase(name);
        }
        EXPECT_GT(names.size(), 100u);
        qelFindData found;
        std::set<std::string> seen;
        const int32_t search = qelFindFirstDirEnt("t/*", &found);
        ASSERT_GT(search, 0);
        do
            seen.insert(found.name);
        while (qelFindNextDirEnt(search, &found) == 1);
        qelFindCloseDirEnt(search);
        seen.erase(".");
        seen.erase("..");
        EXPECT_TRUE(seen == names) << seen.size() << " of " << names.size();
        EXPECT_EQ(qelcomn_deltree("t"), 0);
        EXPECT_FALSE(exists("t"));
    }));
}

/** The folder that nobody may be led to, with what has to stay in it. */
class SwappedFolder : public ::testing::Test {
protected:
    SwappedFolder() {
        mkdir(m_outside.c_str(), 0700);
        mkdir((m_outside + "/inner").c_str(), 0700);
        m_folder.write("outside/inner/file", "precious");
        m_folder.write("outside/file", "precious");
    }
    void expectOutsideWhole() const {
        EXPECT_EQ(zor::test::readFile(m_outside + "/file"), "precious");
        EXPECT_EQ(zor::test::readFile(m_outside + "/inner/file"), "precious");
    }
    void fill(const std::string &top) const {
        mkdir(top.c_str(), 0700);
        mkdir((top + "/middle").c_str(), 0700);
        mkdir((top + "/middle/inner").c_str(), 0700);
        for (const char *name : {"/middle/file", "/middle/inner/file"})
            close(open((top + name).c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
    }

    TemporaryFolder m_folder;
    const std::string m_outside = m_folder / "outside";
};

TEST_F(SwappedFolder, WhileItsTreeIsDeleted_LeadsNowhereElse) {
    const std::string top = m_folder / "top";
    for (int round = 0; round < 40; ++round) {
        fill(top);
        const Swapper swapper(top + "/middle", m_outside);
        for (int i = 0; i < 20 && qelcomn_deltree(top.c_str()) != 0; ++i) {
        }
    }
    qelcomn_deltree(top.c_str());
    expectOutsideWhole();
}

TEST_F(SwappedFolder, WhileTemporaryFilesAreMade_TakesNoOtherFile) {
    const std::string top = m_folder / "top";
    fill(top);
    const Swapper swapper(top + "/middle", m_outside);
    std::set<std::string> names;
    for (int round = 0; round < 500; ++round) {
        char name[1024] = "";
        if (qelGetTempFileName((top + "/middle").c_str(), "f", 0, name) == 1) {
            const std::string last = std::strrchr(name, '/');
            EXPECT_TRUE(zor::test::eventually([&] { // it may be swapped between two looks
                return exists(top + "/middle" + last) || exists(top + "/middle.aside" + last) ||
                       exists(m_outside + last);
            })) << name;
            EXPECT_TRUE(names.insert(name).second) << "never given twice";
        }
    }
    expectOutsideWhole();
}

TEST_F(SwappedFolder, WhileAFileIsCopied_GetsAWholeFileOrNone) {
    const std::string top = m_folder / "top", source = m_folder.write("source", std::string(100000, 's'));
    fill(top);
    {
        const Swapper swapper(top + "/middle", m_outside);
        for (int round = 0; round < 200; ++round)
            qelcomn_copy_file(source.c_str(), (top + "/middle/copy").c_str(), 1);
    }
    // A copy goes where its path leads at one moment, by rule; it is whole there, and nothing else is touched.
    for (const std::string &folder : {top + "/middle", m_outside})
        if (exists(folder + "/copy")) {
            EXPECT_EQ(zor::test::readFile(folder + "/copy"), std::string(100000, 's')) << folder;
        }
    expectOutsideWhole();
}

} // namespace
