// The assertion of the file helpers, which is the system's own.

#include "zorcomn/utilities.h"

#include "tests/support/child.h"

#include <csignal>

#include <gtest/gtest.h>

namespace {

using zor::test::runInChild;

TEST(FolderExists, NullFolder_StopsTheProcessWithTheFixedTexts_Kept) {
    const auto result = runInChild([] { return qeFolderExists(nullptr); });
    EXPECT_FALSE(result.exited);
    EXPECT_EQ(result.code, SIGABRT);
    for (const char *text : {"../source/qelfio", "190", "qeFolderExists", "lpszFolder"})
        EXPECT_NE(result.output.find(text), std::string::npos) << text << " in " << result.output;
    EXPECT_EQ(result.output.find("qelfio.cpp"), std::string::npos) << result.output;
}

} // namespace
