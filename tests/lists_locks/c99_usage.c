/* The lists and locks from C99: what is declared compiles, links and works without C++. */

#include "zorcomn/lists_locks.h"

typedef struct Item {
    qeLL2Node links;
    int value;
} Item;

static uint32_t onFree(uint32_t first, uint32_t event, uint32_t second, uint32_t zero) {
    return first + second + zero + (event == 0x1100u ? 0u : 1u);
}

static int sumOfRow(qeSLL2 *row) {
    int sum = 0;
    qeLL2Node *node;
    for (node = qeSLL2_XGetHead(row, 0, 1); !qeLL2_XIsEnd(node); node = qeLL2_XGetNext(node))
        sum += ((Item *)(void *)node)->value;
    qeSLL2_LockRelease(row);
    return sum;
}

int useListsAndLocksFromC(void);
int useListsAndLocksFromC(void) {
    LinkedList *list = 0;
    LinkedListNode plain = {0, 0};
    qeSLL2 *row = 0;
    qeSELock *lock = 0;
    Item items[3] = {{{0, 0}, 1}, {{0, 0}, 10}, {{0, 0}, 100}};
    int sum;

    if (!LinkedList_Init(&list) || !LinkedList_AddHead(list, &plain) || LinkedList_PeekAt(list, 0) != &plain)
        return 1;
    LinkedList_End(&list);

    if (qeSO_ProcessAttach() == 0xFFFFFFFFu || qeSO_ThreadAttach() == 0 || qeSLL2_Create(&row) != 0 || !row)
        return 2;
    qeSLL2_XInsertTail(row, &items[0].links);
    qeSLL2_XInsertTail(row, &items[1].links);
    qeSLL2_XInsertHead(row, &items[2].links);
    sum = sumOfRow(row);
    qeSLL2_Release(row);

    if (qeSO_SELockCreate(&lock) != 0 || !qeSO_SELockExclusiveNotify(lock, onFree, 0, 0))
        return 3;
    qeSO_SELockRelease(lock);
    qeSO_Release(lock);
    if (!qeSO_ThreadDetach() || !qeSO_ProcessDetach())
        return 4;
    return sum == 111 ? 0 : 5;
}
