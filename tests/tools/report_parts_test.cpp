// The parts of zorprops on made-up facts.

#include "tests/support/child.h"

#include "tools/zorprops/json_report.h"
#include "tools/zorprops/own_output.h"
#include "tools/zorprops/text_report.h"
#include "tools/zorprops/vocabulary.h"

#include <cerrno>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/wait.h>
#include <unistd.h>

using namespace zorprops;

TEST(Printable, EachText_IsShownAsListed) {
    const struct {
        const char *text, *shown;
    } rows[] = {
        {"", ""},
        {"plain text~", "plain text~"},
        {"dom1\\user1", "dom1\\user1"},
        {"a\nb\tc\x1B[0m\x7F", "a\\x0ab\\x09c\\x1b[0m\\x7f"},
        {"\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80\xF4\x8F\xBF\xBF",
         "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80\xF4\x8F\xBF\xBF"},
        {"\xC2\x80\xC2\x9F\xC2\xA0", "\\xc2\\x80\\xc2\\x9f\xC2\xA0"},
        {"\xFF\x80z", "\\xff\\x80z"},
        {"\xC3", "\\xc3"},
        {"\xC3z", "\\xc3z"},
        {"\xC0\xAF", "\\xc0\\xaf"},
        {"\xE2\x82", "\\xe2\\x82"},
        {"\xE0\x80\xAF", "\\xe0\\x80\\xaf"},
        {"\xED\xA0\x80", "\\xed\\xa0\\x80"},
        {"\xED\x9F\xBF", "\xED\x9F\xBF"},
        {"\xF0\x80\x80\x80", "\\xf0\\x80\\x80\\x80"},
        {"\xF4\x90\x80\x80", "\\xf4\\x90\\x80\\x80"},
        {"\xF5\x80\x80\x80", "\\xf5\\x80\\x80\\x80"},
        {"\xF0\x9F\x98", "\\xf0\\x9f\\x98"},
    };
    for (const auto &row : rows)
        EXPECT_EQ(printable(row.text), row.shown) << row.shown;
    EXPECT_EQ(printable(std::string("a\0b", 3)), "a\\x00b");
}

TEST(EditDistance, EachPair_IsCountedWithoutRegardToCase) {
    const struct {
        const char *one, *other;
        size_t distance;
    } rows[] = {{"", "", 0},
                {"", "abc", 3},
                {"abc", "", 3},
                {"OSType", "ostype", 0},
                {"OSTyp", "OSType", 1},
                {"OSTpye", "OSType", 2},
                {"abc", "xyz", 3},
                {"kitten", "sitting", 3}};
    for (const auto &row : rows)
        EXPECT_EQ(editDistance(row.one, row.other), row.distance) << row.one << " " << row.other;
}

TEST(NearestNames, AnyName_HasThree) {
    const std::vector<std::string> nearest = nearestNames("totaldiskspase");
    ASSERT_EQ(nearest.size(), 3u);
    EXPECT_EQ(nearest[0], "TotalDiskSpace");
    EXPECT_EQ(nearest[1], "FreeDiskSpace");
    EXPECT_EQ(nearestNames("").size(), 3u);
    EXPECT_EQ(nearestNames(std::string(10000, 'x')).size(), 3u);
}

namespace {

const Report kReport{{{"OSType", "Mac OS X"}, {"CPUType", ""}},
                     {{"/", "100.00", "50.50"}, {"/a b\n\xFF", "1234567.00", "0.00"}, {"/\xC3\xA4", "1.00", "1.00"}}};

} // namespace

TEST(TextReport, FileSystems_AreATableWhateverTheirNames) {
    const std::string text = asText(kReport);
    EXPECT_EQ(text.substr(text.find("File systems")), "File systems\n"
                                                      "  Mount point     Total MB  Free MB\n"
                                                      "  /                 100.00    50.50\n"
                                                      "  /a b\\x0a\\xff  1234567.00     0.00\n"
                                                      "  /\xC3\xA4                  1.00     1.00\n");
}

TEST(TextReport, EmptyValue_LeavesNoBlanksBehind) {
    EXPECT_NE(asText(kReport).find("\n  CPUType\n"), std::string::npos) << asText(kReport);
}

TEST(TextReport, SingleValue_IsWrittenAsItIs) {
    EXPECT_EQ(asText({"UserName"}, {"a\nb\xFF"}), "a\nb\xFF\n");
    EXPECT_EQ(asText({"UserName", "OSType"}, {"a\nb\xFF", ""}), "UserName=a\\x0ab\\xff\nOSType=\n");
}

TEST(JsonReport, WhatIsNoUtf8_BecomesTheReplacementCharacter) {
    const auto json = nlohmann::json::parse(asJson(kReport));
    EXPECT_EQ(json["fileSystems"][1]["mountPoint"], "/a b\n\xEF\xBF\xBD");
    EXPECT_EQ(json["properties"]["CPUType"], "");
    const Interface interface {
        7, "eth\xFF", "02\x01", {}
    };
    EXPECT_EQ(nlohmann::json::parse(asJson(std::vector<Interface>{interface}))["interfaces"][0]["name"],
              "eth\xEF\xBF\xBD");
}

TEST(JsonReport, OneInterface_IsAListOfOne) {
    EXPECT_TRUE(nlohmann::json::parse(asJson(std::vector<Interface>{{1, "lo", "", {}}}))["interfaces"].is_array());
    EXPECT_TRUE(nlohmann::json::parse(asJson(std::vector<Interface>{})).is_object());
}

TEST(OwnOutput, DescriptorThatDoesNotWait_IsWaitedFor) {
    EXPECT_TRUE(zor::test::childPasses([] {
        int ends[2];
        ASSERT_EQ(pipe2(ends, O_NONBLOCK), 0);
        const std::string text(1000000, 'x'); // more than a pipe holds
        const int before = dup(STDOUT_FILENO);
        dup2(ends[1], STDOUT_FILENO);
        OwnOutput output(false);
        close(ends[1]);
        const pid_t reader = fork();
        if (reader == 0) {
            fcntl(ends[0], F_SETFL, 0);
            size_t total = 0;
            char buffer[4096];
            output.~OwnOutput();
            for (ssize_t got = 1; got > 0; total += static_cast<size_t>(got))
                got = read(ends[0], buffer, sizeof buffer);
            _exit(total == text.size() ? 0 : 1);
        }
        EXPECT_EQ(output.finish(text), 0);
        dup2(before, STDOUT_FILENO);
        int status = -1;
        waitpid(reader, &status, 0);
        EXPECT_EQ(status, 0);
    }));
}

TEST(OwnOutput, WithoutStandardOutput_SaysSo) {
    EXPECT_TRUE(zor::test::childPasses([] {
        const int before = dup(STDOUT_FILENO);
        close(STDOUT_FILENO);
        OwnOutput output(false);
        EXPECT_GE(fcntl(STDOUT_FILENO, F_GETFD), 0); // taken, so that no file becomes it
        EXPECT_EQ(output.finish("text"), EBADF);
        dup2(before, STDOUT_FILENO);
    }));
}
