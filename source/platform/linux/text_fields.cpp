#include "source/platform/linux/text_fields.h"

#include <charconv>

namespace zor::host {

std::optional<std::string_view> takeLine(std::string_view &text) {
    const size_t end = text.find('\n');
    if (end == std::string_view::npos)
        return std::nullopt;
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(end + 1);
    return line;
}

std::string_view trimmed(std::string_view text) {
    const size_t first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

std::optional<std::string_view> fieldValue(std::string_view text, std::string_view name) {
    while (const std::optional<std::string_view> line = takeLine(text)) {
        const size_t colon = line->find(':');
        if (colon != std::string_view::npos && trimmed(line->substr(0, colon)) == name)
            return trimmed(line->substr(colon + 1));
    }
    return std::nullopt;
}

std::optional<uint64_t> decimalNumber(std::string_view text) {
    uint64_t number = 0;
    const char *end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || stop != end)
        return std::nullopt;
    return number;
}

} // namespace zor::host
