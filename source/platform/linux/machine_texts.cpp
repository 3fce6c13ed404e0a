#include "source/platform/linux/machine_texts.h"

#include "source/platform/linux/text_fields.h"

#include <limits>

namespace zor::host {

std::optional<uint64_t> memoryAmount(std::string_view meminfo, std::string_view name) {
    constexpr std::string_view kUnit = " kB"; // of 1,024 bytes, whatever its spelling says
    const std::optional<std::string_view> value = fieldValue(meminfo, name);
    if (!value || value->size() < kUnit.size() || value->substr(value->size() - kUnit.size()) != kUnit)
        return std::nullopt;
    const std::optional<uint64_t> amount = decimalNumber(trimmed(value->substr(0, value->size() - kUnit.size())));
    if (!amount || *amount > std::numeric_limits<uint64_t>::max() / 1024)
        return std::nullopt;
    return *amount * 1024;
}

std::optional<int64_t> bootTime(std::string_view stat) {
    constexpr std::string_view kName = "btime ";
    while (const std::optional<std::string_view> line = takeLine(stat)) {
        if (line->substr(0, kName.size()) != kName)
            continue;
        const std::optional<uint64_t> seconds = decimalNumber(line->substr(kName.size()));
        if (!seconds || *seconds > static_cast<uint64_t>(std::numeric_limits<int64_t>::max()))
            return std::nullopt;
        return static_cast<int64_t>(*seconds);
    }
    return std::nullopt;
}

std::optional<std::string> deviceTreeModel(std::string_view model) {
    const size_t end = model.find('\0');
    if (end == std::string_view::npos || end == 0)
        return std::nullopt;
    return std::string(model.substr(0, end));
}

std::optional<std::string> firmwareProductName(std::string_view productName) {
    const std::optional<std::string_view> line = takeLine(productName);
    if (!line || line->empty() || !productName.empty() || line->find('\0') != std::string_view::npos)
        return std::nullopt;
    return std::string(*line);
}

} // namespace zor::host
