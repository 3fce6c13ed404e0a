// Interlocked operations: two process-wide mutexes, one for counting and one for exchanging. The accesses are atomic as
// well, since the results of counting are read without the lock.

#include "zorcomn/portability.h"

#include "source/platform/fork.h"
#include "source/portability/error_cell.h"

zor::Mutex MutexInterlockedLong = PTHREAD_MUTEX_INITIALIZER;
zor::Mutex MutexInterlockedExchange = PTHREAD_MUTEX_INITIALIZER;

namespace {

const zor::ForkRepair longForks(MutexInterlockedLong);
const zor::ForkRepair exchangeForks(MutexInterlockedExchange);

int32_t load(const volatile int32_t *value) {
    return __atomic_load_n(value, __ATOMIC_RELAXED);
}

int32_t add(volatile int32_t *value, uint32_t step) {
    if (!value)
        return zor::failWith(zor::kCellInvalid, 0);
    pthread_mutex_lock(&MutexInterlockedLong);
    const auto sum = static_cast<int32_t>(static_cast<uint32_t>(load(value)) + step);
    __atomic_store_n(value, sum, __ATOMIC_RELAXED);
    pthread_mutex_unlock(&MutexInterlockedLong);
    // Kept: read again after the unlock, so that two callers may both get the later value.
    return load(value);
}

} // namespace

int32_t qelInterlockedIncrement(volatile int32_t *value) {
    return add(value, 1u);
}

int32_t qelInterlockedDecrement(volatile int32_t *value) {
    return add(value, ~0u);
}

// Kept: a mutex of its own, so that an exchange is not atomic with respect to an increment of the same variable.
int32_t qelInterlockedExchange(volatile int32_t *value, int32_t newValue) {
    if (!value)
        return zor::failWith(zor::kCellInvalid, 0);
    pthread_mutex_lock(&MutexInterlockedExchange);
    const int32_t old = load(value);
    __atomic_store_n(value, newValue, __ATOMIC_RELAXED);
    pthread_mutex_unlock(&MutexInterlockedExchange);
    return old;
}
