// What touches the process's time zone: UTC broken down to calendar seconds, by way of mktime in UTC, and the zone's
// name. velmora_com::vta::mutex guards TZ, tzset and tzname within the library.

#include "zorcomn/utilities.h"

#include "source/platform/posix.h"
#include "source/utilities/time_zone.h"

#include <cstdlib>
#include <cstring>

namespace zor {

namespace {

/** Makes UTC the process's zone while it lives, then puts TZ back, also when a cancelled thread unwinds through. For
 * who holds the zone's mutex. */
class UtcZone {
public:
    UtcZone() : m_isSet(setUtc()) {}
    ~UtcZone() {
        CleanUpScope quiet;
        if (m_before[0] != '\0')
            setenv("TZ", m_before, 1);
        else
            unsetenv("TZ");
        tzset();
    }
    UtcZone(const UtcZone &) = delete;
    UtcZone &operator=(const UtcZone &) = delete;

    explicit operator bool() const { return m_isSet; }

private:
    /** False, and errno says why, when the environment cannot take it. */
    bool setUtc() {
        int error = 0;
        {
            CleanUpScope quiet; // unwinding from in here would leave TZ as it is
            // Kept: a value beyond 1,024 characters is not remembered, and is removed in the end like an empty one.
            const char *before = std::getenv("TZ");
            if (before && std::strlen(before) < sizeof m_before)
                copyText(m_before, sizeof m_before, before);
            if (setenv("TZ", "", 1) != 0)
                error = errno;
            tzset();
        }
        if (error != 0)
            errno = error;
        return error == 0;
    }

    char m_before[1025] = "";
    bool m_isSet;
};

/** The first 63 bytes of the standard-time zone's name; false when the system has none. */
bool readZoneName(char (&name)[64]) {
    const MutexLock lock(velmora_com::vta::mutex);
    if (!tzname[0])
        return false;
    copyText(name, sizeof name, tzname[0]);
    return true;
}

} // namespace

} // namespace zor

namespace velmora_com {
namespace vta {

pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;

std::time_t zorcomn_timegm(std::tm *utc) {
    if (!utc)
        return -1;
    const zor::MutexLock lock(mutex);
    const zor::UtcZone zone;
    return zone ? std::mktime(utc) : -1;
}

bool zorcomn_gettimezone(std::wstring &name) {
    char narrow[64] = {};
    if (!zor::readZoneName(narrow))
        return false;
    return zor::guarded(false, [&] {
        name = qelcomn_ansi_to_wide(narrow);
        return true;
    });
}

} // namespace vta
} // namespace velmora_com
