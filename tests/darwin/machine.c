// Users, login records and facts about the machine: sysctl, Mach, Gestalt, and CoreFoundation's property lists.
#define _GNU_SOURCE
#include "shim.h"

#include <errno.h>
#include <grp.h>
#include <pwd.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/auxv.h>
#include <sys/resource.h>
#include <sys/sysinfo.h>
#include <sys/times.h>
#include <sys/utsname.h>
#include <syslog.h>
#include <time.h>
#include <unistd.h>
#include <utmpx.h>

static int putPassword(int result, const struct passwd *host, char *record, void **answered) {
    if (result != 0 || !*answered) {
        *answered = NULL;
        return darwinError(result);
    }
    *answered = record;
    memset(record, 0, DWZ_passwd);
    PUT(record, passwd, pw_name, (uintptr_t)host->pw_name);
    PUT(record, passwd, pw_passwd, (uintptr_t)host->pw_passwd);
    PUT(record, passwd, pw_uid, host->pw_uid);
    PUT(record, passwd, pw_gid, host->pw_gid);
    PUT(record, passwd, pw_class, (uintptr_t) "");
    PUT(record, passwd, pw_gecos, (uintptr_t)host->pw_gecos);
    PUT(record, passwd, pw_dir, (uintptr_t)host->pw_dir);
    PUT(record, passwd, pw_shell, (uintptr_t)host->pw_shell);
    return 0;
}
static int dw_getpwnam_r(const char *name, char *record, char *buffer, size_t size, void **answered) {
    struct passwd host;
    const int result = getpwnam_r(name, &host, buffer, size, (struct passwd **)answered);
    return putPassword(result, &host, record, answered);
}
static int dw_getpwuid_r(uid_t id, char *record, char *buffer, size_t size, void **answered) {
    struct passwd host;
    const int result = getpwuid_r(id, &host, buffer, size, (struct passwd **)answered);
    return putPassword(result, &host, record, answered);
}
static void *dw_getpwuid(uid_t id) {
    static char record[DWZ_passwd], buffer[4096];
    void *answered = NULL;
    dw_getpwuid_r(id, record, buffer, sizeof buffer, &answered);
    return answered;
}

static const struct pair loginKinds[] = {PAIR(EMPTY),        PAIR(RUN_LVL),       PAIR(BOOT_TIME),
                                         PAIR(OLD_TIME),     PAIR(NEW_TIME),      PAIR(USER_PROCESS),
                                         PAIR(INIT_PROCESS), PAIR(LOGIN_PROCESS), PAIR(DEAD_PROCESS)};
static void *dw_getutxent(void) {
    static char record[DWZ_utmpx];
    const struct utmpx *host = getutxent();
    if (!host)
        return NULL;
    memset(record, 0, sizeof record);
    memcpy(FIELD(record, utmpx, ut_user), host->ut_user, sizeof host->ut_user);
    memcpy(FIELD(record, utmpx, ut_id), host->ut_id, sizeof host->ut_id);
    memcpy(FIELD(record, utmpx, ut_line), host->ut_line, sizeof host->ut_line);
    memcpy(FIELD(record, utmpx, ut_host), host->ut_host, sizeof host->ut_host);
    PUT(record, utmpx, ut_pid, host->ut_pid);
    PUT(record, utmpx, ut_type, DARWIN_OF(loginKinds, host->ut_type, DWC_EMPTY));
    return record;
}
static void *dw_pututxline(const char *record) {
    struct utmpx host = {0};
    memcpy(host.ut_user, FIELD(record, utmpx, ut_user), sizeof host.ut_user);
    memcpy(host.ut_id, FIELD(record, utmpx, ut_id), sizeof host.ut_id);
    memcpy(host.ut_line, FIELD(record, utmpx, ut_line), sizeof host.ut_line);
    host.ut_type = (short)HOST_OF(loginKinds, (short)GET(record, utmpx, ut_type), EMPTY);
    return pututxline(&host) ? (void *)record : NULL;
}
static int dw_utmpxname(const char *path) {
    utmpxname(path);
    return 1;
} // there 1 says that it worked

