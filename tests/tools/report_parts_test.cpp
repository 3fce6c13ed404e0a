// The parts of zorprops on made-up facts.

#include "tests/support/child.h"

#include "tools/zorprops/display.h"
#include "tools/zorprops/json_report.h"
#include "tools/zorprops/own_output.h"
#include "tools/zorprops/rows_report.h"
#include "tools/zorprops/text_report.h"
#include "tools/zorprops/values.h"
#include "tools/zorprops/vocabulary.h"

#include <cerrno>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <locale.h>
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

const Report kReport{
    {{"OSType", "Mac OS X"}, {"CPUType", ""}, {"CPUSpeed", "1333 MHz"}, {"IsPortable", "0"}},
    {{"kernel", "Linux \"6\""}, {"memoryTotal", "1024"}},
    {{"/", "100.00", "50.50", 104857600, 1}, {"/a b\n\xFF", "1234567.00", "0.00"}, {"/\xC3\xA4", "1.00", "1.00"}},
    {"DomainName"},
    {"UserName"}};
const Style kPlain;

} // namespace

TEST(TextReport, FileSystems_AreATableWhateverTheirNames) {
    const std::string text = asText(kReport, kPlain);
    const size_t begin = text.find("File systems");
    EXPECT_EQ(text.substr(begin, text.find("\n\n", begin) + 1 - begin), "File systems\n"
                                                                        "  Mount point     Total MB  Free MB\n"
                                                                        "  /                 100.00    50.50\n"
                                                                        "  /a b\\x0a\\xff  1234567.00     0.00\n"
                                                                        "  /\xC3\xA4                  1.00     1.00\n");
}

TEST(TextReport, WhatHasNoValue_IsFoldedIntoOneLine) {
    const std::string text = asText(kReport, kPlain);
    EXPECT_EQ(text.find("\n  CPUType"), std::string::npos) << text;
    EXPECT_EQ(text.substr(text.rfind('\n', text.size() - 2)), "\nNo value on this system: CPUType\n");
}

TEST(TextReport, WhatWasLateOrUnreadable_IsSaidAtItsPlace) {
    Report report = kReport;
    report.properties["DomainName"] = report.properties["UserName"] = "N/A";
    const std::string text = asText(report, kPlain);
    EXPECT_NE(text.find("\n  DomainName           (not told in time)\n"), std::string::npos) << text;
    EXPECT_NE(text.find("\n  UserName             (not readable)\n"), std::string::npos) << text;
}

TEST(TextReport, SingleValue_IsWrittenAsItIs) {
    const std::vector<Item> one{{"UserName", "a\nb\xFF", {Value::Text, "a\nb\xFF"}, "", false, false}};
    std::vector<Item> two = one;
    two.push_back({"OSType", "", {}, "", false, false});
    EXPECT_EQ(asText(one, true, false), "a\nb\xFF\n");
    EXPECT_EQ(asText(two, false, false), "UserName=a\\x0ab\\xff\nOSType=\n");
}

TEST(TextReport, NarrowTerminal_IsNeverOverrun) {
    Report report = kReport;
    report.host["processor"] = "A Very Long Processor Name (R) With Sixty-Four Cores At 2.00 GHz";
    report.host["kernel"] = std::string(120, 'k');
    report.fileSystems.push_back({"/\xE4\xB8\x96\xE7\x95\x8C/" + std::string(60, 'm'), "1.00", "1.00"});
    for (const size_t columns : {40u, 50u, 80u, 132u}) {
        const std::string text = asText(report, Style{columns, false});
        size_t widest = 0;
        for (size_t begin = 0; begin < text.size(); begin = text.find('\n', begin) + 1)
            widest = std::max(widest, widthOf(text.substr(begin, text.find('\n', begin) - begin)));
        EXPECT_LE(widest, columns) << text;
        EXPECT_GT(widest, columns - 12) << text;
    }
}

TEST(TextReport, Headings_AreBoldWhereAskedFor) {
    EXPECT_EQ(asText(kReport, Style{80, true}).rfind("\x1B[1mThis host\x1B[0m\n", 0), 0u);
    EXPECT_EQ(asText(kReport, Style{80, false}).find('\x1B'), std::string::npos);
}

