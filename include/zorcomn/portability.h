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

/* Files: handles over POSIX descriptors, closed with qelCloseHandle. They cannot be waited on. What an operation does
 * to a handle that is 0, all-ones or of another kind is refuse it: nErrno = 22, result 0 (all-ones where the result is
 * a size or a position). One file serves one thread at a time; different files are independent. */

/** Opens or creates a file. New files get the permission bits 0660 within the process's mask; the descriptor is closed
 * in programs that the process starts.
 * @param path                 narrow text; null is refused. A file to be deleted on closing wants a path of at most 259
 *                             bytes: a longer one is kept cut, and closing then removes nothing and fails.
 * @param desiredAccess        0x80000000 read, 0x40000000 write, 0xC0000000 both; nothing else.
 * @param shareMode            ignored, as are securityAttributes and templateFile.
 * @param creationDisposition  1 create, fail if it exists; 2 create or empty; 3 open, fail if it does not exist; 4 open
 *                             or create. Nothing else: 5 (empty an existing file) is refused.
 * @param flagsAndAttributes   0, 128 (normal) or 0x04000000 (delete the file when the handle is closed); nothing else.
 * @return a file handle; 0 on failure - not the all-ones handle.
 * Error cell: nErrno = 22 when refused, 12 when memory is short, else untouched; errno as open() left it.
 * Threads: safe.  Owns: release the handle with qelCloseHandle.
 */
ZORCOMN_API HANDLE qelCreateFileAW(const char *path, uint32_t desiredAccess, uint32_t shareMode,
                                   void *securityAttributes, uint32_t creationDisposition, uint32_t flagsAndAttributes,
                                   HANDLE templateFile);
/** Reads from the current position, in one read() that may deliver less than asked for. May block; a cancellation
 * point.
 * @param file         from qelCreateFileAW.
 * @param buffer       receives at most bytesToRead bytes, not terminated.
 * @param bytesToRead  capacity of buffer in bytes.
 * @param bytesRead    receives the count, 0 at the end of the file; null is refused. Untouched on failure.
 * @param overlapped   ignored.
 * @return 1, also at the end of the file; 0 on failure.
 * Error cell: nErrno = 22 for a bad handle or a null bytesRead, else untouched; errno as read() left it.
 * Threads: one at a time on a file.  Owns: the buffer stays the caller's.
 */
ZORCOMN_API int32_t qelReadFile(HANDLE file, void *buffer, uint32_t bytesToRead, uint32_t *bytesRead, void *overlapped);
/** Writes at the current position, in one write() that may take less than given. May block; a cancellation point.
 * @param file          from qelCreateFileAW.
 * @param buffer        at least bytesToWrite bytes.
 * @param bytesToWrite  in bytes.
 * @param bytesWritten  receives the count; null is refused. Untouched on failure.
 * @param overlapped    ignored.
 * @return 1; 0 on failure.
 * Error cell: nErrno = 22 for a bad handle or a null bytesWritten, else untouched; errno as write() left it.
 * Threads: one at a time on a file.  Owns: the buffer stays the caller's.
 */
ZORCOMN_API int32_t qelWriteFile(HANDLE file, const void *buffer, uint32_t bytesToWrite, uint32_t *bytesWritten,
                                 void *overlapped);
/** Moves the current position.
 * @param file          from qelCreateFileAW.
 * @param distance      signed, in bytes.
 * @param distanceHigh  ignored: neither read nor written.
 * @param moveMethod    0 from the start, 1 from the current position, 2 from the end; handed to lseek() as it is.
 * @return the new position, its low 32 bits; all-ones on failure. A position whose low 32 bits are all ones cannot be
 *         told from a failure.
 * Error cell: nErrno = 22 for a bad handle, else untouched; errno as lseek() left it.
 * Threads: one at a time on a file.  Owns: nothing.
 */
ZORCOMN_API uint32_t qelSetFilePointer(HANDLE file, int32_t distance, int32_t *distanceHigh, uint32_t moveMethod);
/** Makes the current position the end of the file: cuts it off, or extends it with zero bytes.
 * @param file  from qelCreateFileAW, opened for writing.
 * @return 1; 0 on failure.
 * Error cell: nErrno = 22 for a bad handle, else untouched; errno as lseek() or ftruncate() left it.
 * Threads: one at a time on a file.  Owns: nothing.
 */
