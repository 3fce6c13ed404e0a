// The lists that carry a lock: what every operation does to the links, which hold it takes and leaves, and random
// sequences against std::list.

#include "tests/lists_locks/lock_support.h"
#include "tests/lists_locks/random_list.h"
#include "tests/support/test_seed.h"

#include <atomic>
#include <thread>

namespace {

using namespace zor;
using namespace zor::test;

qeLLNode *const kNotTaken = reinterpret_cast<qeLLNode *>(UINTPTR_MAX);

/** An attached process and thread. */
class Attached : public ::testing::Test {
protected:
    Attached() {
        qeSO_ProcessAttach();
        qeSO_ThreadAttach();
    }
    ~Attached() override {
        qeSO_ThreadDetach();
        qeSO_ProcessDetach();
    }
};

class SynchronizedStack : public Attached {
protected:
    SynchronizedStack() { EXPECT_EQ(qeSLL_Create(&list), 0u); }
    ~SynchronizedStack() override { qeSLL_Release(list); }

    std::vector<qeLLNode *> walk() {
        std::vector<qeLLNode *> nodes;
        for (qeLLNode *node = qeLL_XGetStart(qeSLL_XGetHead(list, 0, 1)); !qeLL_XIsEnd(node);
             node = qeLL_XGetNext(node))
            nodes.push_back(node);
        qeSLL_LockRelease(list);
        return nodes;
    }

    qeSLL *list = nullptr;
    qeLLNode a{}, b{}, c{};
};

class SynchronizedRow : public Attached {
protected:
    SynchronizedRow() { EXPECT_EQ(qeSLL2_Create(&list), 0u); }
    ~SynchronizedRow() override { qeSLL2_Release(list); }

    std::vector<qeLL2Node *> walk() {
        std::vector<qeLL2Node *> nodes;
        for (qeLL2Node *node = qeSLL2_XGetHead(list, 0, 1); !qeLL2_XIsEnd(node); node = qeLL2_XGetNext(node))
            nodes.push_back(node);
        qeSLL2_LockRelease(list);
        return nodes;
    }

    /** The row as its links have it, both ways, sentinels included. */
    void expectRow(const std::vector<qeLL2Node *> &nodes) {
        std::vector<qeLL2Node *> row = nodes;
        row.insert(row.begin(), &list->headSentinel);
        row.push_back(&list->tailSentinel);
        EXPECT_EQ(list->headSentinel.previous, &list->headSentinel);
        EXPECT_EQ(list->tailSentinel.next, &list->tailSentinel);
        for (size_t at = 0; at + 1 < row.size(); ++at) {
            EXPECT_EQ(row[at]->next, row[at + 1]) << at;
            EXPECT_EQ(row[at + 1]->previous, row[at]) << at;
        }
        EXPECT_EQ(qeSLL2_IsEmpty(list), nodes.empty() ? 1 : 0);
        EXPECT_EQ(imageOf(list->lock).count, 0);
    }