/** Whether the machine has tables of characters, in any of the locales that are asked for them. */
bool hasCharacterTables() {
    for (const char *name : {"C.UTF-8", "en_US.UTF-8", "UTF-8"})
        if (const locale_t tables = newlocale(LC_CTYPE_MASK, name, locale_t{})) {
            freelocale(tables);
            return true;
        }
    return false;
}

TEST(Width, EachText_TakesAsManyColumnsAsListed) {
    if (!hasCharacterTables())
        GTEST_SKIP() << "needs a locale with UTF-8; without one every character counts as one column wide";
    const struct {
        const char *text;
        size_t columns;
    } rows[] = {{"", 0},          {"abc", 3},
                {"\xC3\xA4", 1},  {"\xE4\xB8\x96\xE7\x95\x8C", 4},
                {"a\xCC\x88", 1}, {"\xF0\x9F\x98\x80", 2}};
    for (const auto &row : rows)
        EXPECT_EQ(widthOf(row.text), row.columns) << row.text;
}

TEST(Wrapped, EachText_GoesOnAsListed) {
    if (!hasCharacterTables())
        GTEST_SKIP() << "needs a locale with UTF-8; without one every character counts as one column wide";
    const struct {
        const char *text;
        size_t columns;
        std::vector<std::string> lines;
    } rows[] = {{"", 5, {""}},
                {"abc", 3, {"abc"}},
                {"abc de", 3, {"abc", "de"}},
                {"abcde", 3, {"abc", "de"}},
                {"a b c", 3, {"a b", "c"}},
                {"abc", 0, {"abc"}},
                {"\xE4\xB8\x96\xE7\x95\x8C", 3, {"\xE4\xB8\x96", "\xE7\x95\x8C"}},
                {"\xE4\xB8\x96", 1, {"\xE4\xB8\x96"}}};
    for (const auto &row : rows)
        EXPECT_EQ(wrapped(row.text, row.columns), row.lines) << row.text;
}

TEST(Readable, EachAmount_HasItsUnit) {
    EXPECT_EQ(readableBytes("0"), "0 bytes");
    EXPECT_EQ(readableBytes("1023"), "1023 bytes");
    EXPECT_EQ(readableBytes("1536"), "1.5 KiB");
    EXPECT_EQ(readableBytes("25276510208"), "23.5 GiB");
    EXPECT_EQ(readableSeconds("0"), "0 s");
    EXPECT_EQ(readableSeconds("59"), "59 s");
    EXPECT_EQ(readableSeconds("60"), "1 min");
    EXPECT_EQ(readableSeconds("3600"), "1 h 0 min");
    EXPECT_EQ(readableSeconds("90061"), "1 day 1 h 1 min");
    EXPECT_EQ(readableSeconds("172800"), "2 days 0 h 0 min");
}

TEST(Values, EachText_IsReadAsListed) {
    const struct {
        const char *name, *text;
        Value::Kind kind;
        const char *value;
    } rows[] = {
        {"OSType", "Mac OS X", Value::Text, "Mac OS X"},
        {"OSType", "N/A", Value::Unknown, ""},
        {"OSType", "", Value::Unknown, ""},
        {"OSType", "NA", Value::Text, "NA"},
        {"UserName", "NA", Value::Unknown, ""},
        {"CPUSpeed", "1333 MHz", Value::Number, "1333"},
        {"CPUSpeed", "0 MHz", Value::Unknown, ""},
        {"CPUSpeed", "fast MHz", Value::Unknown, ""},
        {"CPUSpeed", " MHz", Value::Unknown, ""},
        {"NumOfCPU", "2", Value::Number, "2"},
        {"NumOfCPU", "-2", Value::Unknown, ""},
        {"TotalDiskSpace", "258019.61", Value::Number, "258019.61"},
        {"TotalDiskSpace", "1.2.3", Value::Unknown, ""},
        {"TotalDiskSpace", "1.", Value::Unknown, ""},
        {"IsPortable", "1", Value::Boolean, "true"},
        {"IsPortable", "0", Value::Boolean, "false"},
        {"IsPortable", "-1", Value::Unknown, ""},
        {"LastUpdate", "02/03/2008 09:05:00", Value::Text, "2008-02-03T09:05:00"},
        {"LastUpdate", "02/03/20008 09:05:00", Value::Unknown, ""},
    };
    for (const auto &row : rows) {
        const Value value = valueOf(*findProperty(row.name), row.text);
        EXPECT_EQ(value.kind, row.kind) << row.name << " " << row.text;
        EXPECT_EQ(value.text, row.value) << row.name << " " << row.text;
    }
}

