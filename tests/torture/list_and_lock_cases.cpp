// Intrusive and synchronized lists, the shared/exclusive lock.

#include "tests/torture/cases.h"

#include "zorcomn/lists_locks.h"

namespace zor::torture {

namespace {

/** An attached thread, which everything with a lock asks for. */
struct Attached {
    Attached() {
        qeSO_ProcessAttach();
        qeSO_ThreadAttach();
    }
    ~Attached() {
        qeSO_ThreadDetach();
        qeSO_ProcessDetach();
    }
};

struct Lock {
    Lock() { qeSO_SELockCreate(&lock); }
    ~Lock() { qeSO_Release(lock); }
    Attached attached;
    qeSELock *lock = nullptr;
};

/** Stays when the lock is free, agrees to be withdrawn. */
uint32_t notified(uint32_t, uint32_t event, uint32_t, uint32_t) {
    return event == ZORCOMN_LOCK_IS_FREE ? 1 : 0;
}

template <class Take> void takeAndGive(Outcome &outcome, Take take) {
    const Lock lock;
    const bool isTaken = faulty([&] { return take(lock.lock); }) != 0;
    if (outcome.succeeded(isTaken))
        qeSO_SELockRelease(lock.lock);
}

std::vector<Case> lists() {
    return {
        {"LinkedList_Init LinkedList_End",
         [](Outcome &outcome) {
             LinkedList *list = nullptr;
             if (outcome.succeeded(faulty([&] { return LinkedList_Init(&list); }) == 1))
                 outcome.field("count", std::to_string(LinkedList_GetCount(list)));
             faulty([&] { LinkedList_End(&list); });
         }},
        {"LinkedList_AddHead LinkedList_AddTail LinkedList_RemoveTail LinkedList_GetCount LinkedList_PeekAt "
         "LinkedList_RemoveAt",
         [](Outcome &outcome) {
             LinkedList *list = nullptr;
             LinkedListNode first = {}, second = {};
             LinkedList_Init(&list);
             faulty([&] {
                 LinkedList_AddHead(list, &first);
                 LinkedList_AddTail(list, &second);
                 outcome.require(LinkedList_PeekAt(list, 0) == &first, "another node");
                 outcome.require(LinkedList_RemoveTail(list) == &second, "another node");
                 outcome.require(LinkedList_RemoveAt(list, 0) == &first, "another node");
             });
             outcome.field("count", std::to_string(LinkedList_GetCount(list)));
             LinkedList_End(&list);
         }},
        {"qeLL_Init qeLL_XInsertHead qeLL_XRemove qeLL_XRemoveHead qeLL_XGetStart qeLL_XGetNext qeLL_XIsEnd "
         "qeLL_IsEmpty",
         [](Outcome &outcome) {
             qeLLNode *list = nullptr;
             qeLLNode first = {}, second = {};
             faulty([&] {
                 qeLL_Init(&list);
                 qeLL_XInsertHead(&list, &first);
                 qeLL_XInsertHead(&list, &second);
                 qeLL_XGetStart(list);
                 qeLL_XIsEnd(qeLL_XGetNext(list));
                 qeLL_XRemove(&list, &second);
                 qeLL_XRemoveHead(&list);
             });
             outcome.field("empty", std::to_string(qeLL_IsEmpty(&list)));
         }},
        {"qeSLL_Create qeSLL_Release",
         [](Outcome &outcome) {
             const Attached attached;
             qeSLL *list = nullptr;
             if (outcome.succeeded(faulty([&] { return qeSLL_Create(&list); }) == 0))
                 faulty([&] { qeSLL_Release(list); });
         }},
        {"qeSLL_Init qeSLL_Uninit",
         [](Outcome &outcome) {
             const Attached attached;
             qeSLL list = {};
             if (outcome.succeeded(faulty([&] { return qeSLL_Init(&list); }) == 0))
                 faulty([&] { qeSLL_Uninit(&list); });
         }},
        {"qeSLL_XInsertHead qeSLL_XRemoveHead qeSLL_XGetHead qeSLL_LockRelease qeSLL_IsEmpty",
         [](Outcome &outcome) {
             const Attached attached;
             qeSLL list = {};
             qeLLNode node = {};
             qeSLL_Init(&list);
             faulty([&] {
                 qeSLL_XInsertHead(&list, &node);
                 if (qeSLL_XGetHead(&list, 1, 1))
                     qeSLL_LockRelease(&list);
                 qeSLL_XRemoveHead(&list);
             });
             outcome.field("empty", std::to_string(qeSLL_IsEmpty(&list)));
             qeSLL_Uninit(&list);
         }},
        {"qeSLL2_Create qeSLL2_Release",
         [](Outcome &outcome) {
             const Attached attached;
             qeSLL2 *list = nullptr;
             if (outcome.succeeded(faulty([&] { return qeSLL2_Create(&list); }) == 0))
                 faulty([&] { qeSLL2_Release(list); });
         }},
        {"qeSLL2_Init qeSLL2_Uninit",
         [](Outcome &outcome) {
             const Attached attached;
             qeSLL2 list = {};
             if (outcome.succeeded(faulty([&] { return qeSLL2_Init(&list); }) == 0))
                 faulty([&] { qeSLL2_Uninit(&list); });
         }},
        {"qeSLL2_XInsertHead qeSLL2_XInsertTail qeSLL2_XRemoveHead qeSLL2_XRemoveTail qeSLL2_XGetHead "
         "qeSLL2_LockRelease qeSLL2_IsEmpty qeLL2_XGetNext qeLL2_XGetPrev qeLL2_XIsEnd qeLL2_XRemove",
         [](Outcome &outcome) {
             const Attached attached;
             qeSLL2 list = {};
             qeLL2Node first = {}, second = {}, third = {};
             qeSLL2_Init(&list);
             faulty([&] {
                 qeSLL2_XInsertHead(&list, &first);
                 qeSLL2_XInsertTail(&list, &second);
                 qeSLL2_XInsertTail(&list, &third);
                 if (qeLL2Node *const head = qeSLL2_XGetHead(&list, 1, 1)) {
                     qeLL2_XIsEnd(qeLL2_XGetPrev(qeLL2_XGetNext(head)));
                     qeLL2_XRemove(head);
                     qeSLL2_LockRelease(&list);
                 }
                 qeSLL2_XRemoveHead(&list);
                 qeSLL2_XRemoveTail(&list);
             });
             outcome.field("empty", std::to_string(qeSLL2_IsEmpty(&list)));
             qeSLL2_Uninit(&list);
         }},
        {"qeSL_Get qeSL_Release",
         [](Outcome &outcome) {
             volatile int32_t cell = 0;
             faulty([&] {
                 qeSL_Get(&cell);
                 qeSL_Release(&cell);
             });
             outcome.field("cell", std::to_string(cell));
         }},
    };
}

std::vector<Case> locks() {
    return {
        {"qeSO_ProcessAttach qeSO_ProcessDetach",
         [](Outcome &outcome) {
             const bool isAttached = faulty([] { return qeSO_ProcessAttach(); }) != 0xFFFFFFFFu;
             outcome.field("detach", std::to_string(faulty([] { return qeSO_ProcessDetach(); })), {"0"});
             outcome.succeeded(isAttached);
         }},
        {"qeSO_ThreadAttach qeSO_GetThread qeSO_DbgGetThread qeSO_ThreadDetach",
         [](Outcome &outcome) {
             qeSO_ProcessAttach();
             const uintptr_t attached = faulty([] { return qeSO_ThreadAttach(); });
             if (outcome.succeeded(attached != 0)) {
                 outcome.require(qeSO_GetThread() != nullptr, "attached without a token");
                 outcome.require(qeSO_DbgGetThread() == qeSO_GetThread(), "two tokens");
             }
             faulty([] { return qeSO_ThreadDetach(); });
             qeSO_ProcessDetach();
         }},
        {"qeSO_ThreadAttachX qeSO_ThreadDetachX",
         [](Outcome &outcome) {
             const Attached attached;
             faulty([] {
                 qeSO_ThreadAttachX(); // which detaches
                 qeSO_ThreadDetachX();
             });
             outcome.field("attached", std::to_string(reinterpret_cast<uintptr_t>(qeSO_GetThread()) != UINTPTR_MAX),
                           {by("pthread_setspecific", "1")});
         }},
        {"qeSO_SELockCreate qeSO_Release",
         [](Outcome &outcome) {
             const Attached attached;
             qeSELock *lock = nullptr;
             if (outcome.succeeded(faulty([&] { return qeSO_SELockCreate(&lock); }) == 0)) {
                 outcome.require(qeSO_SELockExclusive(lock, 1) != 0, "a lock that cannot be taken");
                 qeSO_SELockRelease(lock);
                 faulty([&] { qeSO_Release(lock); });
             }
         }},
        {"qeSO_SELockExclusive",
         [](Outcome &outcome) { takeAndGive(outcome, [](qeSELock *lock) { return qeSO_SELockExclusive(lock, 1); }); }},
        {"qeSO_SELockSharedStarveExclusive",
         [](Outcome &outcome) {
             takeAndGive(outcome, [](qeSELock *lock) { return qeSO_SELockSharedStarveExclusive(lock, 1); });
         }},
        {"qeSO_SELockSharedWaitForExclusive",
         [](Outcome &outcome) {
             takeAndGive(outcome, [](qeSELock *lock) { return qeSO_SELockSharedWaitForExclusive(lock, 1); });
         }},
        {"qeSO_SELock qeSO_SELockExclusiveToShared qeSO_SELockRelease",
         [](Outcome &outcome) {
             const Lock lock;
             faulty([&] {
                 if (qeSO_SELock(lock.lock, 1, 1)) {
                     qeSO_SELockExclusiveToShared(lock.lock);
                     qeSO_SELockRelease(lock.lock);
                 }
             });
             outcome.require(qeSO_SELockExclusive(lock.lock, 0) != 0, "the lock is not free");
             qeSO_SELockRelease(lock.lock);
         }},
        {"qeSO_SELockExclusiveNotify qeSO_SELockExclusiveUnnotify",
         [](Outcome &outcome) {
             const Lock lock;
             const bool isHeld = faulty([&] { return qeSO_SELockExclusiveNotify(lock.lock, notified, 1, 2); }) == 1;
             outcome.field("held", std::to_string(isHeld)); // the lock was free: nothing is registered
             outcome.field("withdrawn", std::to_string(faulty(
                                            [&] { return qeSO_SELockExclusiveUnnotify(lock.lock, notified, 1, 2); })));
             qeSO_SELockRelease(lock.lock);
         }},
    };
}

} // namespace

std::vector<Case> listAndLockCases() {
    std::vector<Case> cases = lists();
    for (const Case &one : locks())
        cases.push_back(one);
    return cases;
}

} // namespace zor::torture
