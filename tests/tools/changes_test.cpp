// What changed: between two reports, between one and this machine, and from now on.

#include "tests/support/child.h"
#include "tests/support/private_machine.h"
#include "tests/support/running_program.h"
#include "tests/support/temporary_folder.h"
#include "tests/tools/other_programs.h"
#include "tests/tools/program.h"

#include "tools/zorprops/json_report.h"

#include <csignal>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using namespace zorprops;
using zor::test::ProgramResult;
using zor::test::RunningProgram;
using zor::test::runProgram;
using zor::test::shell;
using zor::test::TemporaryFolder;

namespace {

const char kOld[] = R"({"schema":1,"host":{"kernel":"Linux 1","uptime":5,"memoryTotal":1024,"zone":null},
    "properties":{"OSType":"Mac OS X","IPAddress":"10.0.0.1","LastUpdate":"01/01/2026 00:00:00","DomainName":"N/A"},
    "fileSystems":[{"mountPoint":"/","totalMB":"100.00","freeMB":"50.00"}],"late":["DomainName"],"unread":[]})";
const char kNew[] = R"({"schema":1,"host":{"kernel":"Linux 2","uptime":6,"memoryTotal":1024,"zone":"UTC"},
    "properties":{"OSType":"Mac OS X","IPAddress":"10.0.0.2\n","LastUpdate":"01/02/2026 00:00:00","DomainName":"dom"},
    "fileSystems":[{"mountPoint":"/mnt","totalMB":"5.00","freeMB":"1.00"}],"late":[],"unread":[]})";

} // namespace

TEST(Diff, TwoReports_DifferInTheseLines) {
    TemporaryFolder folder;
    const std::string before = folder.write("old", kOld), after = folder.write("new", kNew);
    const ProgramResult result = runProgram({"diff", before, after});
    EXPECT_EQ(result.code, 1);
    EXPECT_EQ(result.errors, "");
    EXPECT_EQ(result.output, "host.kernel: Linux 1 -> Linux 2\n"
                             "IPAddress: 10.0.0.1 -> 10.0.0.2\\x0a\n"
                             "FileSystem\"/\" Total_Disk_Space_in_MB: 100.00 -> (none)\n"
                             "FileSystem\"/\" Free_Disk_Space_in_MB: 50.00 -> (none)\n"
                             "host.zone: (none) -> UTC\n"
                             "FileSystem\"/mnt\" Total_Disk_Space_in_MB: (none) -> 5.00\n"
                             "FileSystem\"/mnt\" Free_Disk_Space_in_MB: (none) -> 1.00\n");
    const auto json = nlohmann::ordered_json::parse(runProgram({"diff", "--json", before, after}).output);
    EXPECT_EQ(json["changes"][0].dump(), R"({"name":"host.kernel","before":"Linux 1","after":"Linux 2"})");
    EXPECT_NE(runProgram({"diff", "--all", before, after}).output.find("host.uptime: 5 -> 6\n"), std::string::npos);
}

TEST(Diff, SameReport_HasNoLinesAndCode0) {
    TemporaryFolder folder;
    const std::string file = folder.write("old", kOld);
    const ProgramResult result = runProgram({"diff", file, file});
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.output + result.errors, "");
}

TEST(Diff, ReportOfThisMachine_IsComparedWithIt) {
    TemporaryFolder folder;
    auto report = nlohmann::ordered_json::parse(runProgram({"--json"}).output);
    report["properties"]["PlatformID"] = "ELSE";
    // Free space may have gone over a step in between.
    for (const char *name : {"FreeMemory", "FreeDiskSpace"})
        report["late"].push_back(name);
    for (const auto &fileSystem : report["fileSystems"])
        report["late"].push_back(figureName(fileSystem["mountPoint"], false));
    const ProgramResult result = runProgram({"diff", folder.write("old", report.dump())});
    EXPECT_EQ(result.code, 1);
    EXPECT_EQ(result.output, "PlatformID: ELSE -> MAC\n");
}

