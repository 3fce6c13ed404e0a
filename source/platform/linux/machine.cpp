// Facts about the machine as a whole: memory, model, start, NIS domain.

#include "source/platform/host.h"

#include "source/platform/linux/machine_texts.h"
#include "source/platform/linux/system_file.h"

#include <unistd.h>

namespace zor::host {

namespace {

constexpr size_t kMaxMeminfoBytes = size_t{64} * 1024;
constexpr size_t kMaxStatBytes = size_t{8} * 1024 * 1024; // a line for each processor, a number for each interrupt
constexpr size_t kMaxModelBytes = 4096;

std::optional<uint64_t> memoryBytes(std::string_view name) {
    const std::optional<std::string> meminfo = readSystemFile("/proc/meminfo", kMaxMeminfoBytes);
    return meminfo ? memoryAmount(*meminfo, name) : std::nullopt;
}

} // namespace

std::optional<uint64_t> physicalMemoryBytes() {
    const std::optional<uint64_t> bytes = memoryBytes("MemTotal");
    if (bytes == 0u) // no machine; the table was not filled
        return std::nullopt;
    return bytes;
}

std::optional<FreeMemory> freeMemory() {
    const std::optional<uint64_t> bytes = memoryBytes("MemFree");
    const long pageSize = sysconf(_SC_PAGESIZE);
    if (!bytes || pageSize <= 0)
        return std::nullopt;
    const auto pageSizeBytes = static_cast<uint64_t>(pageSize);
    return FreeMemory{*bytes / pageSizeBytes, pageSizeBytes};
}

std::optional<std::string> hardwareModel() {
    if (const std::optional<std::string> text = readSystemFile("/proc/device-tree/model", kMaxModelBytes))
        if (std::optional<std::string> model = deviceTreeModel(*text))
            return model;
    const std::optional<std::string> text = readSystemFile("/sys/class/dmi/id/product_name", kMaxModelBytes);
    return text ? firmwareProductName(*text) : std::nullopt;
}

std::optional<int64_t> bootTimeSeconds() {
    const std::optional<std::string> stat = readSystemFile("/proc/stat", kMaxStatBytes);
    return stat ? bootTime(*stat) : std::nullopt;
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
