// zorprops in a sandbox that refuses a system call: each of those that it makes, one at a time.

#include "tests/support/child.h"
#include "tests/support/sanitized.h"
#include "tests/support/temporary_folder.h"
#include "tests/tools/other_programs.h"
#include "tests/tools/owning_up.h"
#include "tests/tools/program.h"

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <map>
#include <set>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

using zor::test::childPasses;
using zor::test::ProgramResult;
using zor::test::runProgram;

namespace {

// Without these no program can begin or end (execve, exit), the loader crashes before ours begins (mmap), or the C
// library ends the process by itself (futex).
const std::set<long> kIndispensable = {SYS_exit, SYS_exit_group, SYS_execve, SYS_mmap, SYS_futex};

// What nobody can tell from a good answer: without lseek the C library finds /etc/hosts empty, and a mount that gives
// no figures (fstatfs) is passed over by rule.
const std::map<long, std::set<std::string>> kUntold = {
    {SYS_lseek, {"IPHostName", "DomainName"}},
#ifdef SYS__llseek
    {SYS__llseek, {"IPHostName", "DomainName"}}, // where a file's place has more bits than a word
#endif
    {SYS_fstatfs, {"NumberOfFileSystems", "TotalDiskSpace"}},
#ifdef SYS_fstatfs64
    {SYS_fstatfs64, {"NumberOfFileSystems", "TotalDiskSpace"}},
#endif
};

/** The system calls that a report makes, from after the loader's first one on. */
std::set<long> callsOfAReport() {
    std::set<long> calls;
    const pid_t child = fork();
    if (child == 0) {
        const int nowhere = open("/dev/null", O_RDWR);
        dup2(nowhere, STDOUT_FILENO);
        dup2(nowhere, STDERR_FILENO);
        ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
        raise(SIGSTOP);
        execl(ZORPROPS_PROGRAM, ZORPROPS_PROGRAM, "--json", nullptr);
        _exit(1);
    }
    int status = 0;
    if (waitpid(child, &status, 0) != child || !WIFSTOPPED(status))
        return calls;
    constexpr long kOptions =
        PTRACE_O_TRACESYSGOOD | PTRACE_O_TRACECLONE | PTRACE_O_TRACEFORK | PTRACE_O_TRACEVFORK | PTRACE_O_EXITKILL;
    if (ptrace(static_cast<__ptrace_request>(PTRACE_SETOPTIONS), child, nullptr, kOptions) != 0)
        kill(child, SIGKILL);
    ptrace(PTRACE_SYSCALL, child, nullptr, nullptr);
    for (pid_t thread; (thread = waitpid(-1, &status, __WALL)) > 0;) {
        if (!WIFSTOPPED(status))
            continue;
        struct __ptrace_syscall_info info = {};
        long signal = 0;
        if (WSTOPSIG(status) == (SIGTRAP | 0x80)) {
            if (ptrace(static_cast<__ptrace_request>(PTRACE_GET_SYSCALL_INFO), thread, sizeof info, &info) > 0 &&
                info.op == PTRACE_SYSCALL_INFO_ENTRY)
                calls.insert(static_cast<long>(info.entry.nr));
        } else if (WSTOPSIG(status) != SIGTRAP && WSTOPSIG(status) != SIGSTOP) {
            signal = WSTOPSIG(status);
        }
        ptrace(PTRACE_SYSCALL, thread, nullptr, signal);
    }
    return calls;
}

/** From here on this process and those that it starts get this error for this call. */
bool deny(long call, int error) {
    sock_filter steps[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<unsigned int>(call), 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | static_cast<unsigned int>(error)),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    const sock_fprog program = {std::size(steps), steps};
    return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, 0, &program) == 0;
}

/** Runs a report that gets an error for a call. Its output goes into files: what reads a pipe might wait for what is
 * left behind. */
ProgramResult reportDenied(long call, int error, const zor::test::TemporaryFolder &folder) {
    const std::string output = folder / "output", errors = folder / "errors";
    const pid_t child = fork();
    if (child == 0) {
        if (dup2(open(output.c_str(), O_RDWR | O_CREAT | O_TRUNC, 0600), STDOUT_FILENO) < 0 ||
            dup2(open(errors.c_str(), O_RDWR | O_CREAT | O_TRUNC, 0600), STDERR_FILENO) < 0)
            _exit(99);
        alarm(20); // a hang
        if (!deny(call, error))
            _exit(99);
        execl(ZORPROPS_PROGRAM, ZORPROPS_PROGRAM, "--json", "--timeout", "1", "--verbose", nullptr);
        _exit(99);
    }
    ProgramResult denied;
    int status = 0;
    waitpid(child, &status, 0);
    denied.code = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    denied.output = zor::test::readFile(output);
    denied.errors = zor::test::readFile(errors);
    return denied;
}

} // namespace

TEST(DeniedCalls, Report_IsRightOrFailsWithASentence) {
    if (zor::test::kIsSanitized || zor::test::zorprops().find(' ') != std::string::npos)
        GTEST_SKIP() << "a sanitizer and an emulator make calls of their own";
    const std::string good = runProgram({"--json"}).output;
    std::set<long> calls;
    ASSERT_TRUE(childPasses([] { ASSERT_TRUE(deny(SYS_acct, EPERM)); })) << "no sandbox can be made";
    calls = callsOfAReport();
    EXPECT_GT(calls.size(), 20u);
    const zor::test::TemporaryFolder folder;
    for (const long call : calls)
        for (const int error : {EPERM, ENOSYS}) {
            if (kIndispensable.count(call) != 0)
                continue;
            const ProgramResult denied = reportDenied(call, error, folder);
            if (call == SYS_write && denied.code == 1 && denied.output.empty())
                continue; // nor can a sentence be written
            const auto untold = kUntold.find(call);
            EXPECT_EQ(
                zor::test::faultsOf(denied, good, untold == kUntold.end() ? std::set<std::string>() : untold->second),
                "")
                << "system call " << call << ", " << strerror(error) << "\n"
                << denied.errors;
        }
}
