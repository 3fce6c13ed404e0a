#include <zorcomn/portability.h>

#include <stdio.h>

static uint32_t work(void *done) {
    return (uint32_t)qelSetEvent(done);
}

int main(void) {
    HANDLE done = qelCreateEvent(NULL, 1, 0, NULL); /* events are manual-reset */
    HANDLE thread = qelCreateThread(NULL, 0, work, done, 0, NULL);
    uint32_t result = ZORCOMN_WAIT_FAILED;
    if (done && thread)
        result = qelWaitForSingleObject(done, 10000);
    printf("the thread %s\n", result == ZORCOMN_WAIT_SIGNALLED ? "has answered" : "has not answered");
    qelWaitForSingleObject(thread, ZORCOMN_INFINITE);
    qelCloseHandle(thread);
    qelCloseHandle(done);
    return result == ZORCOMN_WAIT_SIGNALLED ? 0 : 1;
}
