// The process's identifier is remembered, and a forked child does not remember its parent's.

#include "platform/host.h"

#include "tests/support/child.h"

#include <gtest/gtest.h>
#include <unistd.h>

namespace {

using namespace zor;

TEST(ProcessId, IsTheSystems_AlsoInAForkedChild) {
    EXPECT_EQ(host::processId(), getpid());
    EXPECT_EQ(host::processId(), getpid());
    EXPECT_TRUE(test::childPasses([] {
        EXPECT_EQ(host::processId(), getpid());
        EXPECT_TRUE(test::childPasses([] { EXPECT_EQ(host::processId(), getpid()); }));
        EXPECT_EQ(host::processId(), getpid());
    }));
    EXPECT_EQ(host::processId(), getpid());
}

} // namespace
