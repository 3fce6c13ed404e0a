#pragma once

// Owners of POSIX resources and the few habits around them. An owner's clean-up saves errno, which callers translate
// after we return, and holds cancellation off, since close or pclose could otherwise unwind out of a destructor.

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

/** A socket that is not handed on to programs this process starts. */
inline Descriptor openSocket(int family, int type, int protocol) {
#ifdef SOCK_CLOEXEC
    return Descriptor(socket(family, type | SOCK_CLOEXEC, protocol));
#else
    Descriptor opened(socket(family, type, protocol));
    if (opened)
        fcntl(opened.get(), F_SETFD, FD_CLOEXEC);
    return opened;
#endif
}

struct ConverterKind {
    using Value = iconv_t;
    static Value none() { return reinterpret_cast<iconv_t>(-1); }
    static void close(Value value) { iconv_close(value); }
};
using Converter = Unique<ConverterKind>;

/** Holds a POSIX mutex; tests as true when it was locked. */
class MutexLock {
public:
    explicit MutexLock(pthread_mutex_t &mutex) : m_mutex(pthread_mutex_lock(&mutex) == 0 ? &mutex : nullptr) {}
    ~MutexLock() {
        if (m_mutex)
            pthread_mutex_unlock(m_mutex);
    }
    MutexLock(const MutexLock &) = delete;
    MutexLock &operator=(const MutexLock &) = delete;

    explicit operator bool() const { return m_mutex != nullptr; }
    /** Unlocks now, for who must report the result. */
    bool unlock() { return m_mutex && pthread_mutex_unlock(std::exchange(m_mutex, nullptr)) == 0; }
    /** Leaves the mutex locked beyond this scope. */
    void release() { m_mutex = nullptr; }

private:
    pthread_mutex_t *m_mutex;
};

/** Calls again while a signal interrupts; for calls that report failure as -1 and errno. */
template <class Call> auto retryInterrupted(Call call) {
    auto result = call();
    while (result == -1 && errno == EINTR)
        result = call();
    return result;
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

/** Copies text into a buffer of size bytes, cut to fit and always terminated; size 0 writes nothing.
 * @return whether the whole text fitted.
 */
inline bool copyText(char *buffer, size_t size, const char *text) {
    if (size == 0)
        return false;
    const size_t length = strnlen(text, size);
    const size_t copied = length < size ? length : size - 1;
    std::memcpy(buffer, text, copied);
    buffer[copied] = '\0';
    return copied == length;
}

} // namespace zor
