// Mutexes: a flag that waiters sleep on, and an owner lock that the owning thread holds locked. The guard is always
// taken before the owner lock, and nobody sleeps on the owner lock: see wait.cpp.

#include "zorcomn/portability.h"

#include "source/platform/posix.h"
#include "source/portability/handles.h"

#include <memory>
#include <new>

using namespace zor;

HANDLE qelCreateMutex(void *, int32_t initialOwner, const char *) {
    std::unique_ptr<HandleObject> mutex(new (std::nothrow) HandleObject);
    if (!mutex)
        return failWith<HANDLE>(kCellNoMemory, nullptr);
    std::unique_ptr<pthread_mutex_t> ownerLock(new (std::nothrow) pthread_mutex_t);
    if (!ownerLock)
        return failWith<HANDLE>(kCellNoMemory, nullptr);
    mutex->type = kMutexHandle;
    mutex->referenceCount = 1;
    if (!initialiseGuard(*mutex) || pthread_mutex_init(ownerLock.get(), nullptr) != 0)
        return nullptr;
    if (initialOwner == 1 && pthread_mutex_lock(ownerLock.get()) != 0)
        return nullptr;
    mutex->signalled = initialOwner == 1 ? 0 : 1;
    mutex->objectData = ownerLock.release();
    return mutex.release();
}

HANDLE qelOpenMutex(uint32_t, int32_t, const char *) {
    return nullptr;
}

int32_t qelReleaseMutex(HANDLE mutex) {
    if (!mutex)
        return 0; // Kept: this one refusal leaves the error cell alone.
    if (!isObject(mutex) || recordOf(mutex).type != kMutexHandle)
        return failWith(kCellInvalid, 0);
    HandleObject &object = recordOf(mutex);
    MutexLock lock(object.guard);
    if (!lock || pthread_mutex_unlock(static_cast<pthread_mutex_t *>(object.objectData)) != 0)
        return 0;
    setSignalled(&object.signalled, 1);
    const bool woken = pthread_cond_broadcast(&object.condition) == 0;
    return lock.unlock() && woken ? 1 : 0;
}
