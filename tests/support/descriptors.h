#pragma once

// Counts what a test's process has open; two counts that differ show a leak.

#include <algorithm>
#include <cstddef>

#include <fcntl.h>
#include <unistd.h>

namespace zor::test {

/** How many descriptors this process has open. */
inline size_t openDescriptors() {
    const long limit = std::min(sysconf(_SC_OPEN_MAX), 4096L);
    size_t count = 0;
    for (int descriptor = 0; descriptor < limit; ++descriptor)
        count += fcntl(descriptor, F_GETFD) != -1;
    return count;
}

} // namespace zor::test
