#pragma once

// What several tests of files look at: the process's open descriptors, long paths.

#include <algorithm>
#include <cstddef>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>
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

inline bool exists(const std::string &path) {
    struct stat facts;
    return lstat(path.c_str(), &facts) == 0;
}

/** Makes folders below base, one in the other, so that the innermost one's path has exactly length characters. */
inline std::string makeFolderOfLength(const std::string &base, size_t length) {
    constexpr size_t kLongestStep = 100;
    std::string path = base;
    while (path.size() < length) {
        const size_t missing = length - path.size() - 1; // what a name may have
        const size_t name = missing <= kLongestStep ? missing : std::min(kLongestStep, missing - 2);
        path += "/" + std::string(name, 'n');
        mkdir(path.c_str(), 0700);
    }
    return path;
}

} // namespace zor::test
