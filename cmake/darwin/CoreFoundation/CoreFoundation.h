#pragma once

/* The few declarations of CoreFoundation that the seam uses, for building where its headers are missing: the
 * cross-compile check, and the tests that run the seam's code against fakes. On a real system they are not looked at.
 */

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef const void *CFTypeRef;
typedef unsigned long CFTypeID;
typedef unsigned long CFOptionFlags;
typedef long CFIndex;
typedef unsigned char Boolean;
typedef unsigned char UInt8;
typedef uint32_t CFStringEncoding;
typedef const struct __CFAllocator *CFAllocatorRef;
typedef const struct __CFData *CFDataRef;
typedef const struct __CFString *CFStringRef;
typedef const struct __CFDictionary *CFDictionaryRef;
typedef CFTypeRef CFPropertyListRef;

typedef CFIndex CFPropertyListFormat;
typedef struct __CFError *CFErrorRef;

enum { kCFPropertyListImmutable = 0 };
#define kCFStringEncodingUTF8 ((CFStringEncoding)0x08000100)
extern const CFAllocatorRef kCFAllocatorDefault;

CFDataRef CFDataCreate(CFAllocatorRef allocator, const UInt8 *bytes, CFIndex length);
#if defined(__APPLE__) && defined(__clang__)
__attribute__((availability(macos, introduced = 10.0, deprecated = 10.10)))
#endif
CFPropertyListRef
CFPropertyListCreateFromXMLData(CFAllocatorRef allocator, CFDataRef xmlData, CFOptionFlags mutabilityOption,
                                CFStringRef *errorString);
#if defined(__APPLE__) && defined(__clang__)
__attribute__((availability(macos, introduced = 10.6)))
#endif
CFPropertyListRef
CFPropertyListCreateWithData(CFAllocatorRef allocator, CFDataRef data, CFOptionFlags options,
                             CFPropertyListFormat *format, CFErrorRef *error);
CFTypeID CFGetTypeID(CFTypeRef object);
CFTypeID CFDictionaryGetTypeID(void);
CFTypeID CFStringGetTypeID(void);
Boolean CFDictionaryGetValueIfPresent(CFDictionaryRef dictionary, const void *key, const void **value);
CFStringRef CFStringCreateWithCString(CFAllocatorRef allocator, const char *text, CFStringEncoding encoding);
Boolean CFStringGetCString(CFStringRef string, char *buffer, CFIndex bufferSize, CFStringEncoding encoding);
void CFRelease(CFTypeRef object);

#ifdef __cplusplus
}
#endif
