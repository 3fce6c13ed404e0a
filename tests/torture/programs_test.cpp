// Every mode of zorprops, and the example agent, under every fault: the answer is right, or what is missing is said on
// standard error and in the exit code; a report of the agent is whole or not there. Loading the library, too.

#include "tests/torture/figures.h"
#include "tests/torture/interposer.h"
#include "tests/torture/machine_files.h"

#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <set>
#include <sstream>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace zor::torture;

namespace {

constexpr unsigned int kSecondsPerRun = 30;

std::string contentOf(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
}

struct Ended {
    int signal = 0, code = 0;
    std::string output, errors;
};

/** A program, the machine that it finds, and the faults that it meets. */
class Program {
public:
    explicit Program(std::vector<std::string> words, bool isAgent = false)
        : m_words(std::move(words)), m_isAgent(isAgent) {
        writeMachineFiles(m_folder);
        m_folder.write("record", std::string(sizeof(Record), '\0'));
        const int file = open((m_folder / "record").c_str(), O_RDWR | O_CLOEXEC);
        m_record = static_cast<Record *>(mmap(nullptr, sizeof(Record), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0));
        close(file);
        if (m_isAgent)
            m_words.insert(m_words.begin() + 1, reports());
    }
    ~Program() { munmap(m_record, sizeof(Record)); }
    Program(const Program &) = delete;
    Program &operator=(const Program &) = delete;

    Ended run(const Plan &plan) {
        std::memset(m_record, 0, sizeof *m_record);
        std::filesystem::remove_all(reports());
        std::filesystem::create_directory(reports());
        int toAgent[2];
        if (pipe2(toAgent, O_CLOEXEC) != 0)
            return {SIGABRT, 0, "", "no pipe"};
        const pid_t child = fork();
        if (child == 0)
            become(plan, m_isAgent ? toAgent[1] : -1);
        close(toAgent[1]);
        if (m_isAgent) {
            char byte; // until it is ready, or has ended
            while (read(toAgent[0], &byte, 1) == 1 && byte != 'y') {
            }
            kill(child, SIGHUP);
            kill(child, SIGTERM);
        }
        int status = 0;
        waitpid(child, &status, 0);
        close(toAgent[0]);
        return {WIFSIGNALED(status) ? WTERMSIG(status) : 0, WIFEXITED(status) ? WEXITSTATUS(status) : 0,
                m_isAgent ? report() : contentOf(m_folder / "out"), contentOf(m_folder / "err")};
    }
    const Record &record() const { return *m_record; }

private:
    std::string reports() const { return m_folder / "reports"; }

    /** All that is in the folder of reports. */
    std::string report() const {
        std::string text;
        for (const auto &entry : std::filesystem::directory_iterator(reports()))
            text += entry.path().filename().string() + "\n" + contentOf(entry.path());
        return text;
    }

