// The process is a plain copy of this one, made by the system call itself: no fork handler of the C library or of
// anybody else runs. Without an exit signal it is invisible to the waits and signal handlers of the program that we are
// part of. It answers through a page of shared memory, on which the caller sleeps.

#include "source/platform/linux/apart.h"

#include "source/platform/posix.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <ctime>
#include <new>

#include <linux/futex.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#ifndef SYS_close_range
#define SYS_close_range 436 // the same number on every architecture
#endif

namespace zor::host {

namespace {

using Clock = std::chrono::steady_clock;

static_assert(sizeof(timespec) == 2 * sizeof(long), "as the system call takes it");

constexpr size_t kMaxLingering = 8;
constexpr std::chrono::milliseconds kEndLimit{100}; // how long we wait for a killed process to be gone
constexpr rlim_t kMaxDescriptors = 65536;

// Processes that were killed and are not gone yet: 0, or one to be waited for. In a forked child the numbers mean
// nothing: waiting for them fails there at once, which empties the place.
std::atomic<pid_t> lingering[kMaxLingering];

/** Whether the process is gone; also when it is not ours, or no longer. */
bool isGone(pid_t process) {
    return wait4(process, nullptr, static_cast<int>(__WCLONE) | WNOHANG, nullptr) != 0;
}

/** Whether there is a place for one more, once those that are gone have left theirs. */
bool hasPlace() {
    bool isFound = false;
    for (std::atomic<pid_t> &place : lingering) {
        pid_t process = place.load();
        if (process == 0 || (isGone(process) && place.compare_exchange_strong(process, 0)))
            isFound = true;
    }
    return isFound;
}

/** Waits for the process to be gone; one that takes longer is waited for by later questions. */
void release(pid_t process, Clock::time_point deadline) {
    for (timespec pause{0, 20000}; !isGone(process); pause.tv_nsec = std::min(2 * pause.tv_nsec, 2000000L)) {
        if (Clock::now() >= deadline) {
            for (std::atomic<pid_t> &place : lingering)
                if (pid_t none = 0; place.compare_exchange_strong(none, process))
                    return;
            return; // others were quicker: it stays with the system until this process ends
        }
        nanosleep(&pause, nullptr);
    }
}

/** What the two processes share; the answer's bytes follow it. */
struct Letter {
    std::atomic<uint32_t> isAnswered;
    ssize_t length;

    char *bytes() { return reinterpret_cast<char *>(this + 1); }
};

class SharedLetter {
public:
    explicit SharedLetter(size_t maxBytes) : m_size(sizeof(Letter) + maxBytes) {
        void *memory = mmap(nullptr, m_size, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        if (memory != MAP_FAILED)
            m_letter = new (memory) Letter{{0}, -1};
    }
    ~SharedLetter() {
        if (m_letter)
            munmap(m_letter, m_size);
    }
    SharedLetter(const SharedLetter &) = delete;
    SharedLetter &operator=(const SharedLetter &) = delete;

    Letter *get() const { return m_letter; }

private:
    size_t m_size;
    Letter *m_letter = nullptr;
};

/** Sleeps until the letter is answered; whether it was before the deadline. */
bool awaitAnswer(Letter &letter, Clock::time_point deadline) {
    while (letter.isAnswered.load(std::memory_order_acquire) == 0) {
        const auto left = std::chrono::duration_cast<std::chrono::nanoseconds>(deadline - Clock::now()).count();
        if (left <= 0)
            return false;
        const timespec time{static_cast<time_t>(left / 1000000000), static_cast<long>(left % 1000000000)};
        syscall(SYS_futex, &letter.isAnswered, FUTEX_WAIT, 0, &time, nullptr, 0);
    }
    return true;
}

/** Closes what the copy has inherited: waiting for ever, it would keep files, pipes and sockets open. */
void closeAll() {
    if (syscall(SYS_close_range, 0u, UINT_MAX, 0u) == 0)
        return;
    rlimit limit{};
    const rlim_t count =
        getrlimit(RLIMIT_NOFILE, &limit) == 0 ? std::min(limit.rlim_cur, kMaxDescriptors) : kMaxDescriptors;
    for (rlim_t descriptor = 0; descriptor < count; ++descriptor)
        syscall(SYS_close, static_cast<int>(descriptor));
}

[[noreturn]] void answer(Ask ask, const void *question, Letter &letter, size_t maxBytes) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    closeAll();
    syscall(SYS_chdir, "/");
    letter.length = ask(question, letter.bytes(), maxBytes);
    letter.isAnswered.store(1, std::memory_order_release);
    syscall(SYS_futex, &letter.isAnswered, FUTEX_WAKE, 1, nullptr, nullptr, 0);
    for (;;)
        syscall(SYS_exit_group, 0);
}

/** Holds all signals off: a handler of the program's must not run in the copy. */
class BlockedSignals {
public:
    BlockedSignals() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &m_before);
    }
    ~BlockedSignals() { pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }
    BlockedSignals(const BlockedSignals &) = delete;
    BlockedSignals &operator=(const BlockedSignals &) = delete;

private:
    sigset_t m_before;
};

} // namespace

std::optional<std::string> askApart(Ask ask, const void *question, size_t maxBytes, std::chrono::milliseconds limit) {
    const CleanUpScope quiet;
    const SharedLetter shared(maxBytes);
    Letter *const letter = shared.get();
    if (!letter || !hasPlace())
        return std::nullopt;
    const pid_t process = [&] {
        const BlockedSignals blocked;
        // All zero, so that the order of the arguments, which differs between architectures, does not matter.
        const auto started = static_cast<pid_t>(syscall(SYS_clone, 0L, 0L, 0L, 0L, 0L));
        if (started == 0)
            answer(ask, question, *letter, maxBytes);
        return started;
    }();
    if (process < 0)
        return std::nullopt;
    const auto deadline = Clock::now() + limit;
    const bool isAnswered = awaitAnswer(*letter, deadline);
    if (!isAnswered)
        kill(process, SIGKILL);
    release(process, isAnswered ? deadline : Clock::now() + kEndLimit);
    if (!isAnswered || letter->length < 0)
        return std::nullopt;
    return std::string(letter->bytes(), std::min(static_cast<size_t>(letter->length), maxBytes));
}

} // namespace zor::host
