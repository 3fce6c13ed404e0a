// The LinkedList family: a doubly linked list of caller-owned nodes behind a control block with a count. It locks
// nothing and owns nothing but the control block. Its assertions hold in every build; their path, line numbers and
// expressions are fixed texts that support staff look up, not those of this file.

#include "zorcomn/lists_locks.h"

#include "source/platform/host.h"

#include <cstddef>
#include <cstdlib>

// Callers embed the node and look into the control block, so both are fixed.
static_assert(offsetof(LinkedListNode, previous) == 0 && offsetof(LinkedListNode, next) == sizeof(void *));
static_assert(offsetof(LinkedList, tail) == 0 && offsetof(LinkedList, head) == sizeof(void *));
static_assert(offsetof(LinkedList, count) == 2 * sizeof(void *));

namespace {

/** Where and with which expression an assertion of this family is reported. */
struct Assertion {
    const char *function;
    int line;
    const char *expression;
};

constexpr Assertion kInitList{"LinkedList_Init", 31, "lphLinkedList"};
constexpr Assertion kGetCountList{"LinkedList_GetCount", 167, "lpMain"};
constexpr Assertion kPeekAtNode{"LinkedList_PeekAt", 200, "lpItem"};
constexpr Assertion kRemoveAtTail{"LinkedList_RemoveAt", 238, "lpMain->lpTail"};
constexpr Assertion kRemoveAtNode{"LinkedList_RemoveAt", 245, "lpItem"};

void require(const void *pointer, const Assertion &assertion) {
    if (!pointer)
        zor::host::failAssertion(assertion.function, "../source/Linklist", assertion.line, assertion.expression);
}

/** The node that lies steps behind the first one; a null on the walk fails the assertion. */
LinkedListNode *nodeAt(LinkedListNode *first, uint32_t steps, const Assertion &assertion) {
    LinkedListNode *node = first;
    for (; steps != 0; --steps) {
        require(node, assertion);
        node = node->next;
        require(node, assertion);
    }
    return node;
}

void forgetWhenEmpty(LinkedList &list) {
    if (list.count == 0) {
        list.head = nullptr;
        list.tail = nullptr;
    }
}

} // namespace

int32_t LinkedList_Init(LinkedList **list) {
    require(list, kInitList);
    *list = static_cast<LinkedList *>(std::calloc(1, sizeof(LinkedList)));
    return *list ? 1 : 0;
}

void LinkedList_End(LinkedList **list) {
    if (!list)
        return;
    std::free(*list);
    *list = nullptr;
}

int32_t LinkedList_AddHead(LinkedList *list, void *node) {
    if (!list || !node)
        return 0;
    auto *added = static_cast<LinkedListNode *>(node);
    added->previous = nullptr;
    added->next = list->head;
    if (list->head)
        list->head->previous = added;
    list->head = added;
    if (!list->tail)
        list->tail = added;
    ++list->count;
    return 1;
}

int32_t LinkedList_AddTail(LinkedList *list, void *node) {
    if (!list || !node)
        return 0;
    auto *added = static_cast<LinkedListNode *>(node);
    added->next = nullptr;
    added->previous = list->tail;
    if (list->tail)
        list->tail->next = added;
    list->tail = added;
    if (!list->head)
        list->head = added;
    ++list->count;
    return 1;
}

// Kept: here and in LinkedList_RemoveAt the removed node's links stay as they were; callers step on from them.
void *LinkedList_RemoveTail(LinkedList *list) {
    if (!list || list->count == 0 || !list->tail)
        return nullptr;
    LinkedListNode *removed = list->tail;
    list->tail = removed->previous;
    if (list->tail)
        list->tail->next = nullptr;
    --list->count;
    forgetWhenEmpty(*list);
    return removed;
}

uint32_t LinkedList_GetCount(LinkedList *list) {
    require(list, kGetCountList);
    return list->count;
}

void *LinkedList_PeekAt(LinkedList *list, uint32_t index) {
    if (!list || index >= list->count)
        return nullptr;
    return nodeAt(list->head, index, kPeekAtNode);
}

void *LinkedList_RemoveAt(LinkedList *list, uint32_t index) {
    if (!list || index >= list->count)
        return nullptr;
    LinkedListNode *first = list->head;
    if (index == 0) {
        if (!first)
            return nullptr;
        list->head = first->next;
        if (list->head)
            list->head->previous = nullptr;
    } else if (index == list->count - 1) {
        require(list->tail, kRemoveAtTail);
        list->tail = list->tail->previous;
    }
    LinkedListNode *removed = nodeAt(first, index, kRemoveAtNode);
    --list->count;
    forgetWhenEmpty(*list);
    if (removed->previous)
        removed->previous->next = removed->next;
    if (removed->next)
        removed->next->previous = removed->previous;
    return removed;
}
