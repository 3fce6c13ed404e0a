// qeLL_ and qeLL2_ as a caller sees them: every operation on none, one, two and many nodes and with nulls, and random
// sequences against std::list.

#include "zorcomn/lists_locks.h"

#include "tests/lists_locks/random_list.h"
#include "tests/support/test_seed.h"

#include <vector>

#include <gtest/gtest.h>

namespace {

using zor::test::kRandomSteps;
using zor::test::NodePool;
using zor::test::removeFromModel;
using zor::test::seedOfThisRun;

std::vector<qeLLNode *> walk(qeLLNode *head) {
    std::vector<qeLLNode *> nodes;
    for (qeLLNode *node = qeLL_XGetStart(head); !qeLL_XIsEnd(node) && nodes.size() < 1000; node = qeLL_XGetNext(node))
        nodes.push_back(node);
    return nodes;
}

TEST(StackList, Init_EmptiesTheCell) {
    qeLLNode node{};
    qeLLNode *list = &node;
    qeLL_Init(&list);
    EXPECT_EQ(list, nullptr);
    qeLL_Init(nullptr);
}

TEST(StackList, Empty_GivesNothing) {
    qeLLNode *list = nullptr;
    EXPECT_EQ(qeLL_IsEmpty(&list), 1);
    EXPECT_EQ(qeLL_XRemoveHead(&list), nullptr);
    EXPECT_EQ(list, nullptr);
}

TEST(StackList, InsertedNodes_ComeBackLastFirst) {
    qeLLNode *list = nullptr;
    qeLLNode a{}, b{}, c{};
    qeLL_XInsertHead(&list, &a);
    EXPECT_EQ(qeLL_IsEmpty(&list), 0);
    EXPECT_EQ(a.next, nullptr);
    qeLL_XInsertHead(&list, &b);
    qeLL_XInsertHead(&list, &c);
    EXPECT_EQ(walk(list), (std::vector<qeLLNode *>{&c, &b, &a}));
    EXPECT_EQ(qeLL_XRemoveHead(&list), &c);
    EXPECT_EQ(qeLL_XRemoveHead(&list), &b);
    EXPECT_EQ(qeLL_XRemoveHead(&list), &a);
    EXPECT_EQ(qeLL_XRemoveHead(&list), nullptr);
    EXPECT_EQ(qeLL_IsEmpty(&list), 1);
}

TEST(StackList, Remove_TakesTheListOrANodeAsTheLinkBefore) {
    qeLLNode *list = nullptr;
    qeLLNode a{}, b{}, c{};
    for (qeLLNode *node : {&c, &b, &a})
        qeLL_XInsertHead(&list, node);
    qeLL_XRemove(reinterpret_cast<qeLLNode **>(&a), &b); // a node's address is the link cell before its successor
    EXPECT_EQ(walk(list), (std::vector<qeLLNode *>{&a, &c}));
    qeLL_XRemove(&list, &a);
    EXPECT_EQ(walk(list), (std::vector<qeLLNode *>{&c}));
    qeLL_XRemove(&list, &c);
    EXPECT_EQ(list, nullptr);
}

TEST(StackList, RemovedNode_KeepsItsLink_Kept) {
    qeLLNode *list = nullptr;
    qeLLNode a{}, b{};
    qeLL_XInsertHead(&list, &a);
    qeLL_XInsertHead(&list, &b);
    EXPECT_EQ(qeLL_XRemoveHead(&list), &b);
    EXPECT_EQ(b.next, &a);
    qeLL_XInsertHead(&list, &b);
    qeLL_XRemove(&list, &b);
    EXPECT_EQ(b.next, &a);
}

TEST(StackList, Nulls_DoNothing) {
    qeLLNode a{}, b{};
    a.next = &b;
    qeLLNode *list = &a;
    qeLL_XInsertHead(nullptr, &b);
    EXPECT_EQ(b.next, nullptr);
    qeLL_XInsertHead(&list, nullptr);
    EXPECT_EQ(list, &a);
    qeLL_XRemove(nullptr, &a);
    qeLL_XRemove(&list, nullptr);
    EXPECT_EQ(list, &a);
    EXPECT_EQ(qeLL_XRemoveHead(nullptr), nullptr);
    EXPECT_EQ(qeLL_XGetStart(nullptr), nullptr);
    EXPECT_EQ(qeLL_XGetNext(nullptr), nullptr);
    EXPECT_EQ(qeLL_XIsEnd(nullptr), 1);
    EXPECT_EQ(qeLL_IsEmpty(nullptr), 1);
}

TEST(StackList, Steps_FollowTheLinks) {
    qeLLNode a{}, b{};
    a.next = &b;
    EXPECT_EQ(qeLL_XGetStart(&a), &a);
    EXPECT_EQ(qeLL_XGetNext(&a), &b);
    EXPECT_EQ(qeLL_XGetNext(&b), nullptr);
    EXPECT_EQ(qeLL_XIsEnd(&b), 0);
}

TEST(StackList, RandomOperations_AgreeWithStdList) {
    NodePool<qeLLNode> pool(seedOfThisRun());
    std::list<qeLLNode *> model;
    qeLLNode *list = nullptr;
    for (int step = 0; step < kRandomSteps && !HasFailure(); ++step) {
        SCOPED_TRACE(step);
        qeLLNode *removed = nullptr;
        switch (pool.below(3)) {
        case 0:
            if (!pool.isExhausted()) {
                model.push_front(pool.take());
                qeLL_XInsertHead(&list, model.front());
            }
            break;
        case 1:
            removed = removeFromModel(model, 0);
            EXPECT_EQ(qeLL_XRemoveHead(&list), removed);
            break;
        default:
            if (!model.empty()) {
                const size_t index = pool.below(model.size());
                qeLLNode **link = &list;
                for (size_t at = 0; at < index; ++at)
                    link = &(*link)->next;
                removed = removeFromModel(model, index);
                qeLL_XRemove(link, removed);
            }
        }
        if (removed)
            pool.giveBack(removed);
        EXPECT_EQ(qeLL_IsEmpty(&list), model.empty() ? 1 : 0);
        if (step % 16 == 0) {
            EXPECT_EQ(walk(list), std::vector<qeLLNode *>(model.begin(), model.end()));
        }
    }
}

/** A row of qeLL2_ nodes between two sentinels, as the synchronized lists keep them. */
struct Row {
    Row() {
        head.next = &tail;
        head.previous = &head;
        tail.next = &tail;
        tail.previous = &head;
    }
    void insertAfter(qeLL2Node *before, qeLL2Node *node) {
        node->previous = before;
        node->next = before->next;
        before->next->previous = node;
        before->next = node;
    }
    std::vector<qeLL2Node *> forwards() {
        std::vector<qeLL2Node *> nodes;
        for (qeLL2Node *node = qeLL2_XGetNext(&head); !qeLL2_XIsEnd(node) && nodes.size() < 1000;
             node = qeLL2_XGetNext(node))
            nodes.push_back(node);
        return nodes;
    }
    std::vector<qeLL2Node *> backwards() {
        std::vector<qeLL2Node *> nodes;
        for (qeLL2Node *node = qeLL2_XGetPrev(&tail); node != &head && nodes.size() < 1000; node = qeLL2_XGetPrev(node))
            nodes.insert(nodes.begin(), node);
        return nodes;
    }

