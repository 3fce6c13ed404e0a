// Darwin's own numbers and record layouts, as its headers state them. Compiled for Darwin to assembly, never run: the
// lines that begin with -> are cut out and become darwin_layout.h (see build_loader). DWC_x is the constant x; DWZ_r
// the size of record r; DW_r_f and DWS_r_f offset and size of its field f.
#include <copyfile.h>
#include <ctype.h>
#include <dirent.h>
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <ifaddrs.h>
#include <langinfo.h>
#include <locale.h>
#include <mach-o/loader.h>
#include <mach-o/nlist.h>
#include <mach/mach.h>
#include <net/if.h>
#include <net/if_dl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <pthread.h>
#include <pwd.h>
#include <regex.h>
#include <runetype.h>
#include <signal.h>
#include <stddef.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/sysctl.h>
#include <sys/time.h>
#include <sys/utsname.h>
#include <sys/wait.h>
#include <syslog.h>
#include <time.h>
#include <unistd.h>
#include <utmpx.h>
#include <wchar.h>

#define EMIT(name, value) __asm__ volatile("\n->#define " name " %c0" : : "i"((long)(value)));
#define R(s) EMIT("DWZ_" #s, sizeof(struct s))
#define F(s, f) EMIT("DW_" #s "_" #f, offsetof(struct s, f)) EMIT("DWS_" #s "_" #f, sizeof(((struct s *)0)->f))
#define C(c) EMIT("DWC_" #c, c)
#define T(t) EMIT("DWZ_" #t, sizeof(t))
typedef _RuneLocale RuneLocale;

