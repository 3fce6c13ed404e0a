/** @file
 * What the other headers share: the version, the mark of an export, numbers that several subsystems answer with. */
#pragma once

/** The library's version. Callers built against one minor version run with every later one of the same major. */
#define ZORCOMN_VERSION_MAJOR 4
/** @copydoc ZORCOMN_VERSION_MAJOR */
#define ZORCOMN_VERSION_MINOR 8
/** @copydoc ZORCOMN_VERSION_MAJOR */
#define ZORCOMN_VERSION_PATCH 0
/** The version as one number that grows with it, two decimal digits for minor and patch each: 40800 for 4.8.0. */
#define ZORCOMN_VERSION (ZORCOMN_VERSION_MAJOR * 10000 + ZORCOMN_VERSION_MINOR * 100 + ZORCOMN_VERSION_PATCH)

/** What the list, lock and utility families answer with: 0 for success. */
#define ZORCOMN_SUCCESS 0u
/** Failure of the same families, and of qelGetLastError for an errno that its table does not name. */
#define ZORCOMN_FAILURE 0x80000008u
/** All 32 bits set: no thread-local index, no position, no size; as a time-out, without limit (ZORCOMN_INFINITE). */
#define ZORCOMN_ALL_ONES 0xFFFFFFFFu

/** Marks what the shared library exports; everything else in it is hidden. */
#define ZORCOMN_API __attribute__((visibility("default")))

/** Has the compiler check a format, the parameter of that number, against the arguments from another number on; 0 for
 * arguments that come as a va_list. */
#define ZORCOMN_PRINTF(format_parameter, first_argument)                                                               \
    __attribute__((format(printf, format_parameter, first_argument)))
