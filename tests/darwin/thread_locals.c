// Thread-local variables. The compiler calls a descriptor's thunk with the descriptor in rdi, takes the variable's
// address from rax and counts on every other register being kept.
#define _GNU_SOURCE
#include "macho_run.h"

#include <limits.h>
#include <pthread.h>
#include <stdlib.h>

struct descriptor {
    void *(*thunk)(struct descriptor *);
    unsigned long key, offset;
};
static struct {
    const char *data;
    size_t size, total;
} templates[PTHREAD_KEYS_MAX];

__attribute__((used)) static void *threadLocal(struct descriptor *variable) {
    const pthread_key_t key = (pthread_key_t)variable->key;
    char *block = pthread_getspecific(key);
    if (!block) {
        block = aligned_alloc(64, (templates[key].total + 127) / 64 * 64);
        memset(block, 0, templates[key].total);
        memcpy(block, templates[key].data, templates[key].size);
        pthread_setspecific(key, block);
    }
    return block + variable->offset;
}

__asm__(".text\nthreadLocalThunk:\n push %rbp\n mov %rsp,%rbp\n and $-64,%rsp\n sub $640,%rsp\n fxsave 0(%rsp)\n"
        " mov %rcx,512(%rsp)\n mov %rdx,520(%rsp)\n mov %rsi,528(%rsp)\n mov %rdi,536(%rsp)\n mov %r8,544(%rsp)\n"
        " mov %r9,552(%rsp)\n mov %r10,560(%rsp)\n mov %r11,568(%rsp)\n call threadLocal\n fxrstor 0(%rsp)\n"
        " mov 512(%rsp),%rcx\n mov 520(%rsp),%rdx\n mov 528(%rsp),%rsi\n mov 536(%rsp),%rdi\n mov 544(%rsp),%r8\n"
        " mov 552(%rsp),%r9\n mov 560(%rsp),%r10\n mov 568(%rsp),%r11\n leave\n ret\n");
extern char threadLocalThunk[];

void startThreadLocals(struct descriptor *variables, size_t count, const char *data, size_t size, size_t total) {
    pthread_key_t key;
    if (pthread_key_create(&key, NULL) != 0) // the block outlives its thread's destructors, which may still read it
        abort();
    templates[key].data = data;
    templates[key].size = size;
    templates[key].total = total;
    for (size_t i = 0; i < count; ++i)
        variables[i] = (struct descriptor){(void *)threadLocalThunk, key, variables[i].offset};
}
