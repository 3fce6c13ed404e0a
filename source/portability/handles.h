#pragma once

// The record behind every HANDLE. A HANDLE is the address of its record: there is no table of handles, and using a
// closed one is undefined. The guard protects the signalled flag, the reference count and the sleep on the condition. A
// thread's end stores its signal without the guard, so the flag is read and written atomically.

#include "zorcomn/portability.h"

#include "source/platform/posix.h"
#include "source/portability/error_cell.h"

#include <cstddef>
#include <cstdint>

#include <pthread.h>

namespace zor {

constexpr int32_t kFileHandle = 0;
constexpr int32_t kEventHandle = 1;
constexpr int32_t kThreadHandle = 2;
constexpr int32_t kMutexHandle = 3;

/** Fields in the layer's fixed order. */
struct HandleObject {
    void *objectData = nullptr; // file: FileRecord; thread: pthread_t; mutex: the owner lock, a pthread_mutex_t
    int32_t type = kFileHandle;
    int32_t referenceCount = 0;
    int32_t signalled = 0; // mutex: 1 free, 0 owned; thread: 1 once it has ended; file: always 0
    pthread_cond_t condition;
    Mutex guard;
    int32_t **threadLink = nullptr; // thread: the start block's signal slot, which closing redirects
};

/** Neither 0 nor all-ones, the two values that stand for no object. */
inline bool isObject(HANDLE handle) {
    return handle != nullptr && handle != invalidHandle();
}

inline HandleObject &recordOf(HANDLE handle) {
    return *static_cast<HandleObject *>(handle);
}

/** Acquires: who sees a thread's end without having slept also sees what the thread wrote. */
inline bool isSignalled(const HandleObject &object) {
    return __atomic_load_n(&object.signalled, __ATOMIC_ACQUIRE) == 1;
}

inline void setSignalled(int32_t *cell, int32_t value) {
    __atomic_store_n(cell, value, __ATOMIC_RELEASE);
}

/** Initialises the condition, then the guard; false leaves neither behind. */
inline bool initialiseGuard(HandleObject &object) {
    if (pthread_cond_init(&object.condition, nullptr) != 0)
        return false;
    if (pthread_mutex_init(&object.guard, nullptr) == 0)
        return true;
    pthread_cond_destroy(&object.condition);
    return false;
}

} // namespace zor
