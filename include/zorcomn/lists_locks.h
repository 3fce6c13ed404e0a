#pragma once
#include "api.h"
#include "portability.h"

#include <stdint.h>
#ifdef __cplusplus
extern "C" {
#endif

/* Intrusive lists. A node belongs to the caller and starts with its links; no operation allocates, copies or frees one,
 * and a node is in at most one list at a time. None of these lists locks anything: whoever shares one between threads
 * holds a lock of his own around every operation. An X in a name marks an operation that may run on a list that another
 * module protects; it assumes that the caller already holds that lock (for the synchronized lists below: exclusively to
 * change the list, shared to walk it). */

/** The links of a LinkedList node: previous lies towards the head, next towards the tail, null at the ends. */
typedef struct LinkedListNode {
    struct LinkedListNode *previous;
    struct LinkedListNode *next;
} LinkedListNode;
/** A LinkedList's control block. Callers may read it; LinkedList_Init makes it, LinkedList_End frees it. */
typedef struct LinkedList {
    LinkedListNode *tail;
    LinkedListNode *head;
    uint32_t count; /* nodes in the list */
} LinkedList;

/** Makes an empty list.
 * @param list  [out] the new list, null when memory runs out. A null address is a failed assertion: the process ends
 *              with the report "LinkedList_Init", "../source/Linklist", line 31, "lphLinkedList".
 * @return 1; 0 when memory runs out.
 * Error cell: untouched.  Threads: safe.  Owns: the list is the caller's; release it with LinkedList_End.
 */
ZORCOMN_API int32_t LinkedList_Init(LinkedList **list);

/** Releases a list's control block, not its nodes, and stores null in its place.
 * @param list  address of the list pointer; a null address and a null pointer are ignored.
 * Error cell: untouched.  Threads: the caller's lock.  Owns: the nodes stay the caller's.
 */
ZORCOMN_API void LinkedList_End(LinkedList **list);

/** Puts a node in front of all others.
 * @param list  null is refused.
 * @param node  starts with its LinkedListNode, which is overwritten; in no list yet; null is refused.
 * @return 1; 0 when refused.
 * Error cell: untouched.  Threads: the caller's lock.  Owns: nothing.
 */
ZORCOMN_API int32_t LinkedList_AddHead(LinkedList *list, void *node);

/** Puts a node behind all others; otherwise as LinkedList_AddHead.
 * @param list  null is refused.
 * @param node  starts with its LinkedListNode, which is overwritten; in no list yet; null is refused.
 * @return 1; 0 when refused.
 * Error cell: untouched.  Threads: the caller's lock.  Owns: nothing.
 */
ZORCOMN_API int32_t LinkedList_AddTail(LinkedList *list, void *node);

/** Takes the last node out. Its own links stay as they were.
 * @param list  null counts as empty.
 * @return the node; null when the list is empty.
 * Error cell: untouched.  Threads: the caller's lock.  Owns: nothing.
 */
ZORCOMN_API void *LinkedList_RemoveTail(LinkedList *list);

/** Number of nodes in the list.
 * @param list  null is a failed assertion: "LinkedList_GetCount", "../source/Linklist", line 167, "lpMain".
 * Error cell: untouched.  Threads: the caller's lock.  Owns: nothing.
 */
ZORCOMN_API uint32_t LinkedList_GetCount(LinkedList *list);

/** The node at a position; the list stays as it is. Walks from the head.
 * @param list   null counts as empty. A list with fewer nodes than its count is a failed assertion:
 *               "LinkedList_PeekAt", "../source/Linklist", line 200, "lpItem".
 * @param index  position from the head, from 0.
 * @return the node; null when index is not less than the count.
 * Error cell: untouched.  Threads: the caller's lock.  Owns: nothing.
 */
ZORCOMN_API void *LinkedList_PeekAt(LinkedList *list, uint32_t index);

/** Takes the node at a position out. Walks from the head. The node's own links stay as they were.
 * @param list   null counts as empty. Failed assertions of "LinkedList_RemoveAt", "../source/Linklist": line 238,
 *               "lpMain->lpTail", for the last position of a list without a tail; line 245, "lpItem", for a list with
 *               fewer nodes than its count.
 * @param index  position from the head, from 0.
 * @return the node; null when index is not less than the count.
 * Error cell: untouched.  Threads: the caller's lock.  Owns: nothing.
 */
ZORCOMN_API void *LinkedList_RemoveAt(LinkedList *list, uint32_t index);

/** The link of a qeLL_ node, null at the end. A qeLL_ list is a pointer cell that holds the first node, null when it is
 * empty; since the link comes first, a node's address is also the link cell before its successor. */
typedef struct qeLLNode {
    struct qeLLNode *next;
} qeLLNode;

/** Empties a list: stores null in its cell.
 * @param list  null is ignored.
 * Error cell: untouched.  Threads: the caller's lock.  Owns: nodes that were in the list stay the caller's.
 */
ZORCOMN_API void qeLL_Init(qeLLNode **list);

/** Pushes a node in front of all others.
 * @param list  the list's cell; null: nothing happens.
 * @param node  in no list yet; null: nothing happens.
 * Error cell: untouched.  Threads: the caller's lock.  Owns: nothing.
 */
ZORCOMN_API void qeLL_XInsertHead(qeLLNode **list, qeLLNode *node);

/** Takes a node out: its link cell gets the node's successor. The node's own link stays as it was.
 * @param link  the cell that points at node: the list's own cell, or the node before as a cell; null: nothing happens.
 * @param node  null: nothing happens. That link points at it is not checked.
 * Error cell: untouched.  Threads: the caller's lock.  Owns: nothing.
 */
ZORCOMN_API void qeLL_XRemove(qeLLNode **link, qeLLNode *node);

/** Takes the first node out. Its own link stays as it was.
 * @param list  the list's cell; null counts as empty.
 * @return the node; null when the list is empty.
 * Error cell: untouched.  Threads: the caller's lock.  Owns: nothing.
 */
ZORCOMN_API qeLLNode *qeLL_XRemoveHead(qeLLNode **list);

/** Where a walk starts: the node given.
 * @param node  the first node, null for an empty list.
 * @return node.
 * Error cell: untouched.  Threads: the caller's lock.  Owns: nothing.
 */
ZORCOMN_API qeLLNode *qeLL_XGetStart(qeLLNode *node);

/** One step of a walk.
 * @param node  null gives null.
 * @return the node's successor; null at the end.
 * Error cell: untouched.  Threads: the caller's lock.  Owns: nothing.
 */
ZORCOMN_API qeLLNode *qeLL_XGetNext(qeLLNode *node);

/** Whether a walk has come to its end.
 * @return 1 for null, else 0.
 * Error cell: untouched.  Threads: safe.  Owns: nothing.
 */
ZORCOMN_API int32_t qeLL_XIsEnd(const qeLLNode *node);

/** Whether a list has no node.
 * @param list  the list's cell; null counts as empty.
 * @return 1 or 0.
 * Error cell: untouched.  Threads: the caller's lock.  Owns: nothing.
 */
ZORCOMN_API int32_t qeLL_IsEmpty(qeLLNode *const *list);

/** The links of a qeLL2_ node. A row of such nodes ends, on either side, in a sentinel that is its own neighbour: the
 * tail sentinel's next and the head sentinel's previous point at themselves. */
typedef struct qeLL2Node {
    struct qeLL2Node *next;
    struct qeLL2Node *previous;
} qeLL2Node;

/** One step of a walk towards the tail.
 * @param node  null gives null.
 * @return the node's successor; the tail sentinel gives itself.
 * Error cell: untouched.  Threads: the caller's lock.  Owns: nothing.
 */
ZORCOMN_API qeLL2Node *qeLL2_XGetNext(qeLL2Node *node);

/** One step of a walk towards the head.
 * @param node  null gives null.
 * @return the node's predecessor; the head sentinel gives itself.
 * Error cell: untouched.  Threads: the caller's lock.  Owns: nothing.
 */
ZORCOMN_API qeLL2Node *qeLL2_XGetPrev(qeLL2Node *node);

/** Whether a walk towards the tail has come to its end.
 * @return 1 for null and for a node whose next is itself, the tail sentinel; else 0, also for the head sentinel.
 * Error cell: untouched.  Threads: the caller's lock.  Owns: nothing.
 */
ZORCOMN_API int32_t qeLL2_XIsEnd(const qeLL2Node *node);

/** Takes a node out from between its neighbours; a null neighbour is passed over. The node's own links stay as they
 * were, so that a walk can step on from it until it is used again.
 * @param node  null: nothing happens; a sentinel must not be given.
 * Error cell: untouched.  Threads: the caller's lock.  Owns: nothing.
 */
ZORCOMN_API void qeLL2_XRemove(qeLL2Node *node);

/* synchronized lists */
struct qeSELock; /* layout is the library's own, fields in the order the lock's Part gives */
typedef struct qeSELock qeSELock;
typedef struct qeSLL {
    qeLLNode *head;
    qeSELock *lock;
} qeSLL;
typedef struct qeSLL2 {
    qeLL2Node headSentinel;
    qeLL2Node tailSentinel;
    qeSELock *lock;
} qeSLL2;
ZORCOMN_API uint32_t qeSLL_Create(qeSLL **list);
ZORCOMN_API uint32_t qeSLL_Init(qeSLL *list);
ZORCOMN_API void qeSLL_Uninit(qeSLL *list);
ZORCOMN_API void qeSLL_Release(qeSLL *list);
ZORCOMN_API void qeSLL_XInsertHead(qeSLL *list, qeLLNode *node);
ZORCOMN_API qeLLNode *qeSLL_XRemoveHead(qeSLL *list);
ZORCOMN_API qeLLNode *qeSLL_XGetHead(qeSLL *list, int32_t exclusive, int32_t wait);
ZORCOMN_API void qeSLL_LockRelease(qeSLL *list);
ZORCOMN_API int32_t qeSLL_IsEmpty(qeSLL *list);
ZORCOMN_API uint32_t qeSLL2_Create(qeSLL2 **list);
ZORCOMN_API uint32_t qeSLL2_Init(qeSLL2 *list);
ZORCOMN_API void qeSLL2_Uninit(qeSLL2 *list);
ZORCOMN_API void qeSLL2_Release(qeSLL2 *list);
ZORCOMN_API void qeSLL2_XInsertHead(qeSLL2 *list, qeLL2Node *node);
ZORCOMN_API void qeSLL2_XInsertTail(qeSLL2 *list, qeLL2Node *node);
ZORCOMN_API qeLL2Node *qeSLL2_XRemoveHead(qeSLL2 *list);
ZORCOMN_API qeLL2Node *qeSLL2_XRemoveTail(qeSLL2 *list);
ZORCOMN_API qeLL2Node *qeSLL2_XGetHead(qeSLL2 *list, int32_t exclusive, int32_t wait);
ZORCOMN_API void qeSLL2_LockRelease(qeSLL2 *list);
ZORCOMN_API int32_t qeSLL2_IsEmpty(qeSLL2 *list);
ZORCOMN_API int32_t qeSL_Get(volatile int32_t *cell);
ZORCOMN_API void qeSL_Release(volatile int32_t *cell);

/* shared/exclusive lock and per-thread attach */
typedef uint32_t (*qeSONotify)(uint32_t first, uint32_t event, uint32_t second, uint32_t zero);
ZORCOMN_API uint32_t qeSO_ProcessAttach(void);
ZORCOMN_API int32_t qeSO_ProcessDetach(void);
ZORCOMN_API uintptr_t qeSO_ThreadAttach(void); /* the token, or 1/0 from storing a new one */
ZORCOMN_API int32_t qeSO_ThreadDetach(void);
ZORCOMN_API void qeSO_ThreadAttachX(void);
ZORCOMN_API void qeSO_ThreadDetachX(void);
ZORCOMN_API HANDLE qeSO_GetThread(void);
ZORCOMN_API HANDLE qeSO_DbgGetThread(void);
ZORCOMN_API uint32_t qeSO_SELockCreate(qeSELock **lock);
ZORCOMN_API void qeSO_Release(qeSELock *lock);
ZORCOMN_API int32_t qeSO_SELockExclusive(qeSELock *lock, int32_t wait);
ZORCOMN_API int32_t qeSO_SELockSharedStarveExclusive(qeSELock *lock, int32_t wait);
ZORCOMN_API int32_t qeSO_SELockSharedWaitForExclusive(qeSELock *lock, int32_t wait);
ZORCOMN_API int32_t qeSO_SELock(qeSELock *lock, int32_t exclusive, int32_t wait);
ZORCOMN_API void qeSO_SELockExclusiveToShared(qeSELock *lock);
ZORCOMN_API void qeSO_SELockRelease(qeSELock *lock);
ZORCOMN_API int32_t qeSO_SELockExclusiveNotify(qeSELock *lock, qeSONotify callback, uint32_t first, uint32_t second);
ZORCOMN_API int32_t qeSO_SELockExclusiveUnnotify(qeSELock *lock, qeSONotify callback, uint32_t first, uint32_t second);
ZORCOMN_API extern uint32_t qeSO_tls_index;

#ifdef __cplusplus
}
#endif
