#pragma once

// What several tests of files need: a look at a path itself, and long paths.

#include <algorithm>
#include <cstddef>
#include <string>

#include <sys/stat.h>

namespace zor::test {

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
