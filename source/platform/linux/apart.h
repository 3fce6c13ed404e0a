#pragma once

// Puts a question to the system that may never be answered: a file served by a program that hangs, a file system whose
// server is gone. A system call that waits for such an answer can be neither cancelled nor, once the server has taken
// the request, killed, and a process with one waiting thread does not end. So the question goes to a process of its
// own: it may wait for ever, while the caller goes on at the time limit and can end whenever it likes.

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>

#include <sys/types.h>

namespace zor::host {

/** How long one question may take. Whoever serves a file of the kernel's does so within milliseconds; a machine under
 * load needs some room. */
constexpr std::chrono::milliseconds kAnswerLimit{1000};

/** Writes the answer, at most room bytes; how many there are, -1 for none. Runs in the other process, as after a fork
 * beside other threads: it makes system calls on memory that stands, and neither allocates nor takes a lock. */
using Ask = ssize_t (*)(const void *question, char *answer, size_t room);

/** Has a question asked apart.
 * @return the answer; nothing when there is none, it does not come within the limit, or no process can be made. What
 *         has been given up is killed; as long as several of such processes linger, since not even that ends them, no
 *         more are made.
 * Threads: safe. The process opens nothing in this one, has none of its descriptors, sends it no signal when it ends,
 * and no wait for any child finds it.
 */
std::optional<std::string> askApart(Ask ask, const void *question, size_t maxBytes, std::chrono::milliseconds limit);

/** The same with anything callable as ask(answer, room). */
template <class Callable>
std::optional<std::string> askApart(const Callable &ask, size_t maxBytes, std::chrono::milliseconds limit) {
    return askApart([](const void *question, char *answer,
                       size_t room) { return (*static_cast<const Callable *>(question))(answer, room); },
                    &ask, maxBytes, limit);
}

} // namespace zor::host
