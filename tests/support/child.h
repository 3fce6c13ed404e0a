#pragma once

// Runs a test's body in a forked child: for what ends or poisons a process (an assertion, a full table, a signal mask,
// a namespace). The child's verdict is its exit code; its output comes back as text.

#include <functional>
#include <string>

#include <gtest/gtest.h>

namespace zor::test {

struct ChildResult {
    bool exited = false; // else it was ended by a signal
    int code = 0;        // exit code, or the signal's number
    std::string output;  // standard output and standard error, in the order written
};

/** Forks, runs body in the child, which exits with body's result, and waits for it. A child that does not end within
 * the time given is killed (code SIGKILL). gtest's failures inside the child are counted: they make the code 99. */
ChildResult runInChild(const std::function<int()> &body, int timeoutSeconds = 60);

/** runInChild for expectations alone; use with EXPECT_TRUE(childPasses(...)), which prints the child's output. */
::testing::AssertionResult childPasses(const std::function<void()> &body, int timeoutSeconds = 60);

/** Enters a mount namespace of its own (for a child only), in which mounts stay private. False: not permitted here. */
bool enterPrivateMounts();
/** Enters a network namespace of its own (for a child only), loopback down. False: not permitted here. */
bool enterPrivateNetwork();
/** Enters a namespace of names of its own (for a child only) and sets host and NIS domain name there. False: not
 * permitted here. */
bool enterPrivateNames(const std::string &hostName, const std::string &nisDomain);
/** Whether this process may make namespaces and mounts; a test that needs them skips with this reason otherwise. */
bool mayUseNamespaces();

/** Whether a thread that sleeps in a system call can be cancelled and unwound. Not under every emulator: cancelling it
 * there ends the process. A thread that cancels itself before it sleeps works everywhere. */
bool mayCancelSleepingThreads();

} // namespace zor::test

#define ZORCOMN_SKIP_WITHOUT_NAMESPACES()                                                                              \
    if (!zor::test::mayUseNamespaces())                                                                                \
    GTEST_SKIP() << "needs mount and network namespaces, as root or by a namespace of users"
#define ZORCOMN_SKIP_WITHOUT_CANCELLATION()                                                                            \
    if (!zor::test::mayCancelSleepingThreads())                                                                        \
    GTEST_SKIP() << "needs to cancel a sleeping thread, which ends the process here"
