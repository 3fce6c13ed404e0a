// macho_run PROGRAM [ARGUMENT...]: runs a Mach-O x86-64 program on x86-64 Linux, for tests of what was cross-linked for
// Darwin. An image's segments are mapped, the streams of LC_DYLD_INFO applied, each import bound to the library that
// its ordinal names and to no other; what that library lacks ends the load. Chained fixups, which the linker in use
// does not write, are refused.
#define _GNU_SOURCE
#include "macho_run.h"

#include <fcntl.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

struct image images[kMaxImages];
int imageCount;
struct image *program, *unwinder;
char loadError[1024];

static int fail(const char *format, ...) {
    va_list more;
    va_start(more, format);
    vsnprintf(loadError, sizeof loadError, format, more);
    va_end(more);
    return 0;
}

// ---- what a file holds

#define EACH_COMMAND(image, command)                                                                                   \
    (const char *command = (image)->commands, *last_ = command + 1; command && last_;                                  \
     last_ = NULL) for (uint32_t left_ = (image)->commandCount; left_ > 0;                                             \
                        --left_, command += GET(command, load_command, cmdsize))

/** The first section of a type, or of a name when the type is none; its address, its size by the way. */
static char *section(const struct image *image, uint64_t type, const char *name, uint64_t *size) {
    *size = 0;
    for
        EACH_COMMAND(image, command) {
            if (GET(command, load_command, cmd) != DWC_LC_SEGMENT_64)
                continue;
            const char *each = command + DWZ_segment_command_64;
            for (uint64_t i = GET(command, segment_command_64, nsects); i > 0; --i, each += DWZ_section_64) {
                if (name ? strncmp(FIELD(each, section_64, sectname), name, 16) != 0
                         : (GET(each, section_64, flags) & DWC_SECTION_TYPE) != type)
                    continue;
                *size = GET(each, section_64, size);
                return image->base + (GET(each, section_64, addr) - image->low);
            }
        }
    return NULL;
}

static const char *symbolName(const struct image *image, uint32_t index) {
    return image->strings + GET(image->symbols + index * DWZ_nlist_64, nlist_64, n_strx);
}

static void *symbolAddress(const struct image *image, uint32_t index) {
    return image->base + (GET(image->symbols + index * DWZ_nlist_64, nlist_64, n_value) - image->low);
}

static int isDefined(const struct image *image, uint32_t index) {
    const uint64_t type = GET(image->symbols + index * DWZ_nlist_64, nlist_64, n_type);
    return !(type & DWC_N_STAB) && (type & DWC_N_TYPE) == DWC_N_SECT;
}

static uint32_t hash(const char *name) {
    uint32_t value = 5381;
    while (*name)
        value = value * 33 + (unsigned char)*name++;
    return value & 0xffff;
}

static const char kWrap[] = "___wrap_", kReal[] = "___real_";

/** Chains by name what the image defines for others, and its __wrap_ functions, whoever else may see those. */
static void indexSymbols(struct image *image) {
    image->chains =
        calloc(0x10000 + image->symbolCount, sizeof *image->chains); // heads, then each symbol's next; 1-based
    for (uint32_t i = 0; i < image->symbolCount; ++i) {
        const int isWrapper = strncmp(symbolName(image, i), kWrap, sizeof kWrap - 1) == 0;
        const uint64_t type = GET(image->symbols + i * DWZ_nlist_64, nlist_64, n_type);
        if (!isDefined(image, i) || (!isWrapper && (!(type & DWC_N_EXT) || (type & DWC_N_PEXT))))
            continue;
        image->hasWrappers |= isWrapper;
        uint32_t *head = &image->chains[hash(symbolName(image, i))];
        image->chains[0x10000 + i] = *head;
        *head = i + 1;
    }
}

void *exported(const struct image *image, const char *name) {
    for (uint32_t i = image->chains[hash(name)]; i != 0; i = image->chains[0x10000 + i - 1])
        if (strcmp(symbolName(image, i - 1), name) == 0)
            return symbolAddress(image, i - 1);
    return NULL;
}

struct image *imageAt(const void *address) {
    for (int i = 0; i < imageCount; ++i)
        if ((const char *)address >= images[i].base && (const char *)address < images[i].end)
            return &images[i];
    return NULL;
}

