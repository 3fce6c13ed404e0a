// A program of its own: the search table is cleared by the first search of a process and by no later one.

#include "zorcomn/portability.h"

#include "tests/support/child.h"

#include <algorithm>

#include <gtest/gtest.h>

namespace {

using zor::test::childPasses;

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

} // namespace
