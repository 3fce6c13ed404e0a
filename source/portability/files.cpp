// Files: the layer's handles over POSIX descriptors. Access, disposition and attributes come as the numbers of the API
// that callers were written against; only those listed here are accepted. Closing is qelCloseHandle's.

#include "zorcomn/portability.h"
#include "zorcomn/utilities.h"

#include "source/platform/files.h"
#include "source/platform/open.h"
#include "source/platform/posix.h"
#include "source/portability/error_cell.h"
#include "source/portability/file_record.h"
#include "source/portability/handles.h"

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <new>
#include <optional>
#include <string>

#include <fcntl.h>
#include <unistd.h>

using namespace zor;

namespace {

constexpr uint32_t kAllOnes = 0xFFFFFFFFu;
constexpr uint32_t kAttributeNormal = 128;
constexpr uint32_t kDeleteOnClose = 0x04000000u;
constexpr mode_t kPermissions = 0660;

std::optional<int> accessMode(uint32_t desiredAccess) {
    switch (desiredAccess) {
    case 0x80000000u:
        return O_RDONLY;
    case 0x40000000u:
        return O_WRONLY;
    case 0xC0000000u:
        return O_RDWR;
    default:
        return std::nullopt;
    }
}

std::optional<int> creationFlags(uint32_t creationDisposition) {
    switch (creationDisposition) {
    case 1:
        return O_CREAT | O_EXCL;
    case 2:
        return O_CREAT | O_TRUNC;
    case 3:
        return 0;
    case 4:
        return O_CREAT;
    default:
        return std::nullopt;
    }
}

bool isKnownAttribute(uint32_t flagsAndAttributes) {
    return flagsAndAttributes == 0 || flagsAndAttributes == kAttributeNormal || flagsAndAttributes == kDeleteOnClose;
}

void fillFileRecord(FileRecord *file, const char *path, bool isDeletedOnClose) {
    file->deleteOnClose = isDeletedOnClose ? 1 : 0;
    // Kept: a path that fills the field has no terminator there.
    for (size_t index = 0; index < sizeof file->name && (file->name[index] = path[index]) != '\0'; ++index) {
    }
}

/** Kept: a file is of use without its condition and guard, so that their failing is no failure of opening. What the
 * system gives without a call serves then, so that the handle can be closed. */
void initialiseUnchecked(HandleObject &object) {
    static const pthread_cond_t condition = PTHREAD_COND_INITIALIZER;
    static const pthread_mutex_t guard = PTHREAD_MUTEX_INITIALIZER;
    if (pthread_cond_init(&object.condition, nullptr) != 0)
        object.condition = condition;
    if (pthread_mutex_init(&object.guard, nullptr) != 0)
        object.guard = guard;
}

/** The record behind a file handle; null, and the error cell set, for anything else. */
FileRecord *fileOf(HANDLE handle) {
    const bool isFile = isObject(handle) && recordOf(handle).type == kFileHandle && recordOf(handle).objectData;
    return isFile ? static_cast<FileRecord *>(recordOf(handle).objectData)
                  : failWith<FileRecord *>(kCellInvalid, nullptr);
}

/** Answers with a fixed text: the copied length, or the size that it takes. */
uint32_t answerWith(const char *text, char *buffer, uint32_t size) {
    const auto length = static_cast<uint32_t>(std::strlen(text));
    if (length >= size)
        return length + 1;
    if (!buffer)
        return failWith<uint32_t>(kCellInvalid, 0);
    copyText(buffer, size, text);
    return length;
}

} // namespace

HANDLE qelCreateFileAW(const char *path, uint32_t desiredAccess, uint32_t, void *, uint32_t creationDisposition,
                       uint32_t flagsAndAttributes, HANDLE) {
    const auto mode = accessMode(desiredAccess);
    const auto creation = creationFlags(creationDisposition);
    if (!path || !mode || !creation || !isKnownAttribute(flagsAndAttributes))
        return failWith<HANDLE>(kCellInvalid, nullptr);
    const UncancellableScope uncancellable;
    // First, since opening may make or empty the file, which cannot be undone.
    std::unique_ptr<FileRecord> file(new (std::nothrow) FileRecord());
    std::unique_ptr<HandleObject> object(new (std::nothrow) HandleObject());
    if (!file || !object)
        return failWith<HANDLE>(kCellNoMemory, nullptr);
    fillFileRecord(file.get(), path, flagsAndAttributes == kDeleteOnClose);
    initialiseUnchecked(*object);
    file->descriptor = host::openFile(path, *mode | *creation, kPermissions).release();
    if (file->descriptor == -1)
        return nullptr;
    object->objectData = file.release();
    object->type = kFileHandle;
    object->referenceCount = 1;
    return object.release();
}

