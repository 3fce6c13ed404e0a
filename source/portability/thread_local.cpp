// Thread-local storage: 512 indices, a POSIX key each. The tables have no lock. Each entry changes hands by one atomic
// exchange, because every thread's end frees the indices of the whole process: two ends at once, or an end beside a
// reader, must not meet in a freed cell. For the same reason readers take the key from a copy and not from the cell.

#include "zorcomn/portability.h"

#include "source/portability/error_cell.h"
#include "source/portability/thread_local.h"

#include <atomic>
#include <iterator>
#include <memory>
#include <new>

#include <unistd.h>

pid_t nTlsOwnerTable[512];
pthread_key_t *pTlsKeyTable[512];

namespace zor {

namespace {

constexpr uint32_t kTlsIndices = 512;
constexpr uint32_t kNoTlsIndex = 0xFFFFFFFFu;
static_assert(std::size(pTlsKeyTable) == kTlsIndices && std::size(nTlsOwnerTable) == kTlsIndices);

// What readers use: the key + 1, or 0 while the index is free. A cell is published before it and withdrawn after it.
std::atomic<uintptr_t> readerKeys[kTlsIndices];

bool isFree(uint32_t index) {
    return !__atomic_load_n(&pTlsKeyTable[index], __ATOMIC_ACQUIRE);
}

struct Key {
    bool isAllocated;
    pthread_key_t key;
};

Key keyOf(uint32_t index) {
    const uintptr_t found = index < kTlsIndices ? readerKeys[index].load(std::memory_order_acquire) : 0;
    return {found != 0, static_cast<pthread_key_t>(found - 1)};
}

void setOwner(uint32_t index, pid_t owner) {
    __atomic_store_n(&nTlsOwnerTable[index], owner, __ATOMIC_RELAXED);
}

void clearTablesOnce() {
    static const bool cleared = [] {
        for (uint32_t index = 0; index < kTlsIndices; ++index) {
            __atomic_store_n(&pTlsKeyTable[index], static_cast<pthread_key_t *>(nullptr), __ATOMIC_RELAXED);
            setOwner(index, 0);
        }
        return true;
    }();
    static_cast<void>(cleared);
}

uint32_t lowestFreeIndex() {
    uint32_t index = 0;
    while (index < kTlsIndices && !isFree(index))
        ++index;
    return index;
}

/** Puts the cell where nothing was; false when another thread was faster. */
bool publish(uint32_t index, pthread_key_t *cell) {
    pthread_key_t *expected = nullptr;
    return __atomic_compare_exchange_n(&pTlsKeyTable[index], &expected, cell, false, __ATOMIC_ACQ_REL,
                                       __ATOMIC_RELAXED);
}

enum class Freed { kYes, kKeyStays, kWasFree };

Freed freeIndex(uint32_t index) {
    setOwner(index, 0); // before the cell goes: whoever takes the index next stores its own
    const std::unique_ptr<pthread_key_t> cell(
        __atomic_exchange_n(&pTlsKeyTable[index], static_cast<pthread_key_t *>(nullptr), __ATOMIC_ACQ_REL));
    if (!cell)
        return Freed::kWasFree;
    uintptr_t withdrawn = static_cast<uintptr_t>(*cell) + 1;
    readerKeys[index].compare_exchange_strong(withdrawn, 0); // unless the index already has its next key
    return pthread_key_delete(*cell) == 0 ? Freed::kYes : Freed::kKeyStays;
}

} // namespace

void *tlsValue(uint32_t index) {
    const Key key = keyOf(index);
    return key.isAllocated ? pthread_getspecific(key.key) : nullptr;
}

void freeTlsIndicesOfProcess() {
    for (uint32_t index = 0; index < kTlsIndices; ++index) {
        if (!isFree(index) && __atomic_load_n(&nTlsOwnerTable[index], __ATOMIC_RELAXED) == getpid())
            freeIndex(index);
    }
}

} // namespace zor

using namespace zor;

uint32_t qelTlsAlloc(void) {
    clearTablesOnce();
    for (;;) {
        const uint32_t index = lowestFreeIndex();
        if (index == kTlsIndices)
            return failWith(kCellOutOfSlots, kNoTlsIndex);
        std::unique_ptr<pthread_key_t> cell(new (std::nothrow) pthread_key_t());
        if (!cell)
            return failWith(kCellNoMemory, kNoTlsIndex);
        if (pthread_key_create(cell.get(), nullptr) != 0)
            return kNoTlsIndex;
        const pthread_key_t key = *cell;
        if (!publish(index, cell.get())) {
            pthread_key_delete(key);
            continue;
        }
        cell.release();
        setOwner(index, getpid());
        readerKeys[index].store(static_cast<uintptr_t>(key) + 1, std::memory_order_release);
        return index;
    }
}

int32_t qelTlsFree(uint32_t index) {
    const Freed freed = index < kTlsIndices ? freeIndex(index) : Freed::kWasFree;
    if (freed == Freed::kWasFree)
        return failWith(kCellInvalid, 0);
    return freed == Freed::kYes ? 1 : 0;
}

int32_t qelTlsSetValue(uint32_t index, void *value) {
    const Key key = keyOf(index);
    if (!key.isAllocated)
        return failWith(kCellInvalid, 0);
    return pthread_setspecific(key.key, value) == 0 ? 1 : 0;
}

void *qelTlsGetValue(uint32_t index) {
    const Key key = keyOf(index);
    if (!key.isAllocated)
        return failWith<void *>(kCellInvalid, nullptr);
    return pthread_getspecific(key.key);
}
