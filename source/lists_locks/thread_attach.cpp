// How a process and its threads take part in the shared/exclusive lock: one index of thread-local storage, in which
// each thread keeps its token, the handle of the event that it sleeps on.

#include "source/lists_locks/thread_attach.h"

#include "source/portability/thread_local.h"

namespace {

constexpr uint32_t kNoIndex = 0xFFFFFFFFu;

} // namespace

uint32_t qeSO_tls_index = kNoIndex;

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
    const HANDLE event = qelCreateEvent(nullptr, 1, 0, nullptr);
    if (!event)
        return 0;
    if (qelTlsSetValue(qeSO_tls_index, event) == 1)
        return 1;
    qelCloseHandle(event);
    return 0;
}

int32_t qeSO_ThreadDetach(void) {
    const HANDLE token = qeSO_GetThread();
    const int32_t stored = qelTlsSetValue(qeSO_tls_index, noThread());
    if (stored == 1) // else the thread would go on with a token whose event is gone
        qelCloseHandle(token);
    return stored;
}

void qeSO_ThreadAttachX(void) {
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