TEST(Diff, WhatIsNoReport_IsRefusedWithCode2) {
    TemporaryFolder folder;
    const std::string good = folder.write("good", kOld);
    const struct {
        const char *content, *complaint;
    } rows[] = {
        {"", "no report in JSON"},
        {"[]", "no report in JSON"},
        {"{}", "no report in JSON"},
        {R"({"properties":[]})", "no report in JSON"},
        {R"({"schema":2,"properties":{}})", "a report of another form"},
        {R"({"schema":"x","properties":{}})", "a report of another form"},
        {"{\"properties\":{\"a\":\"\xFF\"}}", "no report in JSON"},
    };
    for (const auto &row : rows) {
        const ProgramResult result = runProgram({"diff", good, folder.write("bad", row.content)});
        EXPECT_EQ(result.code, 2) << row.content;
        EXPECT_EQ(result.output, "");
        EXPECT_NE(result.errors.find(row.complaint), std::string::npos) << result.errors;
    }
    EXPECT_EQ(runProgram({"diff", folder / "missing", good}).code, 2);
    EXPECT_EQ(runProgram({"diff", folder.path(), good}).code, 2);
}

TEST(ReadReport, FormFromBeforeTheSchema_IsRead) {
    std::string message;
    const auto snapshot =
        readReport(R"({"properties":{"OSType":"x","Odd":{}},"fileSystems":[7,{"mountPoint":1}]})", message);
    ASSERT_TRUE(snapshot) << message;
    EXPECT_EQ(snapshot->values.size(), 1u);
    EXPECT_EQ(snapshot->untold.count("host.kernel"), 1u); // so that it does not count as new
}

TEST(ReadReport, HostileText_IsRefusedOrRead) {
    std::string message;
    EXPECT_FALSE(readReport(std::string(100000, '['), message));
    EXPECT_TRUE(readReport("{\"properties\":{\"" + std::string(100000, 'n') + "\":\"v\"}}", message));
    EXPECT_TRUE(readReport(R"({"properties":{},"late":[1,null],"host":[],"fileSystems":{}})", message));
}

TEST(Watch, Changes_AreWrittenAsTheyCome) {
    ZORCOMN_SKIP_WITHOUT_NAMESPACES();
    EXPECT_TRUE(zor::test::childPasses([] {
        zor::test::PrivateMachine files;
        files.placeScript("/usr/bin/dscl", "exit 1");
        files.place("/var/run/utmp", "");
        zor::test::writeLoginRecords("/var/run/utmp", {});
        ASSERT_TRUE(files.isReady());
        RunningProgram program({ZORPROPS_PROGRAM, "watch", "--interval", "0.05"});
        RunningProgram asJson({ZORPROPS_PROGRAM, "watch", "--interval", "0.05", "--json", "--all"});
        EXPECT_TRUE(asJson.printsWithin("\"name\":\"LastUpdate\"")); // so both have looked, most likely
        bool isSeen = false;
        for (int i = 0; !isSeen && i < 20; ++i) { // the first look may still be to come
            zor::test::writeLoginRecords("/var/run/utmp", {{zor::test::kUserProcess, "1", "zoe", "pts/1"}});
            isSeen = program.printsWithin("UserName: NA -> zoe\n", std::chrono::seconds(1));
            if (!isSeen)
                zor::test::writeLoginRecords("/var/run/utmp", {});
        }
        EXPECT_TRUE(isSeen) << program.output();
        program.send(SIGINT);
        asJson.send(SIGTERM);
        EXPECT_EQ(program.wait(), 0);
        EXPECT_EQ(asJson.wait(), 0);
    }));
}

TEST(Watch, CountOfLooks_EndsIt) {
    const ProgramResult result = runProgram({"watch", "--count", "2", "--interval", "0"});
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.errors, "");
}

TEST(Watch, ReaderThatGoes_EndsItWithoutAWord) {
    const zor::test::ShellResult result = shell(
        "{ " + zor::test::zorprops() + " watch --all --interval 0.01; echo \"code $?\" >&2; } | head -n 1 >/dev/null");
    EXPECT_EQ(result.output, "code 0\n");
}
