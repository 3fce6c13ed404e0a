#pragma once

// The two ways in which the exported rim reports failure by number; callers compare with both.

#include "zorcomn/portability.h"

#include <cerrno>
#include <cstdint>

namespace zor {

/** The result of the list, lock and utility families for a failure. */
constexpr uint32_t kFailure = 0x80000008u;

// The error cell takes these numbers on every system, whatever the system's own errno numbers are.
constexpr int32_t kCellNoMemory = 12;
constexpr int32_t kCellBusy = 16;
constexpr int32_t kCellInvalid = 22;
constexpr int32_t kCellOutOfSlots = 35;

/** Stores a number in the error cell, which all threads share, and returns the result that goes with it. */
template <class Result> Result failWith(int32_t cell, Result result) {
    __atomic_store_n(&nErrno, cell, __ATOMIC_RELAXED);
    return result;
}

/** The invalid handle value: all bits set. */
inline HANDLE invalidHandle() {
    return reinterpret_cast<HANDLE>(~static_cast<uintptr_t>(0));
}

} // namespace zor
