#include "source/platform/linux/apart.h"

#include "tests/support/child.h"
#include "tests/support/descriptors.h"
#include "tests/support/eventually.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

using std::chrono::milliseconds;
using zor::host::askApart;
using zor::host::kAnswerLimit;
using zor::test::childPasses;
using zor::test::openDescriptors;

namespace {

// Long enough for any machine where the answer comes, short where it does not.
constexpr milliseconds kPatience{30000};
constexpr milliseconds kShort{20};

constexpr auto answerOk = [](char *answer, size_t room) -> ssize_t {
    if (room < 2)
        return -1;
    std::memcpy(answer, "ok", 2);
    return 2;
};

constexpr auto neverAnswer = [](char *, size_t) -> ssize_t {
    for (;;)
        pause();
};

/** Not under every emulator: there it can only make children that everybody sees. */
bool mayAskApart() {
    return askApart(answerOk, 2, kPatience).has_value();
}

#define ZORCOMN_SKIP_UNLESS_ASKING_APART()                                                                             \
    if (!mayAskApart())                                                                                                \
    GTEST_SKIP() << "no process without an exit signal can be made here"

TEST(AskApart, Answer_Comes) {
    ZORCOMN_SKIP_UNLESS_ASKING_APART();
    EXPECT_EQ(askApart(answerOk, 100, kPatience), "ok");
    EXPECT_EQ(askApart(answerOk, 2, kPatience), "ok");
    EXPECT_EQ(askApart(answerOk, 1, kPatience), std::nullopt);
    EXPECT_EQ(askApart([](char *, size_t) -> ssize_t { return 0; }, 1, kPatience), "");
    const std::string large(1 << 20, 'x');
    EXPECT_EQ(askApart(
                  [&](char *answer, size_t room) {
                      std::memcpy(answer, large.data(), std::min(room, large.size()));
                      return static_cast<ssize_t>(large.size());
                  },
                  large.size(), kPatience),
              large);
}

TEST(AskApart, NoAnswerWithinTheLimit_IsNothing) {
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(askApart(neverAnswer, 1, kShort), std::nullopt);
    EXPECT_LT(std::chrono::steady_clock::now() - start, kPatience);
    // What was given up is gone: it takes no place.
    for (int i = 0; i < 20; ++i)
        EXPECT_EQ(askApart(neverAnswer, 1, milliseconds(1)), std::nullopt);
    ZORCOMN_SKIP_UNLESS_ASKING_APART();
}

std::atomic<int> signalsSeen{0};

TEST(AskApart, Process_ShowsInNoWaitAndSendsNoSignal) {
    EXPECT_TRUE(childPasses([] {
        signalsSeen = 0;
        signal(SIGCHLD, [](int) { ++signalsSeen; });
        askApart(answerOk, 2, kPatience);
        askApart(neverAnswer, 2, kShort);
        EXPECT_EQ(signalsSeen, 0);
        EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
        EXPECT_EQ(errno, ECHILD);
        // Nor is one left, once it has had time to end, that only a wait of its kind would find.
        EXPECT_TRUE(zor::test::eventually([] {
            askApart(answerOk, 2, kPatience);
            siginfo_t ended;
            return waitid(P_ALL, 0, &ended, WEXITED | WNOHANG | WNOWAIT | static_cast<int>(__WALL)) == -1 &&
                   errno == ECHILD;
        }));
    }));
}

TEST(AskApart, IgnoredChildren_ChangeNothing) {
    ZORCOMN_SKIP_UNLESS_ASKING_APART();
    EXPECT_TRUE(childPasses([] {
        signal(SIGCHLD, SIG_IGN);
        EXPECT_EQ(askApart(answerOk, 2, kPatience), "ok");
        EXPECT_EQ(askApart(neverAnswer, 2, kShort), std::nullopt);
        EXPECT_EQ(askApart(answerOk, 2, kPatience), "ok");
    }));
}

TEST(AskApart, Process_HasNoneOfTheDescriptors) {
    ZORCOMN_SKIP_UNLESS_ASKING_APART();
    const size_t before = openDescriptors();
    ASSERT_GT(before, 0u);
    const auto count = askApart(
        [](char *answer, size_t) -> ssize_t {
            *answer = static_cast<char>('0' + openDescriptors());
            return 1;
        },
        1, kPatience);
    EXPECT_EQ(count, "0");
    EXPECT_EQ(openDescriptors(), before);
    askApart(neverAnswer, 1, kShort);
    EXPECT_EQ(openDescriptors(), before);
}

TEST(AskApart, Process_RunsNoHandlerOfTheProgram) {
    ZORCOMN_SKIP_UNLESS_ASKING_APART();
    EXPECT_TRUE(childPasses([] {
        signal(SIGUSR1, [](int) { _exit(3); });
        EXPECT_EQ(askApart(
                      [](char *answer, size_t room) {
                          kill(getpid(), SIGUSR1);
                          return answerOk(answer, room);
                      },
                      2, kPatience),
                  "ok");
        sigset_t mask;
        sigprocmask(SIG_BLOCK, nullptr, &mask);
        EXPECT_FALSE(sigismember(&mask, SIGUSR1)) << "the caller's own signals are as before";
    }));
}

TEST(AskApart, SignalsWhileWaiting_ChangeNothing) {
    ZORCOMN_SKIP_UNLESS_ASKING_APART();
    struct sigaction action = {}, before = {};
    action.sa_handler = [](int) { ++signalsSeen; };
    ASSERT_EQ(sigaction(SIGUSR2, &action, &before), 0); // no SA_RESTART
    const pid_t asking = getpid();
    EXPECT_EQ(askApart(
                  [&](char *answer, size_t room) {
                      for (int i = 0; i < 100; ++i)
                          kill(asking, SIGUSR2);
                      return answerOk(answer, room);
                  },
                  2, kPatience),
              "ok");
    sigaction(SIGUSR2, &before, nullptr);
}

TEST(AskApart, ManyThreads_GetTheirOwnAnswers) {
    ZORCOMN_SKIP_UNLESS_ASKING_APART();
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (char own = 'a'; own < 'e'; ++own)
        threads.emplace_back([&wrong, own] {
            for (int i = 0; i < 50; ++i) {
                const auto answer = askApart(
                    [own](char *bytes, size_t) -> ssize_t {
                        *bytes = own;
                        return 1;
                    },
                    1, kPatience);
                wrong += answer != std::string(1, own);
            }
        });
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
}

TEST(AskApart, ForkedChild_AsksOnItsOwn) {
    ZORCOMN_SKIP_UNLESS_ASKING_APART();
    askApart(neverAnswer, 1, kShort);
    EXPECT_TRUE(childPasses([] { EXPECT_EQ(askApart(answerOk, 2, kPatience), "ok"); }));
}

TEST(AskApart, Errno_IsKept) {
    errno = E2BIG;
    askApart(neverAnswer, 1, milliseconds(1));
    EXPECT_EQ(errno, E2BIG);
}

} // namespace
