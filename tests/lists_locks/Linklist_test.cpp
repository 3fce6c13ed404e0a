// The LinkedList family as a caller sees it: every operation on none, one, two and many nodes and with nulls, its five
// assertions in a child process, and random sequences against std::list.

#include "zorcomn/lists_locks.h"

#include "tests/lists_locks/random_list.h"
#include "tests/support/child.h"
#include "tests/support/test_seed.h"

#include <csignal>
#include <vector>

#include <gtest/gtest.h>

namespace {

using zor::test::ChildResult;
using zor::test::runInChild;

using Nodes = std::vector<LinkedListNode *>;

Nodes forwards(const LinkedList &list) {
    Nodes nodes;
    for (LinkedListNode *node = list.head; node && nodes.size() <= list.count; node = node->next)
        nodes.push_back(node);
    return nodes;
}

Nodes backwards(const LinkedList &list) {
    Nodes nodes;
    for (LinkedListNode *node = list.tail; node && nodes.size() <= list.count; node = node->previous)
        nodes.insert(nodes.begin(), node);
    return nodes;
}

void expectList(const LinkedList &list, const Nodes &expected) {
    EXPECT_EQ(list.count, expected.size());
    EXPECT_EQ(list.head, expected.empty() ? nullptr : expected.front());
    EXPECT_EQ(list.tail, expected.empty() ? nullptr : expected.back());
    EXPECT_EQ(forwards(list), expected);
    EXPECT_EQ(backwards(list), expected);
}

class LinkedListTest : public ::testing::Test {
protected:
    LinkedListTest() { EXPECT_EQ(LinkedList_Init(&list), 1); }
    ~LinkedListTest() override { LinkedList_End(&list); }

    void fill() {
        for (LinkedListNode *node : {&a, &b, &c})
            EXPECT_EQ(LinkedList_AddTail(list, node), 1);
    }

    LinkedList *list = nullptr;
    LinkedListNode a{}, b{}, c{};
};

TEST_F(LinkedListTest, FreshList_IsEmpty) {
    ASSERT_NE(list, nullptr);
    expectList(*list, {});
    EXPECT_EQ(LinkedList_GetCount(list), 0u);
    EXPECT_EQ(LinkedList_PeekAt(list, 0), nullptr);
    EXPECT_EQ(LinkedList_RemoveAt(list, 0), nullptr);
    EXPECT_EQ(LinkedList_RemoveTail(list), nullptr);
}

TEST_F(LinkedListTest, AddHead_PutsEachNodeInFront) {
    c = {&a, &a}; // what the links held before does not matter
    EXPECT_EQ(LinkedList_AddHead(list, &c), 1);
    expectList(*list, {&c});
    EXPECT_EQ(LinkedList_AddHead(list, &b), 1);
    expectList(*list, {&b, &c});
    EXPECT_EQ(LinkedList_AddHead(list, &a), 1);
    expectList(*list, {&a, &b, &c});
}

TEST_F(LinkedListTest, AddTail_PutsEachNodeBehind) {
    a = {&c, &c};
    EXPECT_EQ(LinkedList_AddTail(list, &a), 1);
    expectList(*list, {&a});
    EXPECT_EQ(LinkedList_AddTail(list, &b), 1);
    expectList(*list, {&a, &b});
    EXPECT_EQ(LinkedList_AddTail(list, &c), 1);
    expectList(*list, {&a, &b, &c});
}

TEST_F(LinkedListTest, PeekAt_CountsFromTheHead) {
    fill();
    EXPECT_EQ(LinkedList_PeekAt(list, 0), &a);
    EXPECT_EQ(LinkedList_PeekAt(list, 1), &b);
    EXPECT_EQ(LinkedList_PeekAt(list, 2), &c);
    EXPECT_EQ(LinkedList_PeekAt(list, 3), nullptr);
    EXPECT_EQ(LinkedList_PeekAt(list, 0xFFFFFFFFu), nullptr);
    expectList(*list, {&a, &b, &c});
}

TEST_F(LinkedListTest, GetCount_FollowsEveryChange) {
    fill();
    EXPECT_EQ(LinkedList_GetCount(list), 3u);
    LinkedList_RemoveAt(list, 1);
    EXPECT_EQ(LinkedList_GetCount(list), 2u);
    LinkedList_RemoveTail(list);
    LinkedList_RemoveTail(list);
    LinkedList_RemoveTail(list);
    EXPECT_EQ(LinkedList_GetCount(list), 0u);
}

TEST_F(LinkedListTest, RemoveAt_EachPosition) {
    const struct {
        uint32_t index;
        LinkedListNode *removed;
        Nodes left;
    } rows[] = {
        {0, &a, {&b, &c}},
        {1, &b, {&a, &c}},
        {2, &c, {&a, &b}},
        {3, nullptr, {&a, &b, &c}},
        {0xFFFFFFFFu, nullptr, {&a, &b, &c}},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.index);
        *list = {};
        fill();
        EXPECT_EQ(LinkedList_RemoveAt(list, row.index), row.removed);
        expectList(*list, row.left);
    }
}

