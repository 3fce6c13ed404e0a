#include "tests/support/failing_calls.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <iterator>
#include <new>
#include <utility>

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <netdb.h>
#include <poll.h>
#include <pthread.h>
#include <sched.h>
#include <sys/socket.h>
#include <sys/utsname.h>
#include <unistd.h>

namespace zor::test {

namespace {

constexpr size_t kMaxFunctions = 64;
constexpr size_t kMaxAllocations = 4096;

// A name gets its index on first use; names are literals and never go.
std::array<std::atomic<const char *>, kMaxFunctions> functionNames;

struct Plan {
    int callsLeft = 0; // 0: nothing is to fail
    int error = 0;
    bool reached = false;
    const std::function<void()> *action = nullptr;
    bool isBefore = false; // the call, that is when the action is due
};
thread_local Plan plans[kMaxFunctions];

size_t indexOf(const char *function) {
    for (size_t index = 0; index < kMaxFunctions; ++index) {
        const char *known = nullptr;
        if (functionNames[index].compare_exchange_strong(known, function) || std::strcmp(known, function) == 0)
            return index;
    }
    std::fprintf(stderr, "failing_calls: too many functions\n");
    std::abort();
}

/** The error to fail with now, 0 to go on. */
int failureDue(size_t function) {
    Plan &plan = plans[function];
    if (plan.callsLeft == 0 || --plan.callsLeft > 0)
        return 0;
    plan.reached = true;
    if (plan.action && plan.isBefore)
        (*std::exchange(plan.action, nullptr))();
    return plan.error;
}

/** Runs what is to follow the call just made. */
void runDueAction(size_t function) {
    Plan &plan = plans[function];
    if (plan.reached && plan.action)
        (*std::exchange(plan.action, nullptr))();
}

class SpinLock {
public:
    SpinLock() {
        while (s_flag.test_and_set(std::memory_order_acquire)) {
        }
    }
    ~SpinLock() { s_flag.clear(std::memory_order_release); }

private:
    static std::atomic_flag s_flag;
};
std::atomic_flag SpinLock::s_flag = ATOMIC_FLAG_INIT;

std::atomic<bool> isTracking{false};
void *tracked[kMaxAllocations];

bool replaceTracked(void *old, void *value) {
    const SpinLock lock;
    for (void *&entry : tracked) {
        if (entry == old) {
            entry = value;
            return true;
        }
    }
    return false;
}

void *track(void *allocation) {
    if (allocation && isTracking && !replaceTracked(nullptr, allocation)) {
        std::fprintf(stderr, "failing_calls: too many allocations\n");
        std::abort();
    }
    return allocation;
}

void *untrack(void *allocation) {
    if (allocation && isTracking)
        replaceTracked(allocation, nullptr);
    return allocation;
}

const timeval *fixedTimeOfDay = nullptr;

} // namespace

FailingCall::FailingCall(const char *function, int nth, int error) : m_index(indexOf(function)) {
    plans[m_index] = {nth, error, false, nullptr, false};
}

FailingCall::~FailingCall() {
    plans[m_index] = {};
}

bool FailingCall::wasReached() const {
    return plans[m_index].reached;
}

AfterCall::AfterCall(const char *function, int nth, std::function<void()> action)
    : m_index(indexOf(function)), m_action(std::move(action)) {
    plans[m_index] = {nth, 0, false, &m_action, false};
}

AfterCall::~AfterCall() {
    plans[m_index] = {};
}

bool AfterCall::wasReached() const {
    return plans[m_index].reached;
}

BeforeCall::BeforeCall(const char *function, int nth, std::function<void()> action)
    : m_index(indexOf(function)), m_action(std::move(action)) {
    plans[m_index] = {nth, 0, false, &m_action, true};
}

BeforeCall::~BeforeCall() {
    plans[m_index] = {};
}

bool BeforeCall::wasReached() const {
    return plans[m_index].reached;
}

AllocationScope::AllocationScope() {
    std::fill(std::begin(tracked), std::end(tracked), nullptr);
    isTracking = true;
}

AllocationScope::~AllocationScope() {
    isTracking = false;
}

size_t AllocationScope::live() const {
    const SpinLock lock;
    size_t count = 0;
    for (const void *entry : tracked)
        count += entry ? 1 : 0;
    return count;
}

namespace {
timeval fixedTime;
}

FixedTimeOfDay::FixedTimeOfDay(const timeval &now) {
    fixedTime = now;
    fixedTimeOfDay = &fixedTime;
}

FixedTimeOfDay::~FixedTimeOfDay() {
    fixedTimeOfDay = nullptr;
}

} // namespace zor::test

