#pragma once
// What the loader and the stand-ins of Darwin's libraries give each other. README.md tells how it fits together.

#include "darwin_layout.h"

#include <stddef.h>
#include <stdint.h>
#include <string.h>

// A record of Darwin's is a run of bytes; darwin_layout.h knows where its fields are. Both systems are little-endian
// here.
#define GET(record, type, field)                                                                                       \
    ({                                                                                                                 \
        uint64_t value_ = 0;                                                                                           \
        memcpy(&value_, (const char *)(record) + DW_##type##_##field, DWS_##type##_##field);                           \
        value_;                                                                                                        \
    })
#define PUT(record, type, field, value)                                                                                \
    do {                                                                                                               \
        const uint64_t value_ = (uint64_t)(value);                                                                     \
        memcpy((char *)(record) + DW_##type##_##field, &value_, DWS_##type##_##field);                                 \
    } while (0)
#define PUT_TEXT(record, type, field, text) strncpy((char *)(record) + DW_##type##_##field, text, DWS_##type##_##field)
#define FIELD(record, type, field) ((void *)((char *)(record) + DW_##type##_##field))

// ---- the loader
enum { kMaxImages = 512, kMaxSegments = 16, kMaxLibraries = 16 };

struct image;
/** Where an import comes from: an image, or the stand-ins of a system library. */
struct library {
    struct image *image;
    const char *system; // its install name
};

struct image {
    const char *path, *installName;
    char *base, *end, *entry, *segments[kMaxSegments];
    uint64_t low; // what base has in the file
    char *unwind, *frames, *commands;
    uint64_t unwindSize, framesSize;
    uint32_t commandCount, symbolCount, *chains;
    const char *symbols, *strings;
    struct library libraries[kMaxLibraries];
    int libraryCount, users; // users: dlopen's count; 0: not loaded any more
    int hasWrappers;         // defines a __wrap_ function
};
extern struct image images[kMaxImages];
extern int imageCount;
extern struct image *program, *unwinder;
extern int argumentCount; // the program's
extern char **argumentTexts;

/** Loads a file with the libraries that it names and runs its initialisers; null, with loadError set, when that fails.
 */
struct image *load(const char *path, const char *installName);
extern char loadError[1024];
/** Ends a plug-in that nobody uses any more; its memory is given back, its place in the list if it is the last. */
void unload(struct image *image);
/** What an image exports under a name (with the underscore); null: nothing. */
void *exported(const struct image *image, const char *name);
/** What dlsym finds: in all images, then in the system libraries. */
void *findAnywhere(const char *name);
struct image *imageAt(const void *address);
/** The symbol of an image that is nearest below an address. */
const char *symbolAt(const struct image *image, const void *address, void **start);
void runTerminators(void);

// ---- the stand-ins
/** Whether a library of this install name is stood in for. */
int isSystemLibrary(const char *installName);
/** What stands in for a name of a system library; null: the library has no such name. */
void *systemSymbol(const char *installName, const char *name);
/** A Darwin error number for one of this system's. */
int darwinError(int host);
int hostError(int darwin);
/** Sets up thread-local variables; see thread_locals.c. */
struct descriptor;
void startThreadLocals(struct descriptor *variables, size_t count, const char *data, size_t size, size_t total);
/** Runs a program's function as its thread's body: with the rule of Darwin's for threads that end. See threads.c. */
void *runThread(void *(*start)(void *), void *argument);
