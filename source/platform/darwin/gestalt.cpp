// Facts about the processor that Gestalt answers under four-character selectors.

#include "source/platform/four_characters.h"
#include "source/platform/host.h"

#include <Carbon/Carbon.h>

namespace zor::host {

namespace {

std::optional<SInt32> ask(OSType name) {
    SInt32 response = 0;
    if (Gestalt(name, &response) != noErr)
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

} // namespace zor::host