    qeLL2Node head{}, tail{};
};

TEST(DoubleLinks, IsEnd_IsANodeThatFollowsItself) {
    Row row;
    EXPECT_EQ(qeLL2_XIsEnd(&row.tail), 1);
    EXPECT_EQ(qeLL2_XIsEnd(&row.head), 0);
    qeLL2Node last{};
    EXPECT_EQ(qeLL2_XIsEnd(&last), 0) << "a null next is no end";
}

TEST(DoubleLinks, Remove_EachPosition) {
    for (size_t position : {0u, 1u, 2u}) {
        Row row;
        qeLL2Node nodes[3]{};
        for (size_t at = 3; at-- > 0;)
            row.insertAfter(&row.head, &nodes[at]);
        qeLL2_XRemove(&nodes[position]);
        std::vector<qeLL2Node *> left{&nodes[0], &nodes[1], &nodes[2]};
        left.erase(left.begin() + static_cast<std::ptrdiff_t>(position));
        EXPECT_EQ(row.forwards(), left) << position;
        EXPECT_EQ(row.backwards(), left) << position;
    }
}

TEST(DoubleLinks, RemovingTheOnlyNode_LeavesTheSentinelsLinked) {
    Row row;
    qeLL2Node node{};
    row.insertAfter(&row.head, &node);
    qeLL2_XRemove(&node);
    EXPECT_EQ(row.head.next, &row.tail);
    EXPECT_EQ(row.head.previous, &row.head);
    EXPECT_EQ(row.tail.next, &row.tail);
    EXPECT_EQ(row.tail.previous, &row.head);
}

TEST(DoubleLinks, RemovedNode_KeepsItsLinks_Kept) {
    Row row;
    qeLL2Node a{}, b{};
    row.insertAfter(&row.head, &b);
    row.insertAfter(&row.head, &a);
    qeLL2_XRemove(&a);
    EXPECT_EQ(a.next, &b);
    EXPECT_EQ(a.previous, &row.head);
}

TEST(DoubleLinks, NullNeighbours_AreLeftAlone) {
    qeLL2Node alone{};
    qeLL2_XRemove(&alone);
    qeLL2Node first{}, second{};
    first.next = &second;
    second.previous = &first;
    qeLL2_XRemove(&first);
    EXPECT_EQ(second.previous, nullptr);
    second = {nullptr, &first};
    qeLL2_XRemove(&second);
    EXPECT_EQ(first.next, nullptr);
}

TEST(DoubleLinks, Nulls_DoNothing) {
    EXPECT_EQ(qeLL2_XGetNext(nullptr), nullptr);
    EXPECT_EQ(qeLL2_XGetPrev(nullptr), nullptr);
    EXPECT_EQ(qeLL2_XIsEnd(nullptr), 1);
    qeLL2_XRemove(nullptr);
}

TEST(DoubleLinks, RandomRemovals_AgreeWithStdList) {
    NodePool<qeLL2Node> pool(seedOfThisRun());
    std::list<qeLL2Node *> model;
    Row row;
    for (int step = 0; step < kRandomSteps && !HasFailure(); ++step) {
        SCOPED_TRACE(step);
        if (pool.below(2) == 0 && !pool.isExhausted()) {
            model.push_front(pool.take());
            row.insertAfter(&row.head, model.front());
        } else if (!model.empty()) {
            qeLL2Node *removed = removeFromModel(model, pool.below(model.size()));
            qeLL2_XRemove(removed);
            pool.giveBack(removed);
        }
        if (step % 16 != 0)
            continue;
        const std::vector<qeLL2Node *> expected(model.begin(), model.end());
        EXPECT_EQ(row.forwards(), expected);
        EXPECT_EQ(row.backwards(), expected);
    }
}

} // namespace
