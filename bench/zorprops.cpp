// The whole of zorprops, from start to end, beside /bin/true, which does nothing: the two alternate, so that both meet
// the same machine. times_true says how many times as long zorprops takes, by the median of the run times;
// times_true_min the same by the shortest of each, which other work on the machine disturbs least.
//
// What no C++ program that links its standard library dynamically can be without is measured as 'nothing': zorprops
// --version, which does no more than to write a line.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

/** Run times of one program, its output going nowhere. */
class RunTimes {
public:
    explicit RunTimes(std::vector<std::string> command) : m_command(std::move(command)) {
        for (std::string &word : m_command)
            m_argv.push_back(word.data());
        m_argv.push_back(nullptr);
        posix_spawn_file_actions_init(&m_actions);
        for (const int descriptor : {STDOUT_FILENO, STDERR_FILENO})
            posix_spawn_file_actions_addopen(&m_actions, descriptor, "/dev/null", O_WRONLY, 0);
    }
    ~RunTimes() { posix_spawn_file_actions_destroy(&m_actions); }
    RunTimes(const RunTimes &) = delete;
    RunTimes &operator=(const RunTimes &) = delete;

    /** Runs it once; false when it failed. */
    bool run() {
        pid_t child = 0;
        int status = 0;
        const auto start = std::chrono::steady_clock::now();
        if (posix_spawn(&child, m_argv[0], &m_actions, nullptr, m_argv.data(), environ) != 0 ||
            waitpid(child, &status, 0) != child)
            return false;
        m_seconds.push_back(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
        return status == 0;
    }
    double last() const { return m_seconds.back(); }
    double median() {
        const auto middle = m_seconds.begin() + static_cast<std::ptrdiff_t>(m_seconds.size() / 2);
        std::nth_element(m_seconds.begin(), middle, m_seconds.end());
        return *middle;
    }
    double shortest() const { return *std::min_element(m_seconds.begin(), m_seconds.end()); }

private:
    std::vector<std::string> m_command;
    std::vector<char *> m_argv;
    std::vector<double> m_seconds;
    posix_spawn_file_actions_t m_actions;
};

void besideTrue(benchmark::State &state, std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), ZORPROPS_PROGRAM);
    RunTimes program(std::move(arguments)), nothing({"/bin/true"});
    for (auto _ : state) {
        if (!nothing.run() || !program.run()) {
            state.SkipWithError("a program did not run");
            return;
        }
        state.SetIterationTime(program.last());
    }
    state.counters["times_true"] = program.median() / nothing.median();
    state.counters["times_true_min"] = program.shortest() / nothing.shortest();
}

BENCHMARK_CAPTURE(besideTrue, nothing, {"--version"})->UseManualTime()->MinTime(2);
BENCHMARK_CAPTURE(besideTrue, one_property, {"get", "TotalPhysicalMemory"})->UseManualTime()->MinTime(2);
BENCHMARK_CAPTURE(besideTrue, one_network_property, {"get", "IPAddress"})->UseManualTime()->MinTime(2);
BENCHMARK_CAPTURE(besideTrue, whole_report, {"--json"})->UseManualTime()->MinTime(2);

} // namespace
