#include "zorcomn/portability.h"

#include "source/platform/posix.h"
#include "tests/support/child.h"
#include "tests/support/descriptors.h"
#include "tests/support/temporary_folder.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <dirent.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using zor::test::childPasses;
using zor::test::openDescriptors;
using zor::test::TemporaryFolder;

constexpr int32_t kNone = -1;
constexpr int32_t kUntouched = 4711;

/** The names that a search delivers, sorted; the search is closed at the end. */
std::vector<std::string> namesFound(const std::string &path) {
    qelFindData data;
    std::vector<std::string> names;
    const int32_t search = qelFindFirstDirEnt(path.c_str(), &data);
    if (search == kNone)
        return names;
    do
        names.push_back(data.name);
    while (qelFindNextDirEnt(search, &data) == 1);
    EXPECT_EQ(qelFindCloseDirEnt(search), 1);
    std::sort(names.begin(), names.end());
    return names;
}

qelFindData findOne(const std::string &path) {
    qelFindData data;
    std::memset(&data, 0xFF, sizeof data);
    const int32_t search = qelFindFirstDirEnt(path.c_str(), &data);
    EXPECT_NE(search, kNone) << path;
    EXPECT_EQ(qelFindCloseDirEnt(search), 1);
    return data;
}

using Names = std::vector<std::string>;

TEST(FindDirEnt, StarPattern_DeliversEveryEntryAndBothDots) {
    const TemporaryFolder folder;
    folder.write("a.log", "");
    folder.write("a.log.1", "");
    folder.write("alog", "");
    EXPECT_EQ(namesFound(folder / "*"), (Names{".", "..", "a.log", "a.log.1", "alog"}));
    EXPECT_EQ(namesFound(folder / ""), (Names{".", "..", "a.log", "a.log.1", "alog"}));
    EXPECT_EQ(namesFound(folder / "*.log"), (Names{"a.log", "a.log.1"}));
    EXPECT_EQ(namesFound(folder / "a.log.1"), (Names{"a.log.1"}));
}

TEST(FindDirEnt, DotPattern_DeliversTheDirectoryAndItsParent_Kept) {
    const TemporaryFolder folder;
    EXPECT_EQ(namesFound(folder / "."), (Names{".", ".."}));
    EXPECT_EQ(namesFound(folder / ".."), (Names{".."}));
    EXPECT_EQ(findOne(folder / "..").attributes, 16u);
}

TEST(FindDirEnt, EntryFacts_AreThoseOfStat) {
    const TemporaryFolder folder;
    const std::string path = folder.write("facts", std::string(70000, 'x'));
    const timespec times[2] = {{1000000001, 0}, {1000000002, 0}};
    ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
    const qelFindData data = findOne(path);
    EXPECT_EQ(data.attributes, 0u);
    EXPECT_EQ(data.reserved0, 0u);
    EXPECT_EQ(data.lastAccessTime, 1000000001);
    EXPECT_EQ(data.lastWriteTime, 1000000002);
    EXPECT_EQ(data.size, 70000u);
    EXPECT_STREQ(data.name, "facts");
    const char zeros[sizeof data.name] = {};
    EXPECT_EQ(std::memcmp(data.name + 5, zeros, sizeof data.name - 5), 0) << "the record is cleared first";
    EXPECT_EQ(std::memcmp(data.reserved1, zeros, sizeof data.reserved1), 0);
}

TEST(FindDirEnt, Subdirectory_HasAttribute16) {
    const TemporaryFolder folder;
    ASSERT_EQ(mkdir((folder / "sub").c_str(), 0700), 0);
    ASSERT_EQ(symlink("sub", (folder / "link").c_str()), 0);
    EXPECT_EQ(findOne(folder / "sub").attributes, 16u);
    EXPECT_EQ(findOne(folder / "link").attributes, 16u) << "facts are those of a link's target";
}

TEST(FindDirEnt, SizeBeyond32Bits_IsItsLow32Bits_Kept) {
    const TemporaryFolder folder;
    const std::string path = folder.write("large", "");
    if (truncate(path.c_str(), (static_cast<off_t>(1) << 32) + 5) != 0)
        GTEST_SKIP() << "the file system has no files of 4 GiB";
    EXPECT_EQ(findOne(path).size, 5u);
}

