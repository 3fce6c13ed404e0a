#pragma once

// The search behind a search handle, for the modules that walk a directory without the caller's find-data record.

#include "zorcomn/portability.h"

#include "source/platform/posix.h"

#include <cstddef>
#include <cstdint>

constexpr size_t kSearchTextBytes = 261;

/** One open search; the table's slot owns it. */
struct qelSearch {
    DIR *stream;
    char pattern[kSearchTextBytes];
    char directory[kSearchTextBytes]; // with its trailing '/', or "." for a search without one
};

namespace zor {

constexpr int32_t kNoSearch = -1;

/** Takes the first free slot of the search table for an open directory. Texts are cut to 260 characters.
 * @return the search handle; kNoSearch, the stream closed, when no slot was to be had: the error cell then says so.
 */
int32_t openSearch(Directory stream, const char *directory, size_t directoryLength, const char *pattern);

/** The search of a handle; null, and the error cell set, for a handle out of range or not in use. */
qelSearch *findSearch(int32_t search);

/** The next entry whose name matches the search's pattern, valid until the next call; null at the end. */
const dirent *nextEntry(qelSearch &search);

} // namespace zor
