#pragma once

// Work that may wait for somebody who never answers - a name server, a disk, a command - done in child processes: this
// process goes on at its deadline whatever they hang in. (A thread would not do: a process with one thread stuck in the
// kernel does not end.) Usually one child does all jobs in turn; when one of them stalls, a second child takes those
// behind it over.

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

namespace zorprops {

using Texts = std::vector<std::string>;

struct Job {
    std::string what;            // for people, as in 'waiting for ...'
    std::function<Texts()> work; // runs in a child; one that throws has failed
    bool isSpare = false;        // done only when another stalls, and not waited for
};

struct Outcome {
    enum State { Done, Late, Failed } state;
    Texts texts;
};

struct Patience {
    std::chrono::milliseconds limit{10000}; // 0: none
    bool showsProgress = false;             // a line on standard error from the second second on
    bool keepsStandardError = false;        // the children's diagnostics are wanted there
    std::function<void()> inChild = {};     // what a child has to let go of
    std::function<bool()> isGivenUp = {};   // looked at now and then: true ends the wait before its time
};

class Workers {
public:
    /** Starts on the jobs. */
    Workers(std::vector<Job> jobs, Patience patience);
    /** Ends what is still at work. */
    ~Workers();
    Workers(const Workers &) = delete;
    Workers &operator=(const Workers &) = delete;

    /** Waits until every job is done or has failed, or time has run out; once. The outcomes are in the jobs' order; a
     * spare one that nobody has done is Late. */
    std::vector<Outcome> wait();

private:
    using Clock = std::chrono::steady_clock;
    struct Worker {
        pid_t process;
        int results;              // -1: at its end
        std::vector<size_t> jobs; // what it has still to do, in its order
        std::string received;     // the beginning of a record
        bool isRelieved;          // others have taken over what it will come to
    };

    bool start(std::vector<size_t> jobs);
    [[noreturn]] void serve(const std::vector<size_t> &jobs, int results);
    void receive(Worker &worker);
    void takeRecords(Worker &worker);
    std::vector<size_t> jobsToStart(bool isSpare) const;
    void relieve();
    void giveUpWithoutWorkers();
    size_t firstWaiting() const;
    bool isWaiting() const;
    void stop();
    void runHere(const std::vector<size_t> &jobs);
    void showProgress(Clock::time_point now);

    std::vector<Job> m_jobs;
    Patience m_patience;
    Clock::time_point m_start;
    std::vector<std::optional<Outcome>> m_outcomes;
    std::vector<Worker> m_workers;
    bool m_hasShownProgress = false;
    bool m_hasStartedSpares = false;
};

} // namespace zorprops
