/* Adds up the sizes of the files in a folder, on a thread of its own, while the main thread waits for the end or for a
 * deadline.
 *
 *   folder_size FOLDER [PATTERN]
 *
 * Ends with 0; 1 when the folder cannot be searched or takes longer than the deadline; 2 for wrong arguments. */

#include <zorcomn/portability.h>

#include <inttypes.h>
#include <stdio.h>

static const uint32_t kDeadlineMs = 60000;

struct Sum {
    char path[260];
    uint64_t bytes;
    uint32_t files;
    int isKnown;
};

static uint32_t addUp(void *argument) {
    struct Sum *sum = argument;
    qelFindData found;
    const int32_t search = qelFindFirstDirEnt(sum->path, &found);
    if (search == ZORCOMN_NO_SEARCH)
        return 0;
    do {
        if (found.attributes == ZORCOMN_DIRECTORY)
            continue;
        sum->bytes += found.size;
        ++sum->files;
    } while (qelFindNextDirEnt(search, &found));
    qelFindCloseDirEnt(search);
    sum->isKnown = 1;
    return 0;
}

int main(int argc, char **argv) {
    static struct Sum sum; /* outlives the thread, whatever happens */
    if (argc < 2 || argc > 3) {
        fputs("usage: folder_size FOLDER [PATTERN]\n", stderr);
        return 2;
    }
    const int length = snprintf(sum.path, sizeof sum.path, "%s/%s", argv[1], argc == 3 ? argv[2] : "*");
    if (length < 0 || (size_t)length >= sizeof sum.path) {
        fputs("folder_size: the path is too long\n", stderr);
        return 2;
    }

    const HANDLE thread = qelBeginThread(NULL, 0, addUp, &sum, 0, NULL);
    if (thread == ZORCOMN_INVALID_HANDLE) {
        fputs("folder_size: no thread\n", stderr);
        return 1;
    }
    const uint32_t result = qelWaitForSingleObject(thread, kDeadlineMs);
    qelCloseHandle(thread);
    if (result != ZORCOMN_WAIT_SIGNALLED || !sum.isKnown) {
        fputs(result == ZORCOMN_WAIT_TIMED_OUT ? "folder_size: it takes too long\n" : "folder_size: cannot search\n",
              stderr);
        return 1;
    }
    printf("%" PRIu32 " files, %" PRIu64 " bytes\n", sum.files, sum.bytes);
    return 0;
}
