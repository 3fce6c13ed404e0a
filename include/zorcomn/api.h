#pragma once

/** Marks what the shared library exports; everything else in it is hidden. */
#define ZORCOMN_API __attribute__((visibility("default")))

/** Has the compiler check a format, the parameter of that number, against the arguments from another number on; 0 for
 * arguments that come as a va_list. */
#define ZORCOMN_PRINTF(format_parameter, first_argument)                                                               \
    __attribute__((format(printf, format_parameter, first_argument)))
