// The miscellaneous record: logged-on users, time zone, language and the time of the collection. One mutex of its own
// guards the read of the zone's name.

#include "source/sysprops/misc_information.h"

#include "zorcomn/sysprops.h"

#include "source/platform/fork.h"
#include "source/platform/posix.h"
#include "source/portability/transcoding.h"
#include "source/session/logged_on_users.h"
#include "source/utilities/time_zone.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

#include <pthread.h>
#include <time.h>

namespace {

zor::Mutex zoneNameMutex = PTHREAD_MUTEX_INITIALIZER;
const zor::ForkRepair zoneNameForks(zoneNameMutex);

/** Runs what may throw. One fact that cannot be had leaves the others as they are. */
template <class Body> void unlessItFails(Body body) {
    zor::guarded(false, [&] {
        body();
        return true;
    });
}

std::wstring loggedOnUsers() {
    std::wstring users = zor::allLoggedOnUsers();
    // Kept: nobody is "NA" here, not the "N/A" of every other missing fact; callers compare with it.
    return users.empty() ? L"NA" : users;
}

// Kept: the zone is not asked for anew (tzset); who wants it right from the first call on calls tzset at the start.
std::wstring zoneName() {
    const zor::MutexLock lock(zoneNameMutex);
    return zor::wideOf(zor::standardZoneName().value_or(""));
}

} // namespace

namespace zor {

std::optional<std::wstring> localTimeText(std::time_t time) {
    tm local{};
    const ForkDelay delay; // localtime_r locks the zone
    if (!localtime_r(&time, &local))
        return std::nullopt;
    char text[32] = "";
    const long long year = 1900LL + local.tm_year;
    if (std::snprintf(text, sizeof text, "%02d/%02d/%04lld %02d:%02d:%02d", local.tm_mon + 1, local.tm_mday, year,
                      local.tm_hour, local.tm_min, local.tm_sec) < 0)
        return std::nullopt;
    return std::wstring(text, text + std::strlen(text)); // digits and separators: ASCII
}

// Kept: only the text "en_UK" counts as British, and it wins; en_GB, the proper name, stays American.
const wchar_t *languageIdentifier(const char *lang) {
    if (lang && std::strstr(lang, "en_UK"))
        return L"0809";
    if (lang && std::strstr(lang, "ja_JP"))
        return L"0411";
    return L"0409";
}

} // namespace zor

namespace velmora_com {
namespace vta {
namespace sysprops {

bool ISysProps::GetMiscInformation(MiscInformation &info) {
    const zor::UncancellableScope uncancellable;
    const int callersErrno = errno;
    unlessItFails([&] { info.UserName = loggedOnUsers(); });
    errno = callersErrno;
    unlessItFails([&] { info.TimeZone = zoneName(); });
    unlessItFails([&] {
        if (std::optional<std::wstring> now = zor::localTimeText(std::time(nullptr)))
            info.LastUpdate = std::move(*now);
    });
    unlessItFails([&] { info.DefaultLangID = zor::languageIdentifier(std::getenv("LANG")); });
    return true;
}

} // namespace sysprops
} // namespace vta
} // namespace velmora_com