ZORCOMN_API int32_t qelSetEndOfFile(HANDLE file);
/** Tells the size of an open file.
 * @param file      from qelCreateFileAW.
 * @param sizeHigh  null, or receives the result divided by 65535, rounded down - not the upper half of the size,
 * whatever the name says. Untouched on failure.
 * @return the size in bytes, its low 32 bits; all-ones on failure.
 * Error cell: nErrno = 22 for a bad handle, else untouched; errno as fstat() left it.
 * Threads: safe.  Owns: nothing.
 */
ZORCOMN_API uint32_t qelGetFileSize(HANDLE file, uint32_t *sizeHigh);
/** Creates an empty file, readable and writable by its owner alone, under a name that did not exist:
 * directory + "/" + prefix + six characters of mkstemp()'s choice.
 * @param directory  an existing folder; null is refused.
 * @param prefix     null counts as empty.
 * @param unique     only returned; the name does not depend on it.
 * @param name       receives the whole path and its terminator; its size is not passed, so it must hold
 *                   strlen(directory) + 1 + strlen(prefix) + 6 + 1 bytes. Null is refused. Untouched on failure.
 * @return unique, or 1 when unique is 0; 0 on failure.
 * Error cell: nErrno = 22 for a null argument, else untouched; errno as mkstemp() left it.
 * Threads: safe.  Owns: the file stays until the caller removes it.
 */
ZORCOMN_API uint32_t qelGetTempFileName(const char *directory, const char *prefix, uint32_t unique, char *name);
/** Copies a file: qelcomn_copy_file (utilities.h) with its overwrite flag turned round.
 * @param failIfExists  0 replaces an existing destination, any other number does not.
 * @return 1; 0 on failure.
 * Error cell: untouched; errno as there.  Threads: safe on different destinations.  Owns: nothing.
 */
ZORCOMN_API int32_t qelCopyFile(const char *source, const char *destination, int32_t failIfExists);
/** Renames a file or folder within its file system; an existing file of the new name is replaced.
 * @return 1; 0 when rename() fails or a path is null.
 * Error cell: nErrno = 22 for a null path, else untouched; errno as rename() left it.  Threads: safe.  Owns: nothing.
 */
ZORCOMN_API int32_t qelMoveFile(const char *oldPath, const char *newPath);
/** Does nothing: these attributes do not exist here. Any arguments.
 * @return 1.
 * Error cell: untouched.  Threads: safe.  Owns: nothing.
 */
ZORCOMN_API int32_t qelSetFileAttributes(const char *path, uint32_t attributes);
/** Not supported. Any arguments; the buffer is untouched.
 * @return 0.
 * Error cell: untouched.  Threads: safe.  Owns: nothing.
 */
ZORCOMN_API uint32_t qelGetModuleFileName(void *module, char *buffer, uint32_t size);
/** Not supported. Any arguments; data is untouched.
 * @return 0.
 * Error cell: untouched.  Threads: safe.  Owns: nothing.
 */
ZORCOMN_API int32_t qelGetFileVersionInfo(const char *path, uint32_t handle, uint32_t length, void *data);
/** Not supported. Any arguments; value and length are untouched.
 * @return 0.
 * Error cell: untouched.  Threads: safe.  Owns: nothing.
 */
ZORCOMN_API int32_t qelVerQueryValue(const void *block, const char *subBlock, void **value, uint32_t *length);
/** Answers with the fixed text "/Library".
 * @param buffer  receives the text and its terminator, 9 bytes; may be null when size is too small.
 * @param size    capacity of buffer in bytes.
 * @return 8, the length copied; 9, the size that it takes, when size is less (buffer is then untouched); 0 for a null
 *         buffer with a size that is large enough.
 * Error cell: nErrno = 22 for that null buffer, else untouched.  Threads: safe.  Owns: the buffer stays the caller's.
 */
