#pragma once

// Work that may wait for somebody who never answers - a name server, a command - done in threads that are left behind
// at the deadline. Usually one thread does all jobs in turn; when one of them stalls, a second thread takes those
// behind it over. After a job was left behind, the process has to end by _exit: its thread still uses what an orderly
// end destroys. (What may hang in the kernel, so that not even that would end the process, the library asks from a
// process apart.)

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace zorprops {

using Texts = std::vector<std::string>;

struct Job {
    std::string what;            // for people, as in 'waiting for ...'
    std::function<Texts()> work; // runs in a thread; one that throws has failed
    bool isSpare = false;        // done only when another stalls, and not waited for
};

struct Outcome {
    enum State { Done, Late, Failed } state;
    Texts texts;
};

struct Patience {
    std::chrono::milliseconds limit{10000};                     // 0: none
    std::function<void(const std::string &)> showProgress = {}; // gets a line for a terminal, from the second second on
    int messages = 2;                     // the descriptor for 'time ran out', where no thread can be made
    std::function<bool()> isGivenUp = {}; // looked at now and then: true ends the wait before its time
};

class Workers {
public:
    /** Starts on the jobs. */
    Workers(std::vector<Job> jobs, const Patience &patience);
    /** Leaves behind what is still at work. */
    ~Workers();
    Workers(const Workers &) = delete;
    Workers &operator=(const Workers &) = delete;

    /** Waits until every job is done or has failed, or time has run out; once. The outcomes are in the jobs' order; a
     * spare one that nobody has done is Late. */
    std::vector<Outcome> wait();

    /** Whether a thread of this process was left behind. */
    static bool haveLeftOneBehind();

private:
    using Clock = std::chrono::steady_clock;
    struct Shared;

    bool startThread();
    void runHere();
    void showProgress(Clock::time_point now, const std::string &what);

    const Patience &m_patience;
    Clock::time_point m_start;
    std::shared_ptr<Shared> m_shared;
    std::vector<std::thread> m_threads;
    bool m_hasShownProgress = false;
};

} // namespace zorprops
