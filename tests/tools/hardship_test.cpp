// zorprops where something is missing, refused, mute or narrow.

#include "tests/network/private_network.h"
#include "tests/support/private_machine.h"
#include "tests/support/sanitized.h"
#include "tests/tools/other_programs.h"
#include "tests/tools/program.h"

#include "tools/zorprops/display.h"

#include <chrono>
#include <sstream>

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

using Json = nlohmann::ordered_json;
using zor::test::childPasses;
using zor::test::kIsSanitized;
using zor::test::PrivateMachine;
using zor::test::ProgramResult;
using zor::test::runOnTerminal;
using zor::test::runProgram;
using zor::test::shell;
using zor::test::ShellResult;
using zor::test::Standard;
using zor::test::TemporaryFolder;

namespace {

/** A name server of this process's network that takes every question and answers none. */
class MuteNameServer {
public:
    MuteNameServer() : m_socket(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(53);
        inet_pton(AF_INET, "127.0.0.1", &address.sin_addr);
        EXPECT_EQ(bind(m_socket, reinterpret_cast<const sockaddr *>(&address), sizeof address), 0);
    }
    ~MuteNameServer() { close(m_socket); }
    MuteNameServer(const MuteNameServer &) = delete;
    MuteNameServer &operator=(const MuteNameServer &) = delete;

private:
    int m_socket;
};

double secondsOf(const std::function<void()> &body) {
    const auto start = std::chrono::steady_clock::now();
    body();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

class Mute : public ::testing::Test {
protected:
    void SetUp() override { ZORCOMN_SKIP_WITHOUT_PRIVATE_NETWORK(); }

    /** Runs body where every look-up of a name waits for a server that never answers. */
    static void passes(const std::function<void()> &body) {
        EXPECT_TRUE(zor::test::passesInPrivateNetwork([&] {
            PrivateMachine files;
            files.place("/etc/resolv.conf", "nameserver 127.0.0.1\n");
            files.place("/etc/hosts", "");
            files.place("/etc/nsswitch.conf", "hosts: dns\n");
            ASSERT_TRUE(files.isReady());
            const MuteNameServer server;
            body();
        }));
    }
};

} // namespace

TEST_F(Mute, NameServer_KeepsNoReportBack) {
    passes([] {
        ProgramResult result;
        EXPECT_LT(secondsOf([&] { result = runProgram({"--json", "--timeout", "1"}); }), 20);
        EXPECT_EQ(result.code, 4) << result.errors;
        EXPECT_NE(result.errors.find("zorprops: not told within 1 s: "), std::string::npos) << result.errors;
        const Json report = Json::parse(result.output);
        EXPECT_EQ(report["properties"]["PlatformID"], "MAC");
        EXPECT_EQ(report["properties"]["DomainName"], "N/A");
        EXPECT_EQ(report["values"]["IPHostName"], nullptr);
        EXPECT_TRUE(report["values"]["TotalDiskSpace"].is_number()) << report["values"];
        EXPECT_NE(report["late"].dump().find("\"IPHostName\""), std::string::npos) << report["late"];
    });
}

TEST_F(Mute, NameServer_IsLateForGetToo) {
    passes([] {
        ProgramResult result;
        EXPECT_LT(secondsOf([&] { result = runProgram({"get", "--timeout=0.5", "IPHostName", "PlatformID"}); }), 20);
        EXPECT_EQ(result.code, 4);
        EXPECT_EQ(result.output, "IPHostName=N/A\nPlatformID=MAC\n");
        EXPECT_NE(result.errors.find("zorprops: not told within 0.5 s: IPHostName\n"), std::string::npos)
            << result.errors;
        EXPECT_EQ(runProgram({"get", "--timeout=0.5", "PlatformID"}).code, 0); // nothing of the network is asked for
    });
}

TEST_F(Mute, NameServer_DoesNotConcernWhatNeedsNone) {
    passes([] {
        ProgramResult result;
        EXPECT_LT(secondsOf([&] { result = runProgram({"get", "ComputerName", "IPAddress"}); }), 5); // of 10 s at most
        EXPECT_EQ(result.errors.find("not told"), std::string::npos) << result.errors;
        char name[256] = {};
        ASSERT_EQ(gethostname(name, sizeof name - 1), 0);
        EXPECT_EQ(result.output.find("ComputerName=" + std::string(name) + "\n"), 0u) << result.output;
    });
}

TEST_F(Mute, Wait_IsShownOnATerminal) {
    passes([] {
        const ProgramResult result = runOnTerminal({"get", "--timeout", "1.5", "IPHostName"}, 80);
        EXPECT_NE(result.output.find("waiting for name look-ups, 1 of 2 s"), std::string::npos) << result.output;
        EXPECT_NE(result.output.find("\r\x1B[K"), std::string::npos) << result.output;
    });
}

TEST(Hardship, CommandThatNeverEnds_HoldsNobodyUp) {
    ZORCOMN_SKIP_WITHOUT_NAMESPACES();
    EXPECT_TRUE(childPasses([] {
        PrivateMachine files;
        files.placeScript("/usr/bin/dscl", "exec sleep 30");
        files.place("/var/run/utmp", "");
        zor::test::writeLoginRecords("/var/run/utmp", {{zor::test::kUserProcess, "1", "zoe", "pts/1"}});
        ASSERT_TRUE(files.isReady());
        // Until both of its streams are closed: what is left behind must not hold them.
        ProgramResult result, users;
        EXPECT_LT(secondsOf([&] { result = runProgram({"--timeout", "1"}); }), 20);
        EXPECT_EQ(result.code, 4);
        EXPECT_NE(result.errors.find("not told within 1 s: "), std::string::npos) << result.errors;
        EXPECT_NE(result.errors.find("UserName"), std::string::npos) << result.errors;
        EXPECT_NE(result.output.find("\n  UserName             (not told in time)\n"), std::string::npos);
        EXPECT_NE(result.output.find("\n  OSType               Mac OS X\n"), std::string::npos);
        EXPECT_LT(secondsOf([&] { users = runProgram({"users", "--timeout", "0.3"}); }), 20);
        EXPECT_EQ(users.code, 4);
        EXPECT_EQ(users.errors, "zorprops: not told within 0.3 s: the users\n");
    }));
}

TEST(Hardship, MemoryThatCannotBeRead_IsSaid) {
    ZORCOMN_SKIP_WITHOUT_NAMESPACES();
    EXPECT_TRUE(childPasses([] {
        PrivateMachine files;
        files.place("/proc/meminfo", "");
        ASSERT_TRUE(files.isReady());
        const ProgramResult result = runProgram({"--json"});
        EXPECT_EQ(result.code, 1);
        EXPECT_NE(result.errors.find("zorprops: could not be read: FreeMemory, TotalPhysicalMemory\n"),
                  std::string::npos)
            << result.errors;
        const Json report = Json::parse(result.output);
        EXPECT_EQ(report["properties"]["FreeMemory"], "N/A");
        EXPECT_EQ(report["unread"].dump(), R"(["FreeMemory","TotalPhysicalMemory"])");
        EXPECT_EQ(report["properties"]["PlatformID"], "MAC"); // the rest is still shown
        EXPECT_EQ(runProgram({"get", "FreeMemory"}).code, 1);
        EXPECT_EQ(runProgram({"get", "PlatformID"}).code, 0);
    }));
}

TEST(Hardship, ClosedStandardStreams_SpoilNothing) {
    TemporaryFolder folder;
    const std::string file = folder / "report";
    for (const char *closed : {"2>&-", "<&- 2>&-", "<&-"}) {
        const ShellResult result = shell(zor::test::zorprops() + " --json --verbose >'" + file + "' " + closed);
        EXPECT_EQ(result.code, 0) << closed;
        const Json report = Json::parse(zor::test::readFile(file), nullptr, false);
        ASSERT_FALSE(report.is_discarded()) << closed << zor::test::readFile(file);
        EXPECT_EQ(report["properties"]["PlatformID"], "MAC");
    }
    EXPECT_EQ(shell(zor::test::zorprops() + " get PlatformID <&- >&- 2>&-").code, 1);
}

TEST(Hardship, FileThatMayNotGrow_IsAnError) {
    if (kIsSanitized)
        GTEST_SKIP() << "a sanitizer makes a file of its own before the program starts";
    TemporaryFolder folder;
    EXPECT_TRUE(childPasses([&] {
        const rlimit none{0, 0};
        ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &none), 0);
        const ShellResult result = shell(zor::test::zorprops() + " --json >'" + (folder / "report") + "'");
        EXPECT_EQ(result.code, 1);
        EXPECT_NE(result.output.find("zorprops: cannot write the output: "), std::string::npos) << result.output;
    }));
}

