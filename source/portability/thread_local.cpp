// Thread-local storage: 512 indices, a POSIX key each. The tables have no lock, and every thread's end frees the
// indices of the whole process, so each entry changes hands by single atomic steps. What readers use is not the
// exported cell, which another thread may free under them, but a copy of the key:
//
//     allocating   key -> copy (claims the index), cell -> table, owner -> table (from here on a thread's end frees it)
//     freeing      owner and cell out of the table, copy withdrawn, writers awaited, key given back to the system
//
// So a copy never outlives its key, and no value is stored under a key that the system has handed out to somebody else.
// A child that is forked between two of the steps has one index less.

#include "zorcomn/portability.h"

#include "source/platform/fork.h"
#include "source/portability/error_cell.h"
#include "source/portability/thread_local.h"

#include <atomic>
#include <iterator>
#include <memory>
#include <new>

#include <sched.h>
#include <unistd.h>

pid_t nTlsOwnerTable[512];
pthread_key_t *pTlsKeyTable[512];

namespace zor {

namespace {

constexpr uint32_t kTlsIndices = 512;
constexpr uint32_t kNoTlsIndex = 0xFFFFFFFFu;
static_assert(std::size(pTlsKeyTable) == kTlsIndices && std::size(nTlsOwnerTable) == kTlsIndices);

std::atomic<uintptr_t> readerKeys[kTlsIndices]; // the key + 1, or 0 while the index is free
std::atomic<uint32_t> writers[kTlsIndices];     // threads that are storing a value under the index's key

FirstCall firstAllocation;
const ForkRepair firstAllocationForks(firstAllocation.mutex());

// The writers of a child's parent are not in the child.
void forgetWriters() {
    for (auto &count : writers)
        count.store(0, std::memory_order_relaxed);
}
const ForkRepair writersForks(forgetWriters);

struct Key {
    bool isAllocated;
    pthread_key_t key;
};

Key keyOf(uint32_t index) {
    const uintptr_t found = index < kTlsIndices ? readerKeys[index].load() : 0;
    return {found != 0, static_cast<pthread_key_t>(found - 1)};
}

/** Keeps the key that an index has now from being given back to the system. */
class Writing {
public:
    explicit Writing(uint32_t index) : m_count(writers[index]) { m_count.fetch_add(1); }
    ~Writing() { m_count.fetch_sub(1); }
    Writing(const Writing &) = delete;
    Writing &operator=(const Writing &) = delete;

private:
    std::atomic<uint32_t> &m_count;
};

pthread_key_t *loadCell(uint32_t index) {
    return __atomic_load_n(&pTlsKeyTable[index], __ATOMIC_ACQUIRE);
}

pthread_key_t *exchangeCell(uint32_t index, pthread_key_t *cell) {
    return __atomic_exchange_n(&pTlsKeyTable[index], cell, __ATOMIC_ACQ_REL);
}

void setOwner(uint32_t index, pid_t owner) {
    __atomic_store_n(&nTlsOwnerTable[index], owner, __ATOMIC_RELEASE);
}

void clearTables() {
    for (uint32_t index = 0; index < kTlsIndices; ++index) {
        exchangeCell(index, nullptr);
        setOwner(index, 0);
    }
}

uint32_t lowestFreeIndex() {
    uint32_t index = 0;
    while (index < kTlsIndices && (readerKeys[index].load() != 0 || loadCell(index)))
        ++index;
    return index;
}

/** False when another thread was faster. */
bool claim(uint32_t index, pthread_key_t key) {
    uintptr_t expected = 0;
    return readerKeys[index].compare_exchange_strong(expected, static_cast<uintptr_t>(key) + 1);
}

enum class Freed { kYes, kKeyStays, kWasFree };

Freed freeIndex(uint32_t index) {
    if (readerKeys[index].load() == 0)
        return Freed::kWasFree;
    setOwner(index, 0); // before the cell goes: whoever takes the index next stores its own
    const std::unique_ptr<pthread_key_t> cell(exchangeCell(index, nullptr));
    if (!cell)
        return Freed::kWasFree;
    readerKeys[index].store(0);
    while (writers[index].load() != 0)
        sched_yield();
    return pthread_key_delete(*cell) == 0 ? Freed::kYes : Freed::kKeyStays;
}

} // namespace

void *tlsValue(uint32_t index) {
    const Key key = keyOf(index);
    return key.isAllocated ? pthread_getspecific(key.key) : nullptr;
}

void freeTlsIndicesOfProcess() {
    for (uint32_t index = 0; index < kTlsIndices; ++index) {
        if (loadCell(index) && __atomic_load_n(&nTlsOwnerTable[index], __ATOMIC_ACQUIRE) == getpid())
            freeIndex(index);
    }
}

} // namespace zor

using namespace zor;

uint32_t qelTlsAlloc(void) {
    firstAllocation.run(clearTables);
    for (;;) {
        const uint32_t index = lowestFreeIndex();
        if (index == kTlsIndices)
            return failWith(kCellOutOfSlots, kNoTlsIndex);
        std::unique_ptr<pthread_key_t> cell(new (std::nothrow) pthread_key_t());
        if (!cell)
            return failWith(kCellNoMemory, kNoTlsIndex);
        if (pthread_key_create(cell.get(), nullptr) != 0)
            return kNoTlsIndex;
        if (!claim(index, *cell)) {
            pthread_key_delete(*cell);
            continue;
        }
        exchangeCell(index, cell.release());
        setOwner(index, getpid());
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
    if (index >= kTlsIndices)
        return failWith(kCellInvalid, 0);
    const Writing writing(index);
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
