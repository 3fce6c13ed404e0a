#pragma once

// The seam's third part: facts about files, and the steps of a walk that works relative to open folders, so that nobody
// who moves or replaces a folder meanwhile can lead it elsewhere. No fake of these: the tests use real files.

#include "source/platform/posix.h"

#include <cstdint>
#include <optional>

#include <sys/stat.h>
#include <sys/types.h>

namespace zor::host {

/** What is known about a file. 64 bits on every machine: no size and no date makes the facts unknown. */
struct FileFacts {
    uint64_t device;
    uint64_t inode;
    mode_t mode;
    int64_t sizeBytes;
    int64_t accessSeconds; // since 1970-01-01 UTC, like the next
    int64_t modificationSeconds;
};

/** Facts about what a path names, links followed; nothing, and errno as stat() sets it, when there are none. */
std::optional<FileFacts> fileFacts(const char *path);
/** Facts about what a path names, a symbolic link itself included. */
std::optional<FileFacts> linkFacts(const char *path);
/** Facts about an open file. */
std::optional<FileFacts> openFileFacts(int descriptor);

inline bool isSameFile(const FileFacts &one, const FileFacts &other) {
    return one.device == other.device && one.inode == other.inode;
}

/** Stands for the working folder where an open folder is asked for; the name may be a whole path then. */
constexpr int kWorkingFolder = -2;

/** Opens a folder by its name in an open one; a symbolic link is no folder. Null, and errno, on failure. */
Directory openFolder(int parent, const char *name);
/** The file type bits of a name in an open folder, those of a link for a link; 0 when nothing is known. */
mode_t kindOf(int folder, const char *name);
/** Removes a name that is no folder from an open folder; false, and errno, on failure. */
bool removeFile(int folder, const char *name);
/** Removes an empty folder from an open one; false, and errno, on failure. */
bool removeFolder(int folder, const char *name);

} // namespace zor::host
