// Directory search: find-first, find-next and find-close over readdir. A search handle is an index into a fixed table
// of 50 searches, plus one. MutexDirEnt guards the taking of a slot and nothing else, since callers may hold it while
// they go on with a search of their own; a slot's pointer is therefore read and written atomically.

#include "zorcomn/portability.h"

#include "source/platform/files.h"
#include "source/platform/fork.h"
#include "source/platform/open.h"
#include "source/portability/directory_search.h"
#include "source/portability/error_cell.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

#include <dirent.h>
#include <sys/stat.h>

static_assert(sizeof(qelFindData) == 284, "callers hold the record by its size");
static_assert(offsetof(qelFindData, lastAccessTime) == 8 && offsetof(qelFindData, size) == 16 &&
                  offsetof(qelFindData, name) == 20 && offsetof(qelFindData, reserved1) == 280,
              "callers read the record's fields by place");

constexpr size_t kMaxSearches = 50;

qelSearch *pDirEntTable[kMaxSearches];
zor::Mutex MutexDirEnt = PTHREAD_MUTEX_INITIALIZER;

namespace {

constexpr uint32_t kAttributeDirectory = 16;

const zor::ForkRepair tableForks(MutexDirEnt);
zor::FirstCall firstSearch;
const zor::ForkRepair firstSearchForks(firstSearch.mutex());

qelSearch *loadSlot(size_t index) {
    return __atomic_load_n(&pDirEntTable[index], __ATOMIC_ACQUIRE);
}

void storeSlot(size_t index, qelSearch *search) {
    __atomic_store_n(&pDirEntTable[index], search, __ATOMIC_RELEASE);
}

void clearTable() {
    for (size_t index = 0; index < kMaxSearches; ++index)
        storeSlot(index, nullptr);
}

// Kept: whatever callers wrote into the table before the first search of the process is forgotten.
void clearTableOnce() {
    firstSearch.run(clearTable);
}

/** Copies at most 260 characters; the receiving field is zeroed. */
void copySearchText(char (&field)[kSearchTextBytes], const char *text, size_t length) {
    std::memcpy(field, text, std::min(length, kSearchTextBytes - 1));
}

/** The text under which an entry is looked up: the directory and the name with nothing between them. */
class LookupPath {
public:
    LookupPath(const char *directory, const char *name) {
        zor::copyText(m_text, kMaxPart + 1, directory);
        zor::copyText(m_text + std::strlen(m_text), kMaxPart + 1, name);
    }
    const char *text() const { return m_text; }

private:
    static constexpr size_t kMaxPart = 259;
    char m_text[2 * kMaxPart + 1];
};

/** Puts a search that is complete into the first null slot. A child of a fork in between has it whole or not at all. */
int32_t takeSlot(std::unique_ptr<qelSearch> search) ZORCOMN_REQUIRES(MutexDirEnt) {
    size_t index = 0;
    while (index < kMaxSearches && loadSlot(index))
        ++index;
    if (index == kMaxSearches)
        return zor::kNoSearch;
    storeSlot(index, search.release());
    return static_cast<int32_t>(index) + 1;
}

} // namespace

namespace zor {

int32_t openSearch(Directory stream, const char *directory, size_t directoryLength, const char *pattern) {
    clearTableOnce();
    std::unique_ptr<qelSearch> record(new (std::nothrow) qelSearch());
    if (record) {
        record->stream = stream.get();
        copySearchText(record->directory, directory, directoryLength);
        copyText(record->pattern, sizeof record->pattern, pattern);
    }
    const MutexLock lock(MutexDirEnt);
    if (!lock)
        return kNoSearch;
    const int32_t search = record ? takeSlot(std::move(record)) : kNoSearch;
    if (search == kNoSearch)
        return failWith(kCellOutOfSlots, kNoSearch);
    stream.release();
    return search;
}

qelSearch *findSearch(int32_t search) {
    const bool isInRange = search >= 1 && search <= static_cast<int32_t>(kMaxSearches);
    qelSearch *const record = isInRange ? loadSlot(static_cast<size_t>(search) - 1) : nullptr;
    return record ? record : failWith<qelSearch *>(kCellInvalid, nullptr);
}

const dirent *nextEntry(qelSearch &search) {
    const dirent *entry = readdir(search.stream);
    while (entry && qelWildCardMatch(search.pattern, entry->d_name) != 0)
        entry = readdir(search.stream);
    return entry;
}

} // namespace zor

int32_t qelFindFirstDirEnt(const char *path, qelFindData *data) {
    clearTableOnce();
    if (!path || !data)
        return zor::failWith(zor::kCellInvalid, zor::kNoSearch);
    const char *const slash = std::strrchr(path, '/');
    const char *const directory = slash ? path : ".";
    const size_t directoryLength = slash ? static_cast<size_t>(slash - path) + 1 : 1;
    const char *const pattern = slash ? slash + 1 : path;

    const zor::UncancellableScope uncancellable;
    char opened[kSearchTextBytes] = {};
    copySearchText(opened, directory, directoryLength);
    zor::Directory stream = zor::host::openDirectory(opened);
    if (!stream)
        return zor::kNoSearch;
    const int32_t search = zor::openSearch(std::move(stream), opened, std::strlen(opened), pattern);
    if (search == zor::kNoSearch)
        return zor::kNoSearch;
    if (qelFindNextDirEnt(search, data) == 1)
        return search;
    // Kept: a search that finds nothing is a failure of its first call.
    qelFindCloseDirEnt(search);
    return zor::kNoSearch;
}

int32_t qelFindNextDirEnt(int32_t search, qelFindData *data) {
    qelSearch *const record = zor::findSearch(search);
    if (!record)
        return 0;
    if (!data)
        return zor::failWith(zor::kCellInvalid, 0);
    const zor::UncancellableScope uncancellable;
    const dirent *const entry = zor::nextEntry(*record);
    if (!entry)
        return 0;
    qelSetFindDataDirEnt(data, entry, record->directory);
    return 1;
}

int32_t qelFindCloseDirEnt(int32_t search) {
    const std::unique_ptr<qelSearch> record(zor::findSearch(search));
    if (!record)
        return 0;
    const zor::UncancellableScope uncancellable;
    storeSlot(static_cast<size_t>(search) - 1, nullptr);
    return closedir(record->stream) == 0 ? 1 : 0;
}

qelFindData *qelSetFindDataDirEnt(qelFindData *data, const struct dirent *entry, const char *directory) {
    if (!data || !entry || !directory)
        return zor::failWith<qelFindData *>(zor::kCellInvalid, nullptr);
    *data = qelFindData();
    zor::copyText(data->name, sizeof data->name, entry->d_name);
    // Kept: no separator is put in between, so a search without a slash, whose directory is ".", looks its entries up
    // as ".name" and normally finds no facts for them.
    const zor::UncancellableScope uncancellable;
    const auto facts = zor::host::fileFacts(LookupPath(directory, entry->d_name).text());
    if (!facts)
        return data;
    data->attributes = S_ISDIR(facts->mode) ? kAttributeDirectory : 0;
    // Times and size are the low 32 bits of what the system has.
    data->lastAccessTime = static_cast<int32_t>(facts->accessSeconds);
    data->lastWriteTime = static_cast<int32_t>(facts->modificationSeconds);
    data->size = static_cast<uint32_t>(facts->sizeBytes);
    return data;
}

char *qelTstrtok_r(char *text, const char *delimiters, char **save) {
    return strtok_r(text, delimiters, save);
}
