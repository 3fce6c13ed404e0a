#pragma once

// The thread token, by which a lock tells the threads apart.

#include "zorcomn/lists_locks.h"

#include "source/portability/error_cell.h"

namespace zor {

/** The token of a thread without an event, and the owner of a lock without one. */
inline HANDLE noThread() {
    return invalidHandle();
}

} // namespace zor
