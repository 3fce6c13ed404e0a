#pragma once

// Stands in for the target's header: names, numbers and signatures only. The calls are made up in fake_calls.cpp.

#include <cstddef>

#include <sys/types.h>

#define CTL_KERN 1
#define CTL_HW 6
#define KERN_BOOTTIME 21
#define KERN_NISDOMAINNAME 22
#define HW_NCPU 3
#define HW_MEMSIZE 24

extern "C" {
int sysctl(int *name, unsigned int nameLength, void *old, size_t *oldLength, void *fresh, size_t freshLength);
int sysctlbyname(const char *name, void *old, size_t *oldLength, void *fresh, size_t freshLength);
}
