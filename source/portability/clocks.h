#pragma once

// The clocks' arithmetic and the name's copy apart from the system calls, for tests to feed.

#include "zorcomn/portability.h"

#include <cstdint>
#include <ctime>

namespace zor {

/** Milliseconds of a tick count, in the 32-bit arithmetic that callers see. */
uint32_t tickCountOf(uint32_t ticks, uint32_t ticksPerSecond);

qelSystemTime systemTimeOf(const std::tm &time);

/** Copies the name when size has room for it and its terminator, and sets size to its length; else changes nothing. */
bool copyComputerName(const char *name, char *buffer, uint32_t &size);

} // namespace zor
