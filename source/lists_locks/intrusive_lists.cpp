// The intrusive lists without a control block: qeLL_, a singly linked stack behind one pointer cell, and the steps of
// qeLL2_, whose last node is its own successor. Nothing here locks: the X in a name says that the caller holds whatever
// lock protects the list.

#include "zorcomn/lists_locks.h"

#include <cstddef>

// A node's address serves as the link cell before its successor, and its links are its first words.
static_assert(offsetof(qeLLNode, next) == 0, "a node is the link cell of its successor");
static_assert(sizeof(qeLLNode) == sizeof(void *), "a node starts with one pointer");
static_assert(offsetof(qeLL2Node, next) == 0, "next comes first");
static_assert(offsetof(qeLL2Node, previous) == sizeof(void *), "previous follows next");

void qeLL_Init(qeLLNode **list) {
    if (list)
        *list = nullptr;
}

void qeLL_XInsertHead(qeLLNode **list, qeLLNode *node) {
    if (!list || !node)
        return;
    node->next = *list;
    *list = node;
}

void qeLL_XRemove(qeLLNode **link, qeLLNode *node) {
    if (link && node)
        *link = node->next;
}

qeLLNode *qeLL_XRemoveHead(qeLLNode **list) {
    if (!list || !*list)
        return nullptr;
    qeLLNode *removed = *list;
    *list = removed->next;
    return removed;
}

qeLLNode *qeLL_XGetStart(qeLLNode *node) {
    return node;
}

qeLLNode *qeLL_XGetNext(qeLLNode *node) {
    return node ? node->next : nullptr;
}

int32_t qeLL_XIsEnd(const qeLLNode *node) {
    return node ? 0 : 1;
}

int32_t qeLL_IsEmpty(qeLLNode *const *list) {
    return list && *list ? 0 : 1;
}

qeLL2Node *qeLL2_XGetNext(qeLL2Node *node) {
    return node ? node->next : nullptr;
}

qeLL2Node *qeLL2_XGetPrev(qeLL2Node *node) {
    return node ? node->previous : nullptr;
}

int32_t qeLL2_XIsEnd(const qeLL2Node *node) {
    return !node || node->next == node ? 1 : 0;
}

// Kept: the removed node's own links stay as they were; a walk steps on from it.
void qeLL2_XRemove(qeLL2Node *node) {
    if (!node)
        return;
    if (node->next)
        node->next->previous = node->previous;
    if (node->previous)
        node->previous->next = node->next;
}
