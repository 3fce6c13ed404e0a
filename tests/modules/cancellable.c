/* A plug-in whose constructor and destructor are cancellation points. */

#include <pthread.h>

__attribute__((constructor)) static void construct(void) {
    pthread_testcancel();
}

__attribute__((destructor)) static void destruct(void) {
    pthread_testcancel();
}