const char *symbolAt(const struct image *image, const void *address, void **start) {
    const char *best = NULL;
    *start = NULL;
    for (uint32_t i = 0; i < image->symbolCount; ++i) {
        if (isDefined(image, i) && symbolAddress(image, i) <= address && symbolAddress(image, i) >= *start) {
            *start = symbolAddress(image, i);
            best = symbolName(image, i);
        }
    }
    return best;
}

// ---- what a name is bound to

static void *inLibrary(const struct library *library, const char *name) {
    return library->image ? exported(library->image, name) : systemSymbol(library->system, name);
}

void *findAnywhere(const char *name) {
    for (int i = 0; i < imageCount; ++i) { // the unwinder's names are the system library's, see systemSymbol
        void *found = images[i].users > 0 && &images[i] != unwinder ? exported(&images[i], name) : NULL;
        if (found)
            return found;
    }
    return systemSymbol(NULL, name);
}

/** A name of the system libraries, or its variant for records with 64-bit file numbers, or, where the tests say f64 for
 * the wide variant, f. */
static void *systemVariant(const char *name) {
    char other[256];
    snprintf(other, sizeof other, "_%s$INODE64", name);
    void *found = systemSymbol(NULL, other);
    other[strlen(name) + 1] = '\0';
    found = found ? found : systemSymbol(NULL, other);
    if (!found && strcmp(other + strlen(other) - 2, "64") == 0) {
        other[strlen(other) - 2] = '\0';
        found = systemSymbol(NULL, other);
    }
    return found;
}

/** What the ELF linker's --wrap does: an image's calls of f go to its own __wrap_f, and its __real_f is f. */
static void *wrapped(const struct image *image, const char *name) {
    char other[260];
    if (!image->hasWrappers || name[0] != '_')
        return NULL;
    if (strncmp(name, kReal, sizeof kReal - 1) == 0)
        return systemVariant(name + sizeof kReal - 1);
    snprintf(other, sizeof other - 2, "%s%.*s", kWrap, (int)strcspn(name + 1, "$"), name + 1);
    void *found = exported(image, other);
    return found ? found : exported(image, strcat(other, "64"));
}

struct binding {
    const char *name;
    int64_t ordinal, addend;
    uint64_t flags, type;
};

static void *resolve(struct image *image, const struct binding *binding) {
    void *wrap = wrapped(image, binding->name);
    if (wrap)
        return wrap;
    // Special ordinals are four bits, signed.
    if (binding->ordinal == DWC_BIND_SPECIAL_DYLIB_SELF)
        return exported(image, binding->name);
    if (binding->ordinal == DWC_BIND_SPECIAL_DYLIB_MAIN_EXECUTABLE)
        return program ? exported(program, binding->name) : NULL;
    if (binding->ordinal < 0) // flat and weak look-up
        return findAnywhere(binding->name);
    return binding->ordinal <= image->libraryCount ? inLibrary(&image->libraries[binding->ordinal - 1], binding->name)
                                                   : NULL;
}

static const char *libraryName(const struct image *image, int64_t ordinal) {
    if (ordinal < 1 || ordinal > image->libraryCount)
        return "any library";
    const struct library *library = &image->libraries[ordinal - 1];
    return library->image ? library->image->path : library->system;
}

/** Binds one place. The weak stream names what several images may define: there no definition leaves the place alone.
 */
static int bindPlace(struct image *image, char *at, const struct binding *binding, int isWeak) {
    if (at < image->base || at + sizeof(void *) > image->end)
        return fail("binds %s outside of its segments: %s", binding->name, image->path);
    if (binding->type != DWC_BIND_TYPE_POINTER)
        return fail("kind of binding %d: %s", (int)binding->type, image->path);
    char *value = isWeak ? findAnywhere(binding->name) : resolve(image, binding);
    if (!value && isWeak)
        return 1;
    if (!value && !(binding->flags & DWC_BIND_SYMBOL_FLAGS_WEAK_IMPORT))
        return fail("Symbol not found: %s, wanted by %s from %s", binding->name, image->path,
                    libraryName(image, binding->ordinal));
    value = value ? value + binding->addend : NULL;
    memcpy(at, &value, sizeof value);
    return 1;
}

// ---- the streams of fixes