TEST(FindDirEnt, FailedStat_FillsTheNameAlone) {
    const TemporaryFolder folder;
    ASSERT_EQ(symlink("nowhere", (folder / "dangling").c_str()), 0);
    const qelFindData data = findOne(folder / "dangling");
    qelFindData expected = {};
    std::strcpy(expected.name, "dangling");
    EXPECT_EQ(std::memcmp(&data, &expected, sizeof data), 0);
}

TEST(FindDirEnt, PathWithoutSlash_SearchesHereAndFindsNoFacts_Kept) {
    EXPECT_TRUE(childPasses([] {
        const TemporaryFolder folder;
        folder.write("plain", "12345");
        folder.write(".hidden", "1234567");
        folder.write("hidden", "1");
        ASSERT_EQ(chdir(folder.path().c_str()), 0);
        qelFindData expected = {};
        std::strcpy(expected.name, "plain");
        const qelFindData data = findOne("pl*");
        EXPECT_EQ(std::memcmp(&data, &expected, sizeof data), 0);
        EXPECT_EQ(findOne("hidden").size, 7u) << "looked up as '.' followed by the name";
        EXPECT_EQ(findOne("./plain").size, 5u);
        EXPECT_EQ(namesFound(""), (Names{".", "..", ".hidden", "hidden", "plain"}));
        EXPECT_EQ(chdir("/"), 0);
    }));
}

TEST(FindDirEnt, RootAndRepeatedSlashes_AreSearched) {
    EXPECT_EQ(findOne("/..").attributes, 16u);
    const TemporaryFolder folder;
    folder.write("a", "1");
    EXPECT_EQ(findOne(folder / "//a").size, 1u);
}

TEST(FindDirEnt, LongestName_IsDeliveredWhole) {
    const TemporaryFolder folder;
    const std::string name(255, 'n');
    folder.write(name, "123");
    const qelFindData data = findOne(folder / "n*");
    EXPECT_EQ(data.name, name);
    EXPECT_EQ(data.size, 3u) << "a path of more than 260 characters is still looked up whole";
}

TEST(FindDirEnt, DirectoryPartBeyond260Characters_IsCut_Kept) {
    const TemporaryFolder folder;
    folder.write("a", "1");
    const std::string slashes(300, '/');
    EXPECT_EQ(namesFound(folder.path() + slashes + "a"), (Names{"a"}));
    ASSERT_EQ(mkdir((folder / "sub").c_str(), 0700), 0);
    const std::string cut = folder.path() + std::string(260 - folder.path().size(), '/');
    EXPECT_EQ(namesFound(cut + "sub/a"), (Names{"a"})) << "the cut text names the folder, not its subdirectory";
}

TEST(FindDirEnt, PatternBeyond260Characters_IsCut_Kept) {
    const TemporaryFolder folder;
    folder.write("a", "1");
    EXPECT_EQ(namesFound(folder / (std::string(259, '*') + "?" + "zzz")), (Names{".", "..", "a"}));
    EXPECT_EQ(namesFound(folder / (std::string(258, '*') + "?" + "zzz")), Names());
}

TEST(FindDirEnt, NothingMatches_FailsAndFreesTheSlot_Kept) {
    EXPECT_TRUE(childPasses([] {
        const TemporaryFolder folder;
        const size_t before = openDescriptors();
        qelFindData data;
        for (int i = 0; i < 60; ++i) {
            nErrno = kUntouched;
            ASSERT_EQ(qelFindFirstDirEnt((folder / "none").c_str(), &data), kNone);
            ASSERT_EQ(nErrno, kUntouched);
        }
        EXPECT_EQ(std::count(pDirEntTable, pDirEntTable + 50, nullptr), 50);
        EXPECT_EQ(openDescriptors(), before);
    }));
}

