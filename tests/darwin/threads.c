// Threads, mutexes and conditions. Darwin's records are larger than this system's, so the system's own lie in them; one
// that was initialised statically carries a signature until it is first used.
//
// Darwin's rule for a thread that ends or is cancelled: its cleanup handlers run, no frame is unwound. Here the C
// library unwinds, finds no description of the program's frames and gives up there, which is the same; it then runs the
// handler that runThread has registered below all of the program's frames, and that runs the program's handlers. They
// find their frames untouched: runThread leaves room for the handlers' own.
#define _GNU_SOURCE
#include "shim.h"

#include <errno.h>
#include <pthread.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <time.h>
#include <unistd.h>

_Static_assert(sizeof(pthread_mutex_t) <= DWZ_pthread_mutex_t && sizeof(pthread_cond_t) <= DWZ_pthread_cond_t, "room");
_Static_assert(sizeof(pthread_attr_t) <= DWZ_pthread_attr_t && sizeof(pthread_rwlock_t) <= DWZ_pthread_rwlock_t,
               "room");
_Static_assert(sizeof(pthread_mutexattr_t) <= DWZ_pthread_mutexattr_t &&
                   sizeof(pthread_condattr_t) <= DWZ_pthread_condattr_t,
               "room");

static pthread_mutex_t signatureGuard = PTHREAD_MUTEX_INITIALIZER;
static void settle(void *object, long signature, const void *initial, size_t size) {
    if (__atomic_load_n((long *)object, __ATOMIC_ACQUIRE) != signature)
        return;
    sigset_t all, before; // a handler that locks would wait for us
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    pthread_mutex_lock(&signatureGuard);
    if (*(long *)object == signature) {
        memcpy((char *)object + sizeof(long), (const char *)initial + sizeof(long), size - sizeof(long));
        __atomic_store_n((long *)object, *(const long *)initial, __ATOMIC_RELEASE);
    }
    pthread_mutex_unlock(&signatureGuard);
    pthread_sigmask(SIG_SETMASK, &before, NULL);
}
#define SETTLE(object, signature, type, initial) settle(object, signature, &(type)initial, sizeof(type))

static void *mutexOf(void *mutex) {
    SETTLE(mutex, DWC__PTHREAD_MUTEX_SIG_init, pthread_mutex_t, PTHREAD_MUTEX_INITIALIZER);
    SETTLE(mutex, DWC__PTHREAD_RECURSIVE_MUTEX_SIG_init, pthread_mutex_t, PTHREAD_RECURSIVE_MUTEX_INITIALIZER_NP);
    SETTLE(mutex, DWC__PTHREAD_ERRORCHECK_MUTEX_SIG_init, pthread_mutex_t, PTHREAD_ERRORCHECK_MUTEX_INITIALIZER_NP);
    return mutex;
}
static void *condOf(void *condition) {
    SETTLE(condition, DWC__PTHREAD_COND_SIG_init, pthread_cond_t, PTHREAD_COND_INITIALIZER);
    return condition;
}
static void *rwOf(void *lock) {
    SETTLE(lock, DWC__PTHREAD_RWLOCK_SIG_init, pthread_rwlock_t, PTHREAD_RWLOCK_INITIALIZER);
    return lock;
}

static int dw_pthread_mutex_init(void *m, const void *a) {
    return darwinError(pthread_mutex_init(m, a));
}
static int dw_pthread_mutex_lock(void *m) {
    return darwinError(pthread_mutex_lock(mutexOf(m)));
}
static int dw_pthread_mutex_trylock(void *m) {
    return darwinError(pthread_mutex_trylock(mutexOf(m)));
}
static int dw_pthread_mutex_unlock(void *m) {
    return darwinError(pthread_mutex_unlock(mutexOf(m)));
}
static int dw_pthread_mutex_destroy(void *m) {
    return darwinError(pthread_mutex_destroy(mutexOf(m)));
}
static int dw_pthread_mutexattr_settype(void *a, int type) {
    return darwinError(pthread_mutexattr_settype(a, type == DWC_PTHREAD_MUTEX_RECURSIVE    ? PTHREAD_MUTEX_RECURSIVE
                                                    : type == DWC_PTHREAD_MUTEX_ERRORCHECK ? PTHREAD_MUTEX_ERRORCHECK
                                                                                           : PTHREAD_MUTEX_NORMAL));
}
static int dw_pthread_cond_init(void *c, const void *a) {
    return darwinError(pthread_cond_init(c, a));
}
static int dw_pthread_cond_wait(void *c, void *m) {
    return darwinError(pthread_cond_wait(condOf(c), mutexOf(m)));
}
static int dw_pthread_cond_timedwait(void *c, void *m, const struct timespec *t) {
    return darwinError(pthread_cond_timedwait(condOf(c), mutexOf(m), t));
}
static int dw_pthread_cond_timedwait_relative_np(void *c, void *m, const struct timespec *length) {
    struct timespec end;
    clock_gettime(CLOCK_REALTIME, &end);
    end.tv_sec += length->tv_sec + (end.tv_nsec + length->tv_nsec) / 1000000000;
    end.tv_nsec = (end.tv_nsec + length->tv_nsec) % 1000000000;
    return dw_pthread_cond_timedwait(c, m, &end);
}
static int dw_pthread_cond_broadcast(void *c) {
    return darwinError(pthread_cond_broadcast(condOf(c)));
}
static int dw_pthread_cond_signal(void *c) {
    return darwinError(pthread_cond_signal(condOf(c)));
}
static int dw_pthread_cond_destroy(void *c) {
    return darwinError(pthread_cond_destroy(condOf(c)));
}
static int dw_pthread_rwlock_rdlock(void *l) {
    return darwinError(pthread_rwlock_rdlock(rwOf(l)));
}
static int dw_pthread_rwlock_wrlock(void *l) {
    return darwinError(pthread_rwlock_wrlock(rwOf(l)));
}
static int dw_pthread_rwlock_unlock(void *l) {
    return darwinError(pthread_rwlock_unlock(rwOf(l)));
}
static int dw_pthread_once(long *once, void (*call)(void)) {
    SETTLE(once, DWC__PTHREAD_ONCE_SIG_init, long, {0});
    return pthread_once((pthread_once_t *)once, call);
}

