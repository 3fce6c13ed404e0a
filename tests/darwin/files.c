// Files, folders, mounted file systems, and errno, which the program's own cell keeps in Darwin's numbers.
#define _GNU_SOURCE
#include "shim.h"

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <mntent.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/time.h>
#include <unistd.h>

// ---- errno: what the C library has set since it was last looked at is translated into the program's cell
enum { kSeen = 0x5eed };
static __thread int cell;

static const struct pair errors[] = {
#define E(e) {e, DWC_##e}, // not PAIR, which would see the number alone
#include "errors.inc"
#undef E
};
int darwinError(int host) {
    return DARWIN_OF(errors, host, host);
}
int hostError(int darwin) {
    return HOST_OF(errors, darwin, darwin);
}
static int *dw___error(void) {
    if (errno != kSeen && errno != 0)
        cell = darwinError(errno);
    errno = kSeen;
    return &cell;
}

// ---- paths: what only Darwin has, and the machine at hand lacks, is looked for below MACHO_ROOT
static const char *place(const char *path, char *buffer, size_t size) {
    const char *root = getenv("MACHO_ROOT");
    if (!root || !path || strncmp(path, "/System/", 8) != 0 || access(path, F_OK) == 0)
        return path;
    snprintf(buffer, size, "%s%s", root, path);
    return buffer;
}
#define PLACE(path) place(path, (char[4096]){0}, 4096)

static const struct pair flagPairs[] = {PAIR(O_CREAT),    PAIR(O_EXCL),      PAIR(O_TRUNC),    PAIR(O_APPEND),
                                        PAIR(O_NONBLOCK), PAIR(O_DIRECTORY), PAIR(O_NOFOLLOW), PAIR(O_CLOEXEC),
                                        PAIR(O_NOCTTY),   PAIR(O_SYNC)};
int openFlags(int darwin) {
    int flags = darwin & DWC_O_ACCMODE;
    darwin &= ~DWC_O_ACCMODE;
    for (size_t i = 0; i < sizeof flagPairs / sizeof *flagPairs; ++i)
        if (darwin & flagPairs[i].darwin) {
            flags |= (int)flagPairs[i].host;
            darwin &= ~(int)flagPairs[i].darwin;
        }
    if (darwin != 0) {
        fprintf(stderr, "macho_run: open flags %#x are not understood\n", (unsigned)darwin);
        abort();
    }
    return flags;
}
static int darwinFlags(int host) {
    int flags = host & O_ACCMODE;
    for (size_t i = 0; i < sizeof flagPairs / sizeof *flagPairs; ++i)
        flags |= (host & flagPairs[i].host) == flagPairs[i].host ? (int)flagPairs[i].darwin : 0;
    return flags;
}
#define MODE(flags)                                                                                                    \
    ({                                                                                                                 \
        va_list more_;                                                                                                 \
        va_start(more_, flags);                                                                                        \
        const int mode_ = (flags)&DWC_O_CREAT ? va_arg(more_, int) : 0;                                                \
        va_end(more_);                                                                                                 \
        mode_;                                                                                                         \
    })
static int dw_open(const char *path, int flags, ...) {
    const int mode = MODE(flags);
    return open(PLACE(path), openFlags(flags), mode);
}
static int folderOf(int darwin) {
    return darwin == DWC_AT_FDCWD ? AT_FDCWD : darwin;
}
static int dw_openat(int folder, const char *path, int flags, ...) {
    const int mode = MODE(flags);
    return openat(folderOf(folder), PLACE(path), openFlags(flags), mode);
}
static int dw_mkostemp(char *path, int flags) {
    return mkostemp(path, openFlags(flags));
}
static int atFlags(int flags) {
    return (flags & DWC_AT_REMOVEDIR ? AT_REMOVEDIR : 0) | (flags & DWC_AT_SYMLINK_NOFOLLOW ? AT_SYMLINK_NOFOLLOW : 0);
}
static int dw_unlinkat(int folder, const char *path, int flags) {
    return unlinkat(folderOf(folder), path, atFlags(flags));
}
static int dw_fcntl(int file, int command, long argument) {
    switch (command) {
    case DWC_F_GETFL: {
        const int flags = fcntl(file, F_GETFL);
        return flags < 0 ? flags : darwinFlags(flags);
    }
    case DWC_F_SETFL:
        return fcntl(file, F_SETFL, openFlags((int)argument & ~DWC_O_CREAT));
    case DWC_F_GETFD:
        return fcntl(file, F_GETFD);
    case DWC_F_SETFD:
        return fcntl(file, F_SETFD, argument);
    case DWC_F_DUPFD:
        return fcntl(file, F_DUPFD, argument);
    case DWC_F_DUPFD_CLOEXEC:
        return fcntl(file, F_DUPFD_CLOEXEC, argument);
    }
    return errno = EINVAL, -1;
}
static int dw_access(const char *path, int mode) {
    return access(PLACE(path), mode);
}
static FILE *dw_fopen(const char *path, const char *mode) {
    return fopen(PLACE(path), mode);
}

