#pragma once
#include "api.h"
#include "portability.h"

#include <stdint.h>
#ifdef __cplusplus
extern "C" {
#endif

/* intrusive lists; a node's first words are its links, the rest belongs to the caller */
typedef struct LinkedListNode {
    struct LinkedListNode *previous;
    struct LinkedListNode *next;
} LinkedListNode;
typedef struct LinkedList {
    LinkedListNode *tail;
    LinkedListNode *head;
    uint32_t count;
} LinkedList;
ZORCOMN_API int32_t LinkedList_Init(LinkedList **list);
ZORCOMN_API void LinkedList_End(LinkedList **list);
ZORCOMN_API int32_t LinkedList_AddHead(LinkedList *list, void *node);
ZORCOMN_API int32_t LinkedList_AddTail(LinkedList *list, void *node);
ZORCOMN_API void *LinkedList_RemoveTail(LinkedList *list);
ZORCOMN_API uint32_t LinkedList_GetCount(LinkedList *list);
ZORCOMN_API void *LinkedList_PeekAt(LinkedList *list, uint32_t index);
ZORCOMN_API void *LinkedList_RemoveAt(LinkedList *list, uint32_t index);

typedef struct qeLLNode {
    struct qeLLNode *next;
} qeLLNode;
ZORCOMN_API void qeLL_Init(qeLLNode **list);
ZORCOMN_API void qeLL_XInsertHead(qeLLNode **list, qeLLNode *node);
ZORCOMN_API void qeLL_XRemove(qeLLNode **link, qeLLNode *node);
ZORCOMN_API qeLLNode *qeLL_XRemoveHead(qeLLNode **list);
ZORCOMN_API qeLLNode *qeLL_XGetStart(qeLLNode *node);
ZORCOMN_API qeLLNode *qeLL_XGetNext(qeLLNode *node);
ZORCOMN_API int32_t qeLL_XIsEnd(const qeLLNode *node);
ZORCOMN_API int32_t qeLL_IsEmpty(qeLLNode *const *list);

typedef struct qeLL2Node {
    struct qeLL2Node *next;
    struct qeLL2Node *previous;
} qeLL2Node;
ZORCOMN_API qeLL2Node *qeLL2_XGetNext(qeLL2Node *node);
ZORCOMN_API qeLL2Node *qeLL2_XGetPrev(qeLL2Node *node);
ZORCOMN_API int32_t qeLL2_XIsEnd(const qeLL2Node *node);
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
