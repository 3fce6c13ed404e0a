#include <gtest/gtest.h>

extern "C" int useListsAndLocksFromC(void);

namespace {

TEST(ListsAndLocks, WorkFromC99) {
    EXPECT_EQ(useListsAndLocksFromC(), 0);
}

} // namespace
