// The process's identifier is remembered, and a forked child does not remember its parent's.

#include "source/platform/host.h"

#include "tests/support/child.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <unistd.h>

extern "C" {
int __register_atfork(void (*prepare)(), void (*parent)(), void (*child)(), void *module);

// Stands in for the C library's, which does the same, and counts.
int registrations = 0;
int pthread_atfork(void (*prepare)(), void (*parent)(), void (*child)()) noexcept {
    ++registrations;
    return __register_atfork(prepare, parent, child, nullptr);
}
}

namespace {

using namespace zor;

/** Looks before the first test of the suite asks for an identifier. */
class ProcessIdAtStart : public ::testing::Test {
protected:
    static void SetUpTestSuite() { registrationsAtStart = registrations; }
    static int registrationsAtStart;
};
int ProcessIdAtStart::registrationsAtStart = 0;

// A fork while the first caller registers would leave the child with half a registration.
TEST_F(ProcessIdAtStart, ForkIsListenedToFromTheStart) {
    EXPECT_GE(registrationsAtStart, 1);
    EXPECT_EQ(host::processId(), getpid());
    EXPECT_EQ(registrations, registrationsAtStart);
}

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
