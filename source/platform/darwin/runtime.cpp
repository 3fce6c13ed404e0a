// What the C library does differently here: the process's identifier, daylight-saving time in a zone without any, the
// wide encoding's name for iconv and the report of an assertion.

#include "source/platform/host.h"

#undef NDEBUG // which would hide the report that assert itself makes
#include <cassert>

#include <unistd.h>

namespace zor::host {

pid_t processId() {
    return getpid(); // which the C library remembers
}

std::optional<int32_t> daylightShiftWithoutRules() {
    return std::nullopt; // it looks for a daylight-saving type of the zone's own
}

const char *wideEncodingName() {
    return "UCS-4-INTERNAL";
}

void failAssertion(const char *function, const char *file, int line, const char *expression) {
    __assert_rtn(function, file, line, expression);
}

} // namespace zor::host
