#pragma once

// Builds the seam as for the oldest system that the library runs on.
#define __MAC_OS_X_VERSION_MIN_REQUIRED 1050

// What the system has beside it and the one that runs this has not.
inline int issetugid() {
    return 0;
}
