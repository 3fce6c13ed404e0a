#pragma once

// What a file handle's record points at; qelCreateFileAW makes it, qelCloseHandle ends it.

#include <cstddef>
#include <cstdint>

namespace zor {

constexpr size_t kFileNameSize = 260;

/** Fields in the layer's fixed order. Made by new (std::nothrow), as every record of the layer. */
struct FileRecord {
    int32_t descriptor;
    int32_t deleteOnClose;    // 1: the name is removed on closing
    int32_t endOfFile;        // 1 once a read has returned no bytes
    char name[kFileNameSize]; // the path as given, cut to the field: a path that fills it has no terminator
};

} // namespace zor
