#include "source/platform/linux/processor_texts.h"

#include "source/platform/four_characters.h"
#include "source/platform/linux/text_fields.h"

#include <limits>

namespace zor::host {

namespace {

constexpr int32_t k486 = fourCharacterCode("i486");
constexpr int32_t kPentium = fourCharacterCode("i586");
constexpr int32_t kPentiumPro = fourCharacterCode("i5pr");
constexpr int32_t kPentiumII = fourCharacterCode("i5ii");
constexpr int32_t kPentium4 = fourCharacterCode("i5iv");
constexpr int32_t kNewerX86 = fourCharacterCode("ixxx");

// The models that bore the code's name, by the numbers that the processors give themselves.
int32_t pentiumFamilyCode(uint64_t model) {
    return model <= 8 ? kPentium : kNewerX86;
}

int32_t pentiumProFamilyCode(uint64_t model) {
    switch (model) {
    case 0:
    case 1:
        return kPentiumPro;
    case 3:
    case 5:
    case 6:
        return kPentiumII;
    default:
        return kNewerX86;
    }
}

int32_t pentium4FamilyCode(uint64_t model) {
    return model <= 6 ? kPentium4 : kNewerX86;
}

std::optional<int32_t> x86Code(std::string_view cpuinfo) {
    const std::optional<std::string_view> familyText = fieldValue(cpuinfo, "cpu family");
    const std::optional<uint64_t> family = familyText ? decimalNumber(*familyText) : std::nullopt;
    if (!family || *family < 4)
        return std::nullopt;
    if (*family == 4)
        return k486;
    if (*family != 5 && *family != 6 && *family != 15)
        return kNewerX86;
    // Other makers give the same numbers to processors of other names.
    const std::optional<std::string_view> maker = fieldValue(cpuinfo, "vendor_id");
    if (maker && *maker != "GenuineIntel")
        return kNewerX86;
    const std::optional<std::string_view> modelText = fieldValue(cpuinfo, "model");
    const std::optional<uint64_t> model = modelText ? decimalNumber(*modelText) : std::nullopt;
    if (!model)
        return std::nullopt;
    if (*family == 5)
        return pentiumFamilyCode(*model);
    return *family == 6 ? pentiumProFamilyCode(*model) : pentium4FamilyCode(*model);
}

// The kernel's names of the processors that have a code; several stand for a whole series.
constexpr struct {
    std::string_view name;
    int32_t code;
} kPowerPcNames[] = {
    {"601", 0x101},   {"603", 0x103},       {"604", 0x104},        {"603e", 0x106},      {"603ev", 0x107},
    {"604e", 0x109},  {"604r", 0x10A},      {"604ev", 0x10A},      {"740/750", 0x108},   {"745/755", 0x108},
    {"750", 0x108},   {"750CL", 0x108},     {"750CX", 0x108},      {"750CXe", 0x108},    {"750FX", 0x108},
    {"750GX", 0x108}, {"7400", 0x10C},      {"7400 (1.1)", 0x10C}, {"7410", 0x10C},      {"7441/7450/7451", 0x110},
    {"7450", 0x110},  {"7445/7455", 0x110}, {"7455", 0x110},       {"7447/7457", 0x110}, {"7447A", 0x110},
    {"7448", 0x110},
};

/** The name stands before the list of features, as in "7447A, altivec supported". */
std::optional<int32_t> powerPcCode(std::string_view cpuinfo) {
    const std::optional<std::string_view> value = fieldValue(cpuinfo, "cpu");
    if (!value)
        return std::nullopt;
    const std::string_view name = trimmed(value->substr(0, value->find(',')));
    for (const auto &row : kPowerPcNames)
        if (row.name == name)
            return row.code;
    return std::nullopt;
}

/** Up to six decimal places as millionths; further digits are cut off. */
std::optional<uint64_t> millionths(std::string_view digits) {
    uint64_t value = 0;
    for (size_t place = 0; place < 6; ++place)
        value = value * 10 + (place < digits.size() ? static_cast<uint64_t>(digits[place] - '0') : 0);
    if (digits.empty() || digits.find_first_not_of("0123456789") != std::string_view::npos)
        return std::nullopt;
    return value;
}

/** A positive decimal number with or without places, "2299.998", times a million. */
std::optional<int64_t> hertzFromMegahertz(std::string_view text) {
    constexpr uint64_t kMillion = 1000000;
    const size_t point = text.find('.');
    const std::optional<uint64_t> whole = decimalNumber(text.substr(0, point));
    const std::optional<uint64_t> places = point == std::string_view::npos ? 0 : millionths(text.substr(point + 1));
    if (!whole || !places || *whole >= static_cast<uint64_t>(std::numeric_limits<int64_t>::max()) / kMillion)
        return std::nullopt;
    const uint64_t hertz = *whole * kMillion + *places;
    if (hertz == 0)
        return std::nullopt;
    return static_cast<int64_t>(hertz);
}

} // namespace

std::optional<int32_t> architectureCodeOf(ProcessorFamily family) {
    switch (family) {
    case ProcessorFamily::x86:
        return 10;
    case ProcessorFamily::powerPc:
        return 2;
    default:
        return std::nullopt;
    }
}

std::optional<int32_t> processorCodeIn(std::string_view cpuinfo, ProcessorFamily family) {
    switch (family) {
    case ProcessorFamily::x86:
        return x86Code(cpuinfo);
    case ProcessorFamily::powerPc:
        return powerPcCode(cpuinfo);
    default:
        return std::nullopt;
    }
}

std::optional<int64_t> clockIn(std::string_view cpuinfo, ProcessorFamily family) {
    if (family != ProcessorFamily::powerPc) {
        const std::optional<std::string_view> megahertz = fieldValue(cpuinfo, "cpu MHz");
        return megahertz ? hertzFromMegahertz(*megahertz) : std::nullopt;
    }
    constexpr std::string_view kUnit = "MHz";
    const std::optional<std::string_view> clock = fieldValue(cpuinfo, "clock");
    if (!clock || clock->size() < kUnit.size() || clock->substr(clock->size() - kUnit.size()) != kUnit)
        return std::nullopt;
    return hertzFromMegahertz(clock->substr(0, clock->size() - kUnit.size()));
}

std::optional<int64_t> highestFrequency(std::string_view cpuinfoMaxFreq) {
    const std::optional<std::string_view> line = takeLine(cpuinfoMaxFreq);
    const std::optional<uint64_t> kilohertz = line ? decimalNumber(*line) : std::nullopt;
    if (!kilohertz || *kilohertz == 0 || !cpuinfoMaxFreq.empty() ||
        *kilohertz > static_cast<uint64_t>(std::numeric_limits<int64_t>::max()) / 1000)
        return std::nullopt;
    return static_cast<int64_t>(*kilohertz * 1000);
}

} // namespace zor::host
