#pragma once

// The seam's second half: opening what a program that this process starts must not inherit. Where the system sets
// close-on-exec in the same call, that call is used; elsewhere the flag follows in a second one, and the library starts
// no program of its own in between. No fake of these: the tests open real files.

#include "source/platform/posix.h"

#include <string>

namespace zor::host {

/** open(), made again while a signal interrupts; errno as it left it. A cancellation point like open() itself: hold
 * cancellation off where nothing else keeps the descriptor from being lost. */
Descriptor openFile(const char *path, int flags, mode_t mode = 0);

/** mkstemp() on pattern, which ends in "XXXXXX" and receives the name made; unchanged on failure. */
Descriptor openTemporaryFile(std::string &pattern);

/** opendir(), made again while a signal interrupts. */
Directory openDirectory(const char *path);

/** popen() for reading what a shell command writes; the caller's end is not inherited by other programs. */
Pipe startCommand(const char *command);

/** Whether this process can do what whoever started it cannot: a set-user-id program, or one with capabilities. What it
 * was given - its environment above all - is then not to be trusted. */
bool hasRaisedPrivileges();

} // namespace zor::host
