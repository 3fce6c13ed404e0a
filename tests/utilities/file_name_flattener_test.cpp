#include "zorcomn/utilities.h"

#include "tests/support/child.h"
#include "tests/support/failing_calls.h"
#include "tests/support/temporary_folder.h"

#include <optional>
#include <string>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

using velmora_com::vta::FileNameFlattener;
using zor::test::childPasses;
using zor::test::TemporaryFolder;

namespace {

using Result = std::optional<std::string>;

/** What a flattener delivers; checks that a failure leaves the caller's text alone. */
Result resultOf(const FileNameFlattener &flattener) {
    std::string path = "before";
    const int32_t success = flattener.GetFlatPath(path);
    EXPECT_TRUE(success == 0 || success == 1) << success;
    if (success)
        return path;
    EXPECT_EQ(path, "before");
    return std::nullopt;
}

Result flattened(const std::string &path, const std::string &base) {
    return resultOf(FileNameFlattener(path, base));
}

Result flattened(const std::string &path) {
    return resultOf(FileNameFlattener(path));
}

std::string workingDirectory() {
    char buffer[1024];
    return getcwd(buffer, sizeof buffer) ? buffer : "";
}

TEST(Flattener, AbsolutePaths) {
    const struct {
        const char *path;
        Result flat;
    } kRows[] = {
        {"/x", "/x"},
        {"/x/", "/x"},
        {"/x/./y/", "/x/y"},
        {"/x/././././y", "/x/y"},
        {"/./x", "/x"},
        {"/x/.", "/x"},
        {"/x/./.", "/x"},
        {"/x/../y", "/y"},
        {"/x/y/z/../../w", "/x/w"},
        {"/x/y/../z/../w", "/x/w"},
        {"/x/y/..", "/x"},
        {"/x/./../y", "/y"},
        {"/..", std::nullopt},
        {"/../", std::nullopt},
        {"/../x", std::nullopt},
        {"/a/../..", std::nullopt},
        {"/a/../../a", std::nullopt},
        {"/a/../b/../../c", std::nullopt},
        // Only whole components count.
        {"/.x/y./..z/w../...", "/.x/y./..z/w../..."},
        {"/a/.../..", "/a"},
    };
    for (const auto &row : kRows) {
        EXPECT_EQ(flattened(row.path), row.flat) << row.path;
        EXPECT_EQ(flattened(row.path, "/base"), row.flat) << row.path << ", the base is not needed";
    }
}

TEST(Flattener, PathDownToTheRoot_IsTheEmptyText_Kept) {
    for (const char *path : {"/x/..", "/.", "/./", "/x/../", "/x/./y/../.."})
        EXPECT_EQ(flattened(path), "") << path;
    EXPECT_EQ(flattened("..", "/a"), "");
}

TEST(Flattener, RepeatedSeparators_AreLeftAlone_Kept) {
    EXPECT_EQ(flattened("/a//b"), "/a//b");
    EXPECT_EQ(flattened("//a"), "//a");
    EXPECT_EQ(flattened("/a//"), "/a/");
    EXPECT_EQ(flattened("//"), "/");
    EXPECT_EQ(flattened("/a//../b"), "/a/b") << "the component that '..' removes is the empty one";
    EXPECT_EQ(flattened("//.."), "");
}

TEST(Flattener, RelativePath_StandsAgainstItsBase) {
    EXPECT_EQ(flattened("c/../d", "/a/b"), "/a/b/d");
    EXPECT_EQ(flattened("d", "/a/b"), "/a/b/d");
    EXPECT_EQ(flattened("d", "/a/b/"), "/a/b/d");
    EXPECT_EQ(flattened("./d/", "/a/b"), "/a/b/d");
    EXPECT_EQ(flattened("../d", "/a/b"), "/a/d");
    EXPECT_EQ(flattened("../../d", "/a/b"), "/d");
    EXPECT_EQ(flattened("../../../d", "/a/b"), std::nullopt);
    EXPECT_EQ(flattened(".", "/a"), "/a");
}

TEST(Flattener, Base_IsFlattenedFirst) {
    EXPECT_EQ(flattened("d", "/a/./b/../c/"), "/a/c/d");
    EXPECT_EQ(flattened("d", "/.."), std::nullopt);
    EXPECT_EQ(flattened("/d", "/.."), std::nullopt) << "also where the base is not needed";
    EXPECT_EQ(flattened("d", "sub"), workingDirectory() + "/sub/d");
    EXPECT_EQ(flattened("d", "../x"), flattened(workingDirectory() + "/../x/d"));
}

TEST(Flattener, RelativePathWithoutBase_StandsAgainstTheWorkingDirectory) {
    EXPECT_EQ(flattened("d"), workingDirectory() + "/d");
    EXPECT_EQ(flattened("./d/../e"), workingDirectory() + "/e");
}

TEST(Flattener, RootAndEmptyPath_StandForTheBase_Kept) {
    EXPECT_EQ(flattened("/", "/a/b"), "/a/b/");
    EXPECT_EQ(flattened("", "/a/b"), "/a/b/");
    EXPECT_EQ(flattened("/"), workingDirectory() + "/");
    EXPECT_EQ(flattened(""), workingDirectory() + "/");
    EXPECT_EQ(flattened("d", "/"), workingDirectory() + "//d");
}

TEST(Flattener, WorkingDirectoryTooLongOrGone_CountsAsEmpty_Kept) {
    const TemporaryFolder folder;
    EXPECT_TRUE(childPasses([&folder] {
        const std::string gone = folder / "gone";
        ASSERT_EQ(mkdir(gone.c_str(), 0700), 0);
        ASSERT_EQ(chdir(gone.c_str()), 0);
        ASSERT_EQ(rmdir(gone.c_str()), 0);
        EXPECT_EQ(flattened("d"), "/d");
    }));
    EXPECT_TRUE(childPasses([&folder] {
        ASSERT_EQ(chdir(folder.path().c_str()), 0);
        const std::string name(200, 'n');
        for (int depth = 0; depth < 6; ++depth) {
            ASSERT_EQ(mkdir(name.c_str(), 0700), 0);
            ASSERT_EQ(chdir(name.c_str()), 0);
        }
        EXPECT_EQ(flattened("d"), "/d");
    }));
}

TEST(Flattener, FlattenAgain_GivesTheSame) {
    FileNameFlattener good("/a/../b");
    EXPECT_EQ(good.Flatten(), 1);
    EXPECT_EQ(resultOf(good), "/b");
    FileNameFlattener bad("/..");
    EXPECT_EQ(bad.Flatten(), 0);
    EXPECT_EQ(resultOf(bad), std::nullopt);
}

TEST(Flattener, NoMemory_IsAFailure) {
    const std::string name(100, 'n');
    const std::string path = name + "/../" + name;
    const std::string base = "/base";
    for (int nth = 1;; ++nth) {
        std::string flat = "before";
        int32_t success;
        bool wasReached;
        {
            const zor::test::FailingCall failing("operator new", nth);
            success = FileNameFlattener(path, base).GetFlatPath(flat);
            wasReached = failing.wasReached();
        }
        EXPECT_EQ(flat, success ? "/base/" + name : "before") << nth;
        if (!wasReached) {
            EXPECT_EQ(success, 1);
            break;
        }
        EXPECT_EQ(success, 0) << nth;
    }
}

/** The rules word for word, with a search from the start for every replacement. */
Result flattenedByTheRules(const std::string &path, const std::string &base) {
    std::string flat = path;
    if (!flat.empty() && flat.back() == '/')
        flat.pop_back();
    if (flat.empty() || flat.front() != '/')
        flat = base + "/" + flat;
    flat += "/";
    for (size_t i = flat.find("/./"); i != std::string::npos; i = flat.find("/./"))
        flat.replace(i, 3, "/");
    for (size_t i = flat.find("/../"); i != std::string::npos; i = flat.find("/../")) {
        const size_t before = i == 0 ? std::string::npos : flat.rfind('/', i - 1);
        if (before == std::string::npos)
            return std::nullopt;
        flat.erase(before + 1, i + 4 - (before + 1));
    }
    flat.pop_back();
    return flat;
}

TEST(Flattener, EveryShortPath_FollowsTheRules) {
    constexpr char kAlphabet[] = {'/', '.', 'a'};
    for (size_t length = 0; length <= 9; ++length) {
        size_t count = 1;
        for (size_t i = 0; i < length; ++i)
            count *= 3;
        for (size_t number = 0; number < count; ++number) {
            std::string path;
            for (size_t rest = number; path.size() < length; rest /= 3)
                path += kAlphabet[rest % 3];
            ASSERT_EQ(flattened(path, "/b/c"), flattenedByTheRules(path, "/b/c")) << path;
        }
    }
}

// Reading such a path once takes milliseconds; starting over after every replacement would take many minutes.
TEST(Flattener, MegabytesOfDots_TakeTheirLength) {
    const size_t count = 500000;
    std::string dots;
    std::string ups;
    for (size_t i = 0; i < count; ++i) {
        dots += "/.";
        ups += "/a/..";
    }
    EXPECT_EQ(flattened(dots + "/x"), "/x");
    EXPECT_EQ(flattened(ups + "/x"), "/x");
    std::string deep;
    for (size_t i = 0; i < count; ++i)
        deep += "/a";
    for (size_t i = 0; i < count; ++i)
        deep += "/..";
    EXPECT_EQ(flattened(deep + "/x"), "/x");
    EXPECT_EQ(flattened(deep + "/.."), std::nullopt);
}

} // namespace
