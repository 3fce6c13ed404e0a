#pragma once
#include "api.h"

#include <pthread.h>
#include <stddef.h>
#include <stdint.h>
#include <sys/types.h>
#include <wchar.h>
struct dirent;
#ifdef __cplusplus
extern "C" {
#endif

/* handles, events, mutexes and waits */
typedef void *HANDLE; /* 0: no object; all-ones: the invalid handle value */
ZORCOMN_API HANDLE qelCreateEvent(void *securityAttributes, int32_t manualReset, int32_t initialState,
                                  const char *name);
ZORCOMN_API int32_t qelSetEvent(HANDLE event);
ZORCOMN_API int32_t qelResetEvent(HANDLE event);
ZORCOMN_API HANDLE qelCreateMutex(void *securityAttributes, int32_t initialOwner, const char *name);
ZORCOMN_API HANDLE qelOpenMutex(uint32_t desiredAccess, int32_t inheritHandle, const char *name);
ZORCOMN_API int32_t qelReleaseMutex(HANDLE mutex);
ZORCOMN_API uint32_t qelWaitForSingleObject(HANDLE handle, uint32_t milliseconds);
ZORCOMN_API uint32_t qelWaitForMultipleObjects(uint32_t count, const HANDLE *handles, int32_t waitAll,
                                               uint32_t milliseconds);
ZORCOMN_API int32_t qelCloseHandle(HANDLE handle);
ZORCOMN_API uint32_t qelGetLastError(void);
ZORCOMN_API int32_t qelInterlockedIncrement(volatile int32_t *value);
ZORCOMN_API int32_t qelInterlockedDecrement(volatile int32_t *value);
ZORCOMN_API int32_t qelInterlockedExchange(volatile int32_t *value, int32_t newValue);
ZORCOMN_API extern int32_t nErrno;
ZORCOMN_API extern pthread_mutex_t MutexInterlockedLong;
ZORCOMN_API extern pthread_mutex_t MutexInterlockedExchange;
ZORCOMN_API extern int32_t bDummyThreadSignalled;

/* threads and thread-local storage */
typedef uint32_t (*qelThreadStart)(void *argument);
ZORCOMN_API HANDLE qelBeginThread(void *securityAttributes, uint32_t stackSize, qelThreadStart start, void *argument,
                                  uint32_t creationFlags, uint32_t *threadId);
ZORCOMN_API HANDLE qelCreateThread(void *securityAttributes, uint32_t stackSize, qelThreadStart start, void *argument,
                                   uint32_t creationFlags, uint32_t *threadId);
ZORCOMN_API void *qelThreadJuggle(void *startBlock);
ZORCOMN_API void qelCleanupThread(void *startBlock);
ZORCOMN_API void set_pthread_sched_param(HANDLE thread);
ZORCOMN_API uint32_t qelTlsAlloc(void);
ZORCOMN_API int32_t qelTlsFree(uint32_t index);
ZORCOMN_API int32_t qelTlsSetValue(uint32_t index, void *value);
ZORCOMN_API void *qelTlsGetValue(uint32_t index);
ZORCOMN_API int32_t qelDisableThreadLibraryCalls(void *module);
ZORCOMN_API extern pid_t nTlsOwnerTable[512];
ZORCOMN_API extern pthread_key_t *pTlsKeyTable[512];

/* files */
ZORCOMN_API HANDLE qelCreateFileAW(const char *path, uint32_t desiredAccess, uint32_t shareMode,
                                   void *securityAttributes, uint32_t creationDisposition, uint32_t flagsAndAttributes,
                                   HANDLE templateFile);
ZORCOMN_API int32_t qelReadFile(HANDLE file, void *buffer, uint32_t bytesToRead, uint32_t *bytesRead, void *overlapped);
ZORCOMN_API int32_t qelWriteFile(HANDLE file, const void *buffer, uint32_t bytesToWrite, uint32_t *bytesWritten,
                                 void *overlapped);
ZORCOMN_API uint32_t qelSetFilePointer(HANDLE file, int32_t distance, int32_t *distanceHigh, uint32_t moveMethod);
ZORCOMN_API int32_t qelSetEndOfFile(HANDLE file);
ZORCOMN_API uint32_t qelGetFileSize(HANDLE file, uint32_t *sizeHigh);
ZORCOMN_API uint32_t qelGetTempFileName(const char *directory, const char *prefix, uint32_t unique, char *name);
ZORCOMN_API int32_t qelCopyFile(const char *source, const char *destination, int32_t failIfExists);
ZORCOMN_API int32_t qelMoveFile(const char *oldPath, const char *newPath);
ZORCOMN_API int32_t qelSetFileAttributes(const char *path, uint32_t attributes);
ZORCOMN_API uint32_t qelGetModuleFileName(void *module, char *buffer, uint32_t size);
ZORCOMN_API int32_t qelGetFileVersionInfo(const char *path, uint32_t handle, uint32_t length, void *data);
ZORCOMN_API int32_t qelVerQueryValue(const void *block, const char *subBlock, void **value, uint32_t *length);
ZORCOMN_API uint32_t qelGetWindowsDirectory(char *buffer, uint32_t size);
ZORCOMN_API uint32_t qelGetSystemDirectory(char *buffer, uint32_t size);

/* directory enumeration and wildcard matching */

/** What a search tells about one entry. 284 bytes; cleared before each fill. The facts are those of stat(), so of a
 * link's target; when stat() fails only the name is filled and every other field is 0. Times are seconds since
 * 1970-01-01 UTC, cut to 32 bits. A search whose path has no '/' looks its entries up as "." followed by the name and
 * so, normally, finds no facts for any of them: write "./" before the pattern to get them.
 */
typedef struct qelFindData {
    uint32_t attributes; /* 16 for a directory, else 0 */
    uint32_t reserved0;
    int32_t lastAccessTime;
    int32_t lastWriteTime;
    uint32_t size;  /* in bytes, the low 32 bits */
    char name[260]; /* at most 259 bytes and a terminator */
    char reserved1[4];
} qelFindData; /* 284 bytes */
/** Starts a search of one directory and delivers its first match. "." and ".." are entries like all others; the order
 * is the system's.
 * @param path  what follows the last '/' is the pattern (see qelWildCardMatch; empty matches everything), what stands
 *              before it, the '/' included, the directory; "." when there is no '/'. Each part counts up to its 260th
 *              byte, the rest is cut off. Null is refused.
 * @param data  receives the first match; untouched when there is none. Null is refused.
 * @return a search handle, 1 to 50; -1 when refused, when the directory cannot be opened, when all 50 searches of the
 *         process are in use, and when nothing matches (no search is open then).
 * Error cell: nErrno = 22 for a null argument, 35 when no search is free or memory is short, else untouched; errno as
 * the failing opendir() left it.
 * Threads: safe; MutexDirEnt is held while a slot is taken.  Owns: release the handle with qelFindCloseDirEnt.
 */
ZORCOMN_API int32_t qelFindFirstDirEnt(const char *path, qelFindData *data);
/** Delivers the next match of a search.
 * @param search  from qelFindFirstDirEnt.
 * @param data    receives the match; untouched when there is none. Null is refused.
 * @return 1; 0 when nothing is left or the arguments are refused.
 * Error cell: nErrno = 22 for a handle out of 1..50 or not in use and for null data, else untouched; errno may tell of
 * an entry's failed stat().
 * Threads: one search serves one thread at a time; takes no lock.  Owns: nothing.
 */
ZORCOMN_API int32_t qelFindNextDirEnt(int32_t search, qelFindData *data);
/** Ends a search and frees its handle for the next one.
 * @param search  from qelFindFirstDirEnt.
 * @return 1; 0 when refused or when closing the directory failed (the handle is free all the same).
 * Error cell: nErrno = 22 for a handle out of 1..50 or not in use, else untouched; errno as closedir() left it.
 * Threads: one search serves one thread at a time; takes no lock.  Owns: nothing.
 */
ZORCOMN_API int32_t qelFindCloseDirEnt(int32_t search);
/** Fills a find-data record from a directory entry, as a search does.
 * @param data       receives the name and what stat() tells; cleared first. Null is refused.
 * @param entry      from readdir(). Null is refused.
 * @param directory  put before the name as it stands, no '/' added, to look the entry up; counts up to its 259th byte.
 *                   Null is refused.
 * @return data; null when refused.
 * Error cell: nErrno = 22 for a null argument, else untouched; errno as a failed stat() left it.
 * Threads: safe on different records.  Owns: nothing.
 */
ZORCOMN_API qelFindData *qelSetFindDataDirEnt(qelFindData *data, const struct dirent *entry, const char *directory);
/** Matches a name against a pattern, byte by byte and case-sensitively, by rules of its own: '?' is any one byte; '*'
 * is any bytes, also none; a pattern matches every name that begins with what it matches ("abc" matches "abcdef",
 * "*.log" matches "a.log.1"). A '*' reached at the end of the name is a match, whatever follows it in the pattern
 * ("a*b" matches "a"); what follows a '*' is never tried at the end of the name ("*b*" does not match "a"). No
 * character escapes. Takes time within the product of both lengths, and no memory.
 * @param pattern  null or empty matches everything.
 * @param name     null counts as empty.
 * @return as a comparison: 0 when the name matches, 1 when it does not.
 * Error cell: untouched.  Threads: safe.  Owns: nothing.
 */
ZORCOMN_API int32_t qelWildCardMatch(const char *pattern, const char *name);
/** Splits a text into tokens: strtok_r() under the layer's name.
 * @param text        writable; null goes on with the text that save stands in.
 * @param delimiters  the bytes that end a token.
 * @param save        the caller's cell that keeps the place between calls.
 * @return the next token, inside the text; null when none is left.
 * Error cell: untouched.  Threads: safe on different texts.  Owns: the text stays the caller's.
 */
ZORCOMN_API char *qelTstrtok_r(char *text, const char *delimiters, char **save);
struct qelSearch; /* layout is the library's own */
/** The open searches of the process; handle h is slot h - 1, null when free. Cleared by the first qelFindFirstDirEnt.
 */
ZORCOMN_API extern struct qelSearch *pDirEntTable[50];
/** Held while a search takes its slot, and at no other time. */
ZORCOMN_API extern pthread_mutex_t MutexDirEnt;

/* dynamic libraries and string resources */
typedef int32_t (*qelDllMain)(void *module, uint32_t reason, void *reserved); /* exported as "DllMain" */
typedef int32_t (*qelLoadStringEntry)(void *module, uint32_t id, char *buffer, int32_t size); /* "loadString" */
ZORCOMN_API void *qelLoadLibrary(const char *path, const char **errorText);
ZORCOMN_API void *qelLoadLibraryW(const wchar_t *path, const wchar_t **errorText);
ZORCOMN_API void *qelGetProcAddress(void *module, const char *symbol, const char **errorText);
ZORCOMN_API int32_t qelFreeLibrary(void *module);
ZORCOMN_API int32_t qelLoadString(void *module, uint32_t id, char *buffer, int32_t size);
ZORCOMN_API int32_t load_shared_object_image(void **handle, const char *path, char *errorText);
ZORCOMN_API int32_t unload_shared_object_image(void *handle);
struct qelDynamicLibrary; /* layout is the library's own */
ZORCOMN_API extern struct qelDynamicLibrary *pDynamicLibraryList[50];
ZORCOMN_API extern pthread_mutex_t MutexDynamicLibraryList;

/* numeric text, GUIDs, clocks and system names */
typedef struct qelGuid {
    uint32_t Data1;
    uint16_t Data2;
    uint16_t Data3;
    uint8_t Data4[8];
} qelGuid; /* in memory: the 16 octets 0..15 in order, on every machine */
typedef struct qelSystemTime {
    uint16_t year, month, dayOfWeek, day, hour, minute, second, milliseconds;
} qelSystemTime;
ZORCOMN_API char *qelItoa(int32_t value, char *buffer, int32_t radix);
ZORCOMN_API char *qelItot(int32_t value, char *buffer, int32_t radix);
ZORCOMN_API char *qelUltot(uint64_t value, char *buffer, int32_t radix);
ZORCOMN_API char *qelI64toa(int64_t value, char *buffer, int32_t radix);
ZORCOMN_API char *qelI64tot(int64_t value, char *buffer, int32_t radix);
ZORCOMN_API int64_t qelAtoi64(const char *text);
ZORCOMN_API int64_t qelTtoi64(const char *text);
ZORCOMN_API size_t qelStandardAtoU(const char *source, size_t maximumCount, wchar_t *destination);
ZORCOMN_API size_t qelStandardUtoA(const wchar_t *source, size_t maximumBytes, char *destination);
ZORCOMN_API qelGuid *qelCoCreateGuid(qelGuid *guid);
ZORCOMN_API char *qelUuidToStringA(const qelGuid *guid, char *buffer);
ZORCOMN_API void qelGetSystemTime(qelSystemTime *time);
ZORCOMN_API uint32_t qelGetTickCount(void);
ZORCOMN_API int32_t qelGetComputerName(char *buffer, uint32_t *size);
ZORCOMN_API int32_t qelTranslateMessage(const void *message);

#ifdef __cplusplus
}
#endif