using namespace zor::test;

// The real functions, and what stands before them; weak, so that a test can put a stand-in of its own there.
// ZORCOMN_FAILS_BY_RESULT is for functions that return an errno number, ZORCOMN_FAILS_BY_ERRNO for those that set errno
// and return the given value.

#define ZORCOMN_WRAP(name, result, parameters, arguments, onFailure)                                                   \
    extern "C" result __real_##name parameters;                                                                        \
    extern "C" __attribute__((weak)) result __wrap_##name parameters {                                                 \
        static const size_t function = indexOf(#name);                                                                 \
        if (const int error = failureDue(function))                                                                    \
            onFailure;                                                                                                 \
        const auto answer = __real_##name arguments;                                                                   \
        runDueAction(function);                                                                                        \
        return answer;                                                                                                 \
    }
#define ZORCOMN_FAILS_BY_RESULT(name, parameters, arguments)                                                           \
    ZORCOMN_WRAP(name, int, parameters, arguments, return error)
#define ZORCOMN_FAILS_BY_ERRNO(failure, name, result, parameters, arguments)                                           \
    ZORCOMN_WRAP(name, result, parameters, arguments, return (errno = error, failure))

extern "C" void *__real_malloc(size_t size);
extern "C" void *__real_calloc(size_t count, size_t size);
extern "C" void *__real_realloc(void *old, size_t size);
extern "C" void __real_free(void *allocation);
extern "C" int __real_gettimeofday(timeval *now, void *zone);

extern "C" void *__wrap_malloc(size_t size) {
    static const size_t function = indexOf("malloc");
    if (const int error = failureDue(function))
        return errno = error, nullptr;
    return track(__real_malloc(size));
}

extern "C" void *__wrap_calloc(size_t count, size_t size) {
    static const size_t function = indexOf("calloc");
    if (const int error = failureDue(function))
        return errno = error, nullptr;
    return track(__real_calloc(count, size));
}

extern "C" void *__wrap_realloc(void *old, size_t size) {
    static const size_t function = indexOf("realloc");
    if (const int error = failureDue(function))
        return errno = error, nullptr;
    untrack(old);
    return track(__real_realloc(old, size));
}

extern "C" void __wrap_free(void *allocation) {
    __real_free(untrack(allocation));
}

void *operator new(size_t size, const std::nothrow_t &) noexcept {
    static const size_t function = indexOf("operator new");
    if (failureDue(function))
        return nullptr;
    return track(__real_malloc(size ? size : 1));
}

void *operator new(size_t size) {
    void *const allocation = operator new(size, std::nothrow);
    if (!allocation)
        throw std::bad_alloc();
    return allocation;
}

void *operator new[](size_t size) {
    return operator new(size);
}

void *operator new[](size_t size, const std::nothrow_t &) noexcept {
    return operator new(size, std::nothrow);
}

void operator delete(void *allocation) noexcept {
    __real_free(untrack(allocation));
}

void operator delete[](void *allocation) noexcept {
    operator delete(allocation);
}

void operator delete(void *allocation, size_t) noexcept {
    operator delete(allocation);
}

void operator delete[](void *allocation, size_t) noexcept {
    operator delete(allocation);
}

extern "C" int __wrap_gettimeofday(timeval *now, void *zone) {
    static const size_t function = indexOf("gettimeofday");
    if (const int error = failureDue(function))
        return errno = error, -1;
    if (!fixedTimeOfDay)
        return __real_gettimeofday(now, zone);
    *now = *fixedTimeOfDay;
    return 0;
}

ZORCOMN_FAILS_BY_RESULT(pthread_attr_init, (pthread_attr_t * attributes), (attributes))
ZORCOMN_FAILS_BY_RESULT(pthread_attr_setdetachstate, (pthread_attr_t * attributes, int state), (attributes, state))
ZORCOMN_FAILS_BY_RESULT(pthread_cond_broadcast, (pthread_cond_t * condition), (condition))
ZORCOMN_FAILS_BY_RESULT(pthread_cond_init, (pthread_cond_t * condition, const pthread_condattr_t *attributes),
                        (condition, attributes))
