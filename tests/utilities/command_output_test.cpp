#include "source/utilities/command_output.h"

#include "tests/support/temporary_folder.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <system_error>

#include <gtest/gtest.h>

using zor::commandOutput;
using zor::test::TemporaryFolder;

namespace {

TEST(CommandOutput, WhatIsPrinted_ComesWholeUpToTheLimit) {
    constexpr struct {
        const char *command;
        size_t maxBytes;
        const char *output;
    } kRows[] = {
        {"true", 10, ""},
        {"false", 10, ""},
        {"no-such-command 2>/dev/null", 10, ""},
        {"printf abc", 10, "abc"},
        {"printf abc", 3, "abc"},
        {"printf abc", 2, "ab"},
        {"printf abc", 0, ""},
        {"printf 'a b'; echo", 10, "a b\n"},
        {"echo one | sed \"s/o/'/\"", 10, "'ne\n"},
        {"printf '\\004\\004zor'", 10, "\004\004zor"}, // as the mark of the end begins
        {"printf '\\004\\004zor'", 3, "\004\004z"},
        {"printf '\\004\\004zorcomn: an'", 20, "\004\004zorcomn: an"},
        {"yes", 5, "y\ny\ny"}, // would go on for ever
    };
    for (const auto &row : kRows)
        EXPECT_EQ(commandOutput(row.command, row.maxBytes), row.output) << row.command << ' ' << row.maxBytes;
    EXPECT_EQ(commandOutput("printf 'a\\0b'", 10), std::string("a\0b", 3));
    EXPECT_EQ(commandOutput("printf 1; sleep 0.05; printf 2", 10), "12");
    EXPECT_EQ(commandOutput("head -c 100000 /dev/zero", 100000), std::string(100000, '\0'));
}

TEST(CommandOutput, ShellThatASignalEnds_IsAFailure) {
    EXPECT_THROW(commandOutput("printf 12; kill -9 $$", 10), std::system_error);
    EXPECT_EQ(commandOutput("printf 12; exit", 10), "12");
    EXPECT_EQ(commandOutput("(", 10), "");
}

TEST(CommandOutput, ProcessLeftBehindWithThePipe_IsNotWaitedFor) {
    const auto start = std::chrono::steady_clock::now();
    const auto output = commandOutput("sleep 100 & echo $!", 20);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(50));
    ASSERT_TRUE(output);
    const int left = std::atoi(output->c_str());
    ASSERT_GT(left, 1) << *output;
    kill(left, SIGKILL);
}

} // namespace
