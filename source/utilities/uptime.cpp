// The seconds since the system was started.

#include "zorcomn/utilities.h"

#include "source/platform/host.h"
#include "source/platform/posix.h"

#include <ctime>

namespace velmora_com {
namespace vta {

int32_t get_system_uptime_osx() {
    const zor::UncancellableScope uncancellable;
    constexpr int32_t kNotKnown = INT32_MAX;
    return zor::guarded(kNotKnown, [] {
        const std::optional<int64_t> boot = zor::host::bootTimeSeconds();
        if (!boot)
            return kNotKnown;
        // Unsigned: an absurd boot time wraps, as it does in the 32-bit seconds that callers get.
        return static_cast<int32_t>(static_cast<uint32_t>(std::time(nullptr)) - static_cast<uint32_t>(*boot));
    });
}

int32_t qelcomn_get_system_uptime() {
    return get_system_uptime_osx();
}

} // namespace vta
} // namespace velmora_com