TEST_F(LinkedListTest, RemoveAt_OfTwo_LeavesTheOther) {
    for (uint32_t index : {0u, 1u}) {
        *list = {};
        LinkedList_AddTail(list, &a);
        LinkedList_AddTail(list, &b);
        EXPECT_EQ(LinkedList_RemoveAt(list, index), index == 0 ? &a : &b);
        expectList(*list, {index == 0 ? &b : &a});
    }
}

TEST_F(LinkedListTest, RemovingTheOnlyNode_EmptiesTheList) {
    LinkedList_AddHead(list, &a);
    EXPECT_EQ(LinkedList_RemoveAt(list, 0), &a);
    expectList(*list, {});
    LinkedList_AddHead(list, &a);
    EXPECT_EQ(LinkedList_RemoveTail(list), &a);
    expectList(*list, {});
}

TEST_F(LinkedListTest, RemoveTail_ComesFromTheEnd) {
    fill();
    EXPECT_EQ(LinkedList_RemoveTail(list), &c);
    expectList(*list, {&a, &b});
    EXPECT_EQ(LinkedList_RemoveTail(list), &b);
    expectList(*list, {&a});
    EXPECT_EQ(LinkedList_RemoveTail(list), &a);
    expectList(*list, {});
}

TEST_F(LinkedListTest, RemovedNode_KeepsItsLinks_Kept) {
    fill();
    LinkedList_RemoveTail(list);
    EXPECT_EQ(c.previous, &b);
    EXPECT_EQ(c.next, nullptr);

    *list = {};
    fill();
    LinkedList_RemoveAt(list, 1);
    EXPECT_EQ(b.previous, &a);
    EXPECT_EQ(b.next, &c);

    *list = {};
    fill();
    LinkedList_RemoveAt(list, 0);
    EXPECT_EQ(a.previous, nullptr);
    EXPECT_EQ(a.next, &b);
}

TEST_F(LinkedListTest, Nulls_AreRefused) {
    EXPECT_EQ(LinkedList_AddHead(nullptr, &a), 0);
    EXPECT_EQ(LinkedList_AddTail(nullptr, &a), 0);
    EXPECT_EQ(LinkedList_AddHead(list, nullptr), 0);
    EXPECT_EQ(LinkedList_AddTail(list, nullptr), 0);
    EXPECT_EQ(LinkedList_RemoveTail(nullptr), nullptr);
    EXPECT_EQ(LinkedList_PeekAt(nullptr, 0), nullptr);
    EXPECT_EQ(LinkedList_RemoveAt(nullptr, 0), nullptr);
    expectList(*list, {});
}

TEST_F(LinkedListTest, End_FreesAndNulls_AndIgnoresNulls) {
    fill();
    LinkedList_End(&list);
    EXPECT_EQ(list, nullptr);
    EXPECT_EQ(a.next, &b) << "the nodes are the caller's";
    LinkedList_End(&list);
    LinkedList_End(nullptr);
}

// A list whose count promises more nodes than there are: the walk ends in the assertion, in every build type.
LinkedList tornList(LinkedListNode &only) {
    only = {};
    return {&only, &only, 3};
}

