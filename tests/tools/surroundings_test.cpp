// zorprops on a machine whose files are missing, endless, mute or somebody else's. Whatever it is, the report comes in
// time, says what it lacks, and holds nothing that is wrong.

#include "tests/network/private_network.h"
#include "tests/support/child.h"
#include "tests/support/private_machine.h"
#include "tests/support/sanitized.h"
#include "tests/tools/other_programs.h"
#include "tests/tools/owning_up.h"
#include "tests/tools/program.h"

#include <chrono>
#include <filesystem>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using Json = nlohmann::ordered_json;
using zor::test::childPasses;
using zor::test::PrivateMachine;
using zor::test::ProgramResult;
using zor::test::runProgram;
using zor::test::TemporaryFolder;

namespace {

constexpr int kPatience = 60; // seconds, for any machine; the reports below take two

bool isEmulated() {
    return zor::test::zorprops().find(' ') != std::string::npos;
}

#define ZORCOMN_SKIP_UNDER_AN_EMULATOR()                                                                               \
    if (isEmulated())                                                                                                  \
    GTEST_SKIP() << "an emulator needs the files itself"

/** Runs a report and checks it against one of the same machine in good order. */
ProgramResult reportOwnsUp(const std::string &good, const std::map<std::string, std::string> &environment = {},
                           const std::set<std::string> &untold = {}) {
    const auto start = std::chrono::steady_clock::now();
    ProgramResult result = runProgram({"--json", "--timeout", "1"}, zor::test::Standard::Pipe, environment);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(kPatience / 2));
    EXPECT_EQ(zor::test::faultsOf(result, good, untold), "") << result.errors;
    return result;
}

std::string goodReport() {
    return runProgram({"--json"}).output;
}

} // namespace

TEST(Surroundings, WithoutTheKernelsFiles_WhatTheyToldIsOwnedUpTo) {
    ZORCOMN_SKIP_WITHOUT_NAMESPACES();
    ZORCOMN_SKIP_UNDER_AN_EMULATOR();
    const std::string good = goodReport();
    for (const std::vector<std::string> &folders :
         {std::vector<std::string>{"/proc"}, {"/sys"}, {"/dev"}, {"/sys", "/dev", "/proc"}})
        EXPECT_TRUE(childPasses(
            [&] {
                PrivateMachine machine;
                for (const std::string &folder : folders)
                    machine.empty(folder);
                ASSERT_TRUE(machine.isReady());
                // "0 MHz" is what a kernel without a clock's number is told by, too.
                const ProgramResult result = reportOwnsUp(good, {}, {"CPUSpeed", "CPUType"});
                EXPECT_EQ(result.errors.find("logon session"), std::string::npos) << "no line of the library's";
            },
            kPatience))
            << folders.back();
}

TEST(Surroundings, WithoutAccounts_TheReportComes) {
    ZORCOMN_SKIP_WITHOUT_NAMESPACES();
    const std::string good = goodReport();
    EXPECT_TRUE(childPasses(
        [&] {
            PrivateMachine machine;
            machine.place("/etc/passwd", "");
            machine.place("/etc/group", "");
            ASSERT_TRUE(machine.isReady());
            reportOwnsUp(good);
        },
        kPatience));
}

TEST(Surroundings, FilesThatNeverAnswer_KeepNoReportBack) {
    ZORCOMN_SKIP_WITHOUT_NAMESPACES();
    const std::string good = goodReport();
    for (const char *path : {"/etc/passwd", "/etc/group", "/etc/hosts", "/etc/nsswitch.conf", "/etc/resolv.conf",
                             "/etc/host.conf", "/etc/gai.conf", "/etc/localtime", "/etc/os-release", "/var/run/utmp"}) {
        if (access(path, F_OK) != 0 && std::string(path) != "/var/run/utmp")
            continue;
        EXPECT_TRUE(childPasses(
            [&] {
                PrivateMachine machine;
                const std::string pipe = machine.scratch("pipe"); // that nobody ever writes to
                ASSERT_EQ(mkfifo(pipe.c_str(), 0666), 0);
                machine.show(pipe, path);
                ASSERT_TRUE(machine.isReady());
                reportOwnsUp(good);
            },
            kPatience))
            << path;
    }
}

