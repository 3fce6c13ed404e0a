#pragma once

// Owners of POSIX resources and the few habits around them. An owner's clean-up saves errno, which callers translate
// after we return, and holds cancellation off, since close or pclose could otherwise unwind out of a destructor.

#include "source/platform/thread_end.h"
#include "source/platform/thread_safety.h"

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <exception>
#include <memory>
#include <utility>

#include <dirent.h>
#include <fcntl.h>
#include <iconv.h>
#include <ifaddrs.h>
#include <netdb.h>
#include <pthread.h>
#include <sys/socket.h>
#include <sys/types.h>
#include <unistd.h>

namespace zor {

/** Keeps errno and holds cancellation off for the life of a clean-up. */
class CleanUpScope {
public:
    CleanUpScope() : m_errno(errno), m_cancelState(PTHREAD_CANCEL_ENABLE) {
        pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &m_cancelState);
    }
    ~CleanUpScope() {
        pthread_setcancelstate(m_cancelState, nullptr);
        errno = m_errno;
    }
    CleanUpScope(const CleanUpScope &) = delete;
    CleanUpScope &operator=(const CleanUpScope &) = delete;

private:
    int m_errno;
    int m_cancelState;
};

/** Holds cancellation off for the life of a call: what its header does not name as a cancellation point begins with
 * one. errno passes through. */
class UncancellableScope {
public:
    UncancellableScope() : m_cancelState(PTHREAD_CANCEL_ENABLE) {
        pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &m_cancelState);
    }
    ~UncancellableScope() { pthread_setcancelstate(m_cancelState, nullptr); }
    UncancellableScope(const UncancellableScope &) = delete;
    UncancellableScope &operator=(const UncancellableScope &) = delete;

    int stateBefore() const { return m_cancelState; }

private:
    int m_cancelState;
};

/** Inside an UncancellableScope, lets cancellation be as it was before that one: around the call that may wait. */
class CancellableScope {
public:
    explicit CancellableScope(const UncancellableScope &scope) : m_cancelState(PTHREAD_CANCEL_DISABLE) {
        pthread_setcancelstate(scope.stateBefore(), &m_cancelState);
    }
    ~CancellableScope() { pthread_setcancelstate(m_cancelState, nullptr); }
    CancellableScope(const CancellableScope &) = delete;
    CancellableScope &operator=(const CancellableScope &) = delete;

private:
    int m_cancelState;
};

template <auto release> struct Releaser {
    template <class T> void operator()(T *object) const {
        CleanUpScope quiet;
        release(object);
    }
};
using Directory = std::unique_ptr<DIR, Releaser<closedir>>;
using File = std::unique_ptr<std::FILE, Releaser<std::fclose>>;
using Pipe = std::unique_ptr<std::FILE, Releaser<pclose>>;
using InterfaceEntries = std::unique_ptr<ifaddrs, Releaser<freeifaddrs>>;
using ResolvedAddresses = std::unique_ptr<addrinfo, Releaser<freeaddrinfo>>;

/** Owns a value that is no pointer; Kind names its type, its 'none' and how it is released. */
template <class Kind> class Unique {
public:
    using Value = typename Kind::Value;

    Unique() = default;
    explicit Unique(Value value) : m_value(value) {}
    Unique(Unique &&other) noexcept : m_value(other.release()) {}
    Unique &operator=(Unique &&other) noexcept {
        reset(other.release());
        return *this;
    }
    ~Unique() { reset(); }

    explicit operator bool() const { return m_value != Kind::none(); }
    Value get() const { return m_value; }
    Value release() { return std::exchange(m_value, Kind::none()); }
    void reset(Value value = Kind::none()) {
        const Value old = std::exchange(m_value, value);
        if (old == Kind::none())
            return;
        CleanUpScope quiet;
        Kind::close(old);
    }

private:
    Value m_value = Kind::none();
};

struct DescriptorKind {
    using Value = int;
    static Value none() { return -1; }
    static void close(Value value) { ::close(value); } // never retried: after EINTR the number may be somebody else's
};
using Descriptor = Unique<DescriptorKind>;

