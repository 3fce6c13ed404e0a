// The error cell, and the translation of the system's errno into the numbers that callers compare with.

#include "zorcomn/portability.h"

#include "source/portability/error_cell.h"

#include <cerrno>

int32_t nErrno = 0;

// Kept: the pairings are the layer's own (2 becomes 38, for one) and apply to the number found in errno, whatever the
// host calls it; callers compare with them.
uint32_t qelGetLastError(void) {
    switch (errno) {
    case 0:
        return 0;
    case 2:
    case 5:
    case 6:
    case 77:
        return 38;
    case 3:
    case 4:
    case 9:
    case 19:
        return 126;
    case 7:
    case 12:
    case 23:
    case 24:
    case 27:
    case 28:
    case 31:
        return 259;
    case 11:
    case 16:
    case 26:
    case 35:
        return 997;
    case 13:
        return 5;
    case 22:
    case 25:
        return 1010;
    case 30:
        return 19;
    default:
        return zor::kFailure;
    }
}
