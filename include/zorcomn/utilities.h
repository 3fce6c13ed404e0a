#pragma once
#include "api.h"
#include "portability.h"

#include <stdint.h>
#include <wchar.h>
#ifdef __cplusplus
extern "C" {
#endif

/* Text and encoding conversions on caller-owned buffers. Wide text is UTF-32 in the machine's byte order, narrow text
 * is UTF-8. Of invalid text the system's converter (iconv) decides what is delivered: all before the first character
 * that it cannot convert, and the call succeeds. */

/** Converts wide text to UTF-8.
 * @param source       terminated wide text; null is refused. It may lie inside the destination.
 * @param destination  receives the text and its terminator, nothing behind that; null is refused. Of invalid text it
 * gets the part before the first character that cannot be converted, of which nothing tells.
 * @param capacity     the destination's size in bytes, at least 6 x length of source + 1: six bytes for each character,
 *                     more than a text needs, and the terminator. Only read; null, 0 or less than that is refused.
 * @return 0; 0x80000008 when refused (the destination is then untouched).
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
 * @return 0; 0x80000008 when refused (the destination is then untouched).
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

/* file system utilities */
typedef struct qeFileObject qeFileObject;
typedef struct qeFileOps {
    uint32_t (*close)(qeFileObject *file);
    uint32_t (*read)(qeFileObject *file, void *buffer, uint32_t count, uint32_t *bytesRead);
    uint32_t (*write)(qeFileObject *file, const void *buffer, uint32_t count, uint32_t *bytesWritten);
    uint32_t (*getSize)(qeFileObject *file, uint32_t *size);
} qeFileOps;
struct qeFileObject {
    qeFileOps *ops;
    HANDLE file;
};
ZORCOMN_API uint32_t qeCreateFile(const char *path, uint32_t desiredAccess, uint32_t shareMode,
                                  uint32_t creationDisposition, uint32_t flagsAndAttributes, qeFileObject **file);
ZORCOMN_API uint32_t qeReadFile(qeFileObject *file, void *buffer, uint32_t count, uint32_t *bytesRead);
ZORCOMN_API uint32_t qeWriteFile(qeFileObject *file, const void *buffer, uint32_t count, uint32_t *bytesWritten);
ZORCOMN_API uint32_t qeGetFileSize(qeFileObject *file, uint32_t *size);
ZORCOMN_API uint32_t qeCloseFile(qeFileObject *file);
ZORCOMN_API int32_t qeFolderExists(const char *lpszFolder);
ZORCOMN_API int32_t qelcomn_findfirstA(const char *pattern, qelFindData *data);
ZORCOMN_API int32_t qelcomn_findnextA(int32_t search, qelFindData *data);
ZORCOMN_API int32_t qelcomn_findclose(int32_t search);
ZORCOMN_API uint32_t qelcomn_get_file_sizeA(const char *path, uint32_t *size);
ZORCOMN_API uint32_t qelcomn_get_disk_free_spaceA(const char *path, int64_t *bytes);
ZORCOMN_API int32_t qelcomn_deltree(const char *path);
ZORCOMN_API int32_t qelcomn_delsubtree(const char *path);
ZORCOMN_API uint32_t qelcomn_MakeRecursiveDirectoryA(const char *path);
ZORCOMN_API uint32_t qelcomn_MakeRecursiveDirectoryW(const wchar_t *path);
ZORCOMN_API int32_t qelcomn_copy_file(const char *source, const char *destination, int32_t overwrite);

/* time stamps */
ZORCOMN_API void qelcomn_CreateGmtTimeStampA(char *buffer, uint16_t size);
ZORCOMN_API void qelcomn_CreateGmtTimeStampW(wchar_t *buffer, uint16_t size);
ZORCOMN_API void qelcomn_CreateLocalTimeStampA(char *buffer, uint16_t size);
ZORCOMN_API void qelcomn_CreateLocalTimeStampW(wchar_t *buffer, uint16_t size);
ZORCOMN_API void qelcomn_delay(void);

/* agent identity and platform match */
typedef int32_t (*qelPluginGetVersion)(uint16_t *first, uint16_t *second, uint16_t *third,
                                       uint16_t *fourth); /* exported as "ORPLUGIN_GetVersion" */
ZORCOMN_API void qelcomn_get_agent_softwareid(char *buffer, uint32_t size);
ZORCOMN_API void qelcomn_get_agent_softwareid_W(wchar_t *buffer, uint32_t size);
ZORCOMN_API int32_t qelcomn_create_guid(qelGuid *guid, char *text, uint32_t size);
ZORCOMN_API int32_t qelcomn_GetFileResourceStringVersionStamp(const char *path, char *buffer, uint32_t size);
ZORCOMN_API int32_t qelcomn_GetFileResourceVersionStamp(const char *path, char *buffer, uint32_t size);
ZORCOMN_API uint32_t qelcomn_get_user_name(char *buffer, uint32_t size);
ZORCOMN_API uint32_t qelcomn_IsPlatformMatch(const char *currentPlatform, const char *supportedPlatforms);

/* file name resolver, flat form */
ZORCOMN_API uint32_t qelcomn_filenameresolver_create(const char *path, void **resolver);
ZORCOMN_API uint32_t qelcomn_filenameresolver_get_absolute_filename(void *resolver, char *buffer, uint32_t *size);
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

ZORCOMN_API std::time_t zorcomn_timegm(std::tm *utc);
ZORCOMN_API bool zorcomn_gettimezone(std::wstring &name);
ZORCOMN_API std::string qelcomn_get_time_stamp_ansi();
ZORCOMN_API std::wstring qelcomn_get_time_stamp_wide();
ZORCOMN_API int32_t get_system_uptime_osx();
ZORCOMN_API int32_t qelcomn_get_system_uptime();

class FileNameFlattener {
public:
    ZORCOMN_API explicit FileNameFlattener(const std::string &path);
    ZORCOMN_API FileNameFlattener(const std::string &path, const std::string &base);
    ZORCOMN_API int32_t Flatten();
    ZORCOMN_API int32_t GetFlatPath(std::string &path) const;

private:
    int32_t m_success;
    std::string m_input;
    std::string m_flat;
    std::string m_base;
};

class FileNameResolver {
public:
    ZORCOMN_API explicit FileNameResolver(const std::string &path);
    ZORCOMN_API int32_t GetAbsolutePath(std::string &path) const;

private:
    int32_t m_success;
    std::string m_input;
    std::string m_absolute;
};

} // namespace vta
} // namespace velmora_com
#endif
