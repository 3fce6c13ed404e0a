// Facts about the machine as a whole: processors, memory, model, start, NIS domain.

#include "platform/host.h"

#include <unistd.h>

namespace zor::host {

std::optional<int32_t> processorCount() {
    const long count = sysconf(_SC_NPROCESSORS_ONLN);
    if (count < 1 || count > INT32_MAX)
        return std::nullopt;
    return static_cast<int32_t>(count);
}

std::optional<uint64_t> physicalMemoryBytes() {
    return std::nullopt;
}

std::optional<FreeMemory> freeMemory() {
    return std::nullopt;
}

std::optional<int64_t> processorClockHertz() {
    return std::nullopt;
}

std::optional<int32_t> architectureCode() {
    return std::nullopt;
}

std::optional<int32_t> processorCode() {
    return std::nullopt;
}

std::optional<std::string> hardwareModel() {
    return std::nullopt;
}

std::optional<int64_t> bootTimeSeconds() {
    return std::nullopt;
}

std::optional<std::string> nisDomainName() {
    char name[256] = {};
    if (getdomainname(name, sizeof name - 1) != 0)
        return std::nullopt;
    const std::string domain = name;
    // The kernel's placeholder for a domain that nobody has set.
    return domain == "(none)" ? std::string() : domain;
}

} // namespace zor::host