static int putStat(int result, const struct stat *host, void *facts) {
    if (result != 0)
        return result;
    memset(facts, 0, DWZ_stat);
    PUT(facts, stat, st_dev, host->st_dev);
    PUT(facts, stat, st_mode, host->st_mode); // the bits agree
    PUT(facts, stat, st_nlink, host->st_nlink);
    PUT(facts, stat, st_ino, host->st_ino);
    PUT(facts, stat, st_uid, host->st_uid);
    PUT(facts, stat, st_gid, host->st_gid);
    memcpy(FIELD(facts, stat, st_atimespec), &host->st_atim, DWZ_timespec);
    memcpy(FIELD(facts, stat, st_mtimespec), &host->st_mtim, DWZ_timespec);
    memcpy(FIELD(facts, stat, st_ctimespec), &host->st_ctim, DWZ_timespec);
    PUT(facts, stat, st_size, host->st_size);
    PUT(facts, stat, st_blocks, host->st_blocks);
    PUT(facts, stat, st_blksize, host->st_blksize);
    return 0;
}
static int dw_stat(const char *path, void *facts) {
    struct stat host;
    return putStat(stat(PLACE(path), &host), &host, facts);
}
static int dw_lstat(const char *path, void *facts) {
    struct stat host;
    return putStat(lstat(PLACE(path), &host), &host, facts);
}
static int dw_fstat(int file, void *facts) {
    struct stat host;
    return putStat(fstat(file, &host), &host, facts);
}
static int dw_fstatat(int folder, const char *path, void *facts, int flags) {
    struct stat host;
    return putStat(fstatat(folderOf(folder), path, &host, atFlags(flags)), &host, facts);
}
static void hostTime(const struct timespec *darwin, struct timespec *host) {
    *host = *darwin;
    if (darwin->tv_nsec == DWC_UTIME_NOW || darwin->tv_nsec == DWC_UTIME_OMIT)
        host->tv_nsec = darwin->tv_nsec == DWC_UTIME_NOW ? UTIME_NOW : UTIME_OMIT;
}
static int dw_utimensat(int folder, const char *path, const struct timespec *times, int flags) {
    struct timespec own[2];
    for (int i = 0; times && i < 2; ++i)
        hostTime(&times[i], &own[i]);
    return utimensat(folderOf(folder), path, times ? own : NULL, atFlags(flags));
}
static int dw_futimens(int file, const struct timespec *times) {
    struct timespec own[2];
    for (int i = 0; times && i < 2; ++i)
        hostTime(&times[i], &own[i]);
    return futimens(file, times ? own : NULL);
}
static int hostTimes(const char *darwin, struct timeval *host) { // microseconds are half as wide there
    for (int i = 0; i < 2; ++i, darwin += DWZ_timeval)
        host[i] = (struct timeval){(time_t)GET(darwin, timeval, tv_sec), (int)GET(darwin, timeval, tv_usec)};
    return 1;
}
static int dw_utimes(const char *path, const char *times) {
    struct timeval own[2];
    return utimes(path, times && hostTimes(times, own) ? own : NULL);
}
static int dw_futimes(int file, const char *times) {
    struct timeval own[2];
    return futimes(file, times && hostTimes(times, own) ? own : NULL);
}

