// The wall clock, the tick count and the computer's name, and the message pump that has nothing to pump.

#include "zorcomn/portability.h"

#include "source/platform/fork.h"
#include "source/platform/posix.h"
#include "source/portability/clocks.h"

#include <cstring>

#include <sys/times.h>
#include <sys/utsname.h>
#include <unistd.h>

static_assert(sizeof(qelSystemTime) == 16, "eight 16-bit fields in order");

namespace zor {

// Kept: the product wraps in 32 bits, so that the count starts again at 0 long before 2^32 milliseconds.
uint32_t tickCountOf(uint32_t ticks, uint32_t ticksPerSecond) {
    return ticksPerSecond == 0 ? 0 : ticks * 1000u / ticksPerSecond;
}

qelSystemTime systemTimeOf(const std::tm &time) {
    qelSystemTime record{};
    record.year = static_cast<uint16_t>(time.tm_year + 1900);
    record.month = static_cast<uint16_t>(time.tm_mon + 1);
    record.dayOfWeek = static_cast<uint16_t>(time.tm_wday);
    record.day = static_cast<uint16_t>(time.tm_mday);
    record.hour = static_cast<uint16_t>(time.tm_hour);
    record.minute = static_cast<uint16_t>(time.tm_min);
    record.second = static_cast<uint16_t>(time.tm_sec);
    return record;
}

bool copyComputerName(const char *name, char *buffer, uint32_t &size) {
    const size_t length = std::strlen(name);
    if (size < length + 1)
        return false;
    std::memcpy(buffer, name, length + 1);
    size = static_cast<uint32_t>(length);
    return true;
}

} // namespace zor

// Kept: local time, whatever the name says.
void qelGetSystemTime(qelSystemTime *time) {
    if (!time)
        return;
    const zor::UncancellableScope uncancellable;
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    const zor::ForkDelay delay; // localtime_r locks the zone
    *time = localtime_r(&now, &local) ? zor::systemTimeOf(local) : qelSystemTime{};
}

uint32_t qelGetTickCount(void) {
    tms ignored;
    return zor::tickCountOf(static_cast<uint32_t>(times(&ignored)), static_cast<uint32_t>(sysconf(_SC_CLK_TCK)));
}

int32_t qelGetComputerName(char *buffer, uint32_t *size) {
    utsname names;
    if (!buffer || !size || uname(&names) < 0)
        return 0;
    return zor::copyComputerName(names.nodename, buffer, *size) ? 1 : 0;
}

int32_t qelTranslateMessage(const void *) {
    return 1;
}
