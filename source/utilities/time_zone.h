#pragma once

// The lock around the process's time zone: whoever reads or changes TZ, calls tzset or reads tzname holds it. A leaf:
// nothing else is locked while it is held. Not exported.

#include <pthread.h>

namespace velmora_com {
namespace vta {

extern pthread_mutex_t mutex;

} // namespace vta
} // namespace velmora_com
