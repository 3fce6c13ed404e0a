// Must not compile for 10.5: the call came with 10.10. See scripts/darwin/check_10_5.
#include <fcntl.h>

int openBeside(int folder, const char *name) {
    return openat(folder, name, O_RDONLY);
}