// An entry lasts until its own stream is read again or closed.
enum { kStreams = 256 };
static struct entry {
    DIR *stream;
    char record[DWZ_dirent];
} * entries[kStreams];
static char *entryOf(DIR *stream) {
    for (int i = 0; i < kStreams; ++i) {
        struct entry *none = NULL, *made = entries[i];
        if (!made) {
            made = calloc(1, sizeof *made);
            made->stream = stream;
            if (__atomic_compare_exchange_n(&entries[i], &none, made, 0, __ATOMIC_ACQ_REL, __ATOMIC_ACQUIRE))
                return made->record;
            free(made);
            made = none;
        }
        DIR *free_ = NULL;
        if (made->stream == stream ||
            __atomic_compare_exchange_n(&made->stream, &free_, stream, 0, __ATOMIC_ACQ_REL, __ATOMIC_ACQUIRE))
            return made->record;
    }
    abort();
}
static void forgetEntry(DIR *stream) {
    for (int i = 0; i < kStreams; ++i)
        if (entries[i] && entries[i]->stream == stream)
            __atomic_store_n(&entries[i]->stream, NULL, __ATOMIC_RELEASE);
}
static void *dw_readdir(DIR *stream) {
    const struct dirent *host = readdir(stream);
    if (!host)
        return NULL;
    char *entry = memset(entryOf(stream), 0, DWZ_dirent);
    PUT(entry, dirent, d_ino, host->d_ino);
    PUT(entry, dirent, d_reclen, DWZ_dirent);
    PUT(entry, dirent, d_namlen, strlen(host->d_name));
    PUT(entry, dirent, d_type, host->d_type); // the numbers agree
    strcpy(FIELD(entry, dirent, d_name), host->d_name);
    return entry;
}
static int dw_closedir(DIR *stream) {
    forgetEntry(stream);
    return closedir(stream);
}
static DIR *dw_opendir(const char *path) {
    return opendir(PLACE(path));
}

// ---- mounted file systems
static void putSpace(void *record, const struct statvfs *space, const struct mntent *mount) {
    memset(record, 0, DWZ_statfs);
    PUT(record, statfs, f_bsize, space->f_frsize);
    PUT(record, statfs, f_blocks, space->f_blocks);
    PUT(record, statfs, f_bfree, space->f_bfree);
    PUT(record, statfs, f_bavail, space->f_bavail);
    PUT(record, statfs, f_files, space->f_files);
    PUT(record, statfs, f_ffree, space->f_ffree);
    const int isLocal = strncmp(mount->mnt_fsname, "/dev/", 5) == 0 || strcmp(mount->mnt_dir, "/") == 0;
    PUT(record, statfs, f_flags, isLocal ? DWC_MNT_LOCAL : 0);
    PUT_TEXT(record, statfs, f_mntonname, mount->mnt_dir);
    PUT_TEXT(record, statfs, f_mntfromname, mount->mnt_fsname);
    PUT_TEXT(record, statfs, f_fstypename, mount->mnt_type);
}
/** The mount that a path is on: the last one of those with the longest folder above it. */
static int findMount(const char *path, struct mntent *mount, char *text, int size) {
    char whole[PATH_MAX], other[8192];
    size_t longest = 0;
    FILE *table = realpath(path, whole) ? setmntent("/proc/self/mounts", "r") : NULL;
    struct mntent each;
    while (table && getmntent_r(table, &each, other, sizeof other)) {
        const size_t length = strcmp(each.mnt_dir, "/") == 0 ? 0 : strlen(each.mnt_dir);
        if (strncmp(whole, each.mnt_dir, length) != 0 || (whole[length] != '/' && whole[length] != '\0') ||
            length < longest)
            continue;
        longest = length;
        snprintf(text, (size_t)size, "%s%c%s%c%s", each.mnt_fsname, 0, each.mnt_dir, 0, each.mnt_type);
        mount->mnt_fsname = text;
        mount->mnt_dir = text + strlen(text) + 1;
        mount->mnt_type = mount->mnt_dir + strlen(mount->mnt_dir) + 1;
    }
    if (table)
        endmntent(table);
    return table != NULL;
}
static int dw_statfs(const char *path, void *record) {
    struct statvfs space;
    struct mntent mount = {.mnt_fsname = "", .mnt_dir = "", .mnt_type = ""};
    char text[8192];
    if (statvfs(PLACE(path), &space) != 0)
        return -1;
    findMount(PLACE(path), &mount, text, sizeof text);
    putSpace(record, &space, &mount);
    return 0;
}
static int dw_getfsstat(char *records, int bytes, int flags) {
    (void)flags;
    FILE *table = setmntent("/proc/self/mounts", "r");
    int count = 0;
    struct mntent mount;
    char text[8192];
    while (table && getmntent_r(table, &mount, text, sizeof text)) {
        struct statvfs space;
        if (records && (count + 1) * DWZ_statfs > bytes)
            break;
        if (statvfs(mount.mnt_dir, &space) != 0)
            continue;
        if (records)
            putSpace(records + count * DWZ_statfs, &space, &mount);
        ++count;
    }
    if (table)
        endmntent(table);
    return table ? count : -1;
}
static int dw_fchmodat(int folder, const char *path, mode_t mode, int flags) {
    return fchmodat(folderOf(folder), path, mode, atFlags(flags));
}
/** The data alone, which is what the C++ library asks for; it keeps a state that it does not look at. */
static int dw_fcopyfile(int from, int to, void *state, uint32_t flags) {
    (void)state;
    if (flags != DWC_COPYFILE_DATA)
        return errno = EINVAL, -1;
    ssize_t copied;
    while ((copied = sendfile(to, from, NULL, 1 << 20)) > 0) {
    }
    return copied < 0 ? -1 : 0;
}
static void *dw_copyfile_state_alloc(void) {
    return calloc(1, 1);
}
static int dw_copyfile_state_free(void *state) {
    free(state);
    return 0;
}
static int dw_statvfs(const char *path, void *record) {
    struct statvfs space;
    if (statvfs(PLACE(path), &space) != 0)
        return -1;
    memset(record, 0, DWZ_statvfs);
#define COPY(field) PUT(record, statvfs, field, space.field)
    COPY(f_bsize);
    COPY(f_frsize);
    COPY(f_blocks);
    COPY(f_bfree);
    COPY(f_bavail);
    COPY(f_files);
    COPY(f_ffree);
    COPY(f_favail);
    COPY(f_fsid);
    COPY(f_namemax);
#undef COPY
    return 0;
}
static void *dw_mmap(void *at, size_t size, int rights, int flags, int file, long offset) {
    return mmap(at, size, rights,
                (flags & DWC_MAP_SHARED ? MAP_SHARED : 0) | (flags & DWC_MAP_PRIVATE ? MAP_PRIVATE : 0) |
                    (flags & DWC_MAP_FIXED ? MAP_FIXED : 0) | (flags & DWC_MAP_ANON ? MAP_ANONYMOUS : 0),
                file, offset);
}
static long dw_pathconf(const char *path, int name) {
    return pathconf(path, name == DWC__PC_PATH_MAX ? _PC_PATH_MAX : name == DWC__PC_NAME_MAX ? _PC_NAME_MAX : -1);
}

