// Work that waits, with jobs that a test holds back.

#include "tests/support/child.h"

#include "tools/zorprops/workers.h"

#include <atomic>
#include <stdexcept>

#include <gtest/gtest.h>
#include <unistd.h>

using namespace zorprops;
using std::chrono::milliseconds;
using std::chrono::seconds;

namespace {

Job quick(const std::string &text) {
    return {text, [text] { return Texts{text}; }};
}

/** One that never ends. */
Job stuck() {
    return {"nobody", [] {
                for (;;)
                    pause();
                return Texts();
            }};
}

Patience within(milliseconds limit) {
    Patience patience;
    patience.limit = limit;
    return patience;
}

} // namespace

TEST(Workers, Jobs_AreDoneInOrder) {
    const Patience patience = within(seconds(60));
    Workers workers({quick("one"), quick("two")}, patience);
    const std::vector<Outcome> outcomes = workers.wait();
    ASSERT_EQ(outcomes.size(), 2u);
    EXPECT_EQ(outcomes[0].texts, Texts{"one"});
    EXPECT_EQ(outcomes[1].texts, Texts{"two"});
    EXPECT_EQ(outcomes[1].state, Outcome::Done);
}

TEST(Workers, WithoutJobs_NobodyIsWaitedFor) {
    const Patience patience = within(milliseconds(0));
    Workers workers({}, patience);
    EXPECT_TRUE(workers.wait().empty());
}

TEST(Workers, JobThatThrows_HasFailedAlone) {
    const Patience patience = within(seconds(60));
    Workers workers({{"broken", []() -> Texts { throw std::bad_alloc(); }}, quick("two")}, patience);
    const std::vector<Outcome> outcomes = workers.wait();
    EXPECT_EQ(outcomes[0].state, Outcome::Failed);
    EXPECT_EQ(outcomes[1].state, Outcome::Done);
}

TEST(Workers, SpareJob_IsNotDoneWithoutNeed) {
    const Patience patience = within(seconds(60));
    Workers workers({quick("one"), {"spare", [] { return Texts{"spare"}; }, true}}, patience);
    const std::vector<Outcome> outcomes = workers.wait();
    EXPECT_EQ(outcomes[0].state, Outcome::Done);
    EXPECT_EQ(outcomes[1].state, Outcome::Late);
}

TEST(Workers, StuckJob_IsLeftBehindAndTheOthersAreDone) {
    EXPECT_TRUE(zor::test::childPasses([] {
        const Patience patience = within(seconds(3));
        {
            Workers workers({quick("one"), stuck(), quick("three"), {"spare", [] { return Texts{"spare"}; }, true}},
                            patience);
            const std::vector<Outcome> outcomes = workers.wait();
            EXPECT_EQ(outcomes[0].state, Outcome::Done);
            EXPECT_EQ(outcomes[1].state, Outcome::Late);
            EXPECT_EQ(outcomes[2].texts, Texts{"three"});
            EXPECT_EQ(outcomes[3].texts, Texts{"spare"});
            EXPECT_FALSE(Workers::haveLeftOneBehind());
        }
        EXPECT_TRUE(Workers::haveLeftOneBehind());
    }));
}

TEST(Workers, WaitThatIsGivenUp_EndsBeforeItsTime) {
    EXPECT_TRUE(zor::test::childPasses([] {
        Patience patience = within(milliseconds(0)); // without a limit
        patience.isGivenUp = [] { return true; };
        Workers workers({stuck()}, patience);
        EXPECT_EQ(workers.wait()[0].state, Outcome::Late);
    }));
}

TEST(Workers, LongWait_IsShownAndWipedAway) {
    EXPECT_TRUE(zor::test::childPasses([] {
        Patience patience = within(milliseconds(1500));
        std::string shown;
        patience.showProgress = [&](const std::string &text) { shown += text; };
        Workers workers({stuck()}, patience);
        workers.wait();
        EXPECT_EQ(shown.rfind("\r\x1B[Kwaiting for nobody, 1 of 2 s", 0), 0u) << shown;
        EXPECT_EQ(shown.substr(shown.size() - 4), "\r\x1B[K");
    }));
}

TEST(Workers, StuckThreads_DoNotBecomeMoreAndMore) {
    EXPECT_TRUE(zor::test::childPasses([] {
        std::atomic<int> begun{0};
        const Patience patience = within(milliseconds(20));
        for (int look = 0; look < 60; ++look) {
            Workers workers({{"nobody",
                              [&] {
                                  ++begun;
                                  return stuck().work();
                              }}},
                            patience);
            EXPECT_EQ(workers.wait()[0].state, Outcome::Late);
        }
        EXPECT_GE(begun, 1);
        EXPECT_LE(begun, 40); // a thread that was not yet running did not count
    }));
}