static int dw_uname(char *names) {
    struct utsname host;
    if (uname(&host) != 0)
        return -1;
    memset(names, 0, DWZ_utsname);
    PUT_TEXT(names, utsname, sysname, "Darwin");
    PUT_TEXT(names, utsname, nodename, host.nodename);
    PUT_TEXT(names, utsname, release, "9.8.0");
    PUT_TEXT(names, utsname, version, "Darwin Kernel Version 9.8.0");
    PUT_TEXT(names, utsname, machine, "x86_64");
    return 0;
}
static const struct pair systemLimits[] = {PAIR(_SC_PAGESIZE),         PAIR(_SC_CLK_TCK),   PAIR(_SC_NPROCESSORS_ONLN),
                                           PAIR(_SC_NPROCESSORS_CONF), PAIR(_SC_OPEN_MAX),  PAIR(_SC_ARG_MAX),
                                           PAIR(_SC_THREAD_KEYS_MAX),  PAIR(_SC_PHYS_PAGES)};
static long dw_sysconf(int name) {
    if (name == DWC__SC_GETPW_R_SIZE_MAX || name == DWC__SC_GETGR_R_SIZE_MAX)
        return 4096; // what Darwin answers
    if (name == DWC__SC_HOST_NAME_MAX || name == DWC__SC_LOGIN_NAME_MAX)
        return 255;
    return sysconf(HOST_OF(systemLimits, name, -1));
}
static const struct pair clocks[] = {PAIR(CLOCK_REALTIME),          PAIR(CLOCK_MONOTONIC),
                                     PAIR(CLOCK_MONOTONIC_RAW),     PAIR(CLOCK_PROCESS_CPUTIME_ID),
                                     PAIR(CLOCK_THREAD_CPUTIME_ID), {CLOCK_MONOTONIC, DWC_CLOCK_UPTIME_RAW}};
static int dw_clock_gettime(int clock, struct timespec *now) {
    return clock_gettime(HOST_OF(clocks, clock, -1), now);
}
static int dw_clock_getres(int clock, struct timespec *step) {
    return clock_getres(HOST_OF(clocks, clock, -1), step);
}
static const struct pair limits[] = {PAIR(RLIMIT_CPU),  PAIR(RLIMIT_FSIZE), PAIR(RLIMIT_DATA),  PAIR(RLIMIT_STACK),
                                     PAIR(RLIMIT_CORE), PAIR(RLIMIT_AS),    PAIR(RLIMIT_NPROC), PAIR(RLIMIT_NOFILE)};
/** With or without the bit that asks for POSIX's rules. */
static int hostLimit(int which) {
    return HOST_OF(limits, which & ~DWC__RLIMIT_POSIX_FLAG, -1);
}
_Static_assert(DWZ_rlimit == sizeof(struct rlimit), "two words of 64 bits on both");
static rlim_t toHost(rlim_t value) {
    return value == DWC_RLIM_INFINITY ? RLIM_INFINITY : value;
}
static rlim_t toDarwin(rlim_t value) {
    return value == RLIM_INFINITY ? DWC_RLIM_INFINITY : value;
}
static int dw_getrlimit(int which, struct rlimit *limit) {
    const int result = getrlimit(hostLimit(which), limit);
    *limit = (struct rlimit){toDarwin(limit->rlim_cur), toDarwin(limit->rlim_max)};
    return result;
}
static int dw_setrlimit(int which, const struct rlimit *limit) {
    return setrlimit(hostLimit(which), &(struct rlimit){toHost(limit->rlim_cur), toHost(limit->rlim_max)});
}

