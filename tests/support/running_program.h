#pragma once

// A program under test, run as a user would run it: started with arguments, its standard output read, signals sent, its
// end awaited. On an emulated target the emulator is put before it.

#include <chrono>
#include <string>
#include <vector>

#include <sys/types.h>

namespace zor::test {

class RunningProgram {
public:
    /** Starts arguments[0] with the rest; standard output comes here, standard error stays the test's. */
    explicit RunningProgram(const std::vector<std::string> &arguments);
    /** Kills it if it still runs. */
    ~RunningProgram();
    RunningProgram(const RunningProgram &) = delete;
    RunningProgram &operator=(const RunningProgram &) = delete;

    /** Reads standard output until it holds the text; false when it ends or time runs out before. */
    bool printsWithin(const std::string &text, std::chrono::seconds limit = std::chrono::seconds(60));
    void send(int signal) const;
    /** Waits for its end: the exit code, or minus the signal's number. One that outlasts the limit is killed. */
    int wait(std::chrono::seconds limit = std::chrono::seconds(60));
    const std::string &output() const { return m_output; }

private:
    bool readMore(std::chrono::steady_clock::time_point deadline);

    pid_t m_process = -1;
    int m_read = -1;
    std::string m_output;
};

} // namespace zor::test