/** A socket that is not handed on to programs this process starts; the seam's, like the rest of platform/open.h. */
Descriptor openSocket(int family, int type, int protocol);

struct ConverterKind {
    using Value = iconv_t;
    static Value none() { return reinterpret_cast<iconv_t>(-1); }
    static void close(Value value) { iconv_close(value); }
};
using Converter = Unique<ConverterKind>;

/** iconv(), whose input some systems declare as const; called as convert(iconv, ...). */
template <class Input>
size_t convert(size_t (*call)(iconv_t, Input, size_t *, char **, size_t *), const Converter &converter, char **in,
               size_t *inBytes, char **out, size_t *outBytes) {
    return call(converter.get(), const_cast<Input>(in), inBytes, out, outBytes);
}

/** The name under which clang checks what a POSIX mutex guards. */
using Mutex ZORCOMN_CAPABILITY("mutex") = pthread_mutex_t;

/** Holds a POSIX mutex, no longer than its thread lives; tests as true when it was locked. */
class ZORCOMN_SCOPED_CAPABILITY MutexLock {
public:
    explicit MutexLock(Mutex &mutex) ZORCOMN_ACQUIRES(mutex)
        : m_mutex(pthread_mutex_lock(&mutex) == 0 ? &mutex : nullptr) {}
    ~MutexLock() ZORCOMN_RELEASES() { end(); }
    MutexLock(const MutexLock &) = delete;
    MutexLock &operator=(const MutexLock &) = delete;

    explicit operator bool() const { return m_mutex != nullptr; }
    /** Unlocks now, for who must report the result. */
    bool unlock() ZORCOMN_RELEASES() { return end(); }
    /** Leaves the mutex locked beyond this scope. */
    void release() { m_mutex = nullptr; }

private:
    bool end() { return m_mutex && pthread_mutex_unlock(std::exchange(m_mutex, nullptr)) == 0; }

    Mutex *m_mutex;
    ThreadEndHandler m_atThreadEnd{[](void *self) { static_cast<MutexLock *>(self)->end(); }, this};
};

/** Calls again while a signal interrupts; for calls that report failure as -1 and errno. */
template <class Call> auto retryInterrupted(Call call) {
    auto result = call();
    while (result == -1 && errno == EINTR)
        result = call();
    return result;
}

/** The descriptor behind a folder's stream, which stays its owner; dirfd() is an extended macro on some systems. */
inline int descriptorOf(DIR *stream) {
    return __extension__ dirfd(stream);
}

/** opendir(), made again while a signal interrupts. */
inline Directory openInterrupted(const char *path) {
    DIR *stream = opendir(path);
    while (!stream && errno == EINTR)
        stream = opendir(path);
    return Directory(stream);
}

/** Runs what may throw behind an exported function; an exception becomes the failure value. Never around what blocks or
 * calls back: a cancelled thread must unwind through, which std::exception leaves alone. */
template <class Result, class Body> Result guarded(Result failure, Body body) {
    try {
        return body();
    } catch (const std::exception &) {
        return failure;
    }
}

/** Length of a text in characters, no more than limit, beyond which nothing is read. */
template <class Char> size_t boundedLength(const Char *text, size_t limit) {
    size_t length = 0;
    while (length < limit && text[length] != Char())
        ++length;
    return length;
}

/** Copies text into a buffer of size characters, cut to fit and always terminated; size 0 writes nothing. Each
 * character is read once, so that what a writer elsewhere changes meanwhile is taken as it was at one moment.
 * @return whether the whole text fitted.
 */
template <class Char> bool copyText(Char *buffer, size_t size, const Char *text) {
    if (size == 0)
        return false;
    for (size_t index = 0; index + 1 < size; ++index) {
        if ((buffer[index] = text[index]) == Char())
            return true;
    }
    buffer[size - 1] = Char();
    return text[size - 1] == Char();
}

} // namespace zor
