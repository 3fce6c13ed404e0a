#include "tests/support/running_program.h"

#include "tests/support/emulator.h"
#include "tests/support/eventually.h"

#include <csignal>

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zor::test {

RunningProgram::RunningProgram(const std::vector<std::string> &arguments) {
    std::vector<std::string> words = underEmulator(arguments);
    const std::vector<char *> argv = argumentVector(words);
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        return;
    m_read = ends[0];
    m_process = fork();
    if (m_process == 0) {
        dup2(ends[1], STDOUT_FILENO);
        execvp(argv[0], argv.data());
        _exit(127);
    }
    close(ends[1]);
}

RunningProgram::~RunningProgram() {
    if (m_process > 0) {
        kill(m_process, SIGKILL);
        waitpid(m_process, nullptr, 0);
    }
    if (m_read >= 0)
        close(m_read);
}

bool RunningProgram::readMore(std::chrono::steady_clock::time_point deadline) {
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    pollfd ready{m_read, POLLIN, 0};
    if (left.count() <= 0 || poll(&ready, 1, static_cast<int>(left.count())) <= 0)
        return false;
    char buffer[4096];
    const ssize_t got = read(m_read, buffer, sizeof buffer);
    if (got <= 0)
        return false;
    m_output.append(buffer, static_cast<size_t>(got));
    return true;
}

bool RunningProgram::printsWithin(const std::string &text, std::chrono::seconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (m_output.find(text) == std::string::npos) {
        if (!readMore(deadline))
            return false;
    }
    return true;
}

void RunningProgram::send(int signal) const {
    kill(m_process, signal);
}

int RunningProgram::wait(std::chrono::seconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (readMore(deadline)) {
    }
    int status = 0;
    if (!eventually([&] { return waitpid(m_process, &status, WNOHANG) == m_process; }, std::chrono::seconds(10))) {
        kill(m_process, SIGKILL);
        waitpid(m_process, &status, 0);
    }
    m_process = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

} // namespace zor::test
