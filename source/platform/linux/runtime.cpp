// What the C library does differently here: the process's identifier, daylight-saving time in a zone without any, the
// wide encoding's name for iconv and the report of an assertion.

#include "source/platform/host.h"

#include "source/platform/fork.h"

#undef NDEBUG // which would hide the report that assert itself makes
#include <cassert>

#include <atomic>

#include <unistd.h>

namespace zor::host {

namespace {

// getpid is a system call here, several times the cost of an uncontended lock. 0: not known.
std::atomic<pid_t> knownProcessId{0};

void forgetProcessId() {
    knownProcessId.store(0, std::memory_order_relaxed);
}

const ForkRepair processIdForks(forgetProcessId);

pid_t rememberProcessId() {
    const pid_t id = getpid();
    if (ForkRepair::isAvailable())
        knownProcessId.store(id, std::memory_order_relaxed);
    return id;
}

} // namespace

pid_t processId() {
    const pid_t known = knownProcessId.load(std::memory_order_relaxed);
    return known != 0 ? known : rememberProcessId();
}

std::optional<int32_t> daylightShiftWithoutRules() {
    return 3600;
}

const char *wideEncodingName() {
    return "WCHAR_T";
}

void failAssertion(const char *function, const char *file, int line, const char *expression) {
    __assert_fail(expression, file, static_cast<unsigned int>(line), function);
}

} // namespace zor::host