TEST(FindDirEnt, MissingDirectory_FailsWithTheSystemsErrno) {
    const TemporaryFolder folder;
    qelFindData data;
    nErrno = kUntouched;
    errno = 0;
    EXPECT_EQ(qelFindFirstDirEnt((folder / "none/*").c_str(), &data), kNone);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(nErrno, kUntouched);
    EXPECT_EQ(qelFindFirstDirEnt((folder.write("file", "") + "/*").c_str(), &data), kNone);
    EXPECT_EQ(errno, ENOTDIR);
}

TEST(FindDirEnt, NullArguments_AreRefusedWithCell22) {
    const TemporaryFolder folder;
    qelFindData data;
    nErrno = 0;
    EXPECT_EQ(qelFindFirstDirEnt(nullptr, &data), kNone);
    EXPECT_EQ(nErrno, 22);
    nErrno = 0;
    EXPECT_EQ(qelFindFirstDirEnt((folder / "*").c_str(), nullptr), kNone);
    EXPECT_EQ(nErrno, 22);
    const int32_t search = qelFindFirstDirEnt((folder / "*").c_str(), &data);
    ASSERT_NE(search, kNone);
    nErrno = 0;
    EXPECT_EQ(qelFindNextDirEnt(search, nullptr), 0);
    EXPECT_EQ(nErrno, 22);
    EXPECT_EQ(qelFindNextDirEnt(search, &data), 1) << "a refused call takes no entry";
    EXPECT_EQ(qelFindCloseDirEnt(search), 1);
}

TEST(FindDirEnt, BadHandles_AreRefusedWithCell22) {
    for (const int32_t search : {-1, 0, 1, 50, 51, INT32_MIN, INT32_MAX}) {
        qelFindData data;
        nErrno = 0;
        EXPECT_EQ(qelFindNextDirEnt(search, &data), 0) << search;
        EXPECT_EQ(nErrno, 22) << search;
        nErrno = 0;
        EXPECT_EQ(qelFindCloseDirEnt(search), 0) << search;
        EXPECT_EQ(nErrno, 22) << search;
    }
}

TEST(FindDirEnt, EndOfDirectory_ReturnsZeroAndLeavesTheCell) {
    const TemporaryFolder folder;
    folder.write("a", "");
    qelFindData data;
    const int32_t search = qelFindFirstDirEnt((folder / "a").c_str(), &data);
    ASSERT_NE(search, kNone);
    nErrno = kUntouched;
    std::memset(&data, 0x55, sizeof data);
    EXPECT_EQ(qelFindNextDirEnt(search, &data), 0);
    EXPECT_EQ(qelFindNextDirEnt(search, &data), 0);
    EXPECT_EQ(nErrno, kUntouched);
    EXPECT_EQ(data.size, 0x55555555u) << "the record is written with an entry only";
    EXPECT_EQ(qelFindCloseDirEnt(search), 1);
    EXPECT_EQ(qelFindNextDirEnt(search, &data), 0);
    EXPECT_EQ(nErrno, 22);
}

TEST(FindDirEnt, FiftySearches_TakeSlotsInOrderAndThe51stFails) {
    EXPECT_TRUE(childPasses([] {
        const TemporaryFolder folder;
        const std::string path = folder / "*";
        qelFindData data;
        for (int32_t i = 1; i <= 50; ++i)
            ASSERT_EQ(qelFindFirstDirEnt(path.c_str(), &data), i);
        const size_t full = openDescriptors();
        nErrno = 0;
        EXPECT_EQ(qelFindFirstDirEnt(path.c_str(), &data), kNone);
        EXPECT_EQ(nErrno, 35);
        EXPECT_EQ(openDescriptors(), full) << "the directory of the refused search is closed";
        EXPECT_EQ(qelFindFirstDirEnt((folder / "none/*").c_str(), &data), kNone);
        EXPECT_EQ(errno, ENOENT) << "the directory is opened before a slot is asked for";

        EXPECT_EQ(qelFindCloseDirEnt(31), 1);
        EXPECT_EQ(qelFindCloseDirEnt(7), 1);
        EXPECT_EQ(qelFindFirstDirEnt(path.c_str(), &data), 7) << "the first free slot is taken";
        EXPECT_EQ(qelFindFirstDirEnt(path.c_str(), &data), 31);
        for (int32_t i = 1; i <= 50; ++i)
            EXPECT_EQ(qelFindCloseDirEnt(i), 1);
    }));
}

