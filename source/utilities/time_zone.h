#pragma once

// The lock around the process's time zone, and the zone's name. Whoever in the library reads or changes TZ, calls tzset
// or reads tzname holds the lock. A leaf: nothing else of the library is locked while it is held. Not exported.

#include "source/platform/posix.h"

#include <optional>
#include <string>

#include <pthread.h>

namespace velmora_com {
namespace vta {

extern zor::Mutex mutex;

} // namespace vta
} // namespace velmora_com

namespace zor {

/** The standard-time zone's name, tzname[0], whatever other threads, the program's own included, do with the C
 * library's time functions meanwhile; tzset is not called. Nothing when the C library has no name. Takes the lock. */
std::optional<std::string> standardZoneName();

} // namespace zor
