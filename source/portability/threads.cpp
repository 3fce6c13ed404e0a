// Threads and their handles. A handle can be closed before, while or after its thread ends, and neither side may touch
// what the other has freed, whatever a caller did to the handle's flag meanwhile. The signal slot of the start block
// settles it; each side exchanges it exactly when it is done with something:
//
//   slot                     closing the handle                        ending the thread
//   the record's flag        -> dummy, frees the record                -> ending, signals the record, then -> ended
//   dummy (closed)           -                                         frees the start block
//   ending                   -> dummy, leaves both to the thread       found dummy afterwards: frees both
//   ended                    frees both                                -

#include "zorcomn/portability.h"

#include "source/portability/handles.h"
#include "source/portability/thread_local.h"
#include "source/portability/threads.h"

#include <memory>
#include <new>

int32_t bDummyThreadSignalled = 1;

namespace zor {

namespace {

int32_t endingMark;
int32_t endedMark;

int32_t *exchangeSlot(ThreadStart &block, int32_t *mark) {
    return __atomic_exchange_n(&block.signalSlot, mark, __ATOMIC_ACQ_REL);
}

void freeHandle(HandleObject *object) {
    delete static_cast<pthread_t *>(object->objectData);
    delete object;
}

/** Tells the waiters; the record is alive because closing finds the ending mark. */
void signalEnd(const ThreadStart &block, int32_t *cell) {
    setSignalled(cell, 1); // Kept: before the lock, so that a wait can be satisfied before the broadcast.
    pthread_mutex_lock(block.guard);
    pthread_cond_broadcast(block.condition);
    pthread_mutex_unlock(block.guard);
}

bool startDetached(ThreadStart &block, pthread_t *identifier) {
    pthread_attr_t attributes;
    if (pthread_attr_init(&attributes) != 0)
        return false;
    const bool started = pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED) == 0 &&
                         pthread_create(identifier, &attributes, qelThreadJuggle, &block) == 0;
    pthread_attr_destroy(&attributes);
    return started;
}

} // namespace

void closeThread(HandleObject *object) {
    auto *block = reinterpret_cast<ThreadStart *>(reinterpret_cast<char *>(object->threadLink) -
                                                  offsetof(ThreadStart, signalSlot));
    const int32_t *const found = exchangeSlot(*block, &bDummyThreadSignalled);
    if (found == &endingMark)
        return;
    freeHandle(object);
    if (found == &endedMark)
        delete block;
}

} // namespace zor

using namespace zor;

HANDLE qelBeginThread(void *, uint32_t, qelThreadStart start, void *argument, uint32_t, uint32_t *threadId) {
    if (!start)
        return failWith(kCellInvalid, invalidHandle());
    std::unique_ptr<HandleObject> object(new (std::nothrow) HandleObject());
    if (!object)
        return failWith(kCellNoMemory, invalidHandle());
    std::unique_ptr<pthread_t> identifier(new (std::nothrow) pthread_t());
    if (!identifier)
        return failWith(kCellNoMemory, invalidHandle());
    object->type = kThreadHandle;
    object->referenceCount = 1;
    if (!initialiseGuard(*object))
        return invalidHandle();
    std::unique_ptr<ThreadStart> block(new (std::nothrow) ThreadStart{
        &object->guard, &object->condition, &object->signalled, start, argument, object.get()});
    if (block) {
        object->objectData = identifier.get();
        object->threadLink = &block->signalSlot;
    }
    if (!block || !startDetached(*block, identifier.get())) {
        pthread_cond_destroy(&object->condition);
        pthread_mutex_destroy(&object->guard);
        return block ? invalidHandle() : failWith(kCellNoMemory, invalidHandle());
    }
    identifier.release();
    block.release();
    // Kept: what callers get as the identifier is the result of the thread's creation.
    if (threadId)
        *threadId = 0;
    const HANDLE handle = object.release();
    set_pthread_sched_param(handle);
    return handle;
}

HANDLE qelCreateThread(void *securityAttributes, uint32_t stackSize, qelThreadStart start, void *argument,
                       uint32_t creationFlags, uint32_t *threadId) {
    const HANDLE handle = qelBeginThread(securityAttributes, stackSize, start, argument, creationFlags, threadId);
    return handle == invalidHandle() ? nullptr : handle;
}

void *qelThreadJuggle(void *startBlock) {
    if (!startBlock)
        return nullptr;
    const auto *block = static_cast<const ThreadStart *>(startBlock);
    uint32_t result;
    pthread_cleanup_push(qelCleanupThread, startBlock);
    result = block->start(block->argument);
    pthread_cleanup_pop(0);
    qelCleanupThread(startBlock);
    return reinterpret_cast<void *>(static_cast<uintptr_t>(result));
}

void qelCleanupThread(void *startBlock) {
    if (!startBlock)
        return;
    freeTlsIndicesOfProcess(); // Kept: all of the process's indices, not only those of this thread.
    auto *block = static_cast<ThreadStart *>(startBlock);
    int32_t *const cell = exchangeSlot(*block, &endingMark);
    if (cell != &bDummyThreadSignalled) {
        signalEnd(*block, cell);
        if (exchangeSlot(*block, &endedMark) == &endingMark)
            return; // closing the handle frees the block
        freeHandle(block->handle);
    }
    delete block;
}

void set_pthread_sched_param(HANDLE) {}