TEST(Hardship, WithoutThreads_TheReportComesAllTheSame) {
    if (kIsSanitized)
        GTEST_SKIP() << "sanitizers need more memory than this test leaves";
    const std::string starved = "ulimit -v 1000000 && ulimit -s 4000000 && "; // no room for a thread's stack
    if (shell(starved + "true").code != 0 || zor::test::zorprops().find(' ') != std::string::npos)
        GTEST_SKIP() << "needs to limit memory, and no emulator";
    const ShellResult result = shell(starved + zor::test::zorprops() + " --json");
    EXPECT_EQ(result.code, 0) << result.output;
    EXPECT_NE(result.output.find("\"PlatformID\": \"MAC\""), std::string::npos) << result.output;
}

TEST(Hardship, WithoutDescriptors_WhatCouldNotBeReadIsSaid) {
    if (kIsSanitized || zor::test::zorprops().find(' ') != std::string::npos)
        GTEST_SKIP() << "an emulator, and a sanitizer that looks into memory, need descriptors of their own";
    TemporaryFolder folder;
    const std::string starved = // none is left beyond the program's own; a test runner may hand down some of its own
        folder.writeScript("starved", "exec 3>&- 4>&- 5>&-\nulimit -n 5\nexec " + zor::test::zorprops() + " \"$@\"");
    const ShellResult interfaces = shell(starved + " interfaces --loopback");
    EXPECT_EQ(interfaces.code, 1);
    EXPECT_EQ(interfaces.output, "zorprops: could not be read: the interfaces\n");
    EXPECT_EQ(shell(starved + " get IPAddress").code, 1);
    const ShellResult result = shell(starved + " --json 2>'" + (folder / "errors") + "'");
    EXPECT_EQ(result.code, 1);
    const Json unread = Json::parse(result.output)["unread"];
    for (const char *name : {"FreeMemory", "IPAddress", "TotalPhysicalMemory"})
        EXPECT_NE(unread.dump().find(name), std::string::npos) << unread << name;
    EXPECT_NE(zor::test::readFile(folder / "errors").find("zorprops: could not be read: "), std::string::npos);
}