// ---- the kernel, Mach, Gestalt: this machine's own facts, where it has them
static int answer(const void *fact, size_t size, void *old, size_t *length) {
    if (*length < size)
        return errno = ENOMEM, -1;
    memcpy(old, fact, size);
    *length = size;
    return 0;
}
static int dw_sysctl(const int *name, unsigned parts, void *old, size_t *length) {
    struct sysinfo facts;
    sysinfo(&facts);
    if (parts == 2 && name[0] == DWC_CTL_HW && name[1] == DWC_HW_NCPU)
        return answer(&(int){get_nprocs()}, sizeof(int), old, length);
    if (parts == 2 && name[0] == DWC_CTL_HW && name[1] == DWC_HW_MEMSIZE)
        return answer(&(uint64_t){(uint64_t)facts.totalram * facts.mem_unit}, sizeof(uint64_t), old, length);
    if (parts == 2 && name[0] == DWC_CTL_KERN && name[1] == DWC_KERN_BOOTTIME) {
        char boot[DWZ_timeval] = {0};
        PUT(boot, timeval, tv_sec, time(NULL) - facts.uptime);
        return answer(boot, sizeof boot, old, length);
    }
    if (parts == 2 && name[0] == DWC_CTL_KERN && name[1] == DWC_KERN_NISDOMAINNAME) {
        char domain[256] = "";
        getdomainname(domain, sizeof domain);
        const char *known = strcmp(domain, "(none)") == 0 ? "" : domain; // Linux's word for none
        return answer(known, strlen(known) + 1, old, length);
    }
    return errno = ENOENT, -1;
}
static const struct {
    const char *name;
    int area, number;
} kernelNames[] = {{"hw.ncpu", DWC_CTL_HW, DWC_HW_NCPU},
                   {"hw.memsize", DWC_CTL_HW, DWC_HW_MEMSIZE},
                   {"kern.boottime", DWC_CTL_KERN, DWC_KERN_BOOTTIME}};
static int dw_sysctlbyname(const char *name, void *old, size_t *length) {
    const char *model = getenv("MACHO_MODEL") ? getenv("MACHO_MODEL") : "PowerBook5,8";
    if (strcmp(name, "hw.model") == 0)
        return answer(model, strlen(model) + 1, old, length);
    for (size_t i = 0; i < sizeof kernelNames / sizeof *kernelNames; ++i)
        if (strcmp(kernelNames[i].name, name) == 0)
            return dw_sysctl((int[]){kernelNames[i].area, kernelNames[i].number}, 2, old, length);
    return errno = ENOENT, -1;
}
enum { kTaskPort = 0x103, kHostPort = 0x203 };
static const uint32_t taskPort = kTaskPort;
static uint32_t dw_mach_host_self(void) {
    return kHostPort;
}
static int dw_mach_port_deallocate(uint32_t task, uint32_t port) {
    return task == kTaskPort && port == kHostPort ? DWC_KERN_SUCCESS : DWC_KERN_INVALID_ARGUMENT;
}
static int dw_host_page_size(uint32_t host, unsigned long *size) {
    *size = (unsigned long)sysconf(_SC_PAGESIZE);
    return host == kHostPort ? DWC_KERN_SUCCESS : DWC_KERN_INVALID_ARGUMENT;
}
static int dw_host_statistics(uint32_t host, int flavor, char *record, uint32_t *words) {
    struct sysinfo facts;
    sysinfo(&facts);
    if (host != kHostPort || flavor != DWC_HOST_VM_INFO || *words != DWC_HOST_VM_INFO_COUNT)
        return DWC_KERN_INVALID_ARGUMENT;
    memset(record, 0, DWZ_vm_statistics);
    PUT(record, vm_statistics, free_count, (uint64_t)facts.freeram * facts.mem_unit / (uint64_t)sysconf(_SC_PAGESIZE));
    return DWC_KERN_SUCCESS;
}
static int dw_task_threads(void) {
    return DWC_KERN_INVALID_ARGUMENT;
} // GoogleTest asks before a death test; it can do without

static int16_t dw_Gestalt(uint32_t selector, int32_t *response) { // a PowerBook's answers
    switch (selector) {
    case 'p' << 24 | 'c' << 16 | 'l' << 8 | 'k':
        *response = 1666666666;
        return 0;
    case 's' << 24 | 'y' << 16 | 's' << 8 | 'a':
        *response = 2;
        return 0;
    case 'c' << 24 | 'p' << 16 | 'u' << 8 | 't':
        *response = 0x10c;
        return 0;
    }
    return -5551; // gestaltUndefSelectorErr
}

