#pragma once

// What the tests call and Darwin does not have, so that they compile there unchanged; included before every test. On
// Darwin the calls that only another kernel has answer 'not permitted', and the tests that need them skip as they do
// for a user without rights. pipe2 is made of what there is.

#ifdef __cplusplus

#include <cerrno>
#include <cstddef>
#include <ctime>

#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <sys/mount.h>
#include <unistd.h>
#include <utmpx.h>

#define __THROW // the C library's declarations throw nothing by promise elsewhere

enum { SOCK_CLOEXEC = 0 }; // a socket's flag is set afterwards there

enum { PER_LINUX32 = 8 };
inline int personality(unsigned long) {
    errno = EPERM;
    return -1;
}

// Namespaces and mounts: the loader that runs the tests on another system hands those of that system on, under their
// names and with these numbers; on Darwin itself nobody has the names.
template <class... Arguments> int onlyElsewhere(const char *name, Arguments... arguments) {
    if (void *const call = dlsym(RTLD_DEFAULT, name))
        return reinterpret_cast<int (*)(Arguments...)>(call)(arguments...);
    errno = EPERM;
    return -1;
}
enum { CLONE_NEWNS = 1, CLONE_NEWNET = 2, CLONE_NEWUTS = 4, CLONE_NEWUSER = 8 };
constexpr unsigned long MS_REC = 1, MS_PRIVATE = 2, MS_BIND = 4;
inline int unshare(int spaces) {
    return onlyElsewhere("unshare", spaces);
}
inline int mount(const char *source, const char *target, const char *type, unsigned long flags, const void *data) {
    return onlyElsewhere("mount", source, target, type, flags, data);
}
inline int umount(const char *target) {
    return onlyElsewhere("umount", target);
}
inline int umount2(const char *target, int flags) {
    return onlyElsewhere("umount2", target, flags);
}
inline int sethostname(const char *name, size_t size) {
    return ::sethostname(name, static_cast<int>(size));
}
inline int setdomainname(const char *name, size_t size) {
    return ::setdomainname(name, static_cast<int>(size));
}

inline int pipe2(int *ends, int flags) {
    if (pipe(ends) != 0)
        return -1;
    for (int end = 0; end < 2; ++end) {
        if (flags & O_CLOEXEC)
            fcntl(ends[end], F_SETFD, FD_CLOEXEC);
        if (flags & O_NONBLOCK)
            fcntl(ends[end], F_SETFL, O_NONBLOCK);
    }
    return 0;
}

/** The attributes of a thread that runs cannot be asked for: those of a new one. */
inline int pthread_getattr_np(pthread_t, pthread_attr_t *attributes) {
    return pthread_attr_init(attributes);
}

#endif