static uint64_t number(const uint8_t **next, int isSigned) {
    uint64_t value = 0;
    int shift = 0;
    uint8_t byte;
    do {
        byte = *(*next)++;
        value |= shift < 64 ? (uint64_t)(byte & 0x7f) << shift : 0;
        shift += 7;
    } while (byte & 0x80);
    if (isSigned && (byte & 0x40) && shift < 64)
        value |= ~0ull << shift;
    return value;
}

static int rebase(struct image *image, const uint8_t *next, const uint8_t *end) {
    const uint64_t slide = (uint64_t)image->base - image->low;
    char *at = NULL;
    while (next < end) {
        const uint8_t code = *next & DWC_REBASE_OPCODE_MASK, small = *next++ & DWC_REBASE_IMMEDIATE_MASK;
        uint64_t times = 0, skip = 0;
        switch (code) {
        case DWC_REBASE_OPCODE_DONE:
            return 1;
        case DWC_REBASE_OPCODE_SET_TYPE_IMM:
            if (small != DWC_REBASE_TYPE_POINTER)
                return fail("kind of rebase %d: %s", small, image->path);
            continue;
        case DWC_REBASE_OPCODE_SET_SEGMENT_AND_OFFSET_ULEB:
            at = image->segments[small] + number(&next, 0);
            continue;
        case DWC_REBASE_OPCODE_ADD_ADDR_ULEB:
            at += number(&next, 0);
            continue;
        case DWC_REBASE_OPCODE_ADD_ADDR_IMM_SCALED:
            at += small * sizeof(void *);
            continue;
        case DWC_REBASE_OPCODE_DO_REBASE_IMM_TIMES:
            times = small;
            break;
        case DWC_REBASE_OPCODE_DO_REBASE_ULEB_TIMES:
            times = number(&next, 0);
            break;
        case DWC_REBASE_OPCODE_DO_REBASE_ADD_ADDR_ULEB:
            times = 1, skip = number(&next, 0);
            break;
        case DWC_REBASE_OPCODE_DO_REBASE_ULEB_TIMES_SKIPPING_ULEB:
            times = number(&next, 0), skip = number(&next, 0);
            break;
        default:
            return fail("rebase code %#x: %s", code, image->path);
        }
        for (; times > 0; --times, at += sizeof(void *) + skip) {
            if (at < image->base || at + sizeof(void *) > image->end)
                return fail("rebases outside of its segments: %s", image->path);
            *(uint64_t *)at += slide;
        }
    }
    return 1;
}

enum stream { kStrong, kWeak, kLazy };
static int bind(struct image *image, const uint8_t *next, const uint8_t *end, enum stream stream) {
    struct binding binding = {"", 0, 0, 0, DWC_BIND_TYPE_POINTER};
    char *at = NULL;
    while (next < end) {
        const uint8_t code = *next & DWC_BIND_OPCODE_MASK, small = *next++ & DWC_BIND_IMMEDIATE_MASK;
        uint64_t times = 1, skip = 0;
        switch (code) {
        case DWC_BIND_OPCODE_DONE: // between two entries of the lazy stream
            if (stream == kLazy)
                continue;
            return 1;
        case DWC_BIND_OPCODE_SET_DYLIB_ORDINAL_IMM:
            binding.ordinal = small;
            continue;
        case DWC_BIND_OPCODE_SET_DYLIB_ORDINAL_ULEB:
            binding.ordinal = (int64_t)number(&next, 0);
            continue;
        case DWC_BIND_OPCODE_SET_DYLIB_SPECIAL_IMM:
            binding.ordinal = small ? small - 16 : 0;
            continue;
        case DWC_BIND_OPCODE_SET_SYMBOL_TRAILING_FLAGS_IMM:
            binding.name = (const char *)next;
            binding.flags = small;
            next += strlen(binding.name) + 1;
            continue;
        case DWC_BIND_OPCODE_SET_TYPE_IMM:
            binding.type = small;
            continue;
        case DWC_BIND_OPCODE_SET_ADDEND_SLEB:
            binding.addend = (int64_t)number(&next, 1);
            continue;
        case DWC_BIND_OPCODE_SET_SEGMENT_AND_OFFSET_ULEB:
            at = image->segments[small] + number(&next, 0);
            continue;
        case DWC_BIND_OPCODE_ADD_ADDR_ULEB:
            at += number(&next, 0);
            continue;
        case DWC_BIND_OPCODE_DO_BIND:
            break;
        case DWC_BIND_OPCODE_DO_BIND_ADD_ADDR_ULEB:
            skip = number(&next, 0);
            break;
        case DWC_BIND_OPCODE_DO_BIND_ADD_ADDR_IMM_SCALED:
            skip = small * sizeof(void *);
            break;
        case DWC_BIND_OPCODE_DO_BIND_ULEB_TIMES_SKIPPING_ULEB:
            times = number(&next, 0), skip = number(&next, 0);
            break;
        default:
            return fail("bind code %#x: %s", code, image->path);
        }
        for (; times > 0; --times, at += sizeof(void *) + skip)
            if (!bindPlace(image, at, &binding, stream == kWeak))
                return 0;
    }
    return 1;
}

