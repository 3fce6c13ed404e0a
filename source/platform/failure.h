#pragma once

// How failure travels inside the library, where an optional would be taken for 'there is none': as an exception, which
// guarded() turns at the exported rim into what callers compare with.

#include <cerrno>
#include <new>
#include <system_error>

#include <netdb.h>

namespace zor {

/** Whether an error number says that the process or the system has run out of something, and nothing about what was
 * asked. */
inline bool isShortage(int error) {
    return error == ENOMEM || error == EMFILE || error == ENFILE || error == ENOBUFS;
}

/** What an error number is inside: lack of memory as std::bad_alloc, anything else as std::system_error. */
[[noreturn]] inline void fail(int error) {
    if (error == ENOMEM)
        throw std::bad_alloc();
    throw std::system_error(error, std::generic_category());
}

/** For a call that has failed with this error number: returns unless that was for want of something. */
inline void failOnShortage(int error) {
    if (isShortage(error))
        fail(error);
}

/** The same for the resolver's numbers, errno being as the call left it. */
inline void failOnResolverShortage(int number) {
    if (number == EAI_MEMORY)
        fail(ENOMEM);
    if (number == EAI_SYSTEM)
        failOnShortage(errno);
}

} // namespace zor