// ---- a thread as the program sees it: pthread_cleanup_push links its records into the thread's own by itself

struct thread {
    char record[DWZ__opaque_pthread_t];
    pthread_t host;
    void *(*start)(void *);
    void *argument;
    struct ending {
        void (*call)(void *);
        void *argument;
        struct ending *next;
    } * endings; // destructors of thread-local variables
};
static __thread struct thread *current;

static struct thread *dw_pthread_self(void) {
    if (!current) {
        current = calloc(1, sizeof *current);
        current->host = pthread_self();
    }
    return current;
}

static void runHandlers(void *unused) {
    (void)unused;
    char *self = dw_pthread_self()->record, *handler;
    while ((handler = (char *)GET(self, _opaque_pthread_t, __cleanup_stack))) {
        PUT(self, _opaque_pthread_t, __cleanup_stack, GET(handler, __darwin_pthread_handler_rec, __next));
        ((void (*)(void *))GET(handler, __darwin_pthread_handler_rec, __routine))(
            (void *)GET(handler, __darwin_pthread_handler_rec, __arg));
    }
}

static void runEndings(void) {
    for (struct ending *each; (each = current ? current->endings : NULL);) {
        current->endings = each->next;
        each->call(each->argument);
        free(each);
    }
}

/** Calls start with so much room left above its frames that handlers which run in the caller's leave them alone. */
__attribute__((noinline)) static void *callBelowRoom(void *(*start)(void *), void *argument) {
    volatile char room[96 * 1024];
    room[0] = 0;
    void *result = start(argument);
    room[sizeof room - 1] = 0; // which also keeps the call from being a jump
    return result;
}

void *runThread(void *(*start)(void *), void *argument) {
    void *result = NULL;
    pthread_cleanup_push(runHandlers, NULL);
    result = callBelowRoom(start, argument);
    pthread_cleanup_pop(0);
    return result;
}

static pthread_key_t endKey;
static void endThread(void *unused) { // thread-local variables end after the handlers, as the thread's own data
    (void)unused;
    runEndings();
}
__attribute__((constructor)) static void makeEndKey(void) {
    pthread_key_create(&endKey, endThread);
}

static void *startThread(void *made) {
    current = made;
    current->host = pthread_self();
    pthread_setspecific(endKey, made);
    return runThread(current->start, current->argument);
}

static int dw_pthread_create(struct thread **thread, const void *attributes, void *(*start)(void *), void *argument) {
    struct thread *made = calloc(1, sizeof *made); // never freed: nobody knows who still holds it
    made->start = start;
    made->argument = argument;
    *thread = made;
    pthread_t host;
    const int result = pthread_create(&host, attributes, startThread, made);
    if (result == 0)
        made->host = host;
    return darwinError(result);
}
static int dw_pthread_join(struct thread *thread, void **result) {
    void *value = NULL;
    const int error = pthread_join(thread->host, &value);
    if (error == 0 && result)
        *result = value == PTHREAD_CANCELED ? (void *)DWC_PTHREAD_CANCELED : value;
    return darwinError(error);
}
static int dw_pthread_detach(struct thread *thread) {
    return darwinError(pthread_detach(thread->host));
}
static int dw_pthread_cancel(struct thread *thread) {
    return darwinError(pthread_cancel(thread->host));
}
static int dw_pthread_kill(struct thread *thread, int number) {
    return darwinError(pthread_kill(thread->host, hostSignal(number)));
}
static int dw_pthread_equal(const void *one, const void *other) {
    return one == other;
}
static uint32_t dw_pthread_mach_thread_np(struct thread *thread) {
    return thread == current ? (uint32_t)gettid() : 1;
}
static int dw_pthread_main_np(void) {
    return getpid() == gettid();
}

