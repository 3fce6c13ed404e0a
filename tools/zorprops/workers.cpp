// One mutex guards what the threads and this process's own share: which jobs are begun, and what has come of them. It
// is never held while a job works.

#include "workers.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <csignal>
#include <exception>
#include <mutex>
#include <optional>
#include <system_error>

#include <unistd.h>

namespace zorprops {

namespace {

using std::chrono::milliseconds;

constexpr milliseconds kStalled{300}, kShowProgressAfter{1000};

constexpr int kMostThreads = 32; // that may be stuck at once, where one looks again and again

std::atomic<bool> leftOneBehind{false};
std::atomic<int> threadsAtWork{0};

Outcome outcomeOf(const Job &job) {
    try {
        return {Outcome::Done, job.work()};
    } catch (const std::exception &) { // no memory: nothing is better than a part
        return {Outcome::Failed, {}};
    }
}

} // namespace

/** Lives as long as the last thread that uses it. */
struct Workers::Shared {
    explicit Shared(std::vector<Job> theJobs) : jobs(std::move(theJobs)), begun(jobs.size()), outcomes(jobs.size()) {}

    /** Does one job after the other, until none is left to begin. */
    void work() {
        std::unique_lock<std::mutex> lock(mutex);
        for (std::optional<size_t> job; (job = nextToBegin());) {
            begun[*job] = true;
            lock.unlock();
            Outcome outcome = outcomeOf(jobs[*job]);
            lock.lock();
            outcomes[*job] = std::move(outcome);
            news.notify_one();
        }
        ++ended;
        news.notify_one();
    }

    std::optional<size_t> nextToBegin() const {
        for (const bool isSpare : {false, true})
            for (size_t job = 0; !(isSpare && !sparesAreWanted) && job < jobs.size(); ++job)
                if (jobs[job].isSpare == isSpare && !begun[job])
                    return job;
        return std::nullopt;
    }

    std::optional<size_t> firstWaitedFor() const {
        for (size_t job = 0; job < jobs.size(); ++job)
            if (!jobs[job].isSpare && !outcomes[job])
                return job;
        return std::nullopt;
    }

    std::mutex mutex;
    std::condition_variable news;
    const std::vector<Job> jobs;
    std::vector<bool> begun;
    std::vector<std::optional<Outcome>> outcomes;
    bool sparesAreWanted = false;
    size_t ended = 0; // threads that have nothing left to do
};

Workers::Workers(std::vector<Job> jobs, const Patience &patience)
    : m_patience(patience), m_start(Clock::now()), m_shared(std::make_shared<Shared>(std::move(jobs))) {
    if (m_shared->firstWaitedFor() && !startThread())
        runHere();
}

Workers::~Workers() {
    bool allHaveEnded = false;
    {
        const std::lock_guard<std::mutex> lock(m_shared->mutex);
        allHaveEnded = m_shared->ended == m_threads.size();
    }
    for (std::thread &thread : m_threads) {
        if (allHaveEnded)
            thread.join();
        else
            thread.detach();
    }
    if (!allHaveEnded)
        leftOneBehind = true;
}

/** False when no thread can be made. Where enough are stuck, the jobs come to be late without one more. */
bool Workers::startThread() {
    if (threadsAtWork >= kMostThreads)
        return true;
    try {
        m_threads.reserve(m_threads.size() + 1);
        m_threads.emplace_back([shared = m_shared] {
            ++threadsAtWork;
            shared->work();
            --threadsAtWork;
        });
        return true;
    } catch (const std::system_error &) {
        return false;
    }
}

/** Without a thread, where none can be made: with nothing but an alarm against waiting for ever. */
void Workers::runHere() {
    static const char kLate[] = "zorprops: time ran out, and no thread could be made to wait meanwhile\n";
    static const int kCode = 4;
    static int messages;
    messages = m_patience.messages;
    const auto seconds = static_cast<unsigned int>((m_patience.limit.count() + 999) / 1000);
    std::signal(SIGALRM, [](int) { _exit(write(messages, kLate, sizeof kLate - 1) < 0 ? 1 : kCode); });
    alarm(seconds);
    m_shared->work();
    m_shared->ended = 0;
    alarm(0);
}

void Workers::showProgress(Clock::time_point now, const std::string &what) {
    const auto waited = std::chrono::duration_cast<milliseconds>(now - m_start);
    if (!m_patience.showProgress || waited < kShowProgressAfter)
        return;
    std::string line = "\r\x1B[Kwaiting for " + what + ", " + std::to_string(waited.count() / 1000);
    if (m_patience.limit.count() > 0)
        line += " of " + std::to_string((m_patience.limit.count() + 999) / 1000);
    m_patience.showProgress(line + " s");
    m_hasShownProgress = true;
}

std::vector<Outcome> Workers::wait() {
    const auto deadline = m_patience.limit.count() > 0 ? m_start + m_patience.limit : Clock::time_point::max();
    std::unique_lock<std::mutex> lock(m_shared->mutex);
    while (const std::optional<size_t> job = m_shared->firstWaitedFor()) {
        const auto now = Clock::now();
        if (now >= deadline || (m_patience.isGivenUp && m_patience.isGivenUp()))
            break;
        showProgress(now, m_shared->jobs[*job].what);
        if (m_shared->news.wait_until(lock, std::min(deadline, now + kStalled)) == std::cv_status::no_timeout)
            continue;
        m_shared->sparesAreWanted = true;
        if (m_shared->nextToBegin())
            startThread(); // where that fails, those jobs wait for the stalled one
    }
    if (m_hasShownProgress)
        m_patience.showProgress("\r\x1B[K");
    std::vector<Outcome> outcomes;
    for (const auto &outcome : m_shared->outcomes)
        outcomes.push_back(outcome ? *outcome : Outcome{Outcome::Late, {}});
    if (!m_shared->firstWaitedFor()) // the thread that has done the last job is about to end
        m_shared->news.wait_for(lock, kStalled,
                                [&] { return m_shared->ended == m_threads.size() || m_threads.size() > 1; });
    return outcomes;
}

bool Workers::haveLeftOneBehind() {
    return leftOneBehind;
}

} // namespace zorprops