TEST(Csv, Fields_AreQuotedWhereTheyHaveTo) {
    const std::vector<Item> items{{"a,b", "x", {Value::Text, "say \"x\""}, "MB", false, false},
                                  {"n", "N/A", {}, "", false, false}};
    EXPECT_EQ(asCsv(items), "name,value,unit\r\n\"a,b\",\"say \"\"x\"\"\",MB\r\nn,,\r\n");
}

TEST(Prometheus, HostileTexts_StayWithinTheirLabels) {
    const std::string text = asPrometheus(kReport, 1795257066);
    EXPECT_NE(text.find("zorprops_fact_info{name=\"host.kernel\",value=\"Linux \\\"6\\\"\"} 1\n"), std::string::npos)
        << text;
    EXPECT_NE(text.find("\nzorprops_filesystem_size_bytes{mountpoint=\"/\"} 104857600\n"), std::string::npos) << text;
    EXPECT_NE(text.find("FileSystem\\\"/a b\\\\x0a\\\\xff\\\" Total"), std::string::npos) << text;
    EXPECT_NE(text.find("\nzorprops_processor_speed_hertz 1333000000\n"), std::string::npos) << text;
    EXPECT_NE(text.find("\nzorprops_report_complete 0\n"), std::string::npos) << text;
    EXPECT_NE(text.find("\nzorprops_report_timestamp_seconds 1795257066\n"), std::string::npos) << text;
}

TEST(JsonReport, WhatIsNoUtf8_BecomesTheReplacementCharacter) {
    const auto json = nlohmann::json::parse(asTree(kReport, Notation::Json));
    EXPECT_EQ(json["fileSystems"][1]["mountPoint"], "/a b\n\xEF\xBF\xBD");
    EXPECT_EQ(json["properties"]["CPUType"], "");
    EXPECT_EQ(json["values"]["CPUType"], nullptr);
    EXPECT_EQ(json["values"]["CPUSpeed"], 1333);
    EXPECT_EQ(json["values"]["IsPortable"], false);
    EXPECT_EQ(json["host"]["memoryTotal"], 1024);
    EXPECT_EQ(json["host"]["zone"], nullptr);
    EXPECT_EQ(json["host"]["fileSystems"][0]["availableBytes"], 1);
    EXPECT_EQ(json["host"]["fileSystems"][1]["totalBytes"], nullptr);
    EXPECT_EQ(json["late"].dump(), R"(["DomainName"])");
    EXPECT_EQ(json["unread"].dump(), R"(["UserName"])");
    const Interface interface {
        7, "eth\xFF", "02\x01", {}
    };
    EXPECT_EQ(nlohmann::json::parse(asTree(std::vector<Interface>{interface}, Notation::Json))["interfaces"][0]["name"],
              "eth\xEF\xBF\xBD");
}

TEST(JsonReport, OneInterface_IsAListOfOne) {
    EXPECT_TRUE(nlohmann::json::parse(asTree(std::vector<Interface>{{1, "lo", "", {}}}, Notation::Json))["interfaces"]
                    .is_array());
    EXPECT_TRUE(nlohmann::json::parse(asTree(std::vector<Interface>{}, Notation::Json)).is_object());
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
            output.~OwnOutput(); // else this reader would never see the end
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

TEST(OwnOutput, MissingStandardError_IsTaken) {
    EXPECT_TRUE(zor::test::childPasses([] {
        const int before = dup(STDERR_FILENO);
        close(STDERR_FILENO);
        close(STDIN_FILENO);
        {
            OwnOutput output(true);
            EXPECT_GE(fcntl(STDIN_FILENO, F_GETFD), 0);
            EXPECT_GE(fcntl(STDERR_FILENO, F_GETFD), 0);
            output.tell("nobody hears it");
        }
        dup2(before, STDERR_FILENO);
    }));
}
