// Lists that carry their own shared/exclusive lock: qeSLL_, a stack, and qeSLL2_, a row between two sentinels. Every
// operation holds that lock while it touches a link. The releases stand at the end of each operation and not in a
// destructor, since a callback that a release runs may end its thread.

#include "zorcomn/lists_locks.h"

#include "source/portability/error_cell.h"

#include <cstddef>
#include <memory>
#include <new>

using namespace zor;

namespace {

static_assert(offsetof(qeSLL, head) == 0 && offsetof(qeSLL, lock) == sizeof(void *));
static_assert(offsetof(qeSLL2, headSentinel) == 0 && offsetof(qeSLL2, tailSentinel) == 2 * sizeof(void *));
static_assert(offsetof(qeSLL2, lock) == 4 * sizeof(void *));

constexpr int32_t kWait = 1;

// Kept: a list whose lock could not be created is no failure; the caller finds no list.
template <class List> uint32_t create(List **list, uint32_t (*initialise)(List *)) {
    if (!list)
        return kFailure;
    *list = nullptr;
    std::unique_ptr<List> created(new (std::nothrow) List());
    if (!created)
        return kFailure;
    if (initialise(created.get()) == 0)
        *list = created.release();
    return 0;
}

template <class List> void freeLock(List &list) {
    qeSO_Release(list.lock);
    list.lock = nullptr;
}

void linkSentinels(qeSLL2 &list) {
    list.headSentinel = {&list.tailSentinel, &list.headSentinel};
    list.tailSentinel = {&list.tailSentinel, &list.headSentinel};
}

void insertBetween(qeLL2Node &before, qeLL2Node &after, qeLL2Node &node) {
    node = {&after, &before};
    before.next = &node;
    after.previous = &node;
}

bool isEmpty(const qeSLL2 &list) {
    return list.headSentinel.next == &list.tailSentinel;
}

/** Unlinks the first or the last node, whichever end names; null when there is none. */
qeLL2Node *removeAt(qeLL2Node *node, const qeSLL2 &list) {
    if (isEmpty(list))
        return nullptr;
    qeLL2_XRemove(node);
    return node;
}

} // namespace

uint32_t qeSLL_Create(qeSLL **list) {
    return create(list, qeSLL_Init);
}

uint32_t qeSLL_Init(qeSLL *list) {
    if (!list)
        return kFailure;
    qeLL_Init(&list->head);
    return qeSO_SELockCreate(&list->lock);
}

void qeSLL_Uninit(qeSLL *list) {
    if (list)
        freeLock(*list);
}

void qeSLL_Release(qeSLL *list) {
    qeSLL_Uninit(list);
    delete list;
}

void qeSLL_XInsertHead(qeSLL *list, qeLLNode *node) {
    if (!list || !qeSO_SELockExclusive(list->lock, kWait))
        return;
    qeLL_XInsertHead(&list->head, node);
    qeSO_SELockRelease(list->lock);
}

qeLLNode *qeSLL_XRemoveHead(qeSLL *list) {
    if (!list || !qeSO_SELockExclusive(list->lock, kWait))
        return nullptr;
    qeLLNode *removed = qeLL_XRemoveHead(&list->head);
    qeSO_SELockRelease(list->lock);
    return removed;
}

// Kept: all-ones says that the lock was not taken; null is the head of an empty list, whose lock is then held.
qeLLNode *qeSLL_XGetHead(qeSLL *list, int32_t exclusive, int32_t wait) {
    if (!list)
        return nullptr;
    return qeSO_SELock(list->lock, exclusive, wait) ? list->head : static_cast<qeLLNode *>(invalidHandle());
}

void qeSLL_LockRelease(qeSLL *list) {
    if (list)
        qeSO_SELockRelease(list->lock);
}

int32_t qeSLL_IsEmpty(qeSLL *list) {
    if (!list || !qeSO_SELockSharedWaitForExclusive(list->lock, kWait))
        return 1;
    const int32_t empty = qeLL_IsEmpty(&list->head);
    qeSO_SELockRelease(list->lock);
    return empty;
}

uint32_t qeSLL2_Create(qeSLL2 **list) {
    return create(list, qeSLL2_Init);
}

uint32_t qeSLL2_Init(qeSLL2 *list) {
    if (!list)
        return kFailure;
    linkSentinels(*list);
    return qeSO_SELockCreate(&list->lock);
}

void qeSLL2_Uninit(qeSLL2 *list) {
    if (!list)
        return;
    while (qeSLL2_XRemoveHead(list)) {
    }
    freeLock(*list);
}

void qeSLL2_Release(qeSLL2 *list) {
    qeSLL2_Uninit(list);
    delete list;
}

void qeSLL2_XInsertHead(qeSLL2 *list, qeLL2Node *node) {
    if (!list || !node || !qeSO_SELockExclusive(list->lock, kWait))
        return;
    insertBetween(list->headSentinel, *list->headSentinel.next, *node);
    qeSO_SELockRelease(list->lock);
}

void qeSLL2_XInsertTail(qeSLL2 *list, qeLL2Node *node) {
    if (!list || !node || !qeSO_SELockExclusive(list->lock, kWait))
        return;
    insertBetween(*list->tailSentinel.previous, list->tailSentinel, *node);
    qeSO_SELockRelease(list->lock);
}

qeLL2Node *qeSLL2_XRemoveHead(qeSLL2 *list) {
    if (!list || !qeSO_SELockExclusive(list->lock, kWait))
        return nullptr;
    qeLL2Node *removed = removeAt(list->headSentinel.next, *list);
    qeSO_SELockRelease(list->lock);
    return removed;
}

qeLL2Node *qeSLL2_XRemoveTail(qeSLL2 *list) {
    if (!list || !qeSO_SELockExclusive(list->lock, kWait))
        return nullptr;
    qeLL2Node *removed = removeAt(list->tailSentinel.previous, *list);
    qeSO_SELockRelease(list->lock);
    return removed;
}

qeLL2Node *qeSLL2_XGetHead(qeSLL2 *list, int32_t exclusive, int32_t wait) {
    if (!list || !qeSO_SELock(list->lock, exclusive, wait))
        return nullptr;
    return list->headSentinel.next;
}

void qeSLL2_LockRelease(qeSLL2 *list) {
    if (list)
        qeSO_SELockRelease(list->lock);
}

int32_t qeSLL2_IsEmpty(qeSLL2 *list) {
    if (!list || !qeSO_SELockSharedWaitForExclusive(list->lock, kWait))
        return 1;
    const bool empty = isEmpty(*list);
    qeSO_SELockRelease(list->lock);
    return empty ? 1 : 0;
}
