#pragma once

// The steps of files.h by the calls that take an open folder, for every system that has them; included by the one file
// that implements the seam there, which is why it may define.
// NOLINTBEGIN(misc-definitions-in-headers)

#include "source/platform/files.h"

#include <fcntl.h>
#include <unistd.h>

namespace zor::host {

namespace {

int callFolder(int folder) {
    return folder == kWorkingFolder ? AT_FDCWD : folder;
}

} // namespace

Directory openFolder(int parent, const char *name) {
    constexpr int kFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
    Descriptor folder(retryInterrupted([&] { return openat(callFolder(parent), name, kFlags); }));
    Directory stream(folder ? fdopendir(folder.get()) : nullptr);
    if (stream)
        folder.release();
    return stream;
}

bool removeFile(int folder, const char *name) {
    return retryInterrupted([&] { return unlinkat(callFolder(folder), name, 0); }) == 0;
}

bool removeFolder(int folder, const char *name) {
    return retryInterrupted([&] { return unlinkat(callFolder(folder), name, AT_REMOVEDIR); }) == 0;
}

} // namespace zor::host
// NOLINTEND(misc-definitions-in-headers)