TEST(Surroundings, EndlessLoginRecords_AreOwnedUpTo) {
    ZORCOMN_SKIP_WITHOUT_NAMESPACES();
    const std::string good = goodReport();
    EXPECT_TRUE(childPasses(
        [&] {
            PrivateMachine machine;
            machine.show("/dev/zero", "/var/run/utmp");
            ASSERT_TRUE(machine.isReady());
            EXPECT_NE(reportOwnsUp(good).errors.find("UserName"), std::string::npos);
            const ProgramResult users = runProgram({"users", "--timeout", "20"});
            EXPECT_EQ(users.code, 1);
            EXPECT_EQ(users.errors, "zorprops: could not be read: the users\n");
        },
        kPatience));
}

TEST(Surroundings, TenThousandLoginRecords_AreAllRead) {
    ZORCOMN_SKIP_WITHOUT_NAMESPACES();
    EXPECT_TRUE(childPasses(
        [&] {
            PrivateMachine machine;
            machine.place("/var/run/utmp", "");
            ASSERT_TRUE(machine.isReady());
            // Appended by hand: the C library would look through all of them for each.
            zor::test::writeLoginRecords("/var/run/utmp", {{zor::test::kUserProcess, "1", "anna", "pts/1"}});
            const std::string one = zor::test::readFile("/var/run/utmp");
            std::string all;
            for (int i = 0; i < 9999; ++i)
                all += one;
            machine.show("/dev/null", "/etc/group"); // quick look-ups
            zor::test::writeLoginRecords(machine.scratch("last"), {{zor::test::kUserProcess, "2", "zoe", "pts/2"}});
            all += zor::test::readFile(machine.scratch("last"));
            machine.place("/var/run/utmp", all);
            ASSERT_TRUE(machine.isReady());
            const ProgramResult users = runProgram({"users", "--json", "--timeout", "30"});
            EXPECT_EQ(users.code, 0) << users.errors;
            EXPECT_EQ(Json::parse(users.output)["localUsers"].dump(), R"(["anna","zoe"])") << users.output;
        },
        kPatience));
}

TEST(Surroundings, LongEnvironment_ChangesNothing) {
    ZORCOMN_SKIP_UNDER_AN_EMULATOR();
    const std::string good = goodReport();
    const std::string longText(100000, 'a');
    for (const char *name : {"PATH", "LANG", "LC_ALL", "LANGUAGE", "HOME", "TERM", "COLUMNS", "TZDIR"})
        EXPECT_EQ(reportOwnsUp(good, {{name, longText}}).code, 0) << name;
    // A zone's name is no longer than 63 characters, for all that the C library takes.
    const ProgramResult zoned = runProgram({"get", "TimeZone"}, zor::test::Standard::Pipe, {{"TZ", longText + "0"}});
    EXPECT_EQ(zoned.code, 0) << zoned.errors;
}

TEST(Surroundings, WorkingFolderThatIsGone_ChangesNothing) {
    const std::string good = goodReport();
    TemporaryFolder folder;
    EXPECT_TRUE(childPasses(
        [&] {
            const std::string gone = folder / "gone";
            ASSERT_EQ(mkdir(gone.c_str(), 0700), 0);
            ASSERT_EQ(chdir(gone.c_str()), 0);
            ASSERT_EQ(rmdir(gone.c_str()), 0);
            EXPECT_EQ(reportOwnsUp(good).code, 0);
        },
        kPatience));
}