    qeSLL2 *list = nullptr;
    qeLL2Node a{}, b{}, c{};
};

TEST_F(SynchronizedStack, FreshList_IsEmptyAndFree) {
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(list->head, nullptr);
    ASSERT_NE(list->lock, nullptr);
    EXPECT_EQ(imageOf(list->lock).state, 1);
    EXPECT_EQ(qeSLL_IsEmpty(list), 1);
    EXPECT_EQ(qeSLL_XRemoveHead(list), nullptr);
    EXPECT_EQ(imageOf(list->lock).count, 0);
}

TEST_F(SynchronizedStack, Nodes_ComeBackLastFirst) {
    for (qeLLNode *node : {&a, &b, &c})
        qeSLL_XInsertHead(list, node);
    EXPECT_EQ(walk(), (std::vector<qeLLNode *>{&c, &b, &a}));
    EXPECT_EQ(qeSLL_IsEmpty(list), 0);
    EXPECT_EQ(qeSLL_XRemoveHead(list), &c);
    EXPECT_EQ(c.next, &b) << "the removed node keeps its link";
    EXPECT_EQ(qeSLL_XRemoveHead(list), &b);
    EXPECT_EQ(qeSLL_XRemoveHead(list), &a);
    EXPECT_EQ(qeSLL_XRemoveHead(list), nullptr);
    EXPECT_EQ(qeSLL_IsEmpty(list), 1);
    EXPECT_EQ(imageOf(list->lock).count, 0);
}

TEST_F(SynchronizedStack, GetHead_LeavesTheLockHeld_AlsoWhenEmpty) {
    EXPECT_EQ(qeSLL_XGetHead(list, 1, 0), nullptr);
    EXPECT_EQ(imageOf(list->lock).owner, qeSO_GetThread());
    EXPECT_EQ(imageOf(list->lock).count, 1);
    qeSLL_XInsertHead(list, &a); // the owner may go on
    EXPECT_EQ(qeSLL_IsEmpty(list), 0);
    qeSLL_LockRelease(list);
    EXPECT_EQ(imageOf(list->lock).count, 0);
    EXPECT_EQ(qeSLL_XGetHead(list, 0, 0), &a);
    EXPECT_EQ(imageOf(list->lock).owner, noThread());
    EXPECT_EQ(imageOf(list->lock).count, 1);
    qeSLL_LockRelease(list);
    EXPECT_EQ(imageOf(list->lock).count, 0);
}

TEST_F(SynchronizedStack, GetHead_TellsNotTakenAsAllOnes_Kept) {
    EXPECT_EQ(qeSLL_XGetHead(list, 1, 0), nullptr) << "taken, and empty";
    onAnotherThread([this] {
        EXPECT_EQ(qeSLL_XGetHead(list, 0, 0), kNotTaken);
        EXPECT_EQ(qeSLL_XGetHead(list, 1, 0), kNotTaken);
    });
    EXPECT_EQ(imageOf(list->lock).count, 1);
    qeSLL_LockRelease(list);
}

TEST_F(SynchronizedStack, RemovalDuringAWalk_UsesTheLinksDirectly) {
    for (qeLLNode *node : {&a, &b, &c})
        qeSLL_XInsertHead(list, node);
    EXPECT_EQ(qeSLL_XGetHead(list, 1, 1), &c);
    qeLL_XRemove(reinterpret_cast<qeLLNode **>(&c), &b);
    qeSLL_LockRelease(list);
    EXPECT_EQ(walk(), (std::vector<qeLLNode *>{&c, &a}));
}

TEST_F(SynchronizedStack, Nulls_DoNothing) {
    EXPECT_EQ(qeSLL_Create(nullptr), 0x80000008u);
    EXPECT_EQ(qeSLL_Init(nullptr), 0x80000008u);
    qeSLL_Uninit(nullptr);
    qeSLL_Release(nullptr);
    qeSLL_XInsertHead(nullptr, &a);
    qeSLL_XInsertHead(list, nullptr);
    EXPECT_EQ(list->head, nullptr);
    EXPECT_EQ(qeSLL_XRemoveHead(nullptr), nullptr);
    EXPECT_EQ(qeSLL_XGetHead(nullptr, 1, 1), nullptr);
    EXPECT_EQ(qeSLL_IsEmpty(nullptr), 1);
    qeSLL_LockRelease(nullptr);
    EXPECT_EQ(imageOf(list->lock).count, 0);
}

TEST_F(SynchronizedStack, Uninit_FreesTheLockOnly) {
    qeSLL own{&a, nullptr};
    EXPECT_EQ(qeSLL_Init(&own), 0u);
    EXPECT_EQ(own.head, nullptr);
    ASSERT_NE(own.lock, nullptr);
    qeSLL_XInsertHead(&own, &a);
    qeSLL_Uninit(&own);
    EXPECT_EQ(own.head, &a);
    EXPECT_EQ(own.lock, nullptr);
    qeSLL_Uninit(&own);
    EXPECT_EQ(qeSLL_XRemoveHead(&own), nullptr) << "no lock, no access";
    EXPECT_EQ(qeSLL_XGetHead(&own, 1, 1), kNotTaken);
}

TEST_F(SynchronizedStack, Emptiness_WaitsForQueuedWriters) {
    EXPECT_EQ(qeSLL_XGetHead(list, 0, 1), nullptr);
    AttachedThread writer([this] { qeSLL_XInsertHead(list, &a); });
    ASSERT_TRUE(waitersAre(list->lock, 1, 0));
    AttachedThread reader([this] { EXPECT_EQ(qeSLL_IsEmpty(list), 0) << "not before the writer is through"; });
    ASSERT_TRUE(waitersAre(list->lock, 1, 1));
    qeSLL_LockRelease(list);
}

// A shared holder gets in line behind the writer that waits for it, so it must not wait.
TEST_F(SynchronizedStack, SharedHolder_GetsNoHeadWhileAWriterIsQueued) {
    EXPECT_EQ(qeSLL_XGetHead(list, 0, 1), nullptr);
    EXPECT_EQ(qeSLL_XGetHead(list, 0, 1), nullptr);
    qeSLL_LockRelease(list);
    AttachedThread writer([this] { qeSLL_XInsertHead(list, &a); });
    ASSERT_TRUE(waitersAre(list->lock, 1, 0));
    EXPECT_EQ(qeSLL_XGetHead(list, 0, 0), kNotTaken);
    qeSLL_LockRelease(list);
}

TEST_F(SynchronizedStack, UnattachedThread_IsRefusedWhileTheLockIsHeld) {
    std::thread([this] {
        qeSLL_XInsertHead(list, &a);
        EXPECT_EQ(qeSLL_XRemoveHead(list), &a);
    }).join();
    EXPECT_EQ(qeSLL_XGetHead(list, 1, 1), nullptr);
    std::thread([this] {
        nErrno = 0;
        qeSLL_XInsertHead(list, &a);
        EXPECT_EQ(nErrno, 22);
        EXPECT_EQ(qeSLL_XRemoveHead(list), nullptr);
        EXPECT_EQ(qeSLL_XGetHead(list, 0, 1), kNotTaken);
        EXPECT_EQ(qeSLL_IsEmpty(list), 1);
    }).join();
    EXPECT_EQ(list->head, nullptr);
    qeSLL_LockRelease(list);
}

TEST_F(SynchronizedStack, RandomOperations_AgreeWithStdList) {
    NodePool<qeLLNode> pool(seedOfThisRun());
    std::list<qeLLNode *> model;
    for (int step = 0; step < kRandomSteps && !HasFailure(); ++step) {
        SCOPED_TRACE(step);
        if (pool.below(2) == 0 && !pool.isExhausted()) {
            model.push_front(pool.take());
            qeSLL_XInsertHead(list, model.front());
        } else {
            qeLLNode *removed = removeFromModel(model, 0);
            EXPECT_EQ(qeSLL_XRemoveHead(list), removed);
            if (removed)
                pool.giveBack(removed);
        }
        EXPECT_EQ(qeSLL_IsEmpty(list), model.empty() ? 1 : 0);
        if (step % 16 == 0) {
            EXPECT_EQ(walk(), std::vector<qeLLNode *>(model.begin(), model.end()));
        }
    }
}

TEST_F(SynchronizedRow, FreshList_IsTwoSentinels) {
    ASSERT_NE(list, nullptr);
    ASSERT_NE(list->lock, nullptr);
    expectRow({});
    EXPECT_EQ(qeLL2_XIsEnd(&list->tailSentinel), 1);
}

TEST_F(SynchronizedRow, HeadAndTail_AreWhereTheySay) {
    qeSLL2_XInsertTail(list, &a);
    expectRow({&a});
    qeSLL2_XInsertHead(list, &b);
    expectRow({&b, &a});
    EXPECT_EQ(walk(), (std::vector<qeLL2Node *>{&b, &a}));
    qeSLL2_XInsertTail(list, &c);
    expectRow({&b, &a, &c});
    EXPECT_EQ(qeSLL2_XRemoveTail(list), &c);
    EXPECT_EQ(qeSLL2_XRemoveTail(list), &a);
    expectRow({&b});
    EXPECT_EQ(qeSLL2_XRemoveTail(list), &b);
    expectRow({});
}

TEST_F(SynchronizedRow, RemoveHead_ComesFromTheFront) {
    for (qeLL2Node *node : {&a, &b, &c})
        qeSLL2_XInsertTail(list, node);
    EXPECT_EQ(qeSLL2_XRemoveHead(list), &a);
    EXPECT_EQ(a.next, &b) << "the removed node keeps its links";
    EXPECT_EQ(a.previous, &list->headSentinel);
    expectRow({&b, &c});
}

TEST_F(SynchronizedRow, EmptyList_GivesNothingAndKeepsItsSentinels) {
    EXPECT_EQ(qeSLL2_XRemoveHead(list), nullptr);
    EXPECT_EQ(qeSLL2_XRemoveTail(list), nullptr);
    expectRow({});
}

TEST_F(SynchronizedRow, GetHead_LeavesTheLockHeld_AlsoWhenEmpty) {
    EXPECT_EQ(qeSLL2_XGetHead(list, 1, 0), &list->tailSentinel);
    EXPECT_EQ(imageOf(list->lock).owner, qeSO_GetThread());
    qeSLL2_XInsertHead(list, &a);
    onAnotherThread([this] { EXPECT_EQ(qeSLL2_XGetHead(list, 0, 0), nullptr); });
    qeSLL2_LockRelease(list);
    EXPECT_EQ(qeSLL2_XGetHead(list, 0, 0), &a);
    EXPECT_EQ(imageOf(list->lock).owner, noThread());
    EXPECT_EQ(imageOf(list->lock).count, 1);
    qeSLL2_LockRelease(list);
}

TEST_F(SynchronizedRow, RemovalDuringAWalk_UsesTheLinksDirectly) {
    for (qeLL2Node *node : {&a, &b, &c})
        qeSLL2_XInsertTail(list, node);
    for (qeLL2Node *node = qeSLL2_XGetHead(list, 1, 1); !qeLL2_XIsEnd(node); node = qeLL2_XGetNext(node)) {
        if (node != &b)
            qeLL2_XRemove(node);
    }
    qeSLL2_LockRelease(list);
    expectRow({&b});
}

TEST_F(SynchronizedRow, Nulls_DoNothing) {
    EXPECT_EQ(qeSLL2_Create(nullptr), 0x80000008u);
    EXPECT_EQ(qeSLL2_Init(nullptr), 0x80000008u);
    qeSLL2_Uninit(nullptr);
    qeSLL2_Release(nullptr);
    qeSLL2_XInsertHead(nullptr, &a);
    qeSLL2_XInsertTail(nullptr, &a);
    qeSLL2_XInsertHead(list, nullptr);
    qeSLL2_XInsertTail(list, nullptr);
    expectRow({});
    EXPECT_EQ(qeSLL2_XRemoveHead(nullptr), nullptr);
    EXPECT_EQ(qeSLL2_XRemoveTail(nullptr), nullptr);
    EXPECT_EQ(qeSLL2_XGetHead(nullptr, 1, 1), nullptr);
    EXPECT_EQ(qeSLL2_IsEmpty(nullptr), 1);
    qeSLL2_LockRelease(nullptr);
}

TEST_F(SynchronizedRow, Uninit_UnlinksEveryNodeAndFreesTheLock) {
    qeSLL2 own{};
    EXPECT_EQ(qeSLL2_Init(&own), 0u);
    for (qeLL2Node *node : {&a, &b})
        qeSLL2_XInsertTail(&own, node);
    qeSLL2_Uninit(&own);
    EXPECT_EQ(own.headSentinel.next, &own.tailSentinel);
    EXPECT_EQ(own.tailSentinel.previous, &own.headSentinel);
    EXPECT_EQ(own.lock, nullptr);
    EXPECT_EQ(a.next, &b) << "unlinked, not cleared";
    qeSLL2_Uninit(&own);
    EXPECT_EQ(qeSLL2_XGetHead(&own, 0, 1), nullptr);
}

TEST_F(SynchronizedRow, Emptiness_WaitsForQueuedWriters) {
    EXPECT_EQ(qeSLL2_XGetHead(list, 0, 1), &list->tailSentinel);
    AttachedThread writer([this] { qeSLL2_XInsertTail(list, &a); });
    ASSERT_TRUE(waitersAre(list->lock, 1, 0));
    AttachedThread reader([this] { EXPECT_EQ(qeSLL2_IsEmpty(list), 0); });
    ASSERT_TRUE(waitersAre(list->lock, 1, 1));
    qeSLL2_LockRelease(list);
}

TEST_F(SynchronizedRow, RandomOperations_AgreeWithStdList) {
    NodePool<qeLL2Node> pool(seedOfThisRun());
    std::list<qeLL2Node *> model;
    for (int step = 0; step < kRandomSteps && !HasFailure(); ++step) {
        SCOPED_TRACE(step);
        const bool atHead = pool.below(2) == 0;
        if (pool.below(2) == 0 && !pool.isExhausted()) {
            qeLL2Node *node = pool.take();
            model.insert(atHead ? model.begin() : model.end(), node);
            (atHead ? qeSLL2_XInsertHead : qeSLL2_XInsertTail)(list, node);
        } else {
            qeLL2Node *removed = removeFromModel(model, atHead ? 0 : model.size() - 1);
            EXPECT_EQ((atHead ? qeSLL2_XRemoveHead : qeSLL2_XRemoveTail)(list), removed);
            if (removed)
                pool.giveBack(removed);
        }
        if (step % 16 == 0)
            expectRow(std::vector<qeLL2Node *>(model.begin(), model.end()));
    }
    qeSLL2_Uninit(list); // while the pool's nodes are still there
}

} // namespace