// clang-format off
void layout(void) {
    // The format of programs.
    R(mach_header_64) F(mach_header_64, magic) F(mach_header_64, cputype) F(mach_header_64, ncmds)
    R(load_command) F(load_command, cmd) F(load_command, cmdsize)
    R(segment_command_64) F(segment_command_64, segname) F(segment_command_64, vmaddr) F(segment_command_64, vmsize)
    F(segment_command_64, fileoff) F(segment_command_64, filesize) F(segment_command_64, initprot)
    F(segment_command_64, nsects)
    R(section_64) F(section_64, sectname) F(section_64, addr) F(section_64, size) F(section_64, flags)
    F(dyld_info_command, rebase_off) F(dyld_info_command, rebase_size) F(dyld_info_command, bind_off)
    F(dyld_info_command, bind_size) F(dyld_info_command, weak_bind_off) F(dyld_info_command, weak_bind_size)
    F(dyld_info_command, lazy_bind_off) F(dyld_info_command, lazy_bind_size)
    F(symtab_command, symoff) F(symtab_command, nsyms) F(symtab_command, stroff)
    F(entry_point_command, entryoff) 
    EMIT("DW_dylib_command_name", offsetof(struct dylib_command, dylib.name)) EMIT("DWS_dylib_command_name", 4)
    EMIT("DW_rpath_command_path", offsetof(struct rpath_command, path)) EMIT("DWS_rpath_command_path", 4)
    R(nlist_64) EMIT("DW_nlist_64_n_strx", offsetof(struct nlist_64, n_un.n_strx)) EMIT("DWS_nlist_64_n_strx", 4)
    F(nlist_64, n_type) F(nlist_64, n_desc) F(nlist_64, n_value)
    C(MH_MAGIC_64) C(CPU_TYPE_X86_64) C(LC_SEGMENT_64) C(LC_SYMTAB) C(LC_DYLD_INFO) C(LC_DYLD_INFO_ONLY) C(LC_MAIN)
    C(LC_ID_DYLIB) C(LC_LOAD_DYLIB) C(LC_LOAD_WEAK_DYLIB) C(LC_REEXPORT_DYLIB) C(LC_RPATH) C(SECTION_TYPE)
    C(S_MOD_INIT_FUNC_POINTERS) C(S_MOD_TERM_FUNC_POINTERS) C(S_INIT_FUNC_OFFSETS) C(S_THREAD_LOCAL_REGULAR)
    C(S_THREAD_LOCAL_ZEROFILL) C(S_THREAD_LOCAL_VARIABLES) C(N_STAB) C(N_TYPE) C(N_SECT) C(N_EXT) C(N_PEXT)
    C(N_WEAK_DEF)
    C(REBASE_OPCODE_MASK) C(REBASE_IMMEDIATE_MASK) C(REBASE_OPCODE_DONE) C(REBASE_OPCODE_SET_TYPE_IMM)
    C(REBASE_OPCODE_SET_SEGMENT_AND_OFFSET_ULEB) C(REBASE_OPCODE_ADD_ADDR_ULEB) C(REBASE_OPCODE_ADD_ADDR_IMM_SCALED)
    C(REBASE_OPCODE_DO_REBASE_IMM_TIMES) C(REBASE_OPCODE_DO_REBASE_ULEB_TIMES)
    C(REBASE_OPCODE_DO_REBASE_ADD_ADDR_ULEB) C(REBASE_OPCODE_DO_REBASE_ULEB_TIMES_SKIPPING_ULEB)
    C(REBASE_TYPE_POINTER)
    C(BIND_OPCODE_MASK) C(BIND_IMMEDIATE_MASK) C(BIND_OPCODE_DONE) C(BIND_OPCODE_SET_DYLIB_ORDINAL_IMM)
    C(BIND_OPCODE_SET_DYLIB_ORDINAL_ULEB) C(BIND_OPCODE_SET_DYLIB_SPECIAL_IMM)
    C(BIND_OPCODE_SET_SYMBOL_TRAILING_FLAGS_IMM) C(BIND_OPCODE_SET_TYPE_IMM) C(BIND_OPCODE_SET_ADDEND_SLEB)
    C(BIND_OPCODE_SET_SEGMENT_AND_OFFSET_ULEB) C(BIND_OPCODE_ADD_ADDR_ULEB) C(BIND_OPCODE_DO_BIND)
    C(BIND_OPCODE_DO_BIND_ADD_ADDR_ULEB) C(BIND_OPCODE_DO_BIND_ADD_ADDR_IMM_SCALED)
    C(BIND_OPCODE_DO_BIND_ULEB_TIMES_SKIPPING_ULEB) C(BIND_TYPE_POINTER) C(BIND_SYMBOL_FLAGS_WEAK_IMPORT)
    C(BIND_SYMBOL_FLAGS_NON_WEAK_DEFINITION) C(BIND_SPECIAL_DYLIB_SELF) C(BIND_SPECIAL_DYLIB_MAIN_EXECUTABLE)
    C(BIND_SPECIAL_DYLIB_FLAT_LOOKUP) C(BIND_SPECIAL_DYLIB_WEAK_LOOKUP)
    // Files.
    R(stat) F(stat, st_dev) F(stat, st_mode) F(stat, st_nlink) F(stat, st_ino) F(stat, st_uid) F(stat, st_gid)
    F(stat, st_rdev) F(stat, st_atimespec) F(stat, st_mtimespec) F(stat, st_ctimespec) F(stat, st_birthtimespec)
    F(stat, st_size) F(stat, st_blocks) F(stat, st_blksize)
    R(statfs) F(statfs, f_bsize) F(statfs, f_blocks) F(statfs, f_bfree) F(statfs, f_bavail) F(statfs, f_flags)
    F(statfs, f_files) F(statfs, f_ffree) F(statfs, f_mntonname) F(statfs, f_mntfromname) F(statfs, f_fstypename)
    F(statfs, f_fsid) C(MNT_LOCAL) C(MNT_WAIT) C(MNT_NOWAIT)
    R(dirent) F(dirent, d_ino) F(dirent, d_reclen) F(dirent, d_namlen) F(dirent, d_type) F(dirent, d_name)
    C(O_ACCMODE) C(O_CREAT) C(O_EXCL) C(O_TRUNC) C(O_APPEND) C(O_NONBLOCK) C(O_DIRECTORY) C(O_NOFOLLOW) C(O_CLOEXEC)
    C(O_NOCTTY) C(O_SYNC) C(AT_FDCWD) C(AT_SYMLINK_NOFOLLOW) C(AT_SYMLINK_FOLLOW) C(AT_REMOVEDIR) C(F_DUPFD) C(F_GETFD)
    C(F_SETFD) C(F_GETFL) C(F_SETFL) C(F_DUPFD_CLOEXEC) C(COPYFILE_DATA) C(UTIME_NOW) C(UTIME_OMIT) C(MAP_ANON)
    C(MAP_SHARED)
    C(MAP_PRIVATE) C(MAP_FIXED)
    R(statvfs) F(statvfs, f_bsize) F(statvfs, f_frsize) F(statvfs, f_blocks) F(statvfs, f_bfree) F(statvfs, f_bavail)
    F(statvfs, f_files) F(statvfs, f_ffree) F(statvfs, f_favail) F(statvfs, f_fsid) F(statvfs, f_flag)
    F(statvfs, f_namemax)
    // Network.
    R(addrinfo) F(addrinfo, ai_flags) F(addrinfo, ai_family) F(addrinfo, ai_socktype) F(addrinfo, ai_protocol)
    F(addrinfo, ai_addrlen) F(addrinfo, ai_canonname) F(addrinfo, ai_addr) F(addrinfo, ai_next)
    R(ifaddrs) F(ifaddrs, ifa_next) F(ifaddrs, ifa_name) F(ifaddrs, ifa_flags) F(ifaddrs, ifa_addr)
    F(ifaddrs, ifa_netmask) F(ifaddrs, ifa_dstaddr) F(ifaddrs, ifa_data)
    R(sockaddr_in) R(sockaddr_in6) F(sockaddr_in, sin_len) F(sockaddr_in, sin_family) F(sockaddr_in, sin_addr)
    R(sockaddr_dl) F(sockaddr_dl, sdl_len) F(sockaddr_dl, sdl_family) F(sockaddr_dl, sdl_index)
    F(sockaddr_dl, sdl_type)
    F(sockaddr_dl, sdl_nlen) F(sockaddr_dl, sdl_alen) F(sockaddr_dl, sdl_data)
    C(AF_UNSPEC) C(AF_UNIX) C(AF_INET) C(AF_INET6) C(AF_LINK) C(SOL_SOCKET) C(SO_ERROR) C(SO_REUSEADDR) C(SO_RCVTIMEO)
    C(SO_SNDTIMEO) C(SO_SNDBUF) C(SO_RCVBUF) C(SO_TYPE) C(SO_NOSIGPIPE) C(SO_LINGER) C(IPPROTO_IPV6) C(IPV6_V6ONLY)
    C(IFF_UP) C(IFF_BROADCAST) C(IFF_LOOPBACK) C(IFF_POINTOPOINT) C(IFF_RUNNING) C(IFF_MULTICAST) C(MSG_PEEK)
    C(MSG_NOSIGNAL)
    C(MSG_DONTWAIT) C(FIONREAD) C(FIONBIO) C(TIOCGWINSZ) C(TIOCSWINSZ)
    C(AI_PASSIVE) C(AI_CANONNAME) C(AI_NUMERICHOST) C(AI_NUMERICSERV) C(AI_ADDRCONFIG) C(AI_ALL) C(AI_V4MAPPED)
    C(EAI_AGAIN) C(EAI_BADFLAGS) C(EAI_FAIL) C(EAI_FAMILY) C(EAI_MEMORY) C(EAI_NONAME) C(EAI_SERVICE) C(EAI_SOCKTYPE)
    C(EAI_SYSTEM) C(EAI_OVERFLOW) C(NI_NOFQDN) C(NI_NUMERICHOST) C(NI_NAMEREQD) C(NI_NUMERICSERV) C(NI_DGRAM)
    // Users and the machine.
    R(passwd) F(passwd, pw_name) F(passwd, pw_passwd) F(passwd, pw_uid) F(passwd, pw_gid) F(passwd, pw_change)
    F(passwd, pw_class) F(passwd, pw_gecos) F(passwd, pw_dir) F(passwd, pw_shell) F(passwd, pw_expire)
    R(utmpx) F(utmpx, ut_user) F(utmpx, ut_id) F(utmpx, ut_line) F(utmpx, ut_pid) F(utmpx, ut_type) F(utmpx, ut_tv)
    F(utmpx, ut_host) C(EMPTY) C(RUN_LVL) C(BOOT_TIME) C(OLD_TIME) C(NEW_TIME) C(USER_PROCESS) C(INIT_PROCESS)
    C(LOGIN_PROCESS)
    C(DEAD_PROCESS)
    R(utsname) F(utsname, sysname) F(utsname, nodename) F(utsname, release) F(utsname, version) F(utsname, machine)
    R(timeval) F(timeval, tv_sec) F(timeval, tv_usec) R(timespec)
    R(vm_statistics) F(vm_statistics, free_count) C(HOST_VM_INFO) C(HOST_VM_INFO_COUNT)
    C(KERN_SUCCESS) C(KERN_INVALID_ARGUMENT)
    C(CTL_HW) C(CTL_KERN) C(HW_NCPU) C(HW_MEMSIZE) C(KERN_BOOTTIME) C(KERN_NISDOMAINNAME) C(KERN_OSRELEASE)
    C(_SC_PAGESIZE) C(_SC_GETPW_R_SIZE_MAX) C(_SC_GETGR_R_SIZE_MAX) C(_SC_CLK_TCK) C(_SC_NPROCESSORS_ONLN)
    C(_SC_NPROCESSORS_CONF) C(_SC_HOST_NAME_MAX) C(_SC_OPEN_MAX) C(_SC_THREAD_KEYS_MAX) C(_SC_ARG_MAX)
    C(_SC_LOGIN_NAME_MAX) C(_SC_PHYS_PAGES) C(_PC_PATH_MAX) C(_PC_NAME_MAX) C(CLOCK_REALTIME) C(CLOCK_MONOTONIC)
    C(CLOCK_MONOTONIC_RAW) C(CLOCK_UPTIME_RAW) C(CLOCK_PROCESS_CPUTIME_ID) C(CLOCK_THREAD_CPUTIME_ID)
    R(itimerval) F(itimerval, it_interval) F(itimerval, it_value)
    R(rlimit) C(_RLIMIT_POSIX_FLAG)
    C(RLIMIT_CPU) C(RLIMIT_FSIZE) C(RLIMIT_DATA) C(RLIMIT_STACK) C(RLIMIT_CORE) C(RLIMIT_AS) C(RLIMIT_NPROC)
    C(RLIMIT_NOFILE) EMIT("DWC_RLIM_INFINITY", RLIM_INFINITY)
    // Threads and signals.
    T(pthread_mutex_t) T(pthread_cond_t) T(pthread_rwlock_t) T(pthread_once_t) T(pthread_attr_t) T(pthread_mutexattr_t)
    T(pthread_condattr_t) T(pthread_rwlockattr_t) T(pthread_key_t) T(sigset_t) T(mbstate_t) T(wchar_t)
    C(_PTHREAD_MUTEX_SIG_init) C(_PTHREAD_ERRORCHECK_MUTEX_SIG_init) C(_PTHREAD_RECURSIVE_MUTEX_SIG_init)
    C(_PTHREAD_COND_SIG_init) C(_PTHREAD_ONCE_SIG_init) C(_PTHREAD_RWLOCK_SIG_init)
    C(PTHREAD_CANCEL_ENABLE) C(PTHREAD_CANCEL_DISABLE) C(PTHREAD_CANCEL_DEFERRED) C(PTHREAD_CANCEL_ASYNCHRONOUS)
    C(PTHREAD_CREATE_DETACHED) C(PTHREAD_CREATE_JOINABLE) C(PTHREAD_MUTEX_NORMAL) C(PTHREAD_MUTEX_ERRORCHECK)
    C(PTHREAD_MUTEX_RECURSIVE) EMIT("DWC_PTHREAD_CANCELED", (long)PTHREAD_CANCELED)
    R(_opaque_pthread_t) F(_opaque_pthread_t, __sig) F(_opaque_pthread_t, __cleanup_stack)
    R(__darwin_pthread_handler_rec) F(__darwin_pthread_handler_rec, __routine) F(__darwin_pthread_handler_rec, __arg)
    F(__darwin_pthread_handler_rec, __next)
    R(sigaction) F(sigaction, __sigaction_u) F(sigaction, sa_mask) F(sigaction, sa_flags)
    C(SA_RESTART) C(SA_SIGINFO) C(SA_RESETHAND) C(SA_NODEFER) C(SA_NOCLDSTOP) C(SIG_BLOCK) C(SIG_UNBLOCK)
    C(SIG_SETMASK)
    EMIT("DWZ_siginfo", sizeof(siginfo_t)) EMIT("DW_siginfo_si_signo", offsetof(siginfo_t, si_signo))
    EMIT("DWS_siginfo_si_signo", 4) EMIT("DW_siginfo_si_pid", offsetof(siginfo_t, si_pid))
    EMIT("DWS_siginfo_si_pid", 4)
    EMIT("DW_siginfo_si_uid", offsetof(siginfo_t, si_uid)) EMIT("DWS_siginfo_si_uid", 4)
    EMIT("DW_siginfo_si_code", offsetof(siginfo_t, si_code)) EMIT("DWS_siginfo_si_code", 4) C(SI_USER)
    C(WNOHANG) C(WUNTRACED)
    // Texts.
    EMIT("DW_rune_runetype", offsetof(RuneLocale, __runetype))
    EMIT("DW_rune_maplower", offsetof(RuneLocale, __maplower))
    EMIT("DW_rune_mapupper", offsetof(RuneLocale, __mapupper)) EMIT("DWZ_rune", sizeof(RuneLocale))
    T(regex_t) T(regmatch_t) EMIT("DW_regex_re_nsub", offsetof(regex_t, re_nsub)) EMIT("DWS_regex_re_nsub", 8)
    EMIT("DW_regex_re_g", offsetof(regex_t, re_g)) EMIT("DWS_regex_re_g", 8)
    EMIT("DW_regmatch_rm_so", offsetof(regmatch_t, rm_so)) EMIT("DWS_regmatch_rm_so", sizeof(regoff_t))
    EMIT("DW_regmatch_rm_eo", offsetof(regmatch_t, rm_eo)) EMIT("DWS_regmatch_rm_eo", sizeof(regoff_t))
    C(REG_EXTENDED) C(REG_ICASE) C(REG_NOSUB) C(REG_NEWLINE) C(REG_NOMATCH)
    C(_CTYPE_A) C(_CTYPE_C) C(_CTYPE_D) C(_CTYPE_G) C(_CTYPE_L) C(_CTYPE_P) C(_CTYPE_S) C(_CTYPE_U) C(_CTYPE_X)
    C(_CTYPE_B) C(_CTYPE_R) C(LC_ALL) C(LC_COLLATE) C(LC_CTYPE) C(LC_MONETARY) C(LC_NUMERIC) C(LC_TIME) C(LC_MESSAGES)
    C(RTLD_LAZY) C(RTLD_NOW) C(RTLD_LOCAL) C(RTLD_GLOBAL) C(RTLD_NOLOAD) EMIT("DWC_RTLD_NEXT", (long)RTLD_NEXT)
    EMIT("DWC_RTLD_DEFAULT", (long)RTLD_DEFAULT) EMIT("DWC_RTLD_SELF", (long)RTLD_SELF)
    EMIT("DWC_RTLD_MAIN_ONLY", (long)RTLD_MAIN_ONLY)
#define E(e) EMIT("DWC_" #e, e)
#include "errors.inc"
#define S(s) EMIT("DWC_" #s, s)
#include "signals.inc"
}
