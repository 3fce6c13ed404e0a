#pragma once
// What the files of stand-ins share. Each gives a table of names: dw_x stands in for x, or x is the same on both
// systems (its arguments, records, numbers and results).
#include "macho_run.h"

struct name {
    const char *name;
    void *address;
};
#define N(name)                                                                                                        \
    { "_" #name, (void *)dw_##name }
#define SAME(name)                                                                                                     \
    { "_" #name, (void *)name }
#define INODE64(name)                                                                                                  \
    { "_" #name "$INODE64", (void *)dw_##name }
#define NAMED(text, address)                                                                                           \
    { text, (void *)(address) }

/** A number that goes by the same name on both systems. */
struct pair {
    long host, darwin;
};
#define PAIR(name)                                                                                                     \
    { name, DWC_##name }
#define HOST_OF(pairs, number, otherwise) pairOf(pairs, sizeof(pairs) / sizeof *(pairs), number, 0, otherwise)
#define DARWIN_OF(pairs, number, otherwise) pairOf(pairs, sizeof(pairs) / sizeof *(pairs), number, 1, otherwise)
static inline int pairOf(const struct pair *pairs, size_t count, long number, int fromHost, long otherwise) {
    for (size_t i = 0; i < count; ++i)
        if ((fromHost ? pairs[i].host : pairs[i].darwin) == number)
            return (int)(fromHost ? pairs[i].darwin : pairs[i].host);
    return (int)otherwise;
}

extern const struct name threadNames[], signalNames[], fileNames[], networkNames[], machineNames[], textNames[],
    programNames[], iconvNames[], coreFoundationNames[], coreServicesNames[];

int hostSignal(int darwin);
int darwinSignal(int host);
int openFlags(int darwin);
/** A text in an XML property list: 1 and the text, 0 without the key, -1 for a list that is not sound or another value.
 */
int textInList(const char *list, long length, const char *key, char *text, size_t size);
