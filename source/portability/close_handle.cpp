// Closing, for every kind of handle. Condition and guard of events, mutexes and threads are freed without being
// destroyed: they own nothing beyond their memory, and destroying a condition could block.

#include "zorcomn/portability.h"

#include "source/platform/files.h"
#include "source/platform/posix.h"
#include "source/portability/file_record.h"
#include "source/portability/handles.h"
#include "source/portability/threads.h"

#include <cerrno>
#include <cstring>

#include <sys/stat.h>
#include <unistd.h>

namespace zor {

namespace {

/** Removes a name, unless a folder stands there: some systems let the superuser unlink one. */
bool removeName(const char *name) {
    const auto facts = host::linkFacts(name);
    if (!facts || !S_ISDIR(facts->mode))
        return unlink(name) == 0;
    errno = EISDIR;
    return false;
}

/** Closes the descriptor and removes a file that was opened so. A name that fills its field may have been cut; it is
 * removed only if it names the file itself. */
bool endFile(FileRecord &file) {
    char name[kFileNameSize + 1] = {};
    std::memcpy(name, file.name, kFileNameSize);
    bool isWhole = !file.deleteOnClose || name[kFileNameSize - 1] == '\0';
    if (!isWhole) {
        const auto opened = host::openFileFacts(file.descriptor);
        const auto named = host::fileFacts(name);
        isWhole = opened && named && host::isSameFile(*opened, *named);
    }
    if (close(file.descriptor) != 0 && errno != EINTR) // interrupted, it has closed all the same
        return false;
    file.descriptor = -1; // should the removal fail, the handle lives on and must not reach somebody else's file
    if (isWhole)
        return !file.deleteOnClose || removeName(name);
    errno = ENAMETOOLONG;
    return false;
}

int32_t destroyFile(HandleObject *object) {
    auto *file = static_cast<FileRecord *>(object->objectData);
    const UncancellableScope uncancellable;
    if (file && !endFile(*file))
        return 0; // Kept: the count has fallen to 0, so that the record stays for good.
    delete file;
    pthread_cond_destroy(&object->condition);
    pthread_mutex_destroy(&object->guard);
    delete object;
    return 1;
}

int32_t destroy(HandleObject *object) {
    switch (object->type) {
    case kFileHandle:
        return destroyFile(object);
    case kEventHandle:
        delete object;
        return 1;
    case kMutexHandle:
        delete static_cast<pthread_mutex_t *>(object->objectData);
        delete object;
        return 1;
    case kThreadHandle:
        closeThread(object);
        return 1;
    default:
        return 0;
    }
}

} // namespace

} // namespace zor

using namespace zor;

int32_t qelCloseHandle(HANDLE handle) {
    if (!isObject(handle))
        return 1;
    HandleObject &object = recordOf(handle);
    MutexLock lock(object.guard);
    if (!lock)
        return 0;
    if (--object.referenceCount != 0)
        return 1;
    return lock.unlock() ? destroy(&object) : 0;
}
