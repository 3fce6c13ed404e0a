// What touches the process's time zone: its name, and what a conversion of UTC leaves of TZ. velmora_com::vta::mutex
// guards TZ, tzset and tzname within the library; code outside does not know it, and the code here holds its own
// beside that.

#include "zorcomn/utilities.h"

#include "source/platform/fork.h"
#include "source/platform/posix.h"
#include "source/portability/transcoding.h"
#include "source/utilities/calendar.h"
#include "source/utilities/time_zone.h"

#include <cstdlib>
#include <cstring>
#include <ctime>

#include <sched.h>

namespace zor {

namespace {

const ForkRepair zoneForks(velmora_com::vta::mutex);

/** The C library's own text, which it never releases; null when there is none. For who holds the mutex.
 *
 * localtime_r has no name there for a moment while it works in a zone read from a file, so who finds none looks again.
 * Not by waiting for the C library's own lock: a child forked in that moment would wait for ever. */
const char *nameInForce() ZORCOMN_REQUIRES(velmora_com::vta::mutex) {
    constexpr int kLooks = 1100, kYielding = 1000;
    constexpr timespec kPause = {0, 1000000};
    for (int look = 0; look < kLooks; ++look) {
        if (const char *name = __atomic_load_n(&tzname[0], __ATOMIC_ACQUIRE)) // once: it may be gone the next moment
            return name;
        if (look < kYielding)
            sched_yield();
        else
            nanosleep(&kPause, nullptr);
    }
    return nullptr;
}

/** Puts into force what TZ says, as a conversion always did in the end; TZ itself stays, but for what could not be put
 * back. */
void settleZone() {
    constexpr size_t kLongestSetting = 1024;
    const CleanUpScope quiet;
    const MutexLock lock(velmora_com::vta::mutex);
    const ForkDelay delay; // the environment and the zone have locks of their own
    // Kept: an empty TZ, and one beyond 1,024 characters, is removed.
    if (const char *setting = std::getenv("TZ")) {
        const size_t length = boundedLength(setting, kLongestSetting + 1);
        if (length == 0 || length > kLongestSetting)
            unsetenv("TZ");
    }
    tzset();
}

} // namespace

std::optional<std::string> standardZoneName() {
    const CleanUpScope quiet;
    const MutexLock lock(velmora_com::vta::mutex);
    const char *name = nameInForce();
    return name ? std::optional<std::string>(name) : std::nullopt;
}

} // namespace zor

namespace velmora_com {
namespace vta {

zor::Mutex mutex = PTHREAD_MUTEX_INITIALIZER;

std::time_t zorcomn_timegm(std::tm *utc) {
    if (!utc)
        return -1;
    const zor::UncancellableScope uncancellable;
    const std::optional<std::time_t> seconds = zor::normaliseUtc(*utc);
    zor::settleZone();
    return seconds.value_or(-1);
}

bool zorcomn_gettimezone(std::wstring &name) {
    constexpr size_t kLongestName = 63;
    const zor::UncancellableScope uncancellable;
    return zor::guarded(false, [&] {
        std::optional<std::string> narrow = zor::standardZoneName();
        if (!narrow)
            return false;
        if (narrow->size() > kLongestName)
            narrow->resize(kLongestName);
        name = zor::wideOf(*narrow); // which says when there is no memory
        return true;
    });
}

} // namespace vta
} // namespace velmora_com