    [[noreturn]] void become(const Plan &plan, int output) const {
        const int out = output >= 0 ? output : open((m_folder / "out").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        const int err = open((m_folder / "err").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        dup2(out, STDOUT_FILENO);
        dup2(err, STDERR_FILENO);
        if (output < 0)
            close(out);
        close(err);
        std::ostringstream told;
        told << static_cast<int>(plan.fault) << ' ' << plan.nth << ' ' << plan.variant << ' ' << m_folder / "record"
             << ' ' << m_folder.path();
        setenv("ZORCOMN_TORTURE", told.str().c_str(), 1);
        setenv("LD_PRELOAD", ZORCOMN_TORTURE_PRELOAD, 1);
        alarm(kSecondsPerRun);
        std::vector<char *> arguments;
        for (const std::string &word : m_words)
            arguments.push_back(const_cast<char *>(word.c_str()));
        arguments.push_back(nullptr);
        execv(arguments[0], arguments.data());
        _exit(127);
    }

    zor::test::TemporaryFolder m_folder;
    std::vector<std::string> m_words;
    bool m_isAgent;
    Record *m_record;
};

/** What is wrong with an end, given the one without a fault; empty when nothing is. */
using Judge = std::function<std::string(const Ended &usual, const Ended &end, const Record &record)>;

Figures torture(const std::string &name, Program &program, const Judge &judge, uint64_t rate) {
    Figures figures;
    figures.calls = 1;
    const Ended usual = program.run({});
    if (usual.signal != 0 || usual.code != 0 || usual.output.empty()) {
        figures.wrong = 1;
        figures.messages.push_back(name + " fails without a fault: " + usual.errors);
        return figures;
    }
    uint64_t number = std::hash<std::string>()(name);
    for (const Fault fault : {Fault::Allocation, Fault::AllocationsFrom, Fault::Call, Fault::CallsFrom}) {
        program.run({fault, INT32_MAX, 0});
        const int count = program.record().counted;
        const int variants = fault == Fault::Call || fault == Fault::CallsFrom ? 4 : 1;
        for (int nth = 1; nth <= count; ++nth) {
            for (int variant = 0; variant < variants; ++variant) {
                if (!isSampled(sampleSeed(), ++number, rate))
                    continue;
                const Ended end = program.run({fault, nth, variant});
                const Record record = program.record();
                if (!record.hit)
                    continue;
                ++figures.runs;
                // Who may not write any more says what is wrong by the exit code alone.
                const bool isMute = fault == Fault::CallsFrom && std::strcmp(record.name, "write") == 0;
                std::string wrong = end.signal == SIGALRM     ? "hangs"
                                    : end.signal != 0         ? strsignal(end.signal)
                                    : isMute && end.code != 0 ? ""
                                                              : judge(usual, end, record);
                if (wrong.empty()) {
                    ++(end.output == usual.output ? figures.right : figures.failed);
                    continue;
                }
                ++figures.wrong;
                figures.messages.push_back(name + ": fault " + std::to_string(static_cast<int>(fault)) + " number " +
                                           std::to_string(nth) + " variant " + std::to_string(variant) + " (" +
                                           record.name + ", " + std::to_string(record.error) + "): " + wrong);
            }
        }
    }
    return figures;
}

/** Whether the contract makes another answer of this call's failure: a look-up that fails makes a user a local one. */
bool isStated(const Record &record) {
    const std::set<std::string> lookUps = {"popen", "access", "getpwnam_r", "getgrgid_r"};
    return lookUps.count(record.name) != 0;
}

std::string judgeReporter(const Ended &usual, const Ended &end, const Record &record) {
    constexpr int kHasNoValue = 3; // what the reporter's exit code says of a property that it knows
    if (end.code == kHasNoValue)
        return "";
    if (end.code == 0)
        return end.output == usual.output || isStated(record) ? "" : "another answer, exit 0:\n" + end.output;
    // Without a descriptor of its own for standard error the reporter has nowhere to speak; its exit code tells.
    if (std::strcmp(record.name, "fcntl64") == 0)
        return "";
    return end.errors.size() > usual.errors.size() ? "" : "exit " + std::to_string(end.code) + " without a word";
}

/** A report is whole, a line of which may say that a fact is not known; or it is not there. */
std::string judgeAgent(const Ended &usual, const Ended &end, const Record &) {
    if (end.code != 0 && end.errors.empty())
        return "exit " + std::to_string(end.code) + " without a word";
    if (end.output.empty())
        return "";
    std::istringstream expected(usual.output), found(end.output);
    const std::set<std::string> unknown = {"N/A", "-1", "", "0 MHz", "Intel", "0.00", "0", "524288000", "Workstation"};
    std::string line, wanted;
    while (std::getline(expected, wanted)) {
        if (!std::getline(found, line))
            return "half a report:\n" + end.output;
        const size_t equal = wanted.find('=');
        const bool isSameFact = equal != std::string::npos && line.compare(0, equal + 1, wanted, 0, equal + 1) == 0;
        if (line != wanted && wanted.compare(0, 10, "FileSystem") == 0)
            return ""; // with the disks the lines behind them are others
        if (line != wanted && wanted.compare(0, 8, "UserName") != 0 &&
            !(isSameFact && unknown.count(line.substr(equal + 1)) != 0))
            return "\"" + line + "\" for \"" + wanted + "\"";
    }
    return "";
}

void expectNothingWrong(const Figures &figures) {
    EXPECT_GT(figures.runs, 0);
    EXPECT_EQ(figures.wrong, 0);
    for (const std::string &message : figures.messages)
        ADD_FAILURE() << message;
}

} // namespace

TEST(TorturedPrograms, EachModeOfTheReporter_AnswersRightlyOrSaysWhatIsMissing) {
    const std::vector<std::vector<std::string>> modes = {
        {"get", "OSVersion"},
        {"get", "IPAddress", "UserName", "TotalPhysicalMemory"},
        {"interfaces"},
        {"users"},
        {"list"},
        {"interfaces", "--json"},
        {"users", "--json"},
        {"completion", "bash"},
    };
    Figures all;
    for (const std::vector<std::string> &mode : modes) {
        std::vector<std::string> words{ZORPROPS_PROGRAM};
        words.insert(words.end(), mode.begin(), mode.end());
        Program program(words);
        std::string name = "zorprops";
        for (const std::string &word : mode)
            name += ' ' + word;
        all.add(torture(name, program, judgeReporter, ZORCOMN_TORTURE_PROGRAM_RATE));
    }
    tell("modes of zorprops", all);
    expectNothingWrong(all);
}

TEST(TorturedPrograms, ReportOfTheAgent_IsWholeOrNotThere) {
    Program program({AGENT, PLUGIN, "127.0.0.1", "1"}, true);
    const Figures figures = torture("agent", program, judgeAgent, ZORCOMN_TORTURE_PROGRAM_RATE);
    tell("example agent", figures);
    expectNothingWrong(figures);
}
