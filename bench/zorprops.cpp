// The whole of zorprops, from start to end, beside /bin/true, which does nothing: the two alternate, so that both meet
// the same machine. times_true says how many times as long zorprops takes, by the median of the run times;
// times_true_min the same by the shortest of each, which other work on the machine disturbs least; cpu_true and
// cpu_true_min are the same in processor time. peak_KiB is the most memory that it held.
//
// What the program cannot be without is measured as 'nothing': zorprops --version, which does no more than to write a
// line. The figures that are kept are those of the one-file build (-DZORPROPS_SELF_CONTAINED=ON).

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

/** Times of the runs, in seconds. */
class Times {
public:
    void add(double seconds) { m_seconds.push_back(seconds); }
    double last() const { return m_seconds.back(); }
    double median() {
        const auto middle = m_seconds.begin() + static_cast<std::ptrdiff_t>(m_seconds.size() / 2);
        std::nth_element(m_seconds.begin(), middle, m_seconds.end());
        return *middle;
    }
    double shortest() const { return *std::min_element(m_seconds.begin(), m_seconds.end()); }

private:
    std::vector<double> m_seconds;
};

double secondsOf(const timeval &time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

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
        rusage used{};
        if (posix_spawn(&child, m_argv[0], &m_actions, nullptr, m_argv.data(), environ) != 0 ||
            wait4(child, &status, 0, &used) != child)
            return false;
        wall.add(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
        processor.add(secondsOf(used.ru_utime) + secondsOf(used.ru_stime));
        peakKiB = std::max(peakKiB, used.ru_maxrss);
        return status == 0;
    }
    Times wall, processor;
    long peakKiB = 0;

private:
    std::vector<std::string> m_command;
    std::vector<char *> m_argv;
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
        state.SetIterationTime(program.wall.last());
    }
    state.counters["times_true"] = program.wall.median() / nothing.wall.median();
    state.counters["times_true_min"] = program.wall.shortest() / nothing.wall.shortest();
    state.counters["cpu_true"] = program.processor.median() / nothing.processor.median();
    state.counters["cpu_true_min"] = program.processor.shortest() / nothing.processor.shortest();
    state.counters["peak_KiB"] = static_cast<double>(program.peakKiB);
}

BENCHMARK_CAPTURE(besideTrue, nothing, {"--version"})->UseManualTime()->MinTime(2);
BENCHMARK_CAPTURE(besideTrue, one_property, {"get", "TotalPhysicalMemory"})->UseManualTime()->MinTime(2);
BENCHMARK_CAPTURE(besideTrue, one_network_property, {"get", "IPAddress"})->UseManualTime()->MinTime(2);
BENCHMARK_CAPTURE(besideTrue, whole_report, {"--json"})->UseManualTime()->MinTime(2);

} // namespace
