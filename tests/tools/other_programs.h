#pragma once

// Programs that read what zorprops writes, and zorprops in a shell's line.

#include <string>

#include <gtest/gtest.h>

namespace zor::test {

/** What starts the built zorprops in a shell's line. */
std::string zorprops();

struct ShellResult {
    int code = -1;
    std::string output; // standard output and standard error
};

/** Runs a line in sh. */
ShellResult shell(const std::string &line);

/** Whether PATH has this program. */
bool hasProgram(const std::string &name);

/** Where ZORCOMN_ALL_PROGRAMS is set a missing program is a failure: whoever sets it has installed them all. */
bool mayMissPrograms();

} // namespace zor::test

#define ZORCOMN_SKIP_WITHOUT_PROGRAM(name)                                                                             \
    if (!zor::test::hasProgram(name)) {                                                                                \
        ASSERT_TRUE(zor::test::mayMissPrograms()) << name << " is not installed";                                      \
        GTEST_SKIP() << "needs " << name;                                                                              \
    }
