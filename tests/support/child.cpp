#include "tests/support/child.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>

#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#ifdef ZORCOMN_COUNTS_WHAT_RUNS
extern "C" void __gcov_dump();
#endif

namespace zor::test {

namespace {

constexpr int kFailedExpectations = 99;

[[noreturn]] void runBody(const std::function<int()> &body, int output) {
    dup2(output, STDOUT_FILENO);
    dup2(output, STDERR_FILENO);
    const int code = body();
    std::fflush(nullptr);
#ifdef ZORCOMN_COUNTS_WHAT_RUNS
    __gcov_dump(); // which the exit below leaves out
#endif
    _exit(::testing::Test::HasFailure() ? kFailedExpectations : code);
}

int millisecondsLeft(std::chrono::steady_clock::time_point deadline) {
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    return left.count() > 0 ? static_cast<int>(left.count()) : 0;
}

/** Reads to the end of the pipe, or until time runs out: then the child is killed. */
std::string readOutput(int input, pid_t child, int timeoutSeconds) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(timeoutSeconds);
    std::string output;
    for (;;) {
        pollfd ready{input, POLLIN, 0};
        const int count = poll(&ready, 1, millisecondsLeft(deadline));
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0) {
            kill(child, SIGKILL);
            return output + "\n[the child was killed: its time ran out]\n";
        }
        char buffer[4096];
        const ssize_t got = read(input, buffer, sizeof buffer);
        if (got <= 0)
            return output;
        output.append(buffer, static_cast<size_t>(got));
    }
}

} // namespace

ChildResult runInChild(const std::function<int()> &body, int timeoutSeconds) {
    std::fflush(nullptr);
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        return {false, 0, "pipe failed"};
    const pid_t child = fork();
    if (child == 0)
        runBody(body, ends[1]);
    close(ends[1]);
    ChildResult result;
    result.output = readOutput(ends[0], child, timeoutSeconds);
    close(ends[0]);
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    result.exited = WIFEXITED(status);
    result.code = result.exited ? WEXITSTATUS(status) : WTERMSIG(status);
    return result;
}

::testing::AssertionResult childPasses(const std::function<void()> &body, int timeoutSeconds) {
    const ChildResult result = runInChild(
        [&] {
            body();
            return 0;
        },
        timeoutSeconds);
    if (result.exited && result.code == 0)
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << (result.exited ? "the child exited with " : "the child died of signal ")
                                         << result.code << "\n"
                                         << result.output;
}

namespace {

bool writeTo(const char *file, const std::string &text) {
    return std::ofstream(file) << text << std::flush ? true : false;
}

/** An ordinary user may make the namespaces below as root of a namespace of users, in which nobody else exists. */
bool mayMakeNamespaces() {
    const uid_t user = geteuid();
    const gid_t group = getegid();
    return user == 0 || (unshare(CLONE_NEWUSER) == 0 && writeTo("/proc/self/setgroups", "deny") &&
                         writeTo("/proc/self/uid_map", "0 " + std::to_string(user) + " 1") &&
                         writeTo("/proc/self/gid_map", "0 " + std::to_string(group) + " 1"));
}

} // namespace

bool enterPrivateMounts() {
    return mayMakeNamespaces() && unshare(CLONE_NEWNS) == 0 &&
           mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

bool enterPrivateNetwork() {
    return mayMakeNamespaces() && unshare(CLONE_NEWNET) == 0;
}

bool enterPrivateNames(const std::string &hostName, const std::string &nisDomain) {
    return mayMakeNamespaces() && unshare(CLONE_NEWUTS) == 0 && sethostname(hostName.data(), hostName.size()) == 0 &&
           setdomainname(nisDomain.data(), nisDomain.size()) == 0;
}

bool mayUseNamespaces() {
    static const bool may = [] {
        const ChildResult result = runInChild([] { return enterPrivateMounts() && enterPrivateNetwork() ? 0 : 1; });
        return result.exited && result.code == 0;
    }();
    return may;
}

namespace {

// Interrupted wherever it is, as one that sleeps: unwinding begins in the handler of the system's own signal. Calls
// nothing and is left alone by the sanitizer, since what they add could not be unwound from any instruction.
__attribute__((no_sanitize_thread)) void *spinUntilCancelled(void *started) {
    int before = 0;
    pthread_setcanceltype(PTHREAD_CANCEL_ASYNCHRONOUS, &before);
    for (;;)
        *static_cast<volatile bool *>(started) = true;
}

int cancelSpinningThread() {
    volatile bool started = false;
    pthread_t thread;
    if (pthread_create(&thread, nullptr, spinUntilCancelled, const_cast<bool *>(&started)) != 0)
        return 1;
    while (!started)
        sched_yield();
    pthread_cancel(thread);
    return pthread_join(thread, nullptr);
}

} // namespace

bool mayCancelSleepingThreads() {
    static const bool may = [] {
        const ChildResult result = runInChild(cancelSpinningThread);
        return result.exited && result.code == 0;
    }();
    return may;
}

} // namespace zor::test
