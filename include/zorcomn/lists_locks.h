/** @file
 * Intrusive and synchronized lists, and the shared/exclusive lock that the latter carry. C99 and C++.
 *
 * @include subsystems/lists_locks.c
 */
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
    struct LinkedListNode *previous; /**< the node before it */
    struct LinkedListNode *next;     /**< the node behind it */
} LinkedListNode;
/** A LinkedList's control block. Callers may read it; LinkedList_Init makes it, LinkedList_End frees it. */
typedef struct LinkedList {
    LinkedListNode *tail; /**< the last node, null when the list is empty */
    LinkedListNode *head; /**< the first node, null when the list is empty */
    uint32_t count;       /**< nodes in the list */
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
    struct qeLLNode *next; /**< the node behind it, null at the end */
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
    struct qeLL2Node *next;     /**< towards the tail */
    struct qeLL2Node *previous; /**< towards the head */
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

/* Synchronized lists: lists that carry a shared/exclusive lock of their own (see below). Each operation takes that
 * lock, waiting as long as it must, and releases it before it returns; qeSLL_XGetHead and qeSLL2_XGetHead alone leave
 * it held, for a walk:
 *
 *     qeLLNode *node = qeSLL_XGetHead(list, 0, 1);
 *     if ((uintptr_t)node == UINTPTR_MAX)
 *         return; // not taken: nothing to walk, and nothing to release
 *     for (; !qeLL_XIsEnd(node); node = qeLL_XGetNext(node))
 *         look(node);
 *     qeSLL_LockRelease(list);
 *
 * With qeSLL2_XGetHead, 'not taken' is null. To change a list during its walk, get the head exclusively and use the X
 * operations above, which do not lock. The owner of the exclusive lock may also call the operations here; a thread that
 * holds the lock shared may not: it would wait for itself, in the get-head and the emptiness test as soon as an
 * exclusive request is queued, in the others always. It may get the head without waiting (wait 0).
 *
 * A thread must be attached (qeSO_ThreadAttach). One that is not finds a free list as everybody does; while somebody
 * holds the list's lock, its request is not carried out where it would have to wait: nothing is inserted, nothing
 * removed, the list seems empty, and nErrno is 22. The same holds, without nErrno, for a list without a lock, as Uninit
 * leaves it.
 *
 * Threads: any number may call any operation on one list, but for Init, Uninit and Release, during which nobody else
 * may use it. Waiting may be cancelled; what is cancelled has not happened. */

struct qeSELock;
/** A shared/exclusive lock; its layout is the library's own. */
typedef struct qeSELock qeSELock;

/** A synchronized stack of qeLL_ nodes. Callers may place one themselves and initialise it with qeSLL_Init. */
typedef struct qeSLL {
    qeLLNode *head; /**< the first node, null when the list is empty */
    qeSELock *lock; /**< null without one */
} qeSLL;

/** A synchronized row of qeLL2_ nodes between two sentinels; the first node is headSentinel.next, the last one
 * tailSentinel.previous. Its address is part of its links: it must not be copied or moved. Callers may place one
 * themselves and initialise it with qeSLL2_Init. */
typedef struct qeSLL2 {
    qeLL2Node headSentinel; /**< before the first node */
    qeLL2Node tailSentinel; /**< behind the last node */
    qeSELock *lock;         /**< null without one */
} qeSLL2;

/** Makes an empty stack with a lock.
 * @param list  [out] the new list, or null: look at it, not only at the result. Null is refused.
 * @return 0, also when the list's lock could not be created (the list is then null); 0x80000008 when the list itself
 *         could not be allocated or list is null.
 * Error cell: untouched.  Threads: safe.  Owns: the list is the caller's; release it with qeSLL_Release.
 */
ZORCOMN_API uint32_t qeSLL_Create(qeSLL **list);

/** Empties a stack that the caller has placed and gives it a lock.
 * @param list  overwritten, whatever it held: it must not be in use. Null is refused.
 * @return 0; 0x80000008 when memory runs out (the lock is then null) or list is null.
 * Error cell: untouched.  Threads: nobody else may use the list.  Owns: release the lock with qeSLL_Uninit.
 */
ZORCOMN_API uint32_t qeSLL_Init(qeSLL *list);

/** Frees a stack's lock. The nodes stay linked.
 * @param list  null, and a list without a lock, are ignored.
 * Error cell: untouched.  Threads: nobody else may use the list.  Owns: the nodes and the record stay the caller's.
 */
ZORCOMN_API void qeSLL_Uninit(qeSLL *list);

/** Frees a stack that qeSLL_Create made, lock and record.
 * @param list  null is ignored.
 * Error cell: untouched.  Threads: nobody else may use the list.  Owns: the nodes stay the caller's.
 */
ZORCOMN_API void qeSLL_Release(qeSLL *list);

/** Pushes a node in front of all others, under the exclusive lock. Takes the lock, unlike the X operations above.
 * @param list  null: nothing happens.
 * @param node  in no list yet; null: nothing happens.
 * Error cell: nErrno = 22 when an unattached thread is refused.  Threads: safe, waits.  Owns: nothing.
 */
ZORCOMN_API void qeSLL_XInsertHead(qeSLL *list, qeLLNode *node);

/** Takes the first node out, under the exclusive lock. Its own link stays as it was.
 * @param list  null counts as empty.
 * @return the node; null when the list is empty.
 * Error cell: nErrno = 22 when an unattached thread is refused.  Threads: safe, waits.  Owns: nothing.
 */
ZORCOMN_API qeLLNode *qeSLL_XRemoveHead(qeSLL *list);

/** Takes a stack's lock and tells its first node; the lock stays held until qeSLL_LockRelease.
 * @param list       null gives null, and nothing is held.
 * @param exclusive  0: a shared lock that waits for queued exclusive requests; else the exclusive lock.
 * @param wait       0: does not wait; else waits until the lock is its own.
 * @return the first node, or null for an empty list: in both cases the lock is held. All-ones when it is not.
 * Error cell: nErrno = 22 when an unattached thread is refused a wait.  Threads: safe.  Owns: the lock is the caller's.
 */
ZORCOMN_API qeLLNode *qeSLL_XGetHead(qeSLL *list, int32_t exclusive, int32_t wait);

/** Releases the lock that qeSLL_XGetHead has taken.
 * @param list  null is ignored.
 * Error cell: untouched.  Threads: as qeSO_SELockRelease.  Owns: nothing.
 */
ZORCOMN_API void qeSLL_LockRelease(qeSLL *list);

/** Whether a stack has no node, read under a shared lock that waits for queued exclusive requests.
 * @param list  null counts as empty.
 * @return 1 or 0.
 * Error cell: nErrno = 22 when an unattached thread is refused.  Threads: safe, waits.  Owns: nothing.
 */
ZORCOMN_API int32_t qeSLL_IsEmpty(qeSLL *list);

/** Makes an empty row with a lock.
 * @param list  [out] the new list, or null: look at it, not only at the result. Null is refused.
 * @return 0, also when the list's lock could not be created (the list is then null); 0x80000008 when the list itself
 *         could not be allocated or list is null.
 * Error cell: untouched.  Threads: safe.  Owns: the list is the caller's; release it with qeSLL2_Release.
 */
ZORCOMN_API uint32_t qeSLL2_Create(qeSLL2 **list);

/** Empties a row that the caller has placed and gives it a lock.
 * @param list  overwritten, whatever it held: it must not be in use. Null is refused.
 * @return 0; 0x80000008 when memory runs out (the lock is then null) or list is null.
 * Error cell: untouched.  Threads: nobody else may use the list.  Owns: release it with qeSLL2_Uninit.
 */
ZORCOMN_API uint32_t qeSLL2_Init(qeSLL2 *list);

/** Unlinks every node of a row, then frees its lock. The nodes must still be there.
 * @param list  null, and a list without a lock, are ignored.
 * Error cell: untouched.  Threads: nobody else may use the list or hold its lock.  Owns: the nodes and the record stay
 * the caller's.
 */
ZORCOMN_API void qeSLL2_Uninit(qeSLL2 *list);

/** Unlinks every node of a row that qeSLL2_Create made, then frees lock and record. The nodes must still be there.
 * @param list  null is ignored.
 * Error cell: untouched.  Threads: nobody else may use the list.  Owns: the nodes stay the caller's.
 */
ZORCOMN_API void qeSLL2_Release(qeSLL2 *list);

/** Puts a node in front of all others, under the exclusive lock.
 * @param list  null: nothing happens.
 * @param node  in no list yet; null: nothing happens.
 * Error cell: nErrno = 22 when an unattached thread is refused.  Threads: safe, waits.  Owns: nothing.
 */
ZORCOMN_API void qeSLL2_XInsertHead(qeSLL2 *list, qeLL2Node *node);

/** Puts a node behind all others, under the exclusive lock.
 * @param list  null: nothing happens.
 * @param node  in no list yet; null: nothing happens.
 * Error cell: nErrno = 22 when an unattached thread is refused.  Threads: safe, waits.  Owns: nothing.
 */
ZORCOMN_API void qeSLL2_XInsertTail(qeSLL2 *list, qeLL2Node *node);

/** Takes the first node out, under the exclusive lock. Its own links stay as they were.
 * @param list  null counts as empty.
 * @return the node; null when the list is empty.
 * Error cell: nErrno = 22 when an unattached thread is refused.  Threads: safe, waits.  Owns: nothing.
 */
ZORCOMN_API qeLL2Node *qeSLL2_XRemoveHead(qeSLL2 *list);

/** Takes the last node out, under the exclusive lock. Its own links stay as they were.
 * @param list  null counts as empty.
 * @return the node; null when the list is empty.
 * Error cell: nErrno = 22 when an unattached thread is refused.  Threads: safe, waits.  Owns: nothing.
 */
ZORCOMN_API qeLL2Node *qeSLL2_XRemoveTail(qeSLL2 *list);

/** Takes a row's lock and tells its first node; the lock stays held until qeSLL2_LockRelease.
 * @param list       null gives null, and nothing is held.
 * @param exclusive  0: a shared lock that waits for queued exclusive requests; else the exclusive lock.
 * @param wait       0: does not wait; else waits until the lock is its own.
 * @return the first node, or the tail sentinel (which qeLL2_XIsEnd knows) for an empty list: in both cases the lock is
 *         held. Null when it is not.
 * Error cell: nErrno = 22 when an unattached thread is refused a wait.  Threads: safe.  Owns: the lock is the caller's.
 */
ZORCOMN_API qeLL2Node *qeSLL2_XGetHead(qeSLL2 *list, int32_t exclusive, int32_t wait);

/** Releases the lock that qeSLL2_XGetHead has taken.
 * @param list  null is ignored.
 * Error cell: untouched.  Threads: as qeSO_SELockRelease.  Owns: nothing.
 */
ZORCOMN_API void qeSLL2_LockRelease(qeSLL2 *list);

/** Whether a row has no node, read under a shared lock that waits for queued exclusive requests.
 * @param list  null counts as empty.
 * @return 1 or 0.
 * Error cell: nErrno = 22 when an unattached thread is refused.  Threads: safe, waits.  Owns: nothing.
 */
ZORCOMN_API int32_t qeSLL2_IsEmpty(qeSLL2 *list);

/** Acquires a spin lock: exchanges 1 into its cell until the cell held 0. For a few instructions, never around a wait;
 * not recursive. Failed attempts retry at once up to the 4000th; the next hundred sleep 0 microseconds first, then a
 * hundred each 10 000, 100 000 and 1 000 000; after that they retry at once again, for as long as it takes.
 * @param cell  0 free, 1 held; null: nothing is locked.
 * @return 0.
 * Error cell: untouched; errno too.  Threads: safe; no cancellation point, also while it sleeps.  Owns: nothing.
 */
ZORCOMN_API int32_t qeSL_Get(volatile int32_t *cell);

/** Releases a spin lock: exchanges 0 into its cell. Who holds it is not checked.
 * @param cell  null is ignored.
 * Error cell: untouched.  Threads: safe.  Owns: nothing.
 */
ZORCOMN_API void qeSL_Release(volatile int32_t *cell);

/* Shared/exclusive lock and per-thread attach.
 *
 * Before: the process calls qeSO_ProcessAttach once, then each thread qeSO_ThreadAttach, which gives it a token: an
 * event that it sleeps on while it waits. After: each thread calls qeSO_ThreadDetach when it holds no lock any more,
 * and the process qeSO_ProcessDetach when no thread is attached.
 *
 * When a thread that qelBeginThread or qelCreateThread started ends, all thread-local indices of the process are freed,
 * this one too, and qeSO_GetThread then answers all-ones. An attached thread keeps its token for locks and lists all
 * the same, until it detaches (qeSO_ThreadDetach, qeSO_ThreadAttachX) or ends. But nobody can attach any more: the
 * process must call qeSO_ProcessAttach again; an attached thread that attaches again stores its token anew.
 *
 * A thread without a token may take what is free, and may share what others share. It owns nothing: an exclusive hold
 * of its own is one without an owner, as if it were shared. It keeps out exclusive requests, and such shared ones of
 * the wait-for-exclusive kind as find an exclusive one queued; it keeps out no other reader, and it does not recurse.
 * Such a thread cannot wait: where others would, it gets 0 and nErrno 22.
 *
 * Policies. An exclusive request that must wait goes before all shared ones, and of two the later one goes first.
 * Shared requests of the starve-exclusive kind enter beside readers whoever waits, so a stream of them keeps writers
 * out; those of the wait-for-exclusive kind let queued writers go first, so a stream of writers keeps them out. Queued
 * readers are admitted all at once. The owner may take its lock again, exclusively or shared, any number of times; one
 * release for each. A thread that holds the lock shared and asks for it exclusively waits for itself.
 *
 * Threads: any number may call any operation on one lock, except that nobody may use it during and after qeSO_Release.
 * A thread may be cancelled while it waits (the wait is a cancellation point): its request is withdrawn. The operations
 * are no cancellation points otherwise; callbacks run with cancellation held off. Not for signal handlers.
 *
 * Forks: in a child, the thread that forked keeps its token and its holds. A lock or a list that other threads were
 * using at the fork is as they left it, for good: their holds are never released, their requests stay queued (a release
 * may hand the lock to one), and if one was inside an operation, the spin lock may be held. Such locks are not for the
 * child; all others, and new ones, are.
 */

/** What a qeSONotify is called for. */
///@{
#define ZORCOMN_LOCK_IS_FREE 0x1100u      /**< the lock is free */
#define ZORCOMN_LOCK_IS_WITHDRAWN 0x1102u /**< the registration is being withdrawn */
///@}

/** Told about a lock by number. Runs while the lock's spin lock is held: it must be short, must not wait, and must not
 * use the same lock in any way, nor a list that carries it. Other locks may be taken without waiting, and released, in
 * one order only: a callback of lock A that uses B, and one of B that uses A, spin for ever when they meet; and so does
 * a release of B in a callback of A whose own callbacks use A. Events may be set. One that ends its thread leaves its
 * registration, and the spin lock free.
 * @param first   the first argument of the registration.
 * @param event   ZORCOMN_LOCK_IS_FREE (4352) or ZORCOMN_LOCK_IS_WITHDRAWN (4354).
 * @param second  the second argument of the registration.
 * @param zero    0.
 * @return 4352: 0 ends the registration, anything else keeps it; 4354: 0 agrees, anything else refuses.
 */
typedef uint32_t (*qeSONotify)(uint32_t first, uint32_t event, uint32_t second, uint32_t zero);

/** Allocates the thread-local index that tokens are kept in, and stores it in qeSO_tls_index. Once per process: a
 * second call takes another index, and all threads are without a token.
 * @return the index, 0 to 511; all-ones when there is none left.
 * Error cell: as qelTlsAlloc.  Threads: from one thread, before others use locks.  Owns: release the index with
 * qeSO_ProcessDetach.
 */
ZORCOMN_API uint32_t qeSO_ProcessAttach(void);

/** Frees the thread-local index and stores all-ones in qeSO_tls_index. Threads still attached keep their tokens for
 * locks and lists until they detach, as after the end of a library thread.
 * @return 1; 0 when there was no index to free.
 * Error cell: nErrno = 22 when there was none.  Threads: from one thread, after others have detached.  Owns: nothing.
 */
ZORCOMN_API int32_t qeSO_ProcessDetach(void);

/** Gives the calling thread a token, if the index holds none for it: a new event, or the one that it attached with
 * before if the index was freed since.
 * @return 1 when it was stored now; the token itself when it was there already; 0 when that failed.
 * Error cell: nErrno = 22 without an index (qeSO_ProcessAttach), 12 when memory for the event runs out, untouched when
 * something of the system's is short.  Threads: safe.  Owns: the token is the library's until qeSO_ThreadDetach; a
 * thread that ends without it leaves its event behind, so that no other thread gets the token by which a lock may still
 * name its owner.
 */
ZORCOMN_API uintptr_t qeSO_ThreadAttach(void);

/** Closes the calling thread's event and takes its token away. It must hold no lock: locks know their owner by it, and
 * another thread may get the same token later.
 * @return 1, also when there was no token; 0 when that cannot be stored: without an index the thread has detached all
 *         the same, else it keeps its token and its event.
 * Error cell: nErrno = 22 without an index.  Threads: safe.  Owns: nothing.
 */
ZORCOMN_API int32_t qeSO_ThreadDetach(void);

/** Declares that the calling thread does without an event: its token becomes all-ones, as that of a thread without one.
 * Not for an attached thread, whose event would stay behind.
 * Error cell: nErrno = 22 without an index.  Threads: safe.  Owns: nothing.
 */
ZORCOMN_API void qeSO_ThreadAttachX(void);

/** Does nothing; the counterpart of qeSO_ThreadAttachX.
 * Error cell: untouched.  Threads: safe.  Owns: nothing.
 */
ZORCOMN_API void qeSO_ThreadDetachX(void);

/** The calling thread's token as the index holds it: the handle of its event. Whoever sets that event does not end a
 * wait for a lock.
 * @return the token; all-ones when the index holds none, also when it was freed: locks then still know the thread.
 * Error cell: untouched.  Threads: safe.  Owns: the token stays the library's.
 */
ZORCOMN_API HANDLE qeSO_GetThread(void);

/** What the calling thread's slot holds, for diagnosis.
 * @return the token; all-ones after a detach or qeSO_ThreadAttachX; 0 when it never attached.
 * Error cell: untouched.  Threads: safe.  Owns: the token stays the library's.
 */
ZORCOMN_API HANDLE qeSO_DbgGetThread(void);

/** Makes a free lock.
 * @param lock  [out] the new lock, null when memory runs out. Null is refused.
 * @return 0; 0x80000008 when memory runs out or lock is null.
 * Error cell: untouched.  Threads: safe.  Owns: the lock is the caller's; release it with qeSO_Release.
 */
ZORCOMN_API uint32_t qeSO_SELockCreate(qeSELock **lock);

/** Frees a lock's record. Nobody may hold it or wait for it; registrations that are left stay on the heap.
 * @param lock  null is ignored.
 * Error cell: untouched.  Threads: nobody else may use the lock.  Owns: nothing.
 */
ZORCOMN_API void qeSO_Release(qeSELock *lock);

/** Takes a lock exclusively. Granted when the lock is free or the caller owns it.
 * @param lock  null is refused.
 * @param wait  0: does not wait; else waits without limit, a cancellation point.
 * @return 1 when the caller holds the lock, 0 when not.
 * Error cell: nErrno = 22 when a thread without a token would have to wait.  Threads: safe.  Owns: one hold, until
 * qeSO_SELockRelease.
 */
ZORCOMN_API int32_t qeSO_SELockExclusive(qeSELock *lock, int32_t wait);

/** Takes a lock shared, passing queued exclusive requests. Granted when nobody or the caller owns the lock.
 * @param lock  null is refused.
 * @param wait  0: does not wait; else waits without limit, a cancellation point.
 * @return 1 when the caller holds the lock, 0 when not.
 * Error cell: nErrno = 22 when a thread without a token would have to wait.  Threads: safe.  Owns: one hold, until
 * qeSO_SELockRelease.
 */
ZORCOMN_API int32_t qeSO_SELockSharedStarveExclusive(qeSELock *lock, int32_t wait);

/** Takes a lock shared, letting queued exclusive requests go first. Granted when the lock is free, when the caller owns
 * it, or when nobody does and no exclusive request is queued.
 * @param lock  null is refused.
 * @param wait  0: does not wait; else waits without limit, a cancellation point.
 * @return 1 when the caller holds the lock, 0 when not.
 * Error cell: nErrno = 22 when a thread without a token would have to wait.  Threads: safe.  Owns: one hold, until
 * qeSO_SELockRelease.
 */
ZORCOMN_API int32_t qeSO_SELockSharedWaitForExclusive(qeSELock *lock, int32_t wait);

/** Takes a lock: qeSO_SELockSharedWaitForExclusive when exclusive is 0, else qeSO_SELockExclusive.
 * @param lock       null is refused.
 * @param exclusive  0 or anything else.
 * @param wait       0: does not wait; else waits without limit, a cancellation point.
 * @return 1 when the caller holds the lock, 0 when not.
 * Error cell: nErrno = 22 when a thread without a token would have to wait.  Threads: safe.  Owns: one hold, until
 * qeSO_SELockRelease.
 */
ZORCOMN_API int32_t qeSO_SELock(qeSELock *lock, int32_t exclusive, int32_t wait);

/** Turns the owner's holds into as many shared ones and admits all queued readers. Queued exclusive requests stay
 * behind. Whoever calls it: that the caller owns the lock is not checked.
 * @param lock  null is ignored.
 * Error cell: untouched.  Threads: safe.  Owns: each hold still needs its qeSO_SELockRelease.
 */
ZORCOMN_API void qeSO_SELockExclusiveToShared(qeSELock *lock);

/** Gives one hold back, shared or exclusive. The last one hands the lock to the exclusive request that queued last;
 * failing that, to all queued readers; failing that, tells the registrations, the latest first, until one returns 0.
 * That the caller has a hold is not checked; on a free lock nothing happens.
 * @param lock  null is ignored.
 * Error cell: untouched.  Threads: safe; may run callbacks.  Owns: nothing.
 */
ZORCOMN_API void qeSO_SELockRelease(qeSELock *lock);

/** Takes a lock exclusively, or asks to be told when it is free. Never waits. The callback is called in a thread that
 * releases the lock; the lock is not taken for it.
 * @param lock      null is refused.
 * @param callback  see qeSONotify; with null, nothing is registered.
 * @param first     passed to the callback.
 * @param second    passed to the callback.
 * @return 1 when the caller holds the lock now, and nothing is registered; 0 when it does not.
 * Error cell: untouched. When memory runs out for a registration, the process is aborted.  Threads: safe.  Owns: one
 * hold; or the registration, which ends when its callback returns 0.
 */
ZORCOMN_API int32_t qeSO_SELockExclusiveNotify(qeSELock *lock, qeSONotify callback, uint32_t first, uint32_t second);

/** Withdraws a registration: calls, with 4354, each one that equals the given in callback and both arguments, the
 * latest first, until one returns 0. That one is withdrawn (its record, some 24 bytes, is not freed).
 * @param lock      null is refused.
 * @param callback  as registered.
 * @param first     as registered.
 * @param second    as registered.
 * @return 1 when one was withdrawn; 0 when none matched or all refused.
 * Error cell: untouched.  Threads: safe; runs callbacks.  Owns: nothing.
 */
ZORCOMN_API int32_t qeSO_SELockExclusiveUnnotify(qeSELock *lock, qeSONotify callback, uint32_t first, uint32_t second);

/** The thread-local index of the tokens; all-ones when the process is not attached. For reading only. */
ZORCOMN_API extern uint32_t qeSO_tls_index;

#ifdef __cplusplus
}
#endif
