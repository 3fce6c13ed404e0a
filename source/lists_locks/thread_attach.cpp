// How a process and its threads take part in the shared/exclusive lock: one index of thread-local storage, in which
// each thread keeps its token, the handle of the event that it sleeps on. The end of any thread of the layer frees that
// index with all others; so that no lock is lost with it, each thread also remembers its event under a key of the
// lock's own, from attaching to detaching.

#include "source/lists_locks/thread_attach.h"

#include "source/portability/thread_local.h"

#include <atomic>

#include <pthread.h>

namespace {

constexpr uint32_t kNoIndex = 0xFFFFFFFFu;

} // namespace

uint32_t qeSO_tls_index = kNoIndex;

namespace zor {

namespace {

// The key of the remembered events + 1; 0 until a thread attaches. Without a destructor: when a thread ends without
// detaching, its event stays, since a lock that it never released still names its owner by it.
std::atomic<uintptr_t> memoryKey{0};

/** The key, made by whoever comes first; 0 when the system has none left. */
uintptr_t obtainMemoryKey() {
    uintptr_t known = memoryKey.load(std::memory_order_acquire);
    pthread_key_t created;
    if (known != 0 || pthread_key_create(&created, nullptr) != 0)
        return known;
    if (memoryKey.compare_exchange_strong(known, static_cast<uintptr_t>(created) + 1))
        return static_cast<uintptr_t>(created) + 1;
    pthread_key_delete(created);
    return known;
}

bool remember(HANDLE event) {
    const uintptr_t key = obtainMemoryKey();
    return key != 0 && pthread_setspecific(static_cast<pthread_key_t>(key - 1), event) == 0;
}

void forget() {
    if (const uintptr_t key = memoryKey.load(std::memory_order_acquire))
        pthread_setspecific(static_cast<pthread_key_t>(key - 1), nullptr);
}

/** The event that the calling thread attached with; null when it is not attached. */
HANDLE rememberedEvent() {
    const uintptr_t key = memoryKey.load(std::memory_order_acquire);
    return key != 0 ? pthread_getspecific(static_cast<pthread_key_t>(key - 1)) : nullptr;
}

} // namespace

HANDLE lockToken() {
    const HANDLE remembered = rememberedEvent();
    return remembered ? remembered : qeSO_GetThread();
}

} // namespace zor

using namespace zor;

uint32_t qeSO_ProcessAttach(void) {
    qeSO_tls_index = qelTlsAlloc();
    return qeSO_tls_index;
}

int32_t qeSO_ProcessDetach(void) {
    const int32_t freed = qelTlsFree(qeSO_tls_index);
    qeSO_tls_index = kNoIndex;
    return freed;
}

uintptr_t qeSO_ThreadAttach(void) {
    const HANDLE token = qeSO_GetThread();
    if (token != noThread())
        return reinterpret_cast<uintptr_t>(token);
    if (const HANDLE remembered = rememberedEvent())
        return static_cast<uintptr_t>(qelTlsSetValue(qeSO_tls_index, remembered));
    const HANDLE event = qelCreateEvent(nullptr, 1, 0, nullptr);
    if (!event)
        return 0;
    if (remember(event)) {
        if (qelTlsSetValue(qeSO_tls_index, event) == 1)
            return 1;
        forget();
    }
    qelCloseHandle(event);
    return 0;
}

int32_t qeSO_ThreadDetach(void) {
    const HANDLE token = qeSO_GetThread();
    const HANDLE remembered = rememberedEvent();
    const int32_t stored = qelTlsSetValue(qeSO_tls_index, noThread());
    if (stored != 1 && token != noThread())
        return stored; // the thread goes on with its token, whose event must stay
    forget();
    qelCloseHandle(remembered ? remembered : token); // never what somebody else keeps in an index that was taken away
    return stored;
}

void qeSO_ThreadAttachX(void) {
    forget();
    qelTlsSetValue(qeSO_tls_index, noThread());
}

void qeSO_ThreadDetachX(void) {}

HANDLE qeSO_GetThread(void) {
    const HANDLE token = qeSO_DbgGetThread();
    return token ? token : noThread();
}

HANDLE qeSO_DbgGetThread(void) {
    // Every request of a lock asks; that the index is gone is no fault of a request that is granted.
    return tlsValue(qeSO_tls_index);
}