// ---- loading

/** Replaces @loader_path and @executable_path. */
static void expand(const struct image *image, const char *path, char *whole, size_t size) {
    const char *origin = strncmp(path, "@executable_path", 16) == 0 && program ? program->path : image->path;
    const char *slash = strrchr(origin, '/'), *rest = strchr(path, '/');
    if (path[0] == '@')
        snprintf(whole, size, "%.*s%s", slash ? (int)(slash - origin) : 1, slash ? origin : ".", rest ? rest : "");
    else
        snprintf(whole, size, "%s", path);
}

static struct image *mapImage(const char *path, const char *installName);

static struct image *loadLibrary(const struct image *image, const char *name) {
    for (int i = 0; i < imageCount; ++i)
        if (images[i].users > 0 && images[i].installName && strcmp(images[i].installName, name) == 0)
            return &images[i];
    char folder[2048], path[4096];
    if (strncmp(name, "@rpath/", 7) != 0) {
        expand(image, name, path, sizeof path);
        return mapImage(path, name);
    }
    for
        EACH_COMMAND(image, command) {
            if (GET(command, load_command, cmd) != DWC_LC_RPATH)
                continue;
            expand(image, command + GET(command, rpath_command, path), folder, sizeof folder);
            snprintf(path, sizeof path, "%s%s", folder, name + 6);
            if (access(path, F_OK) == 0)
                return mapImage(path, name);
        }
    return fail("Library not loaded: %s, wanted by %s", name, image->path), NULL;
}

/** The libraries in the order of their ordinals. */
static int loadLibraries(struct image *image) {
    for
        EACH_COMMAND(image, command) {
            const uint64_t kind = GET(command, load_command, cmd);
            const char *name = command + GET(command, dylib_command, name);
            if (kind == DWC_LC_ID_DYLIB && !image->installName)
                image->installName = name;
            if (kind != DWC_LC_LOAD_DYLIB && kind != (uint32_t)DWC_LC_LOAD_WEAK_DYLIB &&
                kind != (uint32_t)DWC_LC_REEXPORT_DYLIB)
                continue;
            if (image->libraryCount == kMaxLibraries)
                return fail("too many libraries: %s", image->path);
            struct library *library = &image->libraries[image->libraryCount++];
            if (isSystemLibrary(name))
                library->system = name;
            else if (!(library->image = loadLibrary(image, name)))
                return 0;
        }
    return 1;
}

