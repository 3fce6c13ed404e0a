// A program of its own: the search table is cleared by the first search of a process and by no later one, and the
// assertion is the system's.

#include "zorcomn/portability.h"
#include "zorcomn/utilities.h"

#include "tests/support/child.h"

#include <algorithm>
#include <csignal>

#include <gtest/gtest.h>

namespace {

using zor::test::childPasses;
using zor::test::runInChild;

TEST(FirstSearch, TableWrittenBefore_IsCleared_Kept) {
    EXPECT_TRUE(childPasses([] {
        char other;
        for (auto &slot : pDirEntTable)
            slot = reinterpret_cast<qelSearch *>(&other);
        qelFindData data;
        EXPECT_EQ(qelFindFirstDirEnt("/*", &data), 1);
        EXPECT_EQ(std::count(pDirEntTable, pDirEntTable + 50, nullptr), 49);
        pDirEntTable[1] = reinterpret_cast<qelSearch *>(&other);
        EXPECT_EQ(qelFindFirstDirEnt("/*", &data), 3) << "later searches take the table as they find it";
    }));
}

TEST(FolderExists, NullFolder_StopsTheProcessWithTheFixedTexts_Kept) {
    const auto result = runInChild([] { return qeFolderExists(nullptr); });
    EXPECT_FALSE(result.exited);
    EXPECT_EQ(result.code, SIGABRT);
    for (const char *text : {"../source/qelfio", "190", "qeFolderExists", "lpszFolder"})
        EXPECT_NE(result.output.find(text), std::string::npos) << text << " in " << result.output;
    EXPECT_EQ(result.output.find("qelfio.cpp"), std::string::npos) << result.output;
}

} // namespace
