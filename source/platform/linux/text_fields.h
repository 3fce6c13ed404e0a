#pragma once

// Takes the kernel's texts apart: lines of "name: value", decimal numbers. A line that does not end in a newline was
// cut short and does not count.

#include <cstdint>
#include <optional>
#include <string_view>

namespace zor::host {

/** Takes the next line, without its newline, off the front of text; nothing when no whole line is left. */
std::optional<std::string_view> takeLine(std::string_view &text);

/** Text without blanks and tabs at either end. */
std::string_view trimmed(std::string_view text);

/** The value of the first line "name: value", blanks and tabs around both left out; nothing when there is none. */
std::optional<std::string_view> fieldValue(std::string_view text, std::string_view name);

/** A number of decimal digits and nothing else that fits 64 bits. */
std::optional<uint64_t> decimalNumber(std::string_view text);

} // namespace zor::host
