// The example agent, driven as an administrator and a server would: signals, a listening socket, the files that come
// out.

#include "tests/support/eventually.h"
#include "tests/support/running_program.h"
#include "tests/support/temporary_folder.h"

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace zor::test;

namespace {

/** A server on loopback that accepts whoever connects. */
class Server {
public:
    Server() : m_socket(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        if (bind(m_socket, reinterpret_cast<sockaddr *>(&address), length) == 0 && listen(m_socket, 8) == 0)
            getsockname(m_socket, reinterpret_cast<sockaddr *>(&address), &length);
        m_port = ntohs(address.sin_port);
    }
    ~Server() { close(m_socket); }
    Server(const Server &) = delete;
    Server &operator=(const Server &) = delete;

    std::string port() const { return std::to_string(m_port); }

private:
    int m_socket;
    uint16_t m_port;
};

std::vector<std::string> reportsIn(const TemporaryFolder &folder) {
    std::vector<std::string> names;
    for (const auto &entry : std::filesystem::directory_iterator(folder.path()))
        names.push_back(entry.path().filename());
    std::sort(names.begin(), names.end());
    return names;
}

/** Waits for the report with a number, complete: its text ends with the property that sorts last. */
bool reportArrives(const TemporaryFolder &folder, const std::string &number) {
    return eventually([&] {
        const std::vector<std::string> names = reportsIn(folder);
        return !names.empty() && names.back().find("-" + number + ".txt") != std::string::npos &&
               readFile(folder / names.back()).find("UserName=") != std::string::npos;
    });
}

} // namespace

TEST(ExampleAgent, SignalsAndServer_GiveReportsAndACleanEnd) {
    const Server server;
    const TemporaryFolder folder;
    RunningProgram agent({AGENT, folder.path(), PLUGIN, "127.0.0.1", server.port()});
    ASSERT_TRUE(agent.printsWithin("ready\n")) << agent.output();
    EXPECT_NE(agent.output().find("plug-in 1.2.3.4\n"), std::string::npos) << agent.output();
    EXPECT_NE(agent.output().find("local address 127.0.0.1\n"), std::string::npos) << agent.output();

    agent.send(SIGHUP);
    ASSERT_TRUE(reportArrives(folder, "000001"));
    const std::string report = readFile(folder / reportsIn(folder).front());
    EXPECT_EQ(report.find("Report of this machine\n"), 0u) << report;
    EXPECT_NE(report.find("\nPlatformID=MAC\n"), std::string::npos) << report;

    agent.send(SIGTERM);
    EXPECT_EQ(agent.wait(), 0) << agent.output();
}

TEST(ExampleAgent, FiveReports_LeaveTheNewestThree) {
    const Server server;
    const TemporaryFolder folder;
    RunningProgram agent({AGENT, folder.path(), PLUGIN, "127.0.0.1", server.port()});
    ASSERT_TRUE(agent.printsWithin("ready\n")) << agent.output();
    for (const char *number : {"000001", "000002", "000003", "000004", "000005"}) {
        agent.send(SIGHUP);
        ASSERT_TRUE(reportArrives(folder, number)) << number;
    }
    agent.send(SIGTERM);
    EXPECT_EQ(agent.wait(), 0) << agent.output();
    const std::vector<std::string> names = reportsIn(folder);
    ASSERT_EQ(names.size(), 3u);
    EXPECT_NE(names.front().find("-000003.txt"), std::string::npos) << names.front();
}

TEST(ExampleAgent, UnreachableServer_IsNoObstacle) {
    const TemporaryFolder folder;
    RunningProgram agent({AGENT, folder.path(), PLUGIN, "127.0.0.1", "not a port"});
    ASSERT_TRUE(agent.printsWithin("ready\n")) << agent.output();
    EXPECT_EQ(agent.output().find("local address"), std::string::npos);
    agent.send(SIGTERM);
    EXPECT_EQ(agent.wait(), 0);
}

TEST(ExampleAgent, MissingPlugin_EndsWithOne) {
    const TemporaryFolder folder;
    RunningProgram agent({AGENT, folder.path(), folder / "missing.so", "127.0.0.1", "1"});
    EXPECT_EQ(agent.wait(), 1);
}

TEST(ExampleAgent, WrongArguments_EndWithTwo) {
    RunningProgram agent({AGENT});
    EXPECT_EQ(agent.wait(), 2);
}