ZORCOMN_API uint32_t qelGetWindowsDirectory(char *buffer, uint32_t size);
/** Answers with the fixed text "/usr".
 * @param buffer  receives the text and its terminator, 5 bytes; may be null when size is too small.
 * @param size    capacity of buffer in bytes.
 * @return 4, the length copied; 5, the size that it takes, when size is less (buffer is then untouched); 0 for a null
 *         buffer with a size that is large enough.
 * Error cell: nErrno = 22 for that null buffer, else untouched.  Threads: safe.  Owns: the buffer stays the caller's.
 */
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

/** 16 octets: in memory octet 0 to 15 in order on every machine, so that the fields hold big-endian numbers. */
typedef struct qelGuid {
    uint32_t Data1;
    uint16_t Data2;
    uint16_t Data3;
    uint8_t Data4[8];
} qelGuid;
/** A local time, taken apart. dayOfWeek counts from Sunday = 0, month from January = 1; milliseconds is always 0. */
typedef struct qelSystemTime {
    uint16_t year, month, dayOfWeek, day, hour, minute, second, milliseconds;
} qelSystemTime;
/** Writes a number as text: signed in radix 10, else the 32 bits unsigned, with lower-case letters and no prefix.
 * @param value   any.
 * @param buffer  receives the text and its terminator, at most 12 bytes; its size is not passed. Null is refused.
 * @param radix   10, 16 or 8.
 * @return buffer; null when refused (nothing is written).
 * Error cell: untouched.  Threads: safe.  Owns: the buffer stays the caller's.
 */
ZORCOMN_API char *qelItoa(int32_t value, char *buffer, int32_t radix);
/** qelItoa under a second name; all that is said there holds. */
ZORCOMN_API char *qelItot(int32_t value, char *buffer, int32_t radix);
/** Writes the low 32 bits of a number as text, in radix 10 as a signed number: 4294967295 gives "-1".
 * @param value   any; the high 32 bits are left out.
 * @param buffer  receives the text and its terminator, at most 12 bytes; its size is not passed. Null is refused.
 * @param radix   10, 16 or 8.
 * @return buffer; null when refused (nothing is written).
 * Error cell: untouched.  Threads: safe.  Owns: the buffer stays the caller's.
 */
ZORCOMN_API char *qelUltot(uint64_t value, char *buffer, int32_t radix);
/** Writes a number as text: signed in radix 10, else the 64 bits unsigned, with lower-case letters and no prefix.
 * @param value   any.
 * @param buffer  receives the text and its terminator, at most 23 bytes; its size is not passed. Null is refused.
 * @param radix   10, 16 or 8.
 * @return buffer; null when refused (nothing is written).
 * Error cell: untouched.  Threads: safe.  Owns: the buffer stays the caller's.
 */
ZORCOMN_API char *qelI64toa(int64_t value, char *buffer, int32_t radix);
/** qelI64toa under a second name; all that is said there holds. */
ZORCOMN_API char *qelI64tot(int64_t value, char *buffer, int32_t radix);
/** Reads decimal digits. Every character up to the terminator counts, whatever it is: value = value x 10 + code - 48,
 * so that there are no signs ("-1" is -29), no blanks to skip and no end at a non-digit. Codes are those of a signed
 * char on every machine: bytes above 127 count as -128 to -1. The value wraps in 64 bits.
 * @param text  terminated; null counts as empty.
 * @return the value; 0 for an empty text.
 * Error cell: untouched.  Threads: safe.  Owns: nothing.
 */
ZORCOMN_API int64_t qelAtoi64(const char *text);
/** qelAtoi64 under a second name; all that is said there holds. */
ZORCOMN_API int64_t qelTtoi64(const char *text);
/** Converts text in the encoding of the current locale (LC_CTYPE) to wide characters: mbsrtowcs() from a fresh state.
 * For UTF-8 whatever the locale use qelcomn_utf8_to_unicode.
 * @param source        terminated; null converts nothing.
 * @param maximumCount  the most wide characters to write, terminator included.
 * @param destination   receives the characters; a terminator only where the count leaves room for it. Null writes
 *                      nothing and counts the whole source.
 * @return the number of wide characters converted, without the terminator; 0 at an invalid sequence.
 * Error cell: untouched; errno is EILSEQ at an invalid sequence.
 * Threads: safe while none changes the locale.  Owns: the buffer stays the caller's.
 */
