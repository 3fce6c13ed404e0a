#pragma once

// The thread token, by which a lock tells the threads apart.

#include "zorcomn/lists_locks.h"

#include "source/portability/error_cell.h"

namespace zor {

/** The token of a thread without an event, and the owner of a lock without one. */
inline HANDLE noThread() {
    return invalidHandle();
}

/** By what a lock knows the calling thread: the event that it attached with, as long as it is attached, whatever has
 * become of the index meanwhile; else what the index holds. */
HANDLE lockToken();

} // namespace zor
