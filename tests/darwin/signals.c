// Signals: their numbers, sets and handlers differ; a handler is called through one that translates.
#define _GNU_SOURCE
#include "shim.h"

#include <errno.h>
#include <pthread.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/time.h>
#include <sys/types.h>
#include <sys/wait.h>

static const struct pair signals[] = {
#define S(s) {s, DWC_##s}, // not PAIR, which would see the number alone
#include "signals.inc"
#undef S
};
enum { kSignals = sizeof signals / sizeof *signals, kDarwinSignals = 32 };

int hostSignal(int darwin) {
    return darwin == 0 ? 0 : HOST_OF(signals, darwin, -1);
}
int darwinSignal(int host) {
    return DARWIN_OF(signals, host, host);
}

static void hostSet(const uint32_t *darwin, sigset_t *host) {
    sigemptyset(host);
    for (size_t i = 0; i < kSignals; ++i)
        if (*darwin & 1u << (signals[i].darwin - 1))
            sigaddset(host, (int)signals[i].host);
}
static uint32_t darwinSet(const sigset_t *host) {
    uint32_t set = 0;
    for (size_t i = 0; i < kSignals; ++i)
        if (sigismember(host, (int)signals[i].host))
            set |= 1u << (signals[i].darwin - 1);
    return set;
}
static int hostHow(int how) {
    return how == DWC_SIG_BLOCK     ? SIG_BLOCK
           : how == DWC_SIG_UNBLOCK ? SIG_UNBLOCK
           : how == DWC_SIG_SETMASK ? SIG_SETMASK
                                    : -1;
}
static int dw_pthread_sigmask(int how, const uint32_t *set, uint32_t *old) {
    sigset_t own, was;
    if (set)
        hostSet(set, &own);
    const int result = pthread_sigmask(hostHow(how), set ? &own : NULL, &was);
    if (result == 0 && old)
        *old = darwinSet(&was);
    return darwinError(result);
}
static int dw_sigprocmask(int how, const uint32_t *set, uint32_t *old) {
    sigset_t own, was;
    if (set)
        hostSet(set, &own);
    const int result = sigprocmask(hostHow(how), set ? &own : NULL, &was);
    if (result == 0 && old)
        *old = darwinSet(&was);
    return result;
}
static int dw_sigwait(const uint32_t *set, int *taken) {
    sigset_t own;
    int host = 0;
    hostSet(set, &own);
    const int result = sigwait(&own, &host);
    *taken = darwinSignal(host);
    return darwinError(result);
}
static int dw_sigpending(uint32_t *set) {
    sigset_t own;
    const int result = sigpending(&own);
    *set = darwinSet(&own);
    return result;
}
static int dw_sigsuspend(const uint32_t *set) {
    sigset_t own;
    hostSet(set, &own);
    return sigsuspend(&own);
}
static int dw_sigismember(const uint32_t *set, int number) {
    return *set >> (number - 1) & 1;
} // a macro, commonly
static int dw_kill(pid_t process, int number) {
    return kill(process, hostSignal(number));
}
static int dw_raise(int number) {
    return raise(hostSignal(number));
}

static void *handlers[kDarwinSignals];
static void called(int host, siginfo_t *facts, void *context) {
    const int number = darwinSignal(host);
    char own[DWZ_siginfo] = {0};
    PUT(own, siginfo, si_signo, number);
    PUT(own, siginfo, si_code, facts->si_code == SI_USER ? DWC_SI_USER : 0);
    PUT(own, siginfo, si_pid, facts->si_pid);
    PUT(own, siginfo, si_uid, facts->si_uid);
    ((void (*)(int, void *, void *))handlers[number])(number, own, context);
}
static const struct pair actionFlags[] = {{SA_RESTART, DWC_SA_RESTART},
                                          {SA_NODEFER, DWC_SA_NODEFER},
                                          {SA_RESETHAND, DWC_SA_RESETHAND},
                                          {SA_NOCLDSTOP, DWC_SA_NOCLDSTOP}};
