// The kernel's text about the processors, and the frequency driver's.

#include "source/platform/linux/processor_texts.h"
#include "source/platform/linux/text_fields.h"
#include "tests/fuzz/readers.h"

#include <algorithm>
#include <cstdlib>
#include <optional>

namespace zor::test::readers {

namespace {

using namespace host;

constexpr ProcessorFamily kFamilies[] = {ProcessorFamily::x86, ProcessorFamily::powerPc, ProcessorFamily::other};

/** The clock by the C library's reading, to the megahertz. */
std::optional<double> modelMegahertz(std::string_view value) {
    const std::string text(value);
    if (text.empty() || text.find_first_not_of("0123456789.") != std::string::npos || text.front() == '.' ||
        text.back() == '.' || text.find('.') != text.rfind('.'))
        return std::nullopt;
    return std::strtod(text.c_str(), nullptr);
}

} // namespace

const char *cpuinfo(const std::string &bytes) {
    for (const ProcessorFamily family : kFamilies) {
        const auto code = processorCodeIn(bytes, family);
        const auto clock = clockIn(bytes, family);
        if (family == ProcessorFamily::other && code)
            return "a family without codes has none";
        if (clock && *clock <= 0)
            return "a clock is positive";
        const size_t end = bytes.rfind('\n') + 1;
        if (processorCodeIn(bytes.substr(0, end), family) != code || clockIn(bytes.substr(0, end), family) != clock)
            return "a line that is cut short does not count";
        if (processorCodeIn("no field\n" + bytes, family) != code || clockIn("no field\n" + bytes, family) != clock)
            return "an odd line is passed over";
        if (code && processorCodeIn(bytes.substr(0, end) + "cpu family\t: 4\nmodel\t: 0\ncpu\t: 601\n", family) != code)
            return "the first line of a name counts";
    }
    if (const auto megahertz = fieldValue(bytes, "cpu MHz")) {
        const auto expected = modelMegahertz(*megahertz);
        const auto clock = clockIn(bytes, ProcessorFamily::x86);
        if (clock && (!expected || *expected * 1e6 < static_cast<double>(*clock) * (1 - 1e-9) - 1 ||
                      *expected * 1e6 > static_cast<double>(*clock) * (1 + 1e-9) + 1))
            return "the C library reads the same clock";
        if (!clock && expected && *expected >= 0.000001 && *expected < 9e12)
            return "a positive number is a clock";
    }
    const auto frequency = highestFrequency(bytes);
    if (frequency &&
        std::to_string(*frequency / 1000) != bytes.substr(std::min(bytes.find_first_not_of('0'), bytes.size()),
                                                          bytes.find('\n') - bytes.find_first_not_of('0')))
        return "a frequency is the file's one number";
    return nullptr;
}

} // namespace zor::test::readers