TEST(FindDirEnt, NextAndClose_DoNotTakeTheMutex_Kept) {
    EXPECT_TRUE(childPasses([] {
        qelFindData data;
        const int32_t search = qelFindFirstDirEnt("/*", &data);
        ASSERT_EQ(pthread_mutex_lock(&MutexDirEnt), 0);
        EXPECT_EQ(qelFindNextDirEnt(search, &data), 1);
        EXPECT_EQ(qelFindCloseDirEnt(search), 1);
        EXPECT_EQ(pthread_mutex_unlock(&MutexDirEnt), 0);
    }));
}

TEST(FindDirEnt, SearchesOnSeveralThreads_DoNotMix) {
    EXPECT_TRUE(childPasses([] {
        const TemporaryFolder folder;
        for (const char *name : {"a1", "a2", "b1", "b2"})
            folder.write(name, "");
        std::atomic<int> wrong{0};
        const auto searchOften = [&](const std::string &prefix) {
            for (int i = 0; i < 200; ++i)
                wrong += namesFound(folder / (prefix + "*")) != Names{prefix + "1", prefix + "2"};
        };
        std::thread first(searchOften, "a");
        std::thread second(searchOften, "b");
        first.join();
        second.join();
        EXPECT_EQ(wrong, 0);
        EXPECT_EQ(std::count(pDirEntTable, pDirEntTable + 50, nullptr), 50);
    }));
}

TEST(SetFindDataDirEnt, GivenEntry_FillsAndReturnsTheRecord) {
    const TemporaryFolder folder;
    folder.write("file", "1234");
    dirent entry = {};
    std::strcpy(entry.d_name, "file");
    qelFindData data;
    std::memset(&data, 0xFF, sizeof data);
    EXPECT_EQ(qelSetFindDataDirEnt(&data, &entry, (folder / "").c_str()), &data);
    EXPECT_STREQ(data.name, "file");
    EXPECT_EQ(data.size, 4u);
    EXPECT_EQ(qelSetFindDataDirEnt(&data, &entry, folder.path().c_str()), &data);
    EXPECT_EQ(data.size, 0u) << "no separator is put in between";
}

TEST(SetFindDataDirEnt, DirectoryTextBeyond259Characters_IsCut_Kept) {
    const TemporaryFolder folder;
    folder.write("file", "1234");
    dirent entry = {};
    std::strcpy(entry.d_name, "file");
    qelFindData data;
    qelSetFindDataDirEnt(&data, &entry, (folder.path() + std::string(300, '/')).c_str());
    EXPECT_EQ(data.size, 4u);
    const std::string upTo259 = folder.path() + std::string(259 - folder.path().size(), '/');
    qelSetFindDataDirEnt(&data, &entry, (upTo259 + "x/").c_str());
    EXPECT_EQ(data.size, 4u);
}

TEST(SetFindDataDirEnt, NullArguments_AreRefusedWithCell22) {
    dirent entry = {};
    qelFindData data;
    nErrno = 0;
    EXPECT_EQ(qelSetFindDataDirEnt(nullptr, &entry, "/"), nullptr);
    EXPECT_EQ(nErrno, 22);
    EXPECT_EQ(qelSetFindDataDirEnt(&data, nullptr, "/"), nullptr);
    EXPECT_EQ(qelSetFindDataDirEnt(&data, &entry, nullptr), nullptr);
}

TEST(Tstrtok, Text_IsSplitAsStrtokDoes) {
    char text[] = ",a,,b;c";
    char *save = nullptr;
    EXPECT_STREQ(qelTstrtok_r(text, ",;", &save), "a");
    EXPECT_STREQ(qelTstrtok_r(nullptr, ",;", &save), "b");
    EXPECT_STREQ(qelTstrtok_r(nullptr, ",;", &save), "c");
    EXPECT_EQ(qelTstrtok_r(nullptr, ",;", &save), nullptr);
}

} // namespace