TEST(Hardship, IgnoredChildren_AreWaitedForAllTheSame) {
    EXPECT_EQ(shell("trap '' CHLD; " + zor::test::zorprops() + " get PlatformID").output.substr(0, 4), "MAC\n");
}

TEST(Terminal, Lines_AreNoWiderThanIt) {
    for (const unsigned short columns : std::initializer_list<unsigned short>{40, 60, 100})
        for (const std::vector<std::string> &arguments :
             {std::vector<std::string>{}, {"list"}, {"interfaces", "--loopback"}, {"users"}, {"--help"}}) {
            std::istringstream lines(runOnTerminal(arguments, columns, {{"NO_COLOR", "1"}, {"TERM", "xterm"}}).output);
            for (std::string line; std::getline(lines, line);)
                // Messages are one line each, for whoever reads lines.
                EXPECT_TRUE(zorprops::widthOf(line) <= columns || line.rfind("zorprops: ", 0) == 0) << line;
        }
}

TEST(Terminal, Columns_AreTakenFromTheEnvironmentFirst) {
    std::istringstream lines(runOnTerminal({"list"}, 200, {{"COLUMNS", "40"}, {"NO_COLOR", "1"}}).output);
    for (std::string line; std::getline(lines, line);)
        EXPECT_LE(zorprops::widthOf(line), 40u) << line;
}

TEST(Terminal, Headings_AreBoldThereAndNowhereElse) {
    EXPECT_NE(runOnTerminal({}, 80, {{"TERM", "xterm"}, {"NO_COLOR", ""}}).output.find("\x1B[1mThis host\x1B[0m"),
              std::string::npos);
    EXPECT_EQ(runOnTerminal({}, 80, {{"TERM", "xterm"}, {"NO_COLOR", "1"}}).output.find('\x1B'), std::string::npos);
    EXPECT_EQ(runOnTerminal({}, 80, {{"TERM", "dumb"}, {"NO_COLOR", ""}}).output.find('\x1B'), std::string::npos);
    EXPECT_EQ(runProgram({}, Standard::Pipe, {{"TERM", "xterm"}, {"NO_COLOR", ""}}).output.find('\x1B'),
              std::string::npos);
}