namespace {

constexpr char kVersionFile[] = "/System/Library/CoreServices/SystemVersion.plist";
constexpr char kVersionList[] = "<?xml version=\"1.0\"?>\n<plist version=\"1.0\"><dict>"
                                "<key>ProductVersion</key><string>10.6.8</string>"
                                "<key>ProductBuildVersion</key><string>10K549</string></dict></plist>\n";

/** Makes this child's machine one that tells its version by sw_vers, which says that it is a server. */
void becomeServer(PrivateMachine &machine, const std::string &script) {
    machine.makeRootWritable();
    ASSERT_TRUE(machine.isReady());
    std::filesystem::create_directories(std::filesystem::path(kVersionFile).parent_path());
    machine.place(kVersionFile, kVersionList);
    machine.placeScript("/usr/bin/sw_vers", script);
    ASSERT_TRUE(machine.isReady());
}

} // namespace

TEST(Surroundings, CommandThatLeavesAChildBehind_AnswersAllTheSame) {
    ZORCOMN_SKIP_WITHOUT_NAMESPACES();
    EXPECT_TRUE(childPasses(
        [] {
            PrivateMachine machine;
            becomeServer(machine, "sleep 20 &\necho Mac OS X Server");
            const auto start = std::chrono::steady_clock::now();
            const ProgramResult result = runProgram({"get", "--timeout", "15", "OSPlatform"});
            EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
            EXPECT_EQ(result.output, "Server\n") << result.errors;
            EXPECT_EQ(result.code, 0) << result.errors;
        },
        kPatience));
}

TEST(Surroundings, SetUserId_RunsNoCommandOfItsCallers) {
    ZORCOMN_SKIP_WITHOUT_NAMESPACES();
    ZORCOMN_SKIP_UNDER_AN_EMULATOR();
    if (zor::test::kIsSanitized)
        GTEST_SKIP() << "a sanitizer asks about its own process, which one with raised privileges may not";
    const auto isAnother = zor::test::runInChild([] { return setgid(65534) == 0 && setuid(65534) == 0 ? 0 : 1; });
    if (geteuid() != 0 || isAnother.code != 0)
        GTEST_SKIP() << "needs a second user";
    EXPECT_TRUE(childPasses(
        [] {
            PrivateMachine machine;
            becomeServer(machine, "echo Mac OS X");
            const TemporaryFolder folder; // the attacker's
            ASSERT_EQ(chmod(folder.path().c_str(), 0777), 0);
            const std::string evil = folder.path(), mark = folder / "was-here", said = folder / "said";
            folder.writeScript("sw_vers", ": >'" + mark + "'\necho Server");
            ASSERT_EQ(chmod((folder / "sw_vers").c_str(), 0755), 0);
            const std::string program = folder / "zorprops";
            std::filesystem::copy_file(ZORPROPS_PROGRAM, program);
            ASSERT_TRUE(machine.isReady());
            const auto platformFor = [&](unsigned int mode) {
                EXPECT_EQ(chmod(program.c_str(), static_cast<mode_t>(mode)), 0);
                const pid_t child = fork();
                if (child == 0) {
                    constexpr unsigned int kNobody = 65534;
                    setenv("PATH", evil.c_str(), 1);
                    setenv("ENV", (folder / "sw_vers").c_str(), 1);
                    setenv("BASH_ENV", (folder / "sw_vers").c_str(), 1);
                    if (dup2(open(said.c_str(), O_RDWR | O_CREAT | O_TRUNC, 0666), STDOUT_FILENO) < 0 ||
                        setgid(kNobody) != 0 || setuid(kNobody) != 0)
                        _exit(1);
                    execl(program.c_str(), "zorprops", "get", "OSPlatform", nullptr);
                    _exit(1);
                }
                int status = 0;
                EXPECT_EQ(waitpid(child, &status, 0), child);
                EXPECT_EQ(status, 0);
                return zor::test::readFile(said);
            };
            // Whoever runs it for himself decides what it finds.
            EXPECT_EQ(platformFor(0755), "Server\n");
            EXPECT_EQ(unlink(mark.c_str()), 0) << "it was run";
            EXPECT_EQ(platformFor(04755), "Workstation\n");
            EXPECT_EQ(access(mark.c_str(), F_OK), -1) << "an attacker's command ran";
            EXPECT_EQ(platformFor(02755), "Workstation\n");
            EXPECT_EQ(access(mark.c_str(), F_OK), -1) << "an attacker's command ran";
        },
        kPatience));
}
