#pragma once

// What the kernel's texts about the machine as a whole say. Each function takes a file's content; what is not exactly
// as the kernel writes it is not known.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace zor::host {

/** An amount in bytes of /proc/meminfo, by its name there. */
std::optional<uint64_t> memoryAmount(std::string_view meminfo, std::string_view name);

/** The start of the system in /proc/stat, in seconds since 1970-01-01 UTC. */
std::optional<int64_t> bootTime(std::string_view stat);

/** The model that the firmware's device tree names: a text ended by a null byte. */
std::optional<std::string> deviceTreeModel(std::string_view model);

/** The product name that the firmware's tables hold: one line. */
std::optional<std::string> firmwareProductName(std::string_view productName);

} // namespace zor::host
