// A child writes a record for each job that it has done: its index, whether it failed, the number of texts, then each with
// its length; numbers as the machine has them, since both ends are one program.

#include "workers.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <exception>

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zorprops {

namespace {

using std::chrono::milliseconds;

constexpr milliseconds kStalled{300}, kShowProgressAfter{1000}, kProgressEvery{1000};
constexpr unsigned int kSecondsToEnd = 5; // how long a child may outlive the deadline of a parent that is gone

void append(std::string &bytes, uint32_t number) {
    char raw[sizeof number];
    std::memcpy(raw, &number, sizeof number);
    bytes.append(raw, sizeof number);
}

std::string recordOf(size_t job, bool failed, const Texts &texts) {
    std::string record;
    append(record, static_cast<uint32_t>(job));
    append(record, failed);
    append(record, static_cast<uint32_t>(texts.size()));
    for (const std::string &text : texts) {
        append(record, static_cast<uint32_t>(text.size()));
        record += text;
    }
    return record;
}

/** Reads what recordOf has written, as far as it has come. */
class Reader {
public:
    explicit Reader(const std::string &bytes) : m_bytes(bytes) {}
    uint32_t number() {
        uint32_t value = 0;
        if (!has(sizeof value))
            return 0;
        std::memcpy(&value, m_bytes.data() + m_at, sizeof value);
        m_at += sizeof value;
        return value;
    }
    std::string text() {
        const size_t length = number();
        if (!has(length))
            return {};
        m_at += length;
        return m_bytes.substr(m_at - length, length);
    }
    bool isWhole() const { return m_isWhole; }
    size_t position() const { return m_at; }

private:
    bool has(size_t count) {
        m_isWhole = m_isWhole && m_bytes.size() - m_at >= count;
        return m_isWhole;
    }
    const std::string &m_bytes;
    size_t m_at = 0;
    bool m_isWhole = true;
};

Outcome outcomeOf(const Job &job) {
    try {
        return {Outcome::Done, job.work()};
    } catch (const std::exception &) { // no memory: nothing is better than a part
        return {Outcome::Failed, {}};
    }
}

void writeAll(int descriptor, const std::string &bytes) {
    for (size_t written = 0; written < bytes.size();) {
        const ssize_t count = write(descriptor, bytes.data() + written, bytes.size() - written);
        if (count < 0 && errno != EINTR)
            _exit(1); // nobody waits for it any more
        written += count > 0 ? static_cast<size_t>(count) : 0;
    }
}

void writeToStandardError(const std::string &text) {
    if (write(STDERR_FILENO, text.data(), text.size()) < 0)
        return; // nowhere to tell it
}

} // namespace

Workers::Workers(std::vector<Job> jobs, Patience patience)
    : m_jobs(std::move(jobs)), m_patience(std::move(patience)), m_start(Clock::now()), m_outcomes(m_jobs.size()) {
    const std::vector<size_t> first = jobsToStart(false);
    if (!first.empty() && !start(first))
        runHere(first);
}

Workers::~Workers() {
    stop();
}

std::vector<size_t> Workers::jobsToStart(bool isSpare) const {
    std::vector<size_t> jobs;
    for (size_t job = 0; job < m_jobs.size(); ++job)
        if (m_jobs[job].isSpare == isSpare)
            jobs.push_back(job);
    return jobs;
}

bool Workers::start(std::vector<size_t> jobs) {
    int ends[2];
    if (pipe(ends) != 0)
        return false;
    for (const int end : ends)
        fcntl(end, F_SETFD, FD_CLOEXEC);
    m_workers.reserve(m_workers.size() + 1); // nothing can fail once there is a child
    const pid_t process = fork();
    if (process == 0)
        serve(jobs, ends[1]);
    close(ends[1]);
    if (process < 0) {
        close(ends[0]);
        return false;
    }
    setpgid(process, process); // here and in the child: whoever comes first
    m_workers.push_back({process, ends[0], std::move(jobs), {}, false});
    return true;
}

/** In the child. It leaves by _exit: what this process has in its buffers is the parent's to write. */
void Workers::serve(const std::vector<size_t> &jobs, int results) {
    setpgid(0, 0); // so that the parent can end it together with the commands that it runs
    std::signal(SIGTTOU, SIG_IGN);
    const auto seconds = static_cast<unsigned int>(m_patience.limit.count() / 1000);
    if (m_patience.limit.count() > 0)
        alarm(seconds + kSecondsToEnd);
    if (m_patience.inChild)
        m_patience.inChild();
    if (!m_patience.keepsStandardError)
        dup2(STDOUT_FILENO, STDERR_FILENO); // which leads nowhere: a reader of standard error must not wait for a child
    for (const Worker &other : m_workers)
        close(other.results);
    for (const size_t job : jobs) {
        const Outcome outcome = outcomeOf(m_jobs[job]);
        std::fflush(stdout); // diagnostics
        writeAll(results, recordOf(job, outcome.state == Outcome::Failed, outcome.texts));
    }
    _exit(0);
}

/** Without a child, as where no process can be made: with nothing but an alarm against waiting for ever. */
void Workers::runHere(const std::vector<size_t> &jobs) {
    static const char kLate[] = "zorprops: time ran out, and no process could be made to wait in its place\n";
    const auto seconds = static_cast<unsigned int>((m_patience.limit.count() + 999) / 1000);
    if (seconds > 0) {
        std::signal(SIGALRM, [](int) {
            if (write(STDERR_FILENO, kLate, sizeof kLate - 1) < 0)
                _exit(1);
            _exit(4);
        });
        alarm(seconds);
    }
    for (const size_t job : jobs)
        m_outcomes[job] = outcomeOf(m_jobs[job]);
    alarm(0);
}

void Workers::takeRecords(Worker &worker) {
    for (;;) {
        Reader reader(worker.received);
        const size_t job = reader.number();
        const bool failed = reader.number() != 0;
        const uint32_t count = reader.number();
        Texts texts;
        for (uint32_t i = 0; reader.isWhole() && i < count; ++i)
            texts.push_back(reader.text());
        if (!reader.isWhole())
            return;
        worker.received.erase(0, reader.position());
        worker.jobs.erase(std::remove(worker.jobs.begin(), worker.jobs.end(), job), worker.jobs.end());
        if (job < m_outcomes.size() && !m_outcomes[job])
            m_outcomes[job] = Outcome{failed ? Outcome::Failed : Outcome::Done, std::move(texts)};
    }
}

void Workers::receive(Worker &worker) {
    char buffer[16384];
    const ssize_t got = read(worker.results, buffer, sizeof buffer);
    if (got < 0 && (errno == EINTR || errno == EAGAIN))
        return;
    if (got > 0) {
        worker.received.append(buffer, static_cast<size_t>(got));
        return takeRecords(worker);
    }
    close(worker.results);
    worker.results = -1;
    const std::vector<size_t> left = std::move(worker.jobs);
    worker.jobs.clear();
    if (left.empty())
        return;
    // It ended in the midst of its first one; those behind that deserve another child.
    if (!m_outcomes[left.front()])
        m_outcomes[left.front()] = Outcome{Outcome::Failed, {}};
    const std::vector<size_t> rest(left.begin() + 1, left.end());
    if (!rest.empty() && !start(rest)) // invalidates worker
        for (const size_t job : rest)
            if (!m_outcomes[job])
                m_outcomes[job] = Outcome{Outcome::Failed, {}};
}

/** What waits behind a stalled job goes to a new child, and so do the spare jobs. */
void Workers::relieve() {
    std::vector<size_t> waiting;
    for (Worker &worker : m_workers)
        if (worker.jobs.size() > 1) {
            worker.isRelieved = true;
            for (auto job = worker.jobs.begin() + 1; job != worker.jobs.end(); ++job)
                if (!m_outcomes[*job])
                    waiting.push_back(*job);
            worker.jobs.resize(1);
        }
    if (!m_hasStartedSpares) {
        m_hasStartedSpares = true;
        const std::vector<size_t> spares = jobsToStart(true);
        waiting.insert(waiting.end(), spares.begin(), spares.end());
    }
    if (!waiting.empty())
        start(waiting); // where that fails, the first one still has them behind its own
}

void Workers::giveUpWithoutWorkers() {
    if (std::all_of(m_workers.begin(), m_workers.end(), [](const Worker &worker) { return worker.results < 0; }))
        for (auto &outcome : m_outcomes)
            if (!outcome)
                outcome = Outcome{Outcome::Failed, {}};
}

size_t Workers::firstWaiting() const {
    size_t job = 0;
    while (job < m_jobs.size() && (m_outcomes[job] || m_jobs[job].isSpare))
        ++job;
    return job;
}

bool Workers::isWaiting() const {
    return firstWaiting() < m_jobs.size();
}

void Workers::showProgress(Clock::time_point now) {
    const auto waited = std::chrono::duration_cast<milliseconds>(now - m_start);
    if (!m_patience.showsProgress || waited < kShowProgressAfter)
        return;
    std::string line = "\r\x1B[Kwaiting for " + m_jobs[firstWaiting()].what + ", " +
                       std::to_string(waited.count() / 1000);
    if (m_patience.limit.count() > 0)
        line += " of " + std::to_string((m_patience.limit.count() + 999) / 1000);
    writeToStandardError(line + " s");
    m_hasShownProgress = true;
}

std::vector<Outcome> Workers::wait() {
    const auto deadline = m_start + m_patience.limit;
    const bool isLimited = m_patience.limit.count() > 0;
    auto lastNews = Clock::now();
    while (isWaiting()) {
        const auto now = Clock::now();
        if ((isLimited && now >= deadline) || (m_patience.isGivenUp && m_patience.isGivenUp()))
            break;
        if (now - lastNews >= kStalled) {
            relieve();
            lastNews = now;
        }
        showProgress(now);
        auto until = std::min(lastNews + kStalled, now + kProgressEvery);
        if (isLimited)
            until = std::min(until, deadline);
        std::vector<pollfd> inputs;
        for (const Worker &worker : m_workers)
            inputs.push_back({worker.results, POLLIN, 0});
        const auto pause = std::chrono::duration_cast<milliseconds>(until - now).count() + 1;
        if (poll(inputs.data(), static_cast<nfds_t>(inputs.size()), static_cast<int>(pause)) <= 0)
            continue;
        lastNews = Clock::now();
        for (size_t i = 0; i < inputs.size(); ++i)
            if (inputs[i].fd >= 0 && inputs[i].revents != 0)
                receive(m_workers[i]);
        giveUpWithoutWorkers();
    }
    if (m_hasShownProgress)
        writeToStandardError("\r\x1B[K");
    stop();
    std::vector<Outcome> outcomes;
    for (auto &outcome : m_outcomes)
        outcomes.push_back(outcome ? std::move(*outcome) : Outcome{Outcome::Late, {}});
    return outcomes;
}

/** Ends the children that still work, and waits for none that the kernel does not let go. */
void Workers::stop() {
    constexpr milliseconds kLookAgain{2};
    constexpr int kLooks = 25;
    for (Worker &worker : m_workers) {
        // One that was relieved goes on with what others have taken over from it.
        const bool isAtWork = worker.results >= 0 && (worker.isRelieved || !worker.jobs.empty());
        if (isAtWork)
            kill(-worker.process, SIGKILL);
        if (worker.results >= 0)
            close(worker.results);
        for (int look = 0; look < kLooks && waitpid(worker.process, nullptr, isAtWork ? WNOHANG : 0) == 0; ++look)
            poll(nullptr, 0, static_cast<int>(kLookAgain.count()));
    }
    m_workers.clear();
}

} // namespace zorprops