static int dw_posix_openpt(int flags) {
    return posix_openpt(openFlags(flags));
}

// clang-format off
const struct name fileNames[] = {
    N(__error), N(posix_openpt), SAME(grantpt), SAME(unlockpt), SAME(ptsname), N(open), N(openat), N(mkostemp),
    N(unlinkat), N(fcntl), N(access), N(fopen), INODE64(stat), INODE64(lstat), INODE64(fstat), INODE64(fstatat),
    INODE64(readdir), INODE64(opendir), N(closedir), INODE64(statfs), INODE64(getfsstat), N(utimensat), N(futimens),
    N(utimes), N(futimes), N(mmap), N(pathconf), N(statvfs), N(fchmodat), N(fcopyfile), N(copyfile_state_alloc),
    N(copyfile_state_free), NAMED("_fdopendir$INODE64", fdopendir), NAMED("_rewinddir$INODE64", rewinddir),
    NAMED("_realpath$DARWIN_EXTSN", realpath), SAME(close), SAME(read), SAME(write), SAME(pread), SAME(pwrite),
    SAME(lseek), SAME(dup), SAME(dup2), SAME(pipe), SAME(ftruncate), SAME(truncate), SAME(fsync), SAME(mkdir),
    SAME(mkdirat), SAME(mkdtemp), SAME(mkstemp), SAME(mkfifo), SAME(link), SAME(symlink), SAME(readlink),
    SAME(readlinkat), SAME(rename), SAME(rmdir), SAME(remove), SAME(unlink), SAME(chmod), SAME(fchmod), SAME(chown),
    SAME(fchown), SAME(chdir), SAME(fchdir), SAME(chroot), SAME(getcwd), SAME(umask), SAME(isatty), SAME(dirfd),
    SAME(munmap), SAME(mprotect), SAME(sync), {NULL, NULL},
};
// clang-format on
