#include "source/platform/linux/system_file.h"

#include "tests/support/child.h"
#include "tests/support/temporary_folder.h"

#include <csignal>
#include <cstring>
#include <thread>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

using zor::host::readFirstParagraph;
using zor::host::readSystemFile;
using zor::test::TemporaryFolder;

namespace {

TEST(ReadSystemFile, SizesAroundTheLimit_AreReadUpToIt) {
    const TemporaryFolder folder;
    for (const size_t size : {size_t{0}, size_t{1}, size_t{4095}, size_t{4096}, size_t{4097}, size_t{8192}}) {
        const std::string content(size, 'x');
        const std::string path = folder.write("file", content);
        EXPECT_EQ(readSystemFile(path.c_str(), size), content) << size;
        EXPECT_EQ(readSystemFile(path.c_str(), size + 1), content) << size;
        if (size > 0) {
            EXPECT_EQ(readSystemFile(path.c_str(), size - 1), std::nullopt) << size;
        }
    }
}

TEST(ReadSystemFile, NullBytes_AreContent) {
    const TemporaryFolder folder;
    const std::string content("a\0b", 3);
    EXPECT_EQ(readSystemFile(folder.write("file", content).c_str(), 10), content);
}

TEST(ReadSystemFile, MissingFolderOrEndlessFile_IsNothing) {
    const TemporaryFolder folder;
    EXPECT_EQ(readSystemFile((folder / "missing").c_str(), 10), std::nullopt);
    EXPECT_EQ(readSystemFile(folder.path().c_str(), 10), std::nullopt);
    EXPECT_EQ(readSystemFile("/dev/zero", 100000), std::nullopt);
}

TEST(ReadSystemFile, PipeThatNobodyWritesTo_DoesNotHoldUp) {
    const TemporaryFolder folder;
    ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
    EXPECT_EQ(readSystemFile((folder / "pipe").c_str(), 10), "");
}

TEST(ReadSystemFile, Descriptors_AreClosedOnEveryPath) {
    const TemporaryFolder folder;
    const std::string path = folder.write("file", "content");
    const int before = open("/dev/null", O_RDONLY | O_CLOEXEC);
    close(before);
    readSystemFile(path.c_str(), 100);
    readSystemFile(path.c_str(), 3);
    readSystemFile(folder.path().c_str(), 3);
    const int after = open("/dev/null", O_RDONLY | O_CLOEXEC);
    close(after);
    EXPECT_EQ(after, before);
}

TEST(ReadFirstParagraph, EmptyLine_EndsIt) {
    const TemporaryFolder folder;
    const auto read = [&](const std::string &content, size_t maxBytes) {
        return readFirstParagraph(folder.write("file", content).c_str(), maxBytes);
    };
    EXPECT_EQ(read("a: 1\nb: 2\n\na: 3\n\n", 100), "a: 1\nb: 2\n");
    EXPECT_EQ(read("a: 1\nb: 2\n", 100), "a: 1\nb: 2\n");
    EXPECT_EQ(read("\n\n", 100), "\n");
    EXPECT_EQ(read("", 100), "");
    EXPECT_EQ(read("a: 1\nb: 2\n\n" + std::string(100000, 'x'), 10000), "a: 1\nb: 2\n") << "the rest is not read";
    EXPECT_EQ(read(std::string(10001, 'x') + "\n\n", 10000), std::nullopt);
}

} // namespace