TEST(LinkedListAssertion, EachRow_IsReportedAsListed_Kept) {
    LinkedListNode node{};
    LinkedList torn = tornList(node);
    LinkedList noTail{nullptr, &node, 2};
    LinkedList noHead{&node, nullptr, 2};
    const struct {
        const char *function;
        const char *line;
        const char *expression;
        std::function<void()> call;
    } rows[] = {
        {"LinkedList_Init", "31", "lphLinkedList", [] { LinkedList_Init(nullptr); }},
        {"LinkedList_GetCount", "167", "lpMain", [] { LinkedList_GetCount(nullptr); }},
        {"LinkedList_PeekAt", "200", "lpItem", [&] { LinkedList_PeekAt(&torn, 1); }},
        {"LinkedList_PeekAt", "200", "lpItem", [&] { LinkedList_PeekAt(&torn, 2); }},
        {"LinkedList_PeekAt", "200", "lpItem", [&] { LinkedList_PeekAt(&noHead, 1); }},
        {"LinkedList_RemoveAt", "238", "lpMain->lpTail", [&] { LinkedList_RemoveAt(&noTail, 1); }},
        {"LinkedList_RemoveAt", "245", "lpItem", [&] { LinkedList_RemoveAt(&torn, 1); }},
        {"LinkedList_RemoveAt", "245", "lpItem", [&] { LinkedList_RemoveAt(&torn, 2); }},
        {"LinkedList_RemoveAt", "245", "lpItem", [&] { LinkedList_RemoveAt(&noHead, 1); }},
    };
    for (const auto &row : rows) {
        const ChildResult result = runInChild([&] {
            row.call();
            return 0;
        });
        SCOPED_TRACE(std::string(row.function) + " " + row.line + "\n" + result.output);
        EXPECT_FALSE(result.exited);
        EXPECT_EQ(result.code, SIGABRT);
        for (const char *part : {row.function, "../source/Linklist", row.line, row.expression})
            EXPECT_NE(result.output.find(part), std::string::npos) << part;
        EXPECT_EQ(result.output.find("../source/Linklist."), std::string::npos) << "the path has no suffix";
    }
}

TEST(LinkedListAssertion, PositionZero_AsksForNoTail) {
    LinkedListNode node{};
    LinkedList noTail{nullptr, &node, 1};
    EXPECT_EQ(LinkedList_RemoveAt(&noTail, 0), &node);
    expectList(noTail, {});
    LinkedList noHead{nullptr, nullptr, 1};
    EXPECT_EQ(LinkedList_PeekAt(&noHead, 0), nullptr);
    EXPECT_EQ(LinkedList_RemoveAt(&noHead, 0), nullptr);
    EXPECT_EQ(LinkedList_RemoveTail(&noHead), nullptr);
}

TEST_F(LinkedListTest, RandomOperations_AgreeWithStdList) {
    zor::test::NodePool<LinkedListNode> pool(zor::test::seedOfThisRun());
    std::list<LinkedListNode *> model;
    for (int step = 0; step < zor::test::kRandomSteps && !HasFailure(); ++step) {
        SCOPED_TRACE(step);
        const size_t index = pool.below(model.size() + 2); // now and then one or two too far
        LinkedListNode *expected = nullptr;
        switch (pool.below(5)) {
        case 0:
            if (!pool.isExhausted()) {
                model.push_front(pool.take());
                EXPECT_EQ(LinkedList_AddHead(list, model.front()), 1);
            }
            break;
        case 1:
            if (!pool.isExhausted()) {
                model.push_back(pool.take());
                EXPECT_EQ(LinkedList_AddTail(list, model.back()), 1);
            }
            break;
        case 2:
            expected = zor::test::removeFromModel(model, model.size() - 1);
            EXPECT_EQ(LinkedList_RemoveTail(list), expected);
            break;
        case 3:
            expected = zor::test::removeFromModel(model, index);
            EXPECT_EQ(LinkedList_RemoveAt(list, static_cast<uint32_t>(index)), expected);
            break;
        default:
            EXPECT_EQ(LinkedList_PeekAt(list, static_cast<uint32_t>(index)),
                      index < model.size() ? *std::next(model.begin(), static_cast<std::ptrdiff_t>(index)) : nullptr);
        }
        if (expected)
            pool.giveBack(expected);
        EXPECT_EQ(LinkedList_GetCount(list), model.size());
        if (step % 16 == 0)
            expectList(*list, Nodes(model.begin(), model.end()));
    }
}

} // namespace