ZORCOMN_FAILS_BY_RESULT(pthread_cond_timedwait,
                        (pthread_cond_t * condition, pthread_mutex_t *mutex, const timespec *deadline),
                        (condition, mutex, deadline))
ZORCOMN_FAILS_BY_RESULT(pthread_cond_wait, (pthread_cond_t * condition, pthread_mutex_t *mutex), (condition, mutex))
ZORCOMN_FAILS_BY_RESULT(pthread_create,
                        (pthread_t * identifier, const pthread_attr_t *attributes, void *(*start)(void *),
                         void *argument),
                        (identifier, attributes, start, argument))
ZORCOMN_FAILS_BY_RESULT(pthread_key_create, (pthread_key_t * key, void (*destructor)(void *)), (key, destructor))
ZORCOMN_FAILS_BY_RESULT(pthread_key_delete, (pthread_key_t key), (key))
ZORCOMN_FAILS_BY_RESULT(pthread_mutex_init, (pthread_mutex_t * mutex, const pthread_mutexattr_t *attributes),
                        (mutex, attributes))
ZORCOMN_FAILS_BY_RESULT(pthread_mutex_lock, (pthread_mutex_t * mutex), (mutex))
ZORCOMN_FAILS_BY_RESULT(pthread_mutex_trylock, (pthread_mutex_t * mutex), (mutex))
ZORCOMN_FAILS_BY_RESULT(pthread_mutex_unlock, (pthread_mutex_t * mutex), (mutex))
ZORCOMN_FAILS_BY_RESULT(pthread_setspecific, (pthread_key_t key, const void *value), (key, value))
ZORCOMN_FAILS_BY_ERRNO(-1, close, int, (int descriptor), (descriptor))
ZORCOMN_FAILS_BY_ERRNO(-1, unlink, int, (const char *path), (path))
ZORCOMN_FAILS_BY_ERRNO(-1, dlclose, int, (void *handle), (handle))
ZORCOMN_FAILS_BY_ERRNO(nullptr, dlopen, void *, (const char *path, int mode), (path, mode))
ZORCOMN_FAILS_BY_ERRNO(-1, closedir, int, (DIR * stream), (stream))
ZORCOMN_FAILS_BY_ERRNO(EOF, fclose, int, (std::FILE * stream), (stream))
ZORCOMN_FAILS_BY_ERRNO(nullptr, fdopen, std::FILE *, (int descriptor, const char *mode), (descriptor, mode))
ZORCOMN_FAILS_BY_ERRNO(nullptr, fdopendir, DIR *, (int descriptor), (descriptor))
ZORCOMN_FAILS_BY_ERRNO(-1, read, ssize_t, (int descriptor, void *buffer, size_t count), (descriptor, buffer, count))
ZORCOMN_FAILS_BY_ERRNO(-1, write, ssize_t, (int descriptor, const void *buffer, size_t count),
                       (descriptor, buffer, count))
ZORCOMN_FAILS_BY_ERRNO(nullptr, popen, std::FILE *, (const char *command, const char *mode), (command, mode))
ZORCOMN_FAILS_BY_ERRNO(-1, readlink, ssize_t, (const char *path, char *buffer, size_t size), (path, buffer, size))
ZORCOMN_FAILS_BY_ERRNO(-1, socket, int, (int family, int type, int protocol), (family, type, protocol))
ZORCOMN_FAILS_BY_ERRNO(-1, uname, int, (utsname * names), (names))
ZORCOMN_FAILS_BY_ERRNO(nullptr, gmtime_r, std::tm *, (const std::time_t *time, std::tm *fields), (time, fields))
ZORCOMN_FAILS_BY_ERRNO(nullptr, localtime_r, std::tm *, (const std::time_t *time, std::tm *fields), (time, fields))
ZORCOMN_FAILS_BY_ERRNO(-1, mktime, std::time_t, (std::tm * fields), (fields))
ZORCOMN_FAILS_BY_ERRNO(-1, sched_yield, int, (), ())
ZORCOMN_FAILS_BY_ERRNO(-1, setenv, int, (const char *name, const char *value, int overwrite), (name, value, overwrite))
ZORCOMN_FAILS_BY_RESULT(getnameinfo,
                        (const sockaddr *address, socklen_t length, char *host, socklen_t hostSize, char *service,
                         socklen_t serviceSize, int flags),
                        (address, length, host, hostSize, service, serviceSize, flags))
