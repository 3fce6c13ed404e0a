/** @file
 * Text conversion, file system helpers, time stamps, agent identity and path resolution. C99 and C++.
 *
 * @include subsystems/utilities.c
 */
#pragma once
#include "api.h"
#include "portability.h"

#include <stdint.h>
#include <wchar.h>
#ifdef __cplusplus
extern "C" {
#endif

/* A function is a cancellation point only where its description says so; a thread that is cancelled in another ends
 * after the return. */

/* Text and encoding conversions on caller-owned buffers. Wide text is UTF-32 in the machine's byte order, narrow text
 * is UTF-8. Of invalid text the system's converter (iconv) decides what is delivered: all before the first character
 * that it cannot convert, and the call succeeds. */

/** Converts wide text to UTF-8.
 * @param source       terminated wide text; null is refused. It may lie inside the destination.
 * @param destination  receives the text and its terminator, nothing behind that; null is refused. Of invalid text it
 * gets the part before the first character that cannot be converted, of which nothing tells.
 * @param capacity     the destination's size in bytes, at least 6 x length of source + 1: six bytes for each character,
 *                     more than a text needs, and the terminator. Only read; null, 0 or less than that is refused.
 * @return 0; 0x80000008 when refused, or when source lies inside the destination and there is no memory for a copy of
 *         it (the destination is then untouched).
 * Error cell: untouched; errno as the system's converter left it when the text is invalid, else untouched.
 * Threads: safe.  Owns: both buffers stay the caller's.
 */
ZORCOMN_API uint32_t qelcomn_unicode_to_utf8(const wchar_t *source, char *destination, const int32_t *capacity);
/** Converts UTF-8 to wide text.
 * @param source       terminated UTF-8 text; null is refused. It may lie inside the destination.
 * @param destination  receives the text and its terminator, nothing behind that; null is refused. Of invalid text it
 * gets the part before the first byte that cannot be converted, of which nothing tells.
 * @param capacity     the destination's size in wide characters, at least the length of source in bytes + 1. Only read;
 *                     null or less than that is refused.
 * @return 0; 0x80000008 when refused, or when source lies inside the destination and there is no memory for a copy of
 *         it (the destination is then untouched).
 * Error cell: untouched; errno as the system's converter left it when the text is invalid, else untouched.
 * Threads: safe.  Owns: both buffers stay the caller's.
 */
ZORCOMN_API uint32_t qelcomn_utf8_to_unicode(const char *source, wchar_t *destination, const int32_t *capacity);
/** Cuts a text before its first ';'; a text without one stays as it is.
 * @param text  terminated, writable; null does nothing. The bytes behind the cut stay in memory.
 * Error cell: untouched.  Threads: safe on different texts.  Owns: the buffer stays the caller's.
 */
ZORCOMN_API void qelcomn_chop_semicolon(char *text);
/** Ends a path with '/', unless it does already. The separator is the slash, whatever the name says: a path that ends
 * in a backslash gets a slash too, and an empty path becomes "/".
 * @param path  terminated, writable, with room for one character more; null does nothing.
 * Error cell: untouched.  Threads: safe on different paths.  Owns: the buffer stays the caller's.
 */
ZORCOMN_API void qelcomn_append_backslash_check(char *path);

/* File system utilities. Paths are narrow text. Two families of results live side by side, function by function: 0 or
 * 0x80000008, and true or false; callers rely on the difference. None of these functions sets the error cell of its own
 * accord; where the layer below may set it, the function says so. */

/** An open file; the functions may be called through its table or by name. */
typedef struct qeFileObject qeFileObject;
/** The operations of a file object: qeCloseFile, qeReadFile, qeWriteFile, qeGetFileSize. Each object has its own table.
 */
typedef struct qeFileOps {
    /** qeCloseFile. */
    uint32_t (*close)(qeFileObject *file);
    /** qeReadFile. */
    uint32_t (*read)(qeFileObject *file, void *buffer, uint32_t count, uint32_t *bytesRead);
    /** qeWriteFile. */
    uint32_t (*write)(qeFileObject *file, const void *buffer, uint32_t count, uint32_t *bytesWritten);
    /** qeGetFileSize. */
    uint32_t (*getSize)(qeFileObject *file, uint32_t *size);
} qeFileOps;
/** The record of an open file. */
struct qeFileObject {
    qeFileOps *ops; /**< its own table */
    HANDLE file;    /**< of qelCreateFileAW; closed with the object */
};
/** Opens a file as qelCreateFileAW does, and makes the object for it.
 * @param path, desiredAccess, shareMode, creationDisposition, flagsAndAttributes  as there.
 * @param file  receives the object; null on failure. Null is refused.
 * @return 0; 0x80000008 on failure.
 * Error cell: as qelCreateFileAW.  Threads: safe.  Owns: release the object with qeCloseFile.
 */
ZORCOMN_API uint32_t qeCreateFile(const char *path, uint32_t desiredAccess, uint32_t shareMode,
                                  uint32_t creationDisposition, uint32_t flagsAndAttributes, qeFileObject **file);
/** Reads from the current position. May block; a cancellation point.
 * @param file       from qeCreateFile; null is refused.
 * @param buffer     receives at most count bytes, not terminated.
 * @param count      capacity of buffer in bytes.
 * @param bytesRead  receives the count, 0 at the end of the file; null is refused. Untouched when the read fails.
 * @return 0 when at least one byte was read; else 0x80000008: at the end of the file as after a failure.
 * Error cell: as qelReadFile.  Threads: one at a time on an object.  Owns: the buffer stays the caller's.
 */
ZORCOMN_API uint32_t qeReadFile(qeFileObject *file, void *buffer, uint32_t count, uint32_t *bytesRead);
/** Writes at the current position. May block; a cancellation point.
 * @param file          from qeCreateFile; null is refused.
 * @param buffer        at least count bytes.
 * @param count         in bytes.
 * @param bytesWritten  receives the count, which may be less; null is refused. Untouched on failure.
 * @return 0; 0x80000008 on failure.
 * Error cell: as qelWriteFile.  Threads: one at a time on an object.  Owns: the buffer stays the caller's.
 */
ZORCOMN_API uint32_t qeWriteFile(qeFileObject *file, const void *buffer, uint32_t count, uint32_t *bytesWritten);
/** Tells the size of an open file.
 * @param file  from qeCreateFile; null is refused.
 * @param size  receives the size in bytes, its low 32 bits; 0xFFFFFFFF on failure, also for a null file. Null fails.
 * @return 0; 0x80000008 when that size is 0xFFFFFFFF, be it a failure or a file of such a size.
 * Error cell: as qelGetFileSize.  Threads: safe.  Owns: nothing.
 */
ZORCOMN_API uint32_t qeGetFileSize(qeFileObject *file, uint32_t *size);
/** Closes the file and frees the object with its table, also when closing fails.
 * @param file  from qeCreateFile; null does nothing and succeeds.
 * @return 0; 0x80000008 when qelCloseHandle fails.
 * Error cell: as qelCloseHandle.  Threads: nobody else may use the object.  Owns: the object is gone.
 */
ZORCOMN_API uint32_t qeCloseFile(qeFileObject *file);
/** Tells whether a path names a folder; links are followed.
 * @param lpszFolder  counts up to its 259th byte. One backslash at its end is cut off, a '/' there is left to the
 * system. Empty is no folder. Null is a failed assertion, which ends the process in every kind of build.
 * @return 1 for a folder, else 0.
 * Error cell: untouched; errno as stat() left it.  Threads: safe.  Owns: nothing.
 */
ZORCOMN_API int32_t qeFolderExists(const char *lpszFolder);
/** Starts a search: qelFindFirstDirEnt (portability.h), but 0 says that nothing can be listed.
 * @return a search handle, 1 to 50; else 0.
 * Error cell: as there.  Threads: safe.  Owns: release the handle with qelcomn_findclose.
 */
ZORCOMN_API int32_t qelcomn_findfirstA(const char *pattern, qelFindData *data);
/** Delivers the next match: qelFindNextDirEnt.
 * @return 1; 0 when nothing is left or the arguments are refused.
 * Error cell: as there.  Threads: one search serves one thread at a time.  Owns: nothing.
 */
ZORCOMN_API int32_t qelcomn_findnextA(int32_t search, qelFindData *data);
/** Ends a search: qelFindCloseDirEnt.
 * @return 1; 0 when refused or when closing failed.
 * Error cell: as there.  Threads: one search serves one thread at a time.  Owns: nothing.
 */
ZORCOMN_API int32_t qelcomn_findclose(int32_t search);
/** Tells the size of a file by its path; links are followed.
 * @param path  null is refused.
 * @param size  receives the size in bytes, its low 32 bits; 0 when the file cannot be looked at. Null is refused.
 * @return 0; 0x80000008 on failure.
 * Error cell: untouched; errno as stat() left it.  Threads: safe.  Owns: nothing.
 */
ZORCOMN_API uint32_t qelcomn_get_file_sizeA(const char *path, uint32_t *size);
/** Tells the free space on the file system that holds a path, in a figure of its own: blocks available to unprivileged
 * users x block size x 1000, multiplied in 32 bits and so wrapped, then taken as signed. It is no byte count and may be
 * negative; it compares with figures made the same way. Source: statfs().
 * @param path   null is refused.
 * @param bytes  receives the figure; untouched on failure. Null is refused.
 * @return 0; 0x80000008 on failure.
 * Error cell: untouched; errno as the system left it.  Threads: safe.  Owns: nothing.
 */
ZORCOMN_API uint32_t qelcomn_get_disk_free_spaceA(const char *path, int64_t *bytes);
/** Removes a folder and all it holds. Never leaves the tree: a symbolic link, whatever it points to, is removed as a
 * link, the given path itself included (then 0); links on the way to it are followed. What cannot be removed stays and
 * does not stop the walk. The names in a folder are read once and then removed, so that the walk ends whatever others
 * do: what they add meanwhile may stay, and its folder with it. Each level takes one of the process's 50 searches:
 * folders nested deeper than the free ones are refused, and so are entries whose path is longer than 259 bytes; both
 * stay, as does what a folder holds for whose names there is no memory.
 * @param path  at most 259 bytes; null, empty or longer is refused. A '/' at its end makes no difference.
 * @return 0 when the folder itself was removed; -1 otherwise: refused, no folder, or something in it stayed.
 * Error cell: nErrno = 35 when the searches did not suffice, else untouched; errno as the last removal left it.
 * Threads: safe; takes searches from all others meanwhile.  Owns: nothing.
 */
ZORCOMN_API int32_t qelcomn_deltree(const char *path);
/** Removes all that a folder holds, as qelcomn_deltree does, and keeps the folder. A path that is a symbolic link
 * itself is refused and its target stays as it is.
 * @param path  at most 259 bytes; null, empty or longer is refused.
 * @return 1 (the result of ending the search) when the walk went through, also when something could not be removed;
 *         0 when it could not start: no such folder, or no search free; -1 when the path was refused, or anything below
 *         it because it lies too deep, its path is too long or memory is short.
 * Error cell: nErrno = 35 when the searches did not suffice, else untouched; errno as the last call left it.
 * Threads: safe; takes searches from all others meanwhile.  Owns: nothing.
 */
ZORCOMN_API int32_t qelcomn_delsubtree(const char *path);
/** Makes the folders of a path, mode 0700 within the process's mask, from left to right: one for each '/' whose index
 * is greater than 3, so "/tmp/a/file" makes "/tmp/" and "/tmp/a/". A '/' before that makes nothing ("/a" of "/a/b/c"
 * must exist), neither does a last component without a '/' behind it. Folders that exist, or cannot be made, are passed
 * over.
 * @param path  at most 259 bytes, else nothing is made; null and empty make nothing.
 * @return always 0x80000008; look for the folder to know.
 * Error cell: untouched; errno as the last mkdir() left it.  Threads: safe.  Owns: nothing.
 */
ZORCOMN_API uint32_t qelcomn_MakeRecursiveDirectoryA(const char *path);
/** The same for wide text, meant for ASCII: each character becomes one byte, its low 8 bits.
 * @param path  at most 259 characters, else nothing is made; null and empty make nothing.
 * @return always 0x80000008.
 * Error cell: untouched; errno as the last mkdir() left it.  Threads: safe.  Owns: nothing.
 */
ZORCOMN_API uint32_t qelcomn_MakeRecursiveDirectoryW(const wchar_t *path);
/** Copies a file's bytes. The destination's folders are made first, as qelcomn_MakeRecursiveDirectoryA makes them. A
 * new destination has the permission bits 0666 within the process's mask; an existing one keeps its own.
 * @param source       a file that can be opened for reading, no folder; null fails.
 * @param destination  null fails. One that is the source itself, under whatever name, fails and stays as it is.
 * @param overwrite    0: an existing destination, a dangling link included, fails and stays as it is. Any other number:
 *                     it is replaced, from its first byte on.
 * @return 1 when every byte was written and the system took them all, up to the closing of the file; 0 otherwise. A
 *         destination that was begun before a failure is not removed.
 * Error cell: untouched; errno as the failing call left it.
 * Threads: safe on different destinations. May block; a cancellation point where it reads, writes or waits for the
 * writer of a pipe: a cancelled thread leaves the destination as far as it came, and nothing open.  Owns: nothing.
 */
ZORCOMN_API int32_t qelcomn_copy_file(const char *source, const char *destination, int32_t overwrite);

/* Time stamps. A compact stamp is 14 digits, like "20090307080509": year, month, day, hour, minute, second. Local time
 * is that of localtime_r(): of the zone that the last tzset() put into force, or of TZ's if there was none. A time that
 * the system cannot break down gives the empty text. The compact makers take no lock. */

/** Writes a compact stamp of now in local time - local, unlike its wide twin, whatever the name says.
 * @param buffer  receives the stamp cut to size - 1 characters, and a terminator. Null does nothing.
 * @param size    the buffer's size in bytes, 15 for the whole stamp; 0 does nothing.
 * Error cell: untouched.  Threads: safe.  Owns: the buffer stays the caller's.
 */
ZORCOMN_API void qelcomn_CreateGmtTimeStampA(char *buffer, uint16_t size);
/** Writes a compact stamp of now in UTC.
 * @param buffer  receives size wide characters: the stamp, then zeros as far as size goes. With a size of 14 or less
 *                there is no terminator. Null does nothing.
 * @param size    the buffer's size in wide characters, 15 for the whole stamp and its terminator; 0 does nothing.
 * Error cell: untouched.  Threads: safe.  Owns: the buffer stays the caller's.
 */
ZORCOMN_API void qelcomn_CreateGmtTimeStampW(wchar_t *buffer, uint16_t size);
/** Writes a compact stamp of now in local time.
 * @param buffer  receives the stamp cut to size - 1 characters, and a terminator. Null does nothing.
 * @param size    the buffer's size in bytes, 15 for the whole stamp; 0 does nothing.
 * Error cell: untouched.  Threads: safe.  Owns: the buffer stays the caller's.
 */
ZORCOMN_API void qelcomn_CreateLocalTimeStampA(char *buffer, uint16_t size);
/** Writes a compact stamp of now in local time.
 * @param buffer  receives size wide characters: the stamp, then zeros as far as size goes. With a size of 14 or less
 *                there is no terminator. Null does nothing.
 * @param size    the buffer's size in wide characters, 15 for the whole stamp and its terminator; 0 does nothing.
 * Error cell: untouched.  Threads: safe.  Owns: the buffer stays the caller's.
 */
ZORCOMN_API void qelcomn_CreateLocalTimeStampW(wchar_t *buffer, uint16_t size);
/** Does nothing and returns at once. For ported callers to link.
 * Error cell: untouched.  Threads: safe.  Owns: nothing.
 */
ZORCOMN_API void qelcomn_delay(void);

/* agent identity and platform match */

/** The entry point of a plug-in module that tells its version; the module exports it as "ORPLUGIN_GetVersion".
 * @param first, second, third, fourth  receive the version's numbers. Never null, and 0 at the call.
 * @return 0 when the version is told; anything else refuses. Must not throw.
 */
typedef int32_t (*qelPluginGetVersion)(uint16_t *first, uint16_t *second, uint16_t *third, uint16_t *fourth);
/** Copies the agent's software identifier, "TZXAGENT4800MACX", 16 characters: product, version 4.8.0, platform.
 * @param buffer  zeroed beforehand: receives size - 1 bytes, the identifier and then zeros; the last byte stays as it
 *                is, so that at a size of 17 no terminator is written. Null does nothing.
 * @param size    the buffer's size in bytes; 16 or less does nothing.
 * Error cell: untouched.  Threads: safe.  Owns: the buffer stays the caller's.
 */
ZORCOMN_API void qelcomn_get_agent_softwareid(char *buffer, uint32_t size);
/** Copies the agent's software identifier, L"TZXAGENT4800MACX", 16 characters.
 * @param buffer  receives the identifier and its terminator, unlike with the narrow form at 17 too. Null does nothing.
 * @param size    the buffer's size in wide characters; 16 or less does nothing.
 * Error cell: untouched.  Threads: safe.  Owns: the buffer stays the caller's.
 */
ZORCOMN_API void qelcomn_get_agent_softwareid_W(wchar_t *buffer, uint32_t size);
/** Creates a GUID (see qelCoCreateGuid) and its text in the form of the registry: 38 characters in braces and upper
 * case.
 * @param guid  receives the GUID; may be null.
 * @param text  receives size bytes: the text, then zeros as far as size goes. With a size of 38 or less there is no
 *              terminator. May be null.
 * @param size  the text buffer's size in bytes, 39 for the whole text and its terminator.
 * @return 1; 0 when no GUID could be made (nothing is written).
 * Error cell: untouched.  Threads: as qelCoCreateGuid.  Owns: the buffers stay the caller's.
 */
ZORCOMN_API int32_t qelcomn_create_guid(qelGuid *guid, char *text, uint32_t size);
/** Tells a plug-in module's version as "4.8.0.1234". Loads the module with qelLoadLibrary, asks its entry point
 * "ORPLUGIN_GetVersion" and frees it again.
 * @param path    of the module, as for qelLoadLibrary; null is refused.
 * @param buffer  zeroed over its whole size, then filled with the text; at most 23 characters. A text that does not fit
 *                is cut and has no terminator. Null is refused.
 * @param size    the buffer's size in bytes, 24 for any version and its terminator; may be 0.
 * @return 1; 0 when refused, when the module cannot be loaded, has no such entry point or refuses (the buffer is then
 *         all zeros).
 * Error cell: as qelLoadLibrary and qelFreeLibrary leave it.
 * Threads: safe; the module's DllMain runs under the lock of the library table.  Owns: the buffer stays the caller's.
 */
ZORCOMN_API int32_t qelcomn_GetFileResourceStringVersionStamp(const char *path, char *buffer, uint32_t size);
/** Tells a plug-in module's version as 16 hexadecimal digits, four for each number: "00040008000004d2" is 4.8.0.1234.
 * @param path    of the module, as for qelLoadLibrary; null is refused.
 * @param buffer  zeroed over its whole size, then filled with the text. A text that does not fit is cut and has no
 *                terminator. Null is refused.
 * @param size    the buffer's size in bytes, 17 for the text and its terminator; may be 0.
 * @return 1; 0 when refused, when the module cannot be loaded, has no such entry point or refuses (the buffer is then
 *         all zeros).
 * Error cell: as qelLoadLibrary and qelFreeLibrary leave it.
 * Threads: safe; the module's DllMain runs under the lock of the library table.  Owns: the buffer stays the caller's.
 */
ZORCOMN_API int32_t qelcomn_GetFileResourceVersionStamp(const char *path, char *buffer, uint32_t size);
/** Names the users logged on: the whole list of session::CollectAllLoggedonUsers, with commas between the names, at
 * most 128 characters; "NA" when nobody is. Not just the user that the process runs for.
 * @param buffer  receives the list in UTF-8 and its terminator; untouched on failure. Null is refused.
 * @param size    the buffer's size in bytes; 769 is always enough.
 * @return 0; 0x80000008 when refused, when the list does not fit or there is no memory.
 * Error cell: untouched.  Threads: safe on different buffers.  Owns: the buffer stays the caller's.
 */
ZORCOMN_API uint32_t qelcomn_get_user_name(char *buffer, uint32_t size);
/** Tells whether a package for some platforms may run on this one. Blanks count nowhere. A platform of the list matches
 * when its name occurs anywhere in the current one's, case-sensitively (MAC in MACX), and its version range, if it has
 * one, holds the current version. Versions are compared as the unsigned 64-bit number major x 2^32 + minor x 2^16 +
 * build, numbers of 32 bits with their sign, those beyond at their limit.
 * A range that gives fewer than all six numbers takes the others from the matching names' ranges before it, at first
 * low 0:0:0 and high 65535:-1:65535: "MAC:10:3:0" is open upwards as the first range, not behind another one. Give both
 * bounds in full.
 * @param currentPlatform     name, or name:major:minor:build; numbers not given are 0. Null is refused.
 * @param supportedPlatforms  platforms with '|' between them, each name, name:low or name:low-high, low and high being
 *                            major:minor:build. An empty name with a range occurs in every name. Null is refused.
 * Both may have any length.
 * @return 0 match; 1 a name matched, but no range held the version; 0x80000008 no name matched, refused or no memory.
 * Error cell: untouched.  Threads: safe.  Owns: nothing.
 */
ZORCOMN_API uint32_t qelcomn_IsPlatformMatch(const char *currentPlatform, const char *supportedPlatforms);

/* File name resolver, flat form. The class FileNameResolver says what resolving a path means. */

/** Resolves a path to the regular file that it leads to.
 * @param path      terminated; null is refused.
 * @param resolver  receives the resolver, also when the path does not resolve: that shows in the get operation. Null is
 *                  refused; untouched on failure.
 * @return 0; 0x80000008 when refused or when there is no memory.
 * Error cell: untouched.  Threads: safe.  Owns: release the resolver once with qelcomn_filenameresolver_destroy.
 */
ZORCOMN_API uint32_t qelcomn_filenameresolver_create(const char *path, void **resolver);
/** Delivers the path found by a resolver.
 * @param resolver  from qelcomn_filenameresolver_create; null is refused.
 * @param buffer    receives the path and its terminator; untouched on failure. Null is refused.
 * @param size      in: the buffer's size in bytes; out: the size needed, terminator included, whether or not the path
 *                  fitted. Unchanged when the path did not resolve. Null is refused.
 * @return 0; 0x80000008 when refused, when the path did not resolve or does not fit.
 * Error cell: untouched.  Threads: safe.  Owns: the buffer stays the caller's.
 */
ZORCOMN_API uint32_t qelcomn_filenameresolver_get_absolute_filename(void *resolver, char *buffer, uint32_t *size);
/** Destroys a resolver.
 * @param resolver  from qelcomn_filenameresolver_create, not used afterwards; null does nothing.
 * @return always 0.
 * Error cell: untouched.  Threads: none may use the resolver meanwhile.  Owns: takes the resolver back.
 */
ZORCOMN_API uint32_t qelcomn_filenameresolver_destroy(void *resolver);

#ifdef __cplusplus
}

