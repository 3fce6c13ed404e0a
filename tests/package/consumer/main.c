#include <zorcomn/zorcomn.h>

#include <stdio.h>

int main(void) {
    const HANDLE event = qelCreateEvent(NULL, 1, 1, NULL);
    const uint32_t result = qelWaitForSingleObject(event, 0);
    qelCloseHandle(event);
    printf("%u\n", (unsigned)result);
    return result == ZORCOMN_WAIT_SIGNALLED ? 0 : 1;
}
