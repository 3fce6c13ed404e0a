// The file object, a file handle with a table of operations of its own, and the folder test. The name of this file is
// part of the assertion that the folder test prints.

#include "zorcomn/utilities.h"

#include "source/platform/files.h"
#include "source/platform/host.h"
#include "source/platform/posix.h"
#include "source/portability/error_cell.h"

#include <memory>
#include <new>

#include <sys/stat.h>

using namespace zor;

static_assert(offsetof(qeFileObject, file) == sizeof(void *), "callers reach the operations through the first word");
static_assert(offsetof(qeFileOps, read) == sizeof(void *) && offsetof(qeFileOps, write) == 2 * sizeof(void *) &&
                  offsetof(qeFileOps, getSize) == 3 * sizeof(void *),
              "callers call the operations by place");

uint32_t qeCreateFile(const char *path, uint32_t desiredAccess, uint32_t shareMode, uint32_t creationDisposition,
                      uint32_t flagsAndAttributes, qeFileObject **file) {
    if (!file)
        return kFailure;
    *file = nullptr;
    std::unique_ptr<qeFileObject> object(new (std::nothrow) qeFileObject());
    std::unique_ptr<qeFileOps> ops(new (std::nothrow) qeFileOps());
    if (!object || !ops)
        return kFailure;
    object->file =
        qelCreateFileAW(path, desiredAccess, shareMode, nullptr, creationDisposition, flagsAndAttributes, nullptr);
    if (!object->file)
        return kFailure;
    *ops = {qeCloseFile, qeReadFile, qeWriteFile, qeGetFileSize};
    object->ops = ops.release();
    *file = object.release();
    return 0;
}

// Kept: a read of no bytes, the end of the file included, is a failure; nothing tells it from a read that failed.
uint32_t qeReadFile(qeFileObject *file, void *buffer, uint32_t count, uint32_t *bytesRead) {
    const bool isRead = file && qelReadFile(file->file, buffer, count, bytesRead, nullptr) == 1;
    return isRead && *bytesRead > 0 ? 0 : kFailure;
}

uint32_t qeWriteFile(qeFileObject *file, const void *buffer, uint32_t count, uint32_t *bytesWritten) {
    return file && qelWriteFile(file->file, buffer, count, bytesWritten, nullptr) == 1 ? 0 : kFailure;
}

uint32_t qeGetFileSize(qeFileObject *file, uint32_t *size) {
    constexpr uint32_t kNoSize = 0xFFFFFFFFu;
    if (!size)
        return kFailure;
    *size = file ? qelGetFileSize(file->file, nullptr) : kNoSize;
    return *size == kNoSize ? kFailure : 0;
}

uint32_t qeCloseFile(qeFileObject *file) {
    const std::unique_ptr<qeFileObject> object(file);
    if (!object)
        return 0;
    const std::unique_ptr<qeFileOps> ops(object->ops);
    return qelCloseHandle(object->file) == 1 ? 0 : kFailure;
}

int32_t qeFolderExists(const char *lpszFolder) {
    // The literal texts, in every kind of build: they are what is looked for in crash reports.
    if (!lpszFolder)
        host::failAssertion("qeFolderExists", "../source/qelfio", 190, "lpszFolder");
    // Kept: a longer path is cut, and the answer is that for its first 259 bytes.
    char folder[260];
    copyText(folder, sizeof folder, lpszFolder);
    const size_t length = std::strlen(folder);
    // Kept: a backslash at the end is cut off, one of them; a '/' stays, the system takes it.
    if (length > 0 && folder[length - 1] == '\\')
        folder[length - 1] = '\0';
    const UncancellableScope uncancellable;
    const auto facts = host::fileFacts(folder);
    return facts && S_ISDIR(facts->mode) ? 1 : 0;
}