static int mapSegments(struct image *image, const char *bytes) {
    uint64_t high = 0;
    image->low = ~0ull;
    for
        EACH_COMMAND(image, each) {
            const uint64_t start = GET(each, segment_command_64, vmaddr), size = GET(each, segment_command_64, vmsize);
            if (GET(each, load_command, cmd) != DWC_LC_SEGMENT_64 || GET(each, segment_command_64, initprot) == 0)
                continue;
            image->low = start < image->low ? start : image->low;
            high = start + size > high ? start + size : high;
        }
    image->base = mmap(NULL, high - image->low, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (image->base == MAP_FAILED)
        return fail("no memory: %s", image->path);
    image->end = image->base + (high - image->low);
    int count = 0;
    for
        EACH_COMMAND(image, command) {
            if (GET(command, load_command, cmd) != DWC_LC_SEGMENT_64)
                continue;
            if (count == kMaxSegments)
                return fail("too many segments: %s", image->path);
            char *at = image->base + (GET(command, segment_command_64, vmaddr) - image->low);
            image->segments[count++] = at;
            if (GET(command, segment_command_64, initprot) != 0)
                memcpy(at, bytes + GET(command, segment_command_64, fileoff),
                       GET(command, segment_command_64, filesize));
        }
    return 1;
}

static void protectSegments(struct image *image) {
    for
        EACH_COMMAND(image, command) {
            const int rights = (int)GET(command, segment_command_64, initprot);
            if (GET(command, load_command, cmd) == DWC_LC_SEGMENT_64 && rights != 0)
                mprotect(image->base + (GET(command, segment_command_64, vmaddr) - image->low),
                         GET(command, segment_command_64, vmsize), rights);
        }
}

static int applyFixes(struct image *image) {
    const uint8_t *streams = (const uint8_t *)image->commands - DWZ_mach_header_64; // the file's start
    for
        EACH_COMMAND(image, info) {
            const uint64_t kind = GET(info, load_command, cmd);
            if (kind != DWC_LC_DYLD_INFO && kind != (uint32_t)DWC_LC_DYLD_INFO_ONLY)
                continue;
#define STREAM(kind)                                                                                                   \
    streams + GET(info, dyld_info_command, kind##_off),                                                                \
        streams + GET(info, dyld_info_command, kind##_off) + GET(info, dyld_info_command, kind##_size)
            return rebase(image, STREAM(rebase)) && bind(image, STREAM(bind), kStrong) &&
                   bind(image, STREAM(weak_bind), kWeak) && bind(image, STREAM(lazy_bind), kLazy);
#undef STREAM
        }
    return fail("no LC_DYLD_INFO: %s", image->path);
}

static void setUpThreadLocals(struct image *image) {
    uint64_t size = 0, dataSize = 0, zeroSize = 0;
    char *variables = section(image, DWC_S_THREAD_LOCAL_VARIABLES, NULL, &size);
    char *data = section(image, DWC_S_THREAD_LOCAL_REGULAR, NULL, &dataSize);
    char *zero = section(image, DWC_S_THREAD_LOCAL_ZEROFILL, NULL, &zeroSize);
    if (!variables)
        return;
    // A variable's offset counts from the start of the data, the zeroes lying behind it as they do in the image.
    const char *start = data ? data : zero;
    const size_t total = zero ? (size_t)(zero + zeroSize - start) : dataSize;
    startThreadLocals((struct descriptor *)variables, size / (3 * sizeof(void *)), start, dataSize, total);
}

typedef void (*Initialiser)(int, char **, char **, char **);
int argumentCount;
char **argumentTexts;

static void runInitialisers(struct image *image) {
    uint64_t size;
    Initialiser *calls = (Initialiser *)section(image, DWC_S_MOD_INIT_FUNC_POINTERS, NULL, &size);
    for (uint64_t i = 0; calls && i < size / sizeof *calls; ++i)
        calls[i](argumentCount, argumentTexts, environ, argumentTexts);
    const uint32_t *offsets = (const uint32_t *)section(image, DWC_S_INIT_FUNC_OFFSETS, NULL, &size);
    for (uint64_t i = 0; offsets && i < size / sizeof *offsets; ++i)
        ((Initialiser)(image->base + offsets[i]))(argumentCount, argumentTexts, environ, argumentTexts);
}

/** Maps a file for reading, checks what it is and takes down where its parts are. */
static const char *readImage(struct image *image) {
    struct stat facts;
    const int file = open(image->path, O_RDONLY | O_CLOEXEC);
    if (file < 0 || fstat(file, &facts) != 0 || facts.st_size < DWZ_mach_header_64) {
        if (file >= 0)
            close(file);
        return fail("no such file: %s", image->path), NULL;
    }
    const char *bytes = mmap(NULL, (size_t)facts.st_size, PROT_READ, MAP_PRIVATE, file, 0);
    close(file);
    if (bytes == MAP_FAILED || GET(bytes, mach_header_64, magic) != (uint32_t)DWC_MH_MAGIC_64 ||
        GET(bytes, mach_header_64, cputype) != DWC_CPU_TYPE_X86_64)
        return fail("no Mach-O for x86-64: %s", image->path), NULL;
    image->commands = (char *)bytes + DWZ_mach_header_64;
    image->commandCount = (uint32_t)GET(bytes, mach_header_64, ncmds);
    for
        EACH_COMMAND(image, table) {
            if (GET(table, load_command, cmd) != DWC_LC_SYMTAB)
                continue;
            image->symbols = bytes + GET(table, symtab_command, symoff);
            image->strings = bytes + GET(table, symtab_command, stroff);
            image->symbolCount = (uint32_t)GET(table, symtab_command, nsyms);
        }
    return bytes;
}

/** Maps a file and, behind it in the list, the libraries that it names. */
static struct image *mapImage(const char *path, const char *installName) {
    if (imageCount == kMaxImages)
        return fail("too many images: %s", path), NULL;
    struct image *image = &images[imageCount];
    *image = (struct image){.path = strdup(path), .installName = installName ? strdup(installName) : NULL, .users = 1};
    const char *bytes = readImage(image);
    if (!bytes || !mapSegments(image, bytes))
        return NULL;
    for
        EACH_COMMAND(image, command)
    if (GET(command, load_command, cmd) == (uint32_t)DWC_LC_MAIN)
        image->entry = image->base + GET(command, entry_point_command, entryoff);
    if (image->entry)
        program = image;
    indexSymbols(image);
    image->unwind = section(image, 0, "__unwind_info", &image->unwindSize);
    image->frames = section(image, 0, "__eh_frame", &image->framesSize);
    ++imageCount;
    return loadLibraries(image) ? image : NULL;
}

struct image *load(const char *path, const char *installName) {
    const int place = imageCount;
    struct image *image = mapImage(path, installName);
    int isSound = image != NULL;
    for (int i = place; isSound && i < imageCount; ++i)
        isSound = applyFixes(&images[i]);
    if (!isSound) {
        imageCount = place; // and what it had brought along
        return NULL;
    }
    for (int i = place; i < imageCount; ++i) {
        setUpThreadLocals(&images[i]);
        protectSegments(&images[i]);
    }
    for (int i = imageCount; i-- > place;) // libraries before those who named them
        runInitialisers(&images[i]);
    return image;
}

static void runImageTerminators(const struct image *image) {
    uint64_t size;
    void (**calls)(void) = (void (**)(void))section(image, DWC_S_MOD_TERM_FUNC_POINTERS, NULL, &size);
    for (uint64_t i = 0; calls && i < size / sizeof *calls; ++i)
        calls[i]();
}

void runTerminators(void) {
    for (int i = imageCount; i-- > 0;)
        if (images[i].users > 0)
            runImageTerminators(&images[i]);
}

void unload(struct image *image) {
    extern void __cxa_finalize(void *);
    void *ownHandle = exported(image, "___dso_handle"); // what its objects with static storage were registered under
    if (ownHandle)
        __cxa_finalize(ownHandle);
    runImageTerminators(image);
    munmap(image->base, (size_t)(image->end - image->base));
    free(image->chains);
    image->base = image->end = NULL;
    while (imageCount > 0 && images[imageCount - 1].users == 0)
        --imageCount;
}

/** The unwinder's library, which is a part of Darwin's system library, lies beside this program. */
static struct image *loadUnwinder(void) {
    char path[4096] = "";
    if (readlink("/proc/self/exe", path, sizeof path - 32) < 0)
        return NULL;
    strcpy(strrchr(path, '/') + 1, "libunwind.dylib");
    return load(path, NULL);
}

static void *runMain(void *entry) {
    exit(((int (*)(int, char **, char **, char **))entry)(argumentCount, argumentTexts, environ, argumentTexts));
}

int main(int count, char **arguments) {
    if (count < 2) {
        fprintf(stderr, "usage: macho_run PROGRAM [ARGUMENT...]\n");
        return 127;
    }
    argumentCount = count - 1;
    argumentTexts = arguments + 1;
    unwinder = loadUnwinder();
    if (!unwinder || !load(arguments[1], NULL) || !(program && program->entry)) {
        fprintf(stderr, "macho_run: %s\n", loadError[0] ? loadError : "no program");
        return 127;
    }
    atexit(runTerminators);
    runThread(runMain, program->entry);
    return 127;
}
