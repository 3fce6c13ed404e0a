#pragma once

// Lines as facts change.

#include "command_line.h"
#include "own_output.h"
#include "workers.h"

namespace zorprops {

/** Looks again and again, and writes a line for each change, until it is interrupted, has looked often enough, or
 * nobody reads any more - each of which is its proper end.
 * @return the exit code. */
int watch(const Request &request, OwnOutput &output, Patience patience);

} // namespace zorprops