ZORCOMN_FAILS_BY_ERRNO(-1, connect, int, (int socket, const sockaddr *address, socklen_t length),
                       (socket, address, length))
ZORCOMN_FAILS_BY_ERRNO(-1, gethostname, int, (char *name, size_t size), (name, size))
ZORCOMN_FAILS_BY_ERRNO(-1, getsockname, int, (int socket, sockaddr *address, socklen_t *length),
                       (socket, address, length))
ZORCOMN_FAILS_BY_ERRNO(-1, getsockopt, int, (int socket, int level, int option, void *value, socklen_t *length),
                       (socket, level, option, value, length))
ZORCOMN_FAILS_BY_ERRNO(-1, rand, int, (), ())
ZORCOMN_FAILS_BY_ERRNO(-1, getpid, pid_t, (), ())
ZORCOMN_FAILS_BY_ERRNO(-1, poll, int, (pollfd * entries, nfds_t count, int milliseconds),
                       (entries, count, milliseconds))

ZORCOMN_FAILS_BY_ERRNO(nullptr, opendir, DIR *, (const char *path), (path))
ZORCOMN_FAILS_BY_ERRNO(-1, mkostemp64, int, (char *pattern, int flags), (pattern, flags))

#ifdef ZORCOMN_CHECKED_CALLS
// The checked forms of the calls above, which a build with _FORTIFY_SOURCE makes where it knows the buffer's size: they
// fail, and are counted, under the plain name. Weak, since a C library may lack them; then nobody calls them.
#define ZORCOMN_WRAP_CHECKED(name, result, parameters, arguments)                                                      \
    extern "C" __attribute__((weak)) result __real___##name##_chk parameters;                                          \
    extern "C" result __wrap___##name##_chk parameters {                                                               \
        static const size_t function = indexOf(#name);                                                                 \
        if (const int error = failureDue(function))                                                                    \
            return errno = error, -1;                                                                                  \
        const auto answer = __real___##name##_chk arguments;                                                           \
        runDueAction(function);                                                                                        \
        return answer;                                                                                                 \
    }
ZORCOMN_WRAP_CHECKED(read, ssize_t, (int descriptor, void *buffer, size_t count, size_t size),
                     (descriptor, buffer, count, size))
ZORCOMN_WRAP_CHECKED(readlink, ssize_t, (const char *path, char *buffer, size_t count, size_t size),
                     (path, buffer, count, size))
ZORCOMN_WRAP_CHECKED(gethostname, int, (char *name, size_t count, size_t size), (name, count, size))
ZORCOMN_WRAP_CHECKED(poll, int, (pollfd * entries, nfds_t count, int milliseconds, size_t size),
                     (entries, count, milliseconds, size))
#endif

// What takes a mode only sometimes, and fcntl, under the names that they have with 64-bit file offsets.
extern "C" int __real_open64(const char *path, int flags, ...);
extern "C" int __wrap_open64(const char *path, int flags, ...) {
    static const size_t function = indexOf("open64");
    if (const int error = failureDue(function))
        return errno = error, -1;
    va_list arguments;
    va_start(arguments, flags);
    const int descriptor = __real_open64(path, flags, flags & O_CREAT ? va_arg(arguments, int) : 0);
    va_end(arguments);
    runDueAction(function);
    return descriptor;
}

extern "C" int __real_openat64(int folder, const char *path, int flags, ...);
extern "C" int __wrap_openat64(int folder, const char *path, int flags, ...) {
    static const size_t function = indexOf("openat64");
    if (const int error = failureDue(function))
        return errno = error, -1;
    va_list arguments;
    va_start(arguments, flags);
    const int descriptor = __real_openat64(folder, path, flags, flags & O_CREAT ? va_arg(arguments, int) : 0);
    va_end(arguments);
    runDueAction(function);
    return descriptor;
}

extern "C" int __real_fcntl64(int descriptor, int command, ...);
extern "C" int __wrap_fcntl64(int descriptor, int command, ...) {
    static const size_t function = indexOf("fcntl64");
    if (const int error = failureDue(function))
        return errno = error, -1;
    if (command == F_GETFL || command == F_GETFD)
        return __real_fcntl64(descriptor, command);
    va_list arguments;
    va_start(arguments, command);
    const int argument = va_arg(arguments, int);
    va_end(arguments);
    return __real_fcntl64(descriptor, command, argument);
}
