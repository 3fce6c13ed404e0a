// Here a thread that no longer shares its working folder with the others goes there, and comes back to where it was.

#include "thread_folder.h"

#include <fcntl.h>
#include <sched.h>
#include <unistd.h>

namespace {

thread_local int g_folderBefore = -1;

} // namespace

namespace zor::test {

bool standsInOwnFolder() {
    return g_folderBefore >= 0;
}

} // namespace zor::test

extern "C" int __pthread_fchdir(int folder);

extern "C" int __pthread_fchdir(int folder) {
    if (folder != -1) {
        if (g_folderBefore < 0 && unshare(CLONE_FS) == 0)
            g_folderBefore = open(".", O_RDONLY | O_CLOEXEC);
        return g_folderBefore < 0 ? -1 : fchdir(folder);
    }
    if (g_folderBefore < 0)
        return -1;
    const int result = fchdir(g_folderBefore);
    close(g_folderBefore);
    g_folderBefore = -1;
    return result;
}