static int dw_sigaction(int number, const char *action, char *old) {
    struct sigaction own = {0}, was;
    if (number < 1 || number >= kDarwinSignals)
        return errno = EINVAL, -1;
    void *const before = handlers[number];
    if (action) {
        void *handler = (void *)GET(action, sigaction, __sigaction_u); // SIG_DFL, SIG_IGN agree: 0 and 1
        const uint32_t mask = (uint32_t)GET(action, sigaction, sa_mask);
        const int flags = (int)GET(action, sigaction, sa_flags);
        if ((uintptr_t)handler > 1) {
            handlers[number] = handler;
            own.sa_sigaction = called;
            own.sa_flags = SA_SIGINFO;
        } else {
            own.sa_handler = (sighandler_t)handler;
        }
        for (size_t i = 0; i < sizeof actionFlags / sizeof *actionFlags; ++i)
            own.sa_flags |= flags & actionFlags[i].darwin ? (int)actionFlags[i].host : 0;
        hostSet(&mask, &own.sa_mask);
    }
    const int result = sigaction(hostSignal(number), action ? &own : NULL, &was);
    if (result == 0 && old) {
        memset(old, 0, DWZ_sigaction);
        PUT(old, sigaction, __sigaction_u, was.sa_sigaction == called ? (uintptr_t)before : (uintptr_t)was.sa_handler);
        PUT(old, sigaction, sa_mask, darwinSet(&was.sa_mask));
        for (size_t i = 0; i < sizeof actionFlags / sizeof *actionFlags; ++i)
            if (was.sa_flags & actionFlags[i].host)
                PUT(old, sigaction, sa_flags, GET(old, sigaction, sa_flags) | (uint32_t)actionFlags[i].darwin);
    }
    return result;
}
static void *dw_signal(int number, void *handler) {
    char action[DWZ_sigaction] = {0}, old[DWZ_sigaction];
    PUT(action, sigaction, __sigaction_u, (uintptr_t)handler);
    PUT(action, sigaction, sa_flags, DWC_SA_RESTART);
    return dw_sigaction(number, action, old) == 0 ? (void *)GET(old, sigaction, __sigaction_u) : (void *)-1;
}

/** A status's parts lie alike; the signal's number is Darwin's. */
static pid_t dw_waitpid(pid_t process, int *status, int options) {
    int host = 0;
    const pid_t result =
        waitpid(process, &host, (options & DWC_WNOHANG ? WNOHANG : 0) | (options & DWC_WUNTRACED ? WUNTRACED : 0));
    if (result > 0 && status)
        *status = WIFSIGNALED(host) ? (host & ~0x7f) | darwinSignal(WTERMSIG(host)) : host;
    return result;
}
static int darwinStatus(int host) {
    return host > 0 && WIFSIGNALED(host) ? (host & ~0x7f) | darwinSignal(WTERMSIG(host)) : host;
}
static int dw_system(const char *command) {
    return darwinStatus(system(command));
}
static int dw_pclose(FILE *stream) {
    return darwinStatus(pclose(stream));
}

static struct timeval hostInterval(const char *darwin) {
    return (struct timeval){(time_t)GET(darwin, timeval, tv_sec), (int)GET(darwin, timeval, tv_usec)};
}
static int dw_setitimer(int which, const char *timer, const void *old) { // the timers' numbers agree
    const struct itimerval own = {hostInterval(FIELD(timer, itimerval, it_interval)),
                                  hostInterval(FIELD(timer, itimerval, it_value))};
    return old ? (errno = EINVAL, -1) : setitimer((__itimer_which_t)which, &own, NULL);
}

// clang-format off
const struct name signalNames[] = {
    N(pthread_sigmask), N(sigprocmask), N(sigwait), N(sigpending), N(sigsuspend), N(sigismember), N(kill), N(raise),
    N(sigaction), N(signal), N(waitpid), N(system), N(pclose), N(setitimer), SAME(alarm), {NULL, NULL},
};
// clang-format on
