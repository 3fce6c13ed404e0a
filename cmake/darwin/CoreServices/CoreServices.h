#pragma once

/* The one call of CoreServices that the seam uses; see CoreFoundation.h beside it. */

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef int16_t OSErr;
typedef uint32_t OSType;
#ifdef __LP64__
typedef int32_t SInt32;
#else
typedef long SInt32;
#endif
enum { noErr = 0 };

#if defined(__APPLE__) && defined(__clang__)
__attribute__((availability(macos, introduced = 10.0, deprecated = 10.8)))
#endif
OSErr Gestalt(OSType selector, SInt32 *response);

#ifdef __cplusplus
}
#endif
