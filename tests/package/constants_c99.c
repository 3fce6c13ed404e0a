/* Uses the constants from C99; tells the first one that is not what the library answers. */

#define _XOPEN_SOURCE 700 /* mkdtemp */

#include <zorcomn/plugin.h>
#include <zorcomn/zorcomn.h>

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#if ZORCOMN_VERSION < 40800
#error "the version can be compared by the preprocessor"
#endif

const char *wrongConstantInC(void);

static const char *wrongFileConstant(const char *folder) {
    char path[260];
    snprintf(path, sizeof path, "%s/file", folder);
    if (qelCreateFileAW(path, ZORCOMN_READ, 0, NULL, ZORCOMN_OPEN_EXISTING, ZORCOMN_NORMAL, NULL))
        return "ZORCOMN_OPEN_EXISTING";
    const HANDLE file =
        qelCreateFileAW(path, ZORCOMN_READ | ZORCOMN_WRITE, 0, NULL, ZORCOMN_CREATE_NEW, ZORCOMN_DELETE_ON_CLOSE, NULL);
    if (!file)
        return "ZORCOMN_CREATE_NEW";
    uint32_t count = 0;
    if (!qelWriteFile(file, "12345", 5, &count, NULL) || count != 5)
        return "ZORCOMN_WRITE";
    if (qelSetFilePointer(file, 1, NULL, ZORCOMN_FROM_START) != 1 ||
        qelSetFilePointer(file, 1, NULL, ZORCOMN_FROM_CURRENT) != 2 ||
        qelSetFilePointer(file, -1, NULL, ZORCOMN_FROM_END) != 4)
        return "ZORCOMN_FROM_...";
    char last = 0;
    if (!qelReadFile(file, &last, 1, &count, NULL) || last != '5')
        return "ZORCOMN_READ";
    const HANDLE again = qelCreateFileAW(path, ZORCOMN_WRITE, 0, NULL, ZORCOMN_CREATE_ALWAYS, ZORCOMN_NORMAL, NULL);
    if (!again || qelGetFileSize(file, NULL) != 0)
        return "ZORCOMN_CREATE_ALWAYS";
    qelCloseHandle(again);
    qelFindData found;
    char pattern[300];
    snprintf(pattern, sizeof pattern, "%s/nothing*", folder);
    if (qelFindFirstDirEnt(pattern, &found) != ZORCOMN_NO_SEARCH)
        return "ZORCOMN_NO_SEARCH";
    qelCloseHandle(file);
    if (access(path, F_OK) == 0)
        return "ZORCOMN_DELETE_ON_CLOSE";
    const HANDLE third = qelCreateFileAW(path, ZORCOMN_READ, 0, NULL, ZORCOMN_OPEN_ALWAYS, ZORCOMN_NORMAL, NULL);
    if (!third)
        return "ZORCOMN_OPEN_ALWAYS";
    qelCloseHandle(third);
    unlink(path);
    char itself[300];
    snprintf(itself, sizeof itself, "%s/.", folder);
    const int32_t search = qelFindFirstDirEnt(itself, &found);
    if (search == ZORCOMN_NO_SEARCH || found.attributes != ZORCOMN_DIRECTORY)
        return "ZORCOMN_DIRECTORY";
    qelFindCloseDirEnt(search);
    return "";
}

const char *wrongConstantInC(void) {
    char folder[] = "/tmp/zorcomn-constants-XXXXXX";
    if (qelBeginThread(NULL, 0, NULL, NULL, 0, NULL) != ZORCOMN_INVALID_HANDLE)
        return "ZORCOMN_INVALID_HANDLE";
    nErrno = 0;
    if (qelSetEvent(NULL) || nErrno != ZORCOMN_CELL_REFUSED)
        return "ZORCOMN_CELL_REFUSED";
    if (ZORCOMN_CELL_NO_MEMORY != 12 || ZORCOMN_CELL_BUSY != 16 || ZORCOMN_CELL_FULL != 35)
        return "ZORCOMN_CELL_...";
    if (ZORCOMN_ATTACH != 1u || ZORCOMN_DETACH != 0u)
        return "ZORCOMN_ATTACH, ZORCOMN_DETACH";
    if (!mkdtemp(folder))
        return "no folder";
    const char *wrong = wrongFileConstant(folder);
    rmdir(folder);
    return wrong;
}
