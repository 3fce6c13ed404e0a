#include "tests/tools/program.h"

#include "tests/support/emulator.h"

#include <cstdio>
#include <cstdlib>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zor::test {

namespace {

struct Pipe {
    Pipe() { EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0); }
    ~Pipe() {
        closeEnd(0);
        closeEnd(1);
    }
    Pipe(const Pipe &) = delete;
    Pipe &operator=(const Pipe &) = delete;
    void closeEnd(int end) {
        if (ends[end] >= 0)
            close(ends[end]);
        ends[end] = -1;
    }
    int ends[2];
};

[[noreturn]] void execute(const std::vector<std::string> &arguments,
                          const std::map<std::string, std::string> &environment) {
    for (const auto &[name, value] : environment)
        setenv(name.c_str(), value.c_str(), 1);
    std::vector<std::string> words{ZORPROPS_PROGRAM};
    words.insert(words.end(), arguments.begin(), arguments.end());
    words = underEmulator(words);
    const std::vector<char *> argv = argumentVector(words);
    execvp(argv[0], argv.data());
    std::perror(argv[0]);
    _exit(127);
}

[[noreturn]] void becomeProgram(const std::vector<std::string> &arguments, Standard output, const Pipe &out,
                                const Pipe &err, const std::map<std::string, std::string> &environment) {
    if (output == Standard::FullDisk)
        dup2(open("/dev/full", O_WRONLY | O_CLOEXEC), STDOUT_FILENO);
    else if (output == Standard::Closed)
        close(STDOUT_FILENO);
    else
        dup2(out.ends[1], STDOUT_FILENO);
    dup2(err.ends[1], STDERR_FILENO);
    execute(arguments, environment);
}

/** Reads both to their ends, in whatever order they fill. */
void readBoth(const Pipe &out, const Pipe &err, ProgramResult &result) {
    pollfd inputs[] = {{out.ends[0], POLLIN, 0}, {err.ends[0], POLLIN, 0}};
    std::string *const texts[] = {&result.output, &result.errors};
    while (inputs[0].fd >= 0 || inputs[1].fd >= 0) {
        poll(inputs, 2, -1);
        for (int i = 0; i < 2; ++i) {
            char buffer[4096];
            if (inputs[i].fd < 0 || !inputs[i].revents)
                continue;
            const ssize_t got = read(inputs[i].fd, buffer, sizeof buffer);
            if (got > 0)
                texts[i]->append(buffer, static_cast<size_t>(got));
            else
                inputs[i].fd = -1;
        }
    }
}

} // namespace

ProgramResult runProgram(const std::vector<std::string> &arguments, Standard output,
                         const std::map<std::string, std::string> &environment) {
    std::fflush(nullptr);
    Pipe out, err;
    if (output == Standard::PipeWithoutReader)
        out.closeEnd(0);
    const pid_t child = fork();
    if (child == 0)
        becomeProgram(arguments, output, out, err, environment);
    out.closeEnd(1);
    err.closeEnd(1);
    ProgramResult result;
    readBoth(out, err, result);
    int status = 0;
    waitpid(child, &status, 0);
    result.code = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    return result;
}

ProgramResult runOnTerminal(const std::vector<std::string> &arguments, unsigned short columns,
                            const std::map<std::string, std::string> &environment) {
    ProgramResult result;
    const int ours = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (ours < 0 || grantpt(ours) != 0 || unlockpt(ours) != 0) {
        ADD_FAILURE() << "no terminal";
        return result;
    }
    const int theirs = open(ptsname(ours), O_RDWR | O_NOCTTY | O_CLOEXEC);
    const winsize size{24, columns, 0, 0};
    EXPECT_EQ(ioctl(theirs, TIOCSWINSZ, &size), 0);
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        dup2(theirs, STDOUT_FILENO);
        dup2(theirs, STDERR_FILENO);
        execute(arguments, environment);
    }
    close(theirs);
    char buffer[4096];
    for (ssize_t got; (got = read(ours, buffer, sizeof buffer)) > 0;) // fails with EIO when the other end is closed
        result.output.append(buffer, static_cast<size_t>(got));
    close(ours);
    int status = 0;
    waitpid(child, &status, 0);
    result.code = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    for (size_t at = 0; (at = result.output.find("\r\n", at)) != std::string::npos;)
        result.output.erase(at, 1);
    return result;
}

} // namespace zor::test
