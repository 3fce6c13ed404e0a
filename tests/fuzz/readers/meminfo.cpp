// The kernel's texts about memory, start and model of the machine.

#include "source/platform/linux/machine_texts.h"
#include "source/platform/linux/text_fields.h"
#include "tests/fuzz/readers.h"

#include <algorithm>
#include <limits>
#include <regex>

namespace zor::test::readers {

namespace {

using namespace host;

/** A number of the kernel's that fits so many bits, by the digits. */
std::optional<uint64_t> number(std::string digits, uint64_t most) {
    digits.erase(0, std::min(digits.find_first_not_of('0'), digits.size()));
    if (digits.size() > 20)
        return std::nullopt;
    uint64_t value = 0;
    for (const char digit : digits) {
        const auto next = static_cast<uint64_t>(digit - '0');
        if (value > (most - next) / 10)
            return std::nullopt;
        value = value * 10 + next;
    }
    return value;
}

/** Whole lines only. */
std::optional<std::string> lineThat(const std::string &text, const std::regex &form) {
    for (size_t begin = 0, end; (end = text.find('\n', begin)) != std::string::npos; begin = end + 1) {
        std::smatch found;
        const std::string line = text.substr(begin, end - begin);
        if (std::regex_match(line, found, form))
            return found[1];
    }
    return std::nullopt;
}

std::optional<uint64_t> modelAmount(const std::string &text) {
    static const std::regex named("[ \t]*MemTotal[ \t]*:([^\n]*)"), amount("[ \t]*([0-9]+)[ \t]* kB[ \t]*");
    const auto value = lineThat(text, named);
    std::smatch found;
    if (!value || !std::regex_match(*value, found, amount))
        return std::nullopt;
    const auto kilobytes = number(found[1], std::numeric_limits<uint64_t>::max() / 1024);
    return kilobytes ? std::optional<uint64_t>(*kilobytes * 1024) : std::nullopt;
}

std::optional<int64_t> modelStart(const std::string &text) {
    static const std::regex named("btime ([^\n]*)"), digits("[0-9]+");
    const auto value = lineThat(text, named);
    if (!value || !std::regex_match(*value, digits))
        return std::nullopt;
    const auto seconds = number(*value, static_cast<uint64_t>(std::numeric_limits<int64_t>::max()));
    return seconds ? std::optional<int64_t>(static_cast<int64_t>(*seconds)) : std::nullopt;
}

} // namespace

const char *meminfo(const std::string &bytes) {
    constexpr size_t kLongestForModel = 2048; // whose matcher goes down as deep as a line is long
    if (bytes.size() <= kLongestForModel && bytes.find('\0') == std::string::npos) {
        if (memoryAmount(bytes, "MemTotal") != modelAmount(bytes))
            return "the same lines give the same amount";
        if (bootTime(bytes) != modelStart(bytes))
            return "the same lines give the same start";
    }
    const size_t end = bytes.rfind('\n') + 1;
    if (memoryAmount(bytes.substr(0, end), "MemTotal") != memoryAmount(bytes, "MemTotal") ||
        bootTime(bytes.substr(0, end)) != bootTime(bytes))
        return "a line that is cut short does not count";
    const auto model = deviceTreeModel(bytes);
    if (model ? model->empty() || bytes.compare(0, model->size() + 1, *model + '\0') != 0
              : bytes.find('\0') != std::string::npos && bytes.front() != '\0')
        return "a model ends at a null byte";
    const auto product = firmwareProductName(bytes);
    if (product ? product->empty() || *product + '\n' != bytes
                : bytes.size() > 1 && bytes.find('\n') + 1 == bytes.size() && bytes.find('\0') == std::string::npos)
        return "a product name is the one line of its file";
    return nullptr;
}

} // namespace zor::test::readers
