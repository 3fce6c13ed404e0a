// What a cancelled thread meets in the exported functions: one that its header does not call a cancellation point
// returns as ever, one that its header calls one ends the thread, and neither leaves a descriptor or an allocation
// behind. On the real host, since its files, sockets and commands are where a thread could end.

#include "tests/package/calls.h"
#include "tests/support/cancelled_thread.h"
#include "tests/support/child.h"
#include "tests/support/private_machine.h"
#include "tests/support/temporary_folder.h"

#include <csignal>
#include <cstdio>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

using zor::test::callCancelled;
using zor::test::childPasses;

namespace {

/** Makes each call once, so that what the system keeps of the first is there, and then cancelled. */
void expectToReturnWhole(const std::vector<Call> &calls) {
    std::setvbuf(stdout, nullptr, _IONBF, 0); // each diagnostic line is a write, as on a terminal
    for (const Call &call : calls) {
        call.make();
        const zor::test::CancelledCall outcome = callCancelled(call.make);
        EXPECT_TRUE(outcome.returned) << call.name;
        EXPECT_EQ(outcome.descriptors, 0u) << call.name;
        EXPECT_EQ(outcome.allocations, 0u) << call.name;
    }
}

/** Makes the calls in a child: on a login database of the test's own, which two users are in. */
::testing::AssertionResult returnWhole(const std::vector<Call> &calls) {
    return childPasses([&] {
        const zor::test::TemporaryFolder folder;
        zor::test::writeLoginRecords(folder / "utmp", {{zor::test::kUserProcess, "1", "root", "pts/1"},
                                                       {zor::test::kUserProcess, "2", "no-such-user", "pts/2"}});
        expectToReturnWhole(calls);
    });
}

} // namespace

TEST(CancelledThread, NetworkFunctions_ReturnAndLeaveNothing) {
    EXPECT_TRUE(returnWhole(kNetworkCalls));
}

TEST(CancelledThread, SessionFunctions_ReturnAndLeaveNothing) {
    EXPECT_TRUE(returnWhole(kSessionCalls));
}

TEST(CancelledThread, PropertyFunctions_ReturnAndLeaveNothing) {
    EXPECT_TRUE(returnWhole(kPropertyCalls));
}

TEST(CancelledThread, UtilityFunctions_ReturnAndLeaveNothing) {
    EXPECT_TRUE(returnWhole(kUtilityCalls));
}

/** With a directory tool and a version list, whose commands the other tests do without. */
TEST(CancelledThread, CommandsRunByACollection_AreWaitedFor) {
    ZORCOMN_SKIP_WITHOUT_NAMESPACES();
    EXPECT_TRUE(childPasses([] {
        zor::test::PrivateMachine machine;
        machine.placeScript("/usr/bin/dscl", "echo userPrincipalName: root@DOM1");
        zor::test::writeLoginRecords(machine.scratch("utmp"), {{zor::test::kUserProcess, "1", "no-such-user", "1"}});
        ASSERT_TRUE(machine.isReady());
        expectToReturnWhole({CALL(usersCollected()), CALL(domainOf(askDirectory, "root"))});
        EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "a child is left";
    }));
}

TEST(CancellationPoint, Connecting_EndsTheThreadAndLeavesNothing) {
    enum Moment { before, atTheWait };
    constexpr struct {
        unsigned int seconds;
        Moment moment;
    } kRows[] = {{0, before}, {5, before}, {5, atTheWait}};
    for (const auto &row : kRows) {
        zor::test::SilentListener peer;
        const zor::Descriptor socket = zor::openSocket(AF_INET, SOCK_STREAM, 0);
        const auto connect = [&] {
            const zor::test::AfterCall moment(row.moment == atTheWait ? "connect" : "none", 1,
                                              [] { pthread_cancel(pthread_self()); });
            ANetworkUtil().ConnectWithTimeout(socket.get(), peer.address(), peer.length(), row.seconds);
        };
        const zor::test::CancelledCall outcome = callCancelled(connect, row.moment == before);
        EXPECT_FALSE(outcome.returned) << row.seconds << ' ' << row.moment;
        EXPECT_EQ(outcome.descriptors, 0u);
        EXPECT_EQ(outcome.allocations, 0u);
        EXPECT_NE(fcntl(socket.get(), F_GETFD), -1) << "the caller's";
    }
}

TEST(CancellationPoint, WaitingForSignals_EndsTheThreadAndLeavesNothing) {
    EXPECT_TRUE(childPasses([] {
        SignalHandler handler;
        handler.registerOnSignalCallback(SIGHUP, [] {});
        handler.addSignalToBlock(SIGHUP);
        const zor::test::CancelledCall outcome = callCancelled([&] { handler(); });
        EXPECT_FALSE(outcome.returned);
        EXPECT_EQ(outcome.descriptors, 0u);
        EXPECT_EQ(outcome.allocations, 0u);
        // A signal that is there already runs its callback first, where cancellation is the callback's affair.
        int callbacks = 0;
        SignalHandler second;
        second.registerOnSignalCallback(SIGHUP, [&] {
            ++callbacks;
            pthread_cancel(pthread_self());
        });
        second.addSignalToBlock(SIGHUP);
        kill(getpid(), SIGHUP);
        EXPECT_FALSE(callCancelled([&] { second(); }, false).returned);
        EXPECT_EQ(callbacks, 1);
    }));
}
