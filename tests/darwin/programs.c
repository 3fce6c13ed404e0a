// Processes, allocation, and what a program asks of the loader itself: dlopen and its kin, an image's unwind tables. At
// the end the one place where names of libraries are looked up.
#define _GNU_SOURCE
#include "shim.h"

#include <dlfcn.h>
#include <errno.h>
#include <sched.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/random.h>
#include <sys/uio.h>
#include <unistd.h>

// ---- plug-ins
static __thread char dlMessage[1200];
static __thread int hasMessage;
static void say(const char *what, const char *name) {
    snprintf(dlMessage, sizeof dlMessage, "%s(%s): %s", what, name ? name : "", loadError);
    hasMessage = 1;
}
static char *dw_dlerror(void) {
    if (!hasMessage)
        return NULL;
    hasMessage = 0;
    return dlMessage;
}
static int isSameFile(const char *one, const char *other) {
    char *first = realpath(one, NULL), *second = realpath(other, NULL);
    const int same = first && second && strcmp(first, second) == 0;
    free(first);
    free(second);
    return same;
}
static void *dw_dlopen(const char *path, int mode) {
    if (!path) // that what is missing is found at once is no option here
        return (void *)(intptr_t)DWC_RTLD_DEFAULT;
    for (int i = 0; i < imageCount; ++i) {
        if (images[i].users > 0 && isSameFile(images[i].path, path)) {
            ++images[i].users;
            return &images[i];
        }
    }
    if (mode & DWC_RTLD_NOLOAD)
        return NULL;
    struct image *image = load(path, NULL);
    if (!image)
        say("dlopen", path);
    return image;
}
static struct image *isImage(void *handle) {
    for (int i = 0; i < imageCount; ++i)
        if (handle == &images[i] && images[i].users > 0)
            return &images[i];
    return NULL;
}
static void *dw_dlsym(void *handle, const char *name) {
    char symbol[512];
    snprintf(symbol, sizeof symbol, "_%s", name);
    void *found = NULL;
    struct image *image = isImage(handle);
    if (image)
        found = exported(image, symbol);
    else if (handle == (void *)(intptr_t)DWC_RTLD_NEXT) // the program's own are passed over
        found = systemSymbol(NULL, symbol);
    else if (handle == (void *)(intptr_t)DWC_RTLD_DEFAULT)
        found = findAnywhere(symbol);
    if (!found) {
        snprintf(loadError, sizeof loadError, "symbol not found");
        say("dlsym", name);
    }
    return found;
}
static int dw_dlclose(void *handle) {
    struct image *image = isImage(handle);
    if (!image && handle != (void *)(intptr_t)DWC_RTLD_DEFAULT) {
        snprintf(loadError, sizeof loadError, "no such handle");
        say("dlclose", "");
        return -1;
    }
    if (image && --image->users == 0)
        unload(image);
    return 0;
}
static int dw_dladdr(const void *address, Dl_info *facts) { // the records agree
    const struct image *image = imageAt(address);
    if (!image)
        return 0;
    void *start;
    const char *name = symbolAt(image, address, &start);
    *facts = (Dl_info){image->path, image->base, name ? name + 1 : NULL, start};
    return 1;
}

// ---- what the unwinder and the C++ library's sanitizer ask
struct unwindSections {
    void *header, *frames;
    uint64_t framesSize;
    void *unwind;
    uint64_t unwindSize;
};
static int dw__dyld_find_unwind_sections(void *address, struct unwindSections *found) {
    const struct image *image = imageAt(address);
    if (image)
        *found =
            (struct unwindSections){image->base, image->frames, image->framesSize, image->unwind, image->unwindSize};
    return image != NULL;
}
static void dw_nothing(void) {}
static int dw__NSGetExecutablePath(char *path, uint32_t *size) {
    if (strlen(program->path) >= *size)
        return -1;
    strcpy(path, program->path);
    return 0;
}
static int *dw__NSGetArgc(void) {
    return &argumentCount;
}
static char ***dw__NSGetArgv(void) {
    return &argumentTexts;
}
static char ***dw__NSGetEnviron(void) {
    return &environ;
}
static void dw_arc4random_buf(void *bytes, size_t size) {
    if (getrandom(bytes, size, 0) != (ssize_t)size)
        abort();
}
static char threadLocalMark;
extern __int128 __divti3(__int128, __int128), __modti3(__int128, __int128);
extern unsigned __int128 __udivti3(unsigned __int128, unsigned __int128),
    __umodti3(unsigned __int128, unsigned __int128);
extern int __cxa_atexit(void (*)(void *), void *, void *);
extern void __cxa_finalize(void *);

