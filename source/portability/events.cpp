// Events: set until reset, and nothing but that. Both operations work on the guard and the flag of any kind of handle.

#include "zorcomn/portability.h"

#include "source/platform/posix.h"
#include "source/portability/handles.h"

#include <memory>
#include <new>

using namespace zor;

HANDLE qelCreateEvent(void *, int32_t manualReset, int32_t initialState, const char *name) {
    if (manualReset != 1 || (name && *name))
        return failWith<HANDLE>(kCellInvalid, nullptr);
    std::unique_ptr<HandleObject> event(new (std::nothrow) HandleObject);
    if (!event)
        return failWith<HANDLE>(kCellNoMemory, nullptr);
    if (!initialiseGuard(*event))
        return nullptr;
    event->type = kEventHandle;
    event->referenceCount = 1;
    if (initialState == 1 && qelSetEvent(event.get()) != 1)
        return failWith<HANDLE>(kCellBusy, nullptr);
    return event.release();
}

// Kept: the kind of the handle is not tested; whatever it is becomes signalled.
int32_t qelSetEvent(HANDLE event) {
    if (!isObject(event))
        return failWith(kCellInvalid, 0);
    HandleObject &object = recordOf(event);
    MutexLock lock(object.guard);
    if (!lock)
        return 0;
    setSignalled(&object.signalled, 1);
    const bool woken = pthread_cond_broadcast(&object.condition) == 0;
    return lock.unlock() && woken ? 1 : 0;
}

int32_t qelResetEvent(HANDLE event) {
    if (!isObject(event))
        return failWith(kCellInvalid, 0);
    HandleObject &object = recordOf(event);
    MutexLock lock(object.guard);
    if (!lock)
        return 0;
    setSignalled(&object.signalled, 0);
    return lock.unlock() ? 1 : 0;
}