static int dw_pthread_key_create(unsigned long *key, void (*end)(void *)) {
    pthread_key_t own = 0;
    const int result = pthread_key_create(&own, end);
    if (result == 0)
        *key = own;
    return darwinError(result);
}
static int dw_pthread_key_delete(unsigned long key) {
    return darwinError(pthread_key_delete((pthread_key_t)key));
}
static int dw_pthread_setspecific(unsigned long key, const void *value) {
    return darwinError(pthread_setspecific((pthread_key_t)key, value));
}
static int dw_pthread_attr_setdetachstate(void *attr, int state) {
    if (state != DWC_PTHREAD_CREATE_DETACHED && state != DWC_PTHREAD_CREATE_JOINABLE)
        return DWC_EINVAL;
    return pthread_attr_setdetachstate(attr, state == DWC_PTHREAD_CREATE_DETACHED ? PTHREAD_CREATE_DETACHED
                                                                                  : PTHREAD_CREATE_JOINABLE);
}
static int dw_pthread_attr_getdetachstate(const void *attr, int *state) {
    const int result = pthread_attr_getdetachstate(attr, state);
    *state = *state == PTHREAD_CREATE_DETACHED ? DWC_PTHREAD_CREATE_DETACHED : DWC_PTHREAD_CREATE_JOINABLE;
    return darwinError(result);
}
static int dw_pthread_setcancelstate(int state, int *old) {
    int was;
    if (state != DWC_PTHREAD_CANCEL_ENABLE && state != DWC_PTHREAD_CANCEL_DISABLE)
        return DWC_EINVAL;
    pthread_setcancelstate(state == DWC_PTHREAD_CANCEL_ENABLE ? PTHREAD_CANCEL_ENABLE : PTHREAD_CANCEL_DISABLE, &was);
    if (old)
        *old = was == PTHREAD_CANCEL_ENABLE ? DWC_PTHREAD_CANCEL_ENABLE : DWC_PTHREAD_CANCEL_DISABLE;
    return 0;
}
static int dw_pthread_setcanceltype(int type, int *old) {
    int was;
    const int result = pthread_setcanceltype(
        type == DWC_PTHREAD_CANCEL_ASYNCHRONOUS ? PTHREAD_CANCEL_ASYNCHRONOUS : PTHREAD_CANCEL_DEFERRED, &was);
    if (old)
        *old = was == PTHREAD_CANCEL_ASYNCHRONOUS ? DWC_PTHREAD_CANCEL_ASYNCHRONOUS : DWC_PTHREAD_CANCEL_DEFERRED;
    return result;
}

static int dw__tlv_atexit(void (*call)(void *), void *argument) {
    struct ending *made = malloc(sizeof *made);
    *made = (struct ending){call, argument, dw_pthread_self()->endings};
    current->endings = made;
    return 0;
}
/** exit ends the calling thread's variables first. */
static void dw_exit(int code) {
    runEndings();
    exit(code);
}

// clang-format off
const struct name threadNames[] = {
    N(pthread_mutex_init), N(pthread_mutex_lock), N(pthread_mutex_trylock), N(pthread_mutex_unlock),
    N(pthread_mutex_destroy), N(pthread_mutexattr_settype), N(pthread_cond_init), N(pthread_cond_wait),
    N(pthread_cond_timedwait), N(pthread_cond_timedwait_relative_np), N(pthread_cond_broadcast),
    N(pthread_cond_signal), N(pthread_cond_destroy), N(pthread_rwlock_rdlock), N(pthread_rwlock_wrlock),
    N(pthread_rwlock_unlock), N(pthread_once), N(pthread_self), N(pthread_create), N(pthread_join), N(pthread_detach),
    N(pthread_cancel), N(pthread_kill), N(pthread_equal), N(pthread_mach_thread_np), N(pthread_main_np),
    N(pthread_key_create), N(pthread_key_delete), N(pthread_setspecific), N(pthread_attr_setdetachstate),
    N(pthread_attr_getdetachstate), N(pthread_setcancelstate), N(pthread_setcanceltype), N(_tlv_atexit), N(exit),
    SAME(pthread_exit), SAME(pthread_testcancel), SAME(pthread_getspecific), SAME(pthread_attr_init),
    SAME(pthread_attr_destroy), SAME(pthread_attr_setstacksize), SAME(pthread_attr_getstacksize),
    SAME(pthread_mutexattr_init), SAME(pthread_mutexattr_destroy), SAME(pthread_condattr_init),
    SAME(pthread_condattr_destroy), SAME(sched_yield), SAME(pthread_atfork), {NULL, NULL},
};
// clang-format on