// clang-format off
const struct name programNames[] = {
    N(dlopen), N(dlsym), N(dlclose), N(dlerror), N(dladdr), N(_dyld_find_unwind_sections), N(_NSGetExecutablePath),
    N(_NSGetArgc), N(_NSGetArgv), N(_NSGetEnviron), N(arc4random_buf), NAMED("dyld_stub_binder", dw_nothing),
    NAMED("__dyld_register_func_for_remove_image", dw_nothing),
    NAMED("__dyld_register_func_for_add_image", dw_nothing), NAMED("__tlv_bootstrap", &threadLocalMark),
    NAMED("__exit", _exit), SAME(__cxa_atexit), SAME(__cxa_finalize), SAME(abort), SAME(atexit), SAME(fork),
    SAME(execl), SAME(execv), SAME(execve), SAME(execvp), SAME(getenv), SAME(setenv), SAME(unsetenv), SAME(putenv), SAME(malloc),
    SAME(calloc), SAME(realloc), SAME(free), SAME(aligned_alloc), SAME(posix_memalign), SAME(rand), SAME(srand),
    SAME(qsort), SAME(bsearch), SAME(realpath), SAME(readv), SAME(writev), SAME(__divti3), SAME(__modti3),
    SAME(__udivti3), SAME(__umodti3), {NULL, NULL},
};
// clang-format on

// ---- what not_possible_here.h asks for by dlsym: namespaces and mounts, its flags in the order of these
static unsigned long chosen(unsigned long bits, const unsigned long flags[4]) {
    unsigned long result = 0;
    for (int i = 0; i < 4; ++i)
        result |= bits & 1ul << i ? flags[i] : 0;
    return result;
}
static int dw_unshare(int spaces) {
    return unshare(
        (int)chosen((unsigned long)spaces, (unsigned long[4]){CLONE_NEWNS, CLONE_NEWNET, CLONE_NEWUTS, CLONE_NEWUSER}));
}
static int dw_mount(const char *source, const char *target, const char *type, unsigned long flags, const void *data) {
    return mount(source, target, type, chosen(flags, (unsigned long[4]){MS_REC, MS_PRIVATE, MS_BIND}), data);
}
static const struct name elsewhereNames[] = {N(unshare), N(mount), SAME(umount), SAME(umount2), {NULL, NULL}};

// ---- which library has which names

static const struct {
    const char *installName;
    const struct name *const *tables;
} libraries[] = {
    {"/usr/lib/libSystem.B.dylib", (const struct name *const[]){threadNames, signalNames, fileNames, networkNames,
                                                                machineNames, textNames, programNames, NULL}},
    {"/usr/lib/libiconv.2.dylib", (const struct name *const[]){iconvNames, NULL}},
    {"/System/Library/Frameworks/CoreFoundation.framework/Versions/A/CoreFoundation",
     (const struct name *const[]){coreFoundationNames, NULL}},
    {"/System/Library/Frameworks/CoreServices.framework/Versions/A/CoreServices",
     (const struct name *const[]){coreServicesNames, NULL}},
    {"/wrapped", (const struct name *const[]){NULL}}, // what the tests' __real_ names are linked against; the loader's
    {"/elsewhere", (const struct name *const[]){elsewhereNames, NULL}},
};

int isSystemLibrary(const char *installName) {
    for (size_t i = 0; i < sizeof libraries / sizeof *libraries; ++i)
        if (strcmp(libraries[i].installName, installName) == 0)
            return 1;
    return 0;
}

static void refuse(const char *name) {
    fprintf(stderr, "macho_run: %s was called, for which nothing stands in\n", name);
    abort();
}
/** A function that says which name it was called by: mov $name, %rdi; mov $refuse, %rax; jmp *%rax. */
static void *refusing(const char *name) {
    static unsigned char *next, *end;
    if (next == end) {
        next = mmap(NULL, 65536, PROT_READ | PROT_WRITE | PROT_EXEC, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        end = next + 65536;
    }
    unsigned char *made = next;
    next += 32;
    memcpy(made, "\x48\xbf", 2), memcpy(made + 2, &name, 8), memcpy(made + 10, "\x48\xb8", 2);
    memcpy(made + 12, &(void *){(void *)refuse}, 8), memcpy(made + 20, "\xff\xe0", 2);
    return made;
}

// Names that libraries linked into every program import and no test calls. Any other name without a stand-in ends the
// load.
static const char *const uncalled[] = {
#define U(name) "_" #name,
#include "uncalled.inc"
#undef U
    NULL,
};

void *systemSymbol(const char *installName, const char *name) {
    const int inSystem = !installName || strcmp(installName, libraries[0].installName) == 0;
    if (inSystem && unwinder && strncmp(name, "__Unwind_", 9) == 0)
        return exported(unwinder, name);
    for (size_t i = 0; i < sizeof libraries / sizeof *libraries; ++i) {
        if (installName && strcmp(libraries[i].installName, installName) != 0)
            continue;
        for (const struct name *const *table = libraries[i].tables; *table; ++table)
            for (const struct name *each = *table; each->name; ++each)
                if (strcmp(each->name, name) == 0)
                    return each->address;
    }
    for (size_t i = 0; inSystem && installName && i + 1 < sizeof uncalled / sizeof *uncalled; ++i)
        if (strcmp(uncalled[i], name) == 0)
            return refusing(uncalled[i]);
    return NULL;
}
