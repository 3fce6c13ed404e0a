#pragma once

// The entries of the library table. MutexDynamicLibraryList guards the table and what its entries count.

#include "zorcomn/portability.h"

#include <cstddef>
#include <cstdint>

namespace zor {

constexpr size_t kLibraryNameBound = 260;

}

/** Fields in the layer's fixed order. */
struct qelDynamicLibrary {
    char name[zor::kLibraryNameBound + 4]; // the path as given, cut after kLibraryNameBound bytes, always terminated
    void *module;
    qelDllMain dllMain; // null when the module has none
    int32_t referenceCount;
    int32_t threadCallsDisabled;
};