int32_t qelReadFile(HANDLE file, void *buffer, uint32_t bytesToRead, uint32_t *bytesRead, void *) {
    FileRecord *const record = fileOf(file);
    if (!record)
        return 0;
    if (!bytesRead)
        return failWith(kCellInvalid, 0);
    const ssize_t count = retryInterrupted([&] { return read(record->descriptor, buffer, bytesToRead); });
    if (count == -1)
        return 0;
    *bytesRead = static_cast<uint32_t>(count);
    if (count == 0)
        record->endOfFile = 1;
    return 1;
}

int32_t qelWriteFile(HANDLE file, const void *buffer, uint32_t bytesToWrite, uint32_t *bytesWritten, void *) {
    FileRecord *const record = fileOf(file);
    if (!record)
        return 0;
    if (!bytesWritten)
        return failWith(kCellInvalid, 0);
    const ssize_t count = retryInterrupted([&] { return write(record->descriptor, buffer, bytesToWrite); });
    if (count == -1)
        return 0;
    *bytesWritten = static_cast<uint32_t>(count);
    return 1;
}

// Kept: the high part is neither read nor written, and the move method goes to the system as it is.
uint32_t qelSetFilePointer(HANDLE file, int32_t distance, int32_t *, uint32_t moveMethod) {
    const UncancellableScope uncancellable;
    const FileRecord *const record = fileOf(file);
    if (!record)
        return kAllOnes;
    const off_t position = lseek(record->descriptor, distance, static_cast<int>(moveMethod));
    return position == -1 ? kAllOnes : static_cast<uint32_t>(position);
}

int32_t qelSetEndOfFile(HANDLE file) {
    const UncancellableScope uncancellable;
    const FileRecord *const record = fileOf(file);
    if (!record)
        return 0;
    const off_t position = lseek(record->descriptor, 0, SEEK_CUR);
    if (position == -1)
        return 0;
    return retryInterrupted([&] { return ftruncate(record->descriptor, position); }) == 0 ? 1 : 0;
}

uint32_t qelGetFileSize(HANDLE file, uint32_t *sizeHigh) {
    constexpr uint32_t kHighPartDivisor = 65535;
    const UncancellableScope uncancellable;
    const FileRecord *const record = fileOf(file);
    const auto facts = record ? host::openFileFacts(record->descriptor) : std::nullopt;
    if (!facts)
        return kAllOnes;
    const auto size = static_cast<uint32_t>(facts->sizeBytes);
    // Kept: not the upper half of the size but its low half over 65535; callers compute with it.
    if (sizeHigh)
        *sizeHigh = size / kHighPartDivisor;
    return size;
}

uint32_t qelGetTempFileName(const char *directory, const char *prefix, uint32_t unique, char *name) {
    if (!directory || !name)
        return failWith<uint32_t>(kCellInvalid, 0);
    const UncancellableScope uncancellable;
    return guarded<uint32_t>(0, [&]() -> uint32_t {
        std::string path = std::string(directory) + "/" + (prefix ? prefix : "") + "XXXXXX";
        const Descriptor descriptor = host::openTemporaryFile(path);
        if (!descriptor)
            return 0;
        std::memcpy(name, path.c_str(), path.size() + 1);
        return unique == 0 ? 1 : unique;
    });
}

int32_t qelCopyFile(const char *source, const char *destination, int32_t failIfExists) {
    return qelcomn_copy_file(source, destination, failIfExists == 0 ? 1 : 0);
}

int32_t qelMoveFile(const char *oldPath, const char *newPath) {
    if (!oldPath || !newPath)
        return failWith(kCellInvalid, 0);
    const UncancellableScope uncancellable;
    return std::rename(oldPath, newPath) == 0 ? 1 : 0;
}

int32_t qelSetFileAttributes(const char *, uint32_t) {
    return 1;
}

uint32_t qelGetModuleFileName(void *, char *, uint32_t) {
    return 0;
}

int32_t qelGetFileVersionInfo(const char *, uint32_t, uint32_t, void *) {
    return 0;
}

int32_t qelVerQueryValue(const void *, const char *, void **, uint32_t *) {
    return 0;
}

uint32_t qelGetWindowsDirectory(char *buffer, uint32_t size) {
    return answerWith("/Library", buffer, size);
}

uint32_t qelGetSystemDirectory(char *buffer, uint32_t size) {
    return answerWith("/usr", buffer, size);
}
