// Files with a date beyond 2038, which 32 bits of seconds cannot hold: they are files like all others.

#include "zorcomn/utilities.h"

#include "tests/support/long_paths.h"
#include "tests/support/temporary_folder.h"

#include <cstdlib>
#include <filesystem>
#include <string>

#include <gtest/gtest.h>

namespace {

using zor::test::exists;
using zor::test::readFile;
using zor::test::TemporaryFolder;

constexpr long long kLate = 4102444800; // 2100-01-01, as a 32-bit number -192,522,496

/** Sets a path's dates by a program of the machine's own word size. */
void makeLate(const std::string &path) {
    ASSERT_EQ(std::system(("touch -h -d @" + std::to_string(kLate) + " '" + path + "'").c_str()), 0);
}

bool keepsLateDates(const std::string &path) {
    const std::string command = "test \"$(stat -c %Y '" + path + "')\" = " + std::to_string(kLate);
    return std::system(command.c_str()) == 0;
}

class LateDates : public ::testing::Test {
protected:
    void SetUp() override {
        std::filesystem::create_directories(m_folder / "top/sub");
        m_file = m_folder.write("top/sub/file", "content");
        std::filesystem::create_symlink("file", m_folder / "top/sub/link");
        for (const char *name : {"top/sub/link", "top/sub/file", "top/sub", "top"})
            makeLate(m_folder / name);
        if (!keepsLateDates(m_file))
            GTEST_SKIP() << "the file system of the temporary folder does not keep such dates";
    }

    TemporaryFolder m_folder;
    std::string m_file;
};

TEST_F(LateDates, Facts_AreThere) {
    EXPECT_EQ(qeFolderExists((m_folder / "top").c_str()), 1);
    uint32_t size = 0;
    EXPECT_EQ(qelcomn_get_file_sizeA(m_file.c_str(), &size), 0u);
    EXPECT_EQ(size, 7u);
    const HANDLE file = qelCreateFileAW(m_file.c_str(), 0x80000000u, 0, nullptr, 3, 0, nullptr);
    EXPECT_EQ(qelGetFileSize(file, nullptr), 7u);
    EXPECT_EQ(qelCloseHandle(file), 1);
    std::string path;
    EXPECT_EQ(velmora_com::vta::FileNameResolver(m_folder / "top/sub/link").GetAbsolutePath(path), 1);
    EXPECT_EQ(path, m_file);
}

TEST_F(LateDates, FindData_HasTheSizeAndTheCutDate) {
    qelFindData data;
    const int32_t search = qelFindFirstDirEnt(m_file.c_str(), &data);
    EXPECT_EQ(data.size, 7u);
    EXPECT_EQ(data.lastWriteTime, static_cast<int32_t>(static_cast<uint32_t>(kLate)));
    EXPECT_EQ(qelFindCloseDirEnt(search), 1);
    const int32_t folders = qelFindFirstDirEnt((m_folder / "top/sub").c_str(), &data);
    EXPECT_EQ(data.attributes, 16u);
    EXPECT_EQ(qelFindCloseDirEnt(folders), 1);
}

TEST_F(LateDates, Copy_TakesPlace) {
    EXPECT_EQ(qelcomn_copy_file(m_file.c_str(), (m_folder / "copy").c_str(), 0), 1);
    EXPECT_EQ(readFile(m_folder / "copy"), "content");
    makeLate(m_folder / "copy");
    EXPECT_EQ(qelcomn_copy_file(m_file.c_str(), (m_folder / "copy").c_str(), 1), 1);
    EXPECT_EQ(qelcomn_copy_file(m_file.c_str(), m_file.c_str(), 1), 0) << "onto itself";
    EXPECT_EQ(readFile(m_file), "content");
}

TEST_F(LateDates, Tree_IsDeleted) {
    EXPECT_EQ(qelcomn_deltree((m_folder / "top").c_str()), 0);
    EXPECT_FALSE(exists(m_folder / "top"));
}

} // namespace
