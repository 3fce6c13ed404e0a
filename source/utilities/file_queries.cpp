// Directory search, file size and free space under the utilities' own names and results.

#include "zorcomn/utilities.h"

#include "source/platform/files.h"
#include "source/platform/host.h"
#include "source/portability/directory_search.h"
#include "source/portability/error_cell.h"

int32_t qelcomn_findfirstA(const char *pattern, qelFindData *data) {
    const int32_t search = qelFindFirstDirEnt(pattern, data);
    return search == zor::kNoSearch ? 0 : search;
}

int32_t qelcomn_findnextA(int32_t search, qelFindData *data) {
    return qelFindNextDirEnt(search, data) == 1 ? 1 : 0;
}

int32_t qelcomn_findclose(int32_t search) {
    return qelFindCloseDirEnt(search);
}

uint32_t qelcomn_get_file_sizeA(const char *path, uint32_t *size) {
    if (!path || !size)
        return zor::kFailure;
    const zor::UncancellableScope uncancellable;
    const auto facts = zor::host::fileFacts(path);
    *size = facts ? static_cast<uint32_t>(facts->sizeBytes) : 0;
    return facts ? 0 : zor::kFailure;
}

// Kept: the factor 1000 and the product in 32 bits, which wraps and may come out negative; callers compare with values
// that were computed the same way.
uint32_t qelcomn_get_disk_free_spaceA(const char *path, int64_t *bytes) {
    constexpr uint32_t kFactor = 1000;
    if (!path || !bytes)
        return zor::kFailure;
    const zor::UncancellableScope uncancellable;
    const auto space = zor::host::fileSystemSpace(path);
    if (!space)
        return zor::kFailure;
    const uint32_t product =
        static_cast<uint32_t>(space->availableBlocks) * static_cast<uint32_t>(space->blockSizeBytes) * kFactor;
    *bytes = static_cast<int32_t>(product);
    return 0;
}
