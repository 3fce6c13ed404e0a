// What the C library and the loader do differently here: the process's identifier, daylight-saving time in a zone
// without any, the wide encoding's name for iconv, the report of an assertion, and how a library stays mapped.

#include "source/platform/host.h"

#undef NDEBUG // which would hide the report that assert itself makes
#include <cassert>

#include <dlfcn.h>
#include <unistd.h>

namespace zor::host {

namespace {

/** Takes a reference to the image that this code is in, which nobody gives back: an ended thread may still run its last
 * instructions here when its handle is signalled. Part of a program, it is there to stay and nothing changes. */
bool keepMapped() {
    Dl_info image = {};
    return dladdr(reinterpret_cast<const void *>(&keepMapped), &image) != 0 && image.dli_fname &&
           dlopen(image.dli_fname, RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE);
}

[[maybe_unused]] const bool staysMapped = keepMapped(); // when the library is loaded

} // namespace

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
