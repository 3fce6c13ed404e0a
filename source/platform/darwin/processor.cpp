// Facts about the processor. Gestalt answers them under four-character selectors, in the numbers that callers know. For
// PowerPC and Intel nothing has replaced those numbers, though the call itself is deprecated since 10.8; for arm64 it
// never had any.

#include "source/platform/four_characters.h"
#include "source/platform/host.h"

#include <TargetConditionals.h>

#if TARGET_CPU_ARM64
#include <sys/sysctl.h>
#else
#include <CoreServices/CoreServices.h>
#endif

namespace zor::host {

#if TARGET_CPU_ARM64

std::optional<int64_t> processorClockHertz() {
    int64_t hertz = 0;
    size_t length = sizeof hertz;
    if (sysctlbyname("hw.cpufrequency", &hertz, &length, nullptr, 0) != 0 || length != sizeof hertz)
        return std::nullopt;
    return hertz;
}

std::optional<int32_t> architectureCode() {
    return std::nullopt;
}

std::optional<int32_t> processorCode() {
    return std::nullopt;
}

#else

namespace {

std::optional<SInt32> ask(OSType name) {
    SInt32 response = 0;
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
    const OSErr error = Gestalt(name, &response);
#pragma GCC diagnostic pop
    if (error != noErr)
        return std::nullopt;
    return response;
}

std::optional<int32_t> askForCode(OSType name) {
    const std::optional<SInt32> response = ask(name);
    if (!response)
        return std::nullopt;
    return static_cast<int32_t>(*response);
}

} // namespace

std::optional<int64_t> processorClockHertz() {
    const std::optional<SInt32> response = ask(fourCharacterCode("pclk"));
    if (!response)
        return std::nullopt;
    return static_cast<uint32_t>(*response); // the 32 bits are unsigned: clocks above 2^31 Hz come back negative
}

std::optional<int32_t> architectureCode() {
    return askForCode(fourCharacterCode("sysa"));
}

std::optional<int32_t> processorCode() {
    // Kept: the code starts at 0, and a failing call leaves it there; callers know the processor as a "68000" then.
    return askForCode(fourCharacterCode("cput")).value_or(0);
}

#endif

} // namespace zor::host