// ---- CoreFoundation: data, texts, and a dictionary, which the project's own reader looks into
struct object {
    enum { kData = 1, kText, kDictionary } type;
    char *bytes;
    long length;
};
static struct object *create(int type, const char *bytes, long length) {
    struct object *made = calloc(1, sizeof *made);
    made->type = type;
    made->bytes = memcpy(calloc(1, (size_t)length + 1), bytes, (size_t)length);
    made->length = length;
    return made;
}
static void *const noAllocator;
static void *dw_CFDataCreate(void *allocator, const char *bytes, long length) {
    (void)allocator;
    return create(kData, bytes, length);
}
static void *createList(struct object *data) {
    char text[1];
    return textInList(data->bytes, data->length, "", text, 1) >= 0 ? create(kDictionary, data->bytes, data->length)
                                                                   : NULL;
}
static void *dw_CFPropertyListCreateFromXMLData(void *allocator, struct object *data) {
    (void)allocator;
    return createList(data);
}
static void *dw_CFPropertyListCreateWithData(void *allocator, struct object *data) {
    (void)allocator;
    return createList(data);
}
static unsigned long dw_CFGetTypeID(struct object *object) {
    return object->type;
}
static unsigned long dw_CFDictionaryGetTypeID(void) {
    return kDictionary;
}
static unsigned long dw_CFStringGetTypeID(void) {
    return kText;
}
static void *dw_CFStringCreateWithCString(void *allocator, const char *text, uint32_t encoding) {
    (void)allocator;
    return encoding == 0x08000100 ? create(kText, text, (long)strlen(text)) : NULL; // UTF-8
}
static unsigned char dw_CFDictionaryGetValueIfPresent(struct object *dictionary, struct object *key, void **value) {
    char text[4096];
    const int found = textInList(dictionary->bytes, dictionary->length, key->bytes, text, sizeof text);
    if (found != 0) // a value of another kind comes as one that is no text; never freed, as the dictionary's own
        *value = create(found > 0 ? kText : kData, text, found > 0 ? (long)strlen(text) : 0);
    return found != 0;
}
static unsigned char dw_CFStringGetCString(struct object *text, char *buffer, long size, uint32_t encoding) {
    return encoding == 0x08000100 && text->length < size && strcpy(buffer, text->bytes);
}
static void dw_CFRelease(struct object *object) {
    free(object->bytes);
    free(object);
}

static int dw_issetugid(void) {
    return getauxval(AT_SECURE) != 0;
}

// clang-format off
const struct name machineNames[] = {
    N(getpwnam_r), N(getpwuid_r), N(getpwuid), N(getutxent), N(pututxline), N(utmpxname), N(uname), N(sysconf),
    N(clock_gettime), N(clock_getres), N(getrlimit), N(setrlimit), N(sysctl), N(sysctlbyname), N(mach_host_self),
    N(mach_port_deallocate), N(host_page_size), N(host_statistics), N(task_threads), N(issetugid),
    NAMED("_mach_task_self_", &taskPort), SAME(setutxent), SAME(endutxent), SAME(getgrgid_r), SAME(getuid),
    SAME(geteuid), SAME(getgid), SAME(getegid), SAME(setuid), SAME(seteuid), SAME(setgid), SAME(setegid),
    SAME(getpid), SAME(getppid), SAME(gettimeofday), SAME(times), SAME(time), SAME(nanosleep), SAME(usleep),
    SAME(pause), SAME(sleep), SAME(openlog), SAME(syslog), SAME(vsyslog), SAME(closelog), {NULL, NULL},
};
// clang-format on
// clang-format off
const struct name coreFoundationNames[] = {
    N(CFDataCreate), N(CFPropertyListCreateFromXMLData), N(CFPropertyListCreateWithData), N(CFGetTypeID),
    N(CFDictionaryGetTypeID), N(CFStringGetTypeID), N(CFStringCreateWithCString), N(CFDictionaryGetValueIfPresent),
    N(CFStringGetCString), N(CFRelease), NAMED("_kCFAllocatorDefault", &noAllocator), {NULL, NULL},
};
// clang-format on
const struct name coreServicesNames[] = {N(Gestalt), {NULL, NULL}};
