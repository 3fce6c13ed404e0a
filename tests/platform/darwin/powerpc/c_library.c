// What the seam and its tests need of Darwin's C library under a name that this system's has not; see
// scripts/darwin/run_10_5. Every record that passes here is made of plain numbers and texts.

#include <errno.h>
#include <stdio.h>
#include <stdlib.h>

int *__error(void) {
    return &errno;
}

FILE *__stderrp;
__attribute__((constructor(101))) static void openStandardError(void) {
    __stderrp = stderr;
}

/* operator new and delete, and where the C++ library would throw. */
void *_Znwm(unsigned long size) {
    void *memory = malloc(size);
    return memory ? memory : (abort(), NULL);
}
void _ZdlPv(void *memory) {
    free(memory);
}
void __cxa_pure_virtual(void) {
    abort();
}

/** A variable there, a macro here; the made-up resolver never lacks anything. */
int h_errno;