ZORCOMN_API size_t qelStandardAtoU(const char *source, size_t maximumCount, wchar_t *destination);
/** Converts wide characters to the encoding of the current locale (LC_CTYPE): wcsrtombs() from a fresh state. For UTF-8
 * whatever the locale use qelcomn_unicode_to_utf8.
 * @param source        terminated; null converts nothing.
 * @param maximumBytes  the most bytes to write, terminator included; a character that does not fit is not begun.
 * @param destination   receives the bytes; a terminator only where the maximum leaves room for it. Null writes nothing
 *                      and counts the whole source.
 * @return the number of bytes converted, without the terminator; 0 at a character that the encoding does not have.
 * Error cell: untouched; errno is EILSEQ at such a character.
 * Threads: safe while none changes the locale.  Owns: the buffer stays the caller's.
 */
ZORCOMN_API size_t qelStandardUtoA(const wchar_t *source, size_t maximumBytes, char *destination);
/** Creates a GUID of version 1: the time in units of 100 ns, a 13-bit clock sequence drawn on the first call, and a
 * node drawn from rand() for every GUID, its top bit set. Within one microsecond only the node tells GUIDs apart, and
 * it is as random as the program's srand() and rand() make it: not for secrets.
 * @param guid  receives the GUID; null is refused.
 * @return guid.
 * Error cell: untouched; errno may change on the first call, which opens a socket and closes it again.
 * Threads: may be called side by side, as far as the system's rand() may; the generator has no lock, and such calls may
 * share a time stamp, with different nodes.  Owns: nothing.
 */
ZORCOMN_API qelGuid *qelCoCreateGuid(qelGuid *guid);
/** Writes a GUID as text: 36 lower-case characters like "00010203-0405-0607-0809-0a0b0c0d0e0f", the 16 octets in the
 * order of memory.
 * @param guid    null is refused.
 * @param buffer  receives the text and its terminator, 37 bytes; its size is not passed. Null is refused.
 * @return buffer; null when refused (nothing is written).
 * Error cell: untouched.  Threads: safe.  Owns: the buffer stays the caller's.
 */
ZORCOMN_API char *qelUuidToStringA(const qelGuid *guid, char *buffer);
/** Tells the local time, not UTC, whatever the name says; from time() and localtime_r().
 * @param time  receives the time in whole seconds; all 0 if it cannot be broken down. Null does nothing.
 * Error cell: untouched.  Threads: safe; beside zorcomn_timegm it may yield UTC.  Owns: nothing.
 */
ZORCOMN_API void qelGetSystemTime(qelSystemTime *time);
/** Counts milliseconds from a point in the past that the system sets, in steps of the system's clock tick; it advances
 * while the process sleeps. From times() and sysconf(_SC_CLK_TCK).
 * @return ticks x 1000 / ticks per second in unsigned 32-bit arithmetic, whose product wraps: with 100 ticks per second
 *         the count starts again at 0 after 42,949,672 ms (11.9 hours), so differences across that point mean nothing.
 * Error cell: untouched.  Threads: safe.  Owns: nothing.
 */
ZORCOMN_API uint32_t qelGetTickCount(void);
/** Tells the computer's name: the node name of uname(), whole, with its domain part where it has one.
 * @param buffer  receives the name and its terminator; untouched on failure. Null is refused.
 * @param size    in: the buffer's size in bytes, at least the name's length + 1; out: the name's length without the
 *                terminator. Unchanged on failure, so it does not tell what would be enough. Null is refused.
 * @return 1; 0 when refused, when the name does not fit or when uname() fails.
 * Error cell: untouched; errno as uname() left it.  Threads: safe.  Owns: the buffer stays the caller's.
 */
ZORCOMN_API int32_t qelGetComputerName(char *buffer, uint32_t *size);
/** Does nothing; there are no messages here. For ported message loops to link.
 * @param message  not looked at.
 * @return always 1.
 * Error cell: untouched.  Threads: safe.  Owns: nothing.
 */
ZORCOMN_API int32_t qelTranslateMessage(const void *message);

#ifdef __cplusplus
}
#endif