#include <ctime>
#include <string>

namespace velmora_com {
namespace vta {

/** Converts wide text to UTF-8, as qelcomn_unicode_to_utf8 does.
 * @param text  ends at its first zero character, if it holds one.
 * @return the UTF-8 text, cut where text is invalid; empty when there is no memory.
 * Error cell: untouched; errno as the system's converter left it when the text is invalid, else untouched.
 * Threads: safe.  Owns: nothing.
 */
ZORCOMN_API std::string qelcomn_wide_to_ansi(const std::wstring text);
/** Converts UTF-8 to wide text, as qelcomn_utf8_to_unicode does.
 * @param text  ends at its first zero byte, if it holds one.
 * @return the wide text, cut where text is invalid; empty when there is no memory.
 * Error cell: untouched; errno as the system's converter left it when the text is invalid, else untouched.
 * Threads: safe.  Owns: nothing.
 */
ZORCOMN_API std::wstring qelcomn_ansi_to_wide(const std::string text);
/** Writes a number in decimal, with a leading '-' when it is negative.
 * @param value  any long of the machine (32 or 64 bits).
 * @return the wide digits; empty when there is no memory.
 * Error cell: untouched.  Threads: safe.  Owns: nothing.
 */
ZORCOMN_API std::wstring qelcomn_long_to_wide_string(const long &value);
/** Writes an unsigned number in decimal.
 * @param value  any unsigned long of the machine (32 or 64 bits).
 * @return the wide digits; empty when there is no memory.
 * Error cell: untouched.  Threads: safe.  Owns: nothing.
 */
ZORCOMN_API std::wstring qelcomn_ulong_to_wide_string(const unsigned long &value);
/** Writes a number in decimal, with a leading '-' when it is negative.
 * @param value  any long of the machine (32 or 64 bits).
 * @return the digits; empty when there is no memory.
 * Error cell: untouched.  Threads: safe.  Owns: nothing.
 */
ZORCOMN_API std::string qelcomn_long_to_ansi_string(const long &value);
/** Changes letters to upper case, byte by byte through the C library's toupper; the bytes of UTF-8 characters beyond
 * ASCII pass unchanged in the C locale.
 * @param text  any bytes, zeros included.
 * @return the changed text; empty when there is no memory.
 * Error cell: untouched.  Threads: safe while none changes the locale.  Owns: nothing.
 */
ZORCOMN_API std::string qelcomn_convert_to_upper(const std::string text);
/** Changes letters to lower case, byte by byte through the C library's tolower; the bytes of UTF-8 characters beyond
 * ASCII pass unchanged in the C locale.
 * @param text  any bytes, zeros included.
 * @return the changed text; empty when there is no memory.
 * Error cell: untouched.  Threads: safe while none changes the locale.  Owns: nothing.
 */
ZORCOMN_API std::string qelcomn_convert_to_lower(const std::string text);
/** Removes the white space (blank, tab, line feed, vertical tab, form feed, carriage return) that a text begins with.
 * @param text  any bytes.
 * @return the text from its first other byte on; empty when there is none, or no memory.
 * Error cell: untouched.  Threads: safe while none changes the locale.  Owns: nothing.
 */
ZORCOMN_API std::string qelcomn_strip_leading_whitespace(const std::string text);
/** Removes the white space (blank, tab, line feed, vertical tab, form feed, carriage return) that a text ends with.
 * @param text  any bytes.
 * @return the text up to its last other byte; empty when there is none, or no memory.
 * Error cell: untouched.  Threads: safe while none changes the locale.  Owns: nothing.
 */
ZORCOMN_API std::string qelcomn_strip_trailing_whitespace(const std::string text);
/** Tells the machine's byte order.
 * @return true where the most significant byte of a number comes first.
 * Error cell: untouched.  Threads: safe.  Owns: nothing.
 */
ZORCOMN_API bool isBigEndian();

/** Converts a broken-down UTC time to seconds since 1970-01-01 UTC, whatever the process's zone is. The answer is that
 * of mktime() in UTC, computed here: no thread and no child ever sees another zone in between. In the end tzset() is
 * called, so that the zone named by TZ is in force; and TZ is removed if it is set but empty or longer than 1,024
 * characters.
 * @param utc  read and normalised in place, weekday, day of year, daylight flag (0) and, where it has them, offset (0)
 *             and name ("UTC", the library's own text) of the zone filled in; untouched on failure. Set tm_isdst to 0
 * or less: a positive one takes an hour off, or is refused, as the system's mktime() has it. Null is refused.
 * @return the seconds; -1 when refused, or when time_t (32 bits: beyond 2038-01-19) or the year cannot hold them - and
 *         for 1969-12-31 23:59:59.
 * Error cell: untouched; errno EOVERFLOW on failure, but untouched for null.
 * Threads: safe, while none changes the environment.  Owns: nothing.
 */
ZORCOMN_API std::time_t zorcomn_timegm(std::tm *utc);
/** Tells the name of the zone's standard time, such as "CET": the C library's tzname[0] as it is. tzset() is not
 * called: a changed TZ shows only after somebody has called it, or zorcomn_timegm. localtime_r() may leave the name of
 * a former standard time there when it breaks down a time of old.
 * @param name  receives the name, at most its first 63 bytes; untouched on failure.
 * @return true; false when the system has no name or there is no memory.
 * Error cell: untouched.  Threads: safe, whatever other threads do with the zone: where localtime_r() takes the name
 * away for a moment, the call waits for it, a tenth of a second and then some at most.  Owns: nothing.
 */
ZORCOMN_API bool zorcomn_gettimezone(std::wstring &name);
/** Tells the local time in a form to read, 19 characters like "2009-03-07 08:05:09"; a year below 1000 is filled up
 * with blanks.
 * @return the stamp of now; empty when the time cannot be broken down or there is no memory.
 * Error cell: untouched.  Threads: safe.  Owns: nothing.
 */
ZORCOMN_API std::string qelcomn_get_time_stamp_ansi();
/** qelcomn_get_time_stamp_ansi as wide text; all that is said there holds. */
ZORCOMN_API std::wstring qelcomn_get_time_stamp_wide();
/** Tells how long the system has been running: the clock less the boot time, from sysctl KERN_BOOTTIME on the target,
 * the btime of /proc/stat elsewhere.
 * @return seconds, negative when the clock was set back behind the boot; 0x7FFFFFFF when the boot time is not known.
 * Error cell: untouched.  Threads: safe.  Owns: nothing.
 */
ZORCOMN_API int32_t get_system_uptime_osx();
/** get_system_uptime_osx under the name for every system; all that is said there holds. */
ZORCOMN_API int32_t qelcomn_get_system_uptime();

/** Makes a path absolute and takes "." and ".." out of it, by its text alone: the file system is not asked, and ".."
 * takes away the component before it even where that is a symbolic link. One '/' at the end is dropped; repeated ones
 * inside stay as they are. Two results to know: "/" and "" stand for the base directory (and keep a '/' at the end),
 * and what comes down to the root, such as "/a/..", is the empty text. Copies are independent.
 */
class FileNameFlattener {
public:
    /** Flattens a path against the current directory.
     * @param path  any text. A relative one is put behind the current directory, which counts as empty when it cannot
     *              be told or takes more than 1,023 characters.
     * Error cell: untouched; errno as getcwd() left it.  Threads: safe while none changes the directory.  Owns:
     * nothing.
     */
    ZORCOMN_API explicit FileNameFlattener(const std::string &path);
    /** Flattens a path against a base directory.
     * @param path  any text.
     * @param base  is itself flattened against the current directory first; when that fails, so does this, even for an
     *              absolute path.
     * Error cell: untouched; errno as getcwd() left it.  Threads: safe while none changes the directory.  Owns:
     * nothing.
     */
    ZORCOMN_API FileNameFlattener(const std::string &path, const std::string &base);
    /** Flattens again what the object was made from; the constructors have done it already.
     * @return 1; 0 when a ".." has nothing before it to take away, or there is no memory.
     * Error cell: untouched.  Threads: one object serves one thread at a time.  Owns: nothing.
     */
    ZORCOMN_API int32_t Flatten();
    /** Delivers the flat path.
     * @param path  receives it; untouched on failure.
     * @return 1; 0 when flattening failed or there is no memory.
     * Error cell: untouched.  Threads: safe while none flattens the object again.  Owns: nothing.
     */
    ZORCOMN_API int32_t GetFlatPath(std::string &path) const;

private:
    int32_t m_success;
    std::string m_input;
    std::string m_flat;
    std::string m_base;
};

/** Follows symbolic links from a path to a regular file. The path and every link's text are flattened, a relative link
 * against the folder it lies in (for a link in the root: the current directory); of a path only its last component is
 * followed, linked folders on the way stay in it. A chain may have any number of links. A chain that comes back to a
 * path where it has been - a loop - does not resolve, nor does one that the system refuses, one with a link text beyond
 * 1,023 bytes or one that ends at anything but a regular file. Copies are independent.
 */
class FileNameResolver {
public:
    /** Resolves a path; GetAbsolutePath tells the outcome.
     * @param path  any text; a relative one stands against the current directory.
     * Error cell: untouched; errno as getcwd(), lstat() or readlink() left it.
     * Threads: safe while none changes the directory.  Owns: nothing.
     */
    ZORCOMN_API explicit FileNameResolver(const std::string &path);
    /** Delivers the flat path of the regular file.
     * @param path  receives it; untouched on failure.
     * @return 1; 0 when the path did not resolve or there is no memory.
     * Error cell: untouched.  Threads: safe.  Owns: nothing.
     */
    ZORCOMN_API int32_t GetAbsolutePath(std::string &path) const;

private:
    int32_t m_success;
    std::string m_input;
    std::string m_absolute;
};

} // namespace vta
} // namespace velmora_com
#endif
