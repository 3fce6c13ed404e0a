// The whole of zorprops, from start to end, beside a program that does nothing: the two alternate, so that both meet
// the same machine. Besides the counters of bench/compare.h, which are for one run here, library_KiB and other_KiB tell
// the most memory that each held.
//
// What the program cannot be without is measured as '--version', which does no more than to write a line. The figures
// that are kept are those of the one-file build (-DZORPROPS_SELF_CONTAINED=ON).

#include "bench/compare.h"

#include <string>
#include <vector>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using namespace zor::bench;

/** One program, its output going nowhere. */
class Program {
public:
    explicit Program(std::vector<std::string> command) : m_command(std::move(command)) {
        for (std::string &word : m_command)
            m_argv.push_back(word.data());
        m_argv.push_back(nullptr);
        posix_spawn_file_actions_init(&m_actions);
        for (const int descriptor : {STDOUT_FILENO, STDERR_FILENO})
            posix_spawn_file_actions_addopen(&m_actions, descriptor, "/dev/null", O_WRONLY, 0);
    }
    ~Program() { posix_spawn_file_actions_destroy(&m_actions); }
    Program(const Program &) = delete;
    Program &operator=(const Program &) = delete;

    /** Runs it once; false when it failed. */
    bool run() {
        pid_t child = 0;
        int status = 0;
        const auto start = std::chrono::steady_clock::now();
        rusage used{};
        if (posix_spawn(&child, m_argv[0], &m_actions, nullptr, m_argv.data(), environ) != 0 ||
            wait4(child, &status, 0, &used) != child)
            return false;
        Spent spent;
        spent.wall = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        spent.processor = seconds(used.ru_utime) + seconds(used.ru_stime);
        spent.switches = used.ru_nvcsw;
        rounds.add(spent);
        return status == 0;
    }
    Rounds rounds;

private:
    std::vector<std::string> m_command;
    std::vector<char *> m_argv;
    posix_spawn_file_actions_t m_actions;
};

void besideTrue(benchmark::State &state, std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), ZORPROPS_PROGRAM);
    Program program(std::move(arguments)), nothing({"/bin/true"});
    for (auto _ : state) {
        if (!nothing.run() || !program.run())
            return state.SkipWithError("a program did not run");
        state.SetIterationTime(program.rounds.wall.back());
    }
    tell(state, program.rounds, nothing.rounds, 1);
}

const bool areAdded = [] {
    const std::vector<std::vector<std::string>> kCases = {{"--version"},
                                                          {"get", "TotalPhysicalMemory"},
                                                          {"get", "ComputerName"},
                                                          {"get", "IPAddress"},
                                                          {"get", "TimeZone"},
                                                          {"interfaces"},
                                                          {"--json"}};
    for (const std::vector<std::string> &arguments : kCases) {
        std::string name = "zorprops";
        for (const std::string &argument : arguments)
            name += " " + argument;
        add("whole programs/" + name + "/true", 401,
            [arguments](benchmark::State &state) { besideTrue(state, arguments); });
    }
    return true;
}();

} // namespace
