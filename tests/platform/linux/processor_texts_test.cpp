#include "source/platform/linux/processor_texts.h"

#include "source/platform/host.h"

#include "tests/support/child.h"
#include "tests/support/temporary_folder.h"

#include <fstream>

#include <gtest/gtest.h>
#include <sys/mount.h>
#include <unistd.h>

namespace host = zor::host;
using host::ProcessorFamily;
using zor::test::childPasses;
using zor::test::TemporaryFolder;

namespace {

constexpr int32_t k486 = 0x69343836;        // 'i486'
constexpr int32_t kPentium = 0x69353836;    // 'i586'
constexpr int32_t kPentiumII = 0x69356969;  // 'i5ii'
constexpr int32_t kPentium4 = 0x69356976;   // 'i5iv'
constexpr int32_t kPentiumPro = 0x69357072; // 'i5pr'
constexpr int32_t kNewer = 0x69787878;      // 'ixxx'

std::string x86Text(const std::string &maker, const std::string &family, const std::string &model) {
    return "processor\t: 0\nvendor_id\t: " + maker + "\ncpu family\t: " + family + "\nmodel\t\t: " + model +
           "\nmodel name\t: Some Processor 3\nstepping\t: 2\ncpu MHz\t\t: 2299.998\n";
}

TEST(ProcessorCode, X86Families_GiveTheirCodes) {
    constexpr struct {
        const char *maker, *family, *model;
        std::optional<int32_t> code;
    } kRows[] = {
        {"GenuineIntel", "3", "0", std::nullopt},   {"GenuineIntel", "4", "0", k486},
        {"AuthenticAMD", "4", "14", k486},          {"GenuineIntel", "5", "1", kPentium},
        {"GenuineIntel", "5", "8", kPentium},       {"GenuineIntel", "5", "9", kNewer},
        {"AuthenticAMD", "5", "8", kNewer},         {"GenuineIntel", "6", "0", kPentiumPro},
        {"GenuineIntel", "6", "1", kPentiumPro},    {"GenuineIntel", "6", "2", kNewer},
        {"GenuineIntel", "6", "3", kPentiumII},     {"GenuineIntel", "6", "4", kNewer},
        {"GenuineIntel", "6", "5", kPentiumII},     {"GenuineIntel", "6", "6", kPentiumII},
        {"GenuineIntel", "6", "7", kNewer},         {"GenuineIntel", "6", "207", kNewer},
        {"AuthenticAMD", "6", "1", kNewer},         {"GenuineIntel", "15", "0", kPentium4},
        {"GenuineIntel", "15", "4", kPentium4},     {"GenuineIntel", "15", "6", kPentium4},
        {"GenuineIntel", "15", "7", kNewer},        {"AuthenticAMD", "15", "5", kNewer},
        {"GenuineIntel", "7", "1", kNewer},         {"AuthenticAMD", "25", "33", kNewer},
        {"GenuineIntel", "-6", "1", std::nullopt},  {"GenuineIntel", "6", "", std::nullopt},
        {"GenuineIntel", "6", "1x", std::nullopt},  {"GenuineIntel", "", "1", std::nullopt},
        {"GenuineIntel", "six", "1", std::nullopt}, {"GenuineIntel", "99999999999999999999", "1", std::nullopt},
    };
    for (const auto &row : kRows)
        EXPECT_EQ(host::processorCodeIn(x86Text(row.maker, row.family, row.model), ProcessorFamily::x86), row.code)
            << row.maker << ' ' << row.family << ' ' << row.model;
}

TEST(ProcessorCode, X86TextCutShort_IsNotKnown) {
    EXPECT_EQ(host::processorCodeIn("", ProcessorFamily::x86), std::nullopt);
    EXPECT_EQ(host::processorCodeIn("cpu family\t: 6", ProcessorFamily::x86), std::nullopt);
    EXPECT_EQ(host::processorCodeIn("cpu family\t: 6\nmodel\t\t: 1", ProcessorFamily::x86), std::nullopt);
    EXPECT_EQ(host::processorCodeIn("cpu family\t: 6\nmodel name\t: 1\n", ProcessorFamily::x86), std::nullopt);
    EXPECT_EQ(host::processorCodeIn("cpu family\t: 6\nmodel\t\t: 1\n", ProcessorFamily::x86), kPentiumPro);
}

TEST(ProcessorCode, PowerPcNames_GiveTheirCodes) {
    constexpr struct {
        const char *name;
        std::optional<int32_t> code;
    } kRows[] = {
        {"601", 0x101},
        {"603", 0x103},
        {"604", 0x104},
        {"603e", 0x106},
        {"603ev", 0x107},
        {"740/750", 0x108},
        {"745/755", 0x108},
        {"750CXe", 0x108},
        {"750FX", 0x108},
        {"604e", 0x109},
        {"604r", 0x10A},
        {"604ev", 0x10A},
        {"7400, altivec supported", 0x10C},
        {"7400 (1.1), altivec supported", 0x10C},
        {"7410, altivec supported", 0x10C},
        {"7450, altivec supported", 0x110},
        {"7455, altivec supported", 0x110},
        {"7447/7457, altivec supported", 0x110},
        {"7447A, altivec supported", 0x110},
        {"7448, altivec supported", 0x110},
        {"PPC970FX, altivec supported", std::nullopt},
        {"POWER9 (raw), altivec supported", std::nullopt},
        {"unknown (00081234)", std::nullopt},
        {"6", std::nullopt},
        {"6011", std::nullopt},
        {"", std::nullopt},
    };
    for (const auto &row : kRows) {
        const std::string text =
            std::string("processor\t: 0\ncpu\t\t: ") + row.name + "\nclock\t\t: 1333.333000MHz\nrevision\t: 0.1\n";
        EXPECT_EQ(host::processorCodeIn(text, ProcessorFamily::powerPc), row.code) << row.name;
    }
    EXPECT_EQ(host::processorCodeIn("cpu\t\t: 601", ProcessorFamily::powerPc), std::nullopt) << "cut short";
    EXPECT_EQ(host::processorCodeIn("cpu family\t: 6\n", ProcessorFamily::powerPc), std::nullopt);
}

TEST(ProcessorCode, OtherFamilies_AreNotKnown) {
    EXPECT_EQ(host::processorCodeIn(x86Text("GenuineIntel", "6", "1"), ProcessorFamily::other), std::nullopt);
    EXPECT_EQ(host::architectureCodeOf(ProcessorFamily::other), std::nullopt);
    EXPECT_EQ(host::architectureCodeOf(ProcessorFamily::x86), 10);
    EXPECT_EQ(host::architectureCodeOf(ProcessorFamily::powerPc), 2);
}

TEST(Clock, X86Text_GivesHertz) {
    constexpr struct {
        const char *value;
        std::optional<int64_t> hertz;
    } kRows[] = {
        {"2299.998", 2299998000},
        {"1999.999999", 1999999999},
        {"1999.9999999", 1999999999},
        {"0.000001", 1},
        {"800", 800000000},
        {"4400.5", 4400500000},
        {"2147.483648", 2147483648},
        {"9223372036853.0", 9223372036853000000},
        {"9223372036855", std::nullopt},
        {"0.000", std::nullopt},
        {"0", std::nullopt},
        {"", std::nullopt},
        {".5", std::nullopt},
        {"5.", std::nullopt},
        {"-800.0", std::nullopt},
        {"+800.0", std::nullopt},
        {"800,5", std::nullopt},
        {"800.5x", std::nullopt},
        {"8e2", std::nullopt},
        {"800.0 MHz", std::nullopt},
        {"1.2.3", std::nullopt},
        {"nan", std::nullopt},
        {"unknown", std::nullopt},
    };
    for (const auto &row : kRows)
        EXPECT_EQ(host::clockIn(std::string("cpu MHz\t\t: ") + row.value + "\n", ProcessorFamily::x86), row.hertz)
            << row.value;
    EXPECT_EQ(host::clockIn("cpu MHz\t\t: 22", ProcessorFamily::x86), std::nullopt) << "cut short";
}

TEST(Clock, PowerPcText_GivesHertz) {
    const auto clock = [](const char *text) { return host::clockIn(text, ProcessorFamily::powerPc); };
    EXPECT_EQ(clock("cpu\t\t: 7447A\nclock\t\t: 1333.333000MHz\n"), 1333333000);
    EXPECT_EQ(clock("clock\t\t: 400MHz\n"), 400000000);
    for (const char *text : {"clock\t\t: 1333.333000MHz", "clock\t\t: 1333.333000\n", "clock\t\t: MHz\n",
                             "clock\t\t: 1.3GHz\n", "cpu MHz\t\t: 800.0\n", "clock\t\t: -5MHz\n", ""})
        EXPECT_EQ(clock(text), std::nullopt) << text;
}

TEST(Clock, FrequencyDriversText_GivesHertz) {
    EXPECT_EQ(host::highestFrequency("3400000\n"), 3400000000);
    EXPECT_EQ(host::highestFrequency("9223372036854775\n"), 9223372036854775000);
    for (const char *text : {"", "\n", "0\n", "3400000", "-1\n", "3400000 kHz\n", "3400000\n3400000\n",
                             "9223372036854776\n", "<unsupported>\n"})
        EXPECT_EQ(host::highestFrequency(text), std::nullopt) << text;
}

/** A machine with these two sources only, for a child. */
void makeMachine(const char *cpuinfo, const char *maxFrequency) {
    ASSERT_TRUE(zor::test::enterPrivateMounts());
    ASSERT_EQ(mount("none", "/proc", "tmpfs", 0, nullptr), 0);
    ASSERT_EQ(mount("none", "/sys", "tmpfs", 0, nullptr), 0);
    if (cpuinfo)
        std::ofstream("/proc/cpuinfo") << cpuinfo;
    if (!maxFrequency)
        return;
    std::filesystem::create_directories("/sys/devices/system/cpu/cpu0/cpufreq");
    std::ofstream("/sys/devices/system/cpu/cpu0/cpufreq/cpuinfo_max_freq") << maxFrequency;
}

TEST(ProcessorSources, Clock_ComesFromTheProcessorThenFromTheFrequencyDriver) {
    ZORCOMN_SKIP_WITHOUT_NAMESPACES();
    const bool isPowerPc = host::kCompiledFamily == ProcessorFamily::powerPc;
    const char *const cpuinfo = isPowerPc ? "clock\t\t: 700.000000MHz\n\nclock\t\t: 900.000000MHz\n\n"
                                          : "cpu MHz\t\t: 700.000\n\ncpu MHz\t\t: 900.000\n\n";
    const struct {
        const char *cpuinfo;
        const char *frequency;
        std::optional<int64_t> hertz;
    } rows[] = {
        {cpuinfo, "3400000\n", 700000000},  {"processor\t: 0\n\n", "3400000\n", 3400000000},
        {nullptr, "3400000\n", 3400000000}, {nullptr, "34", std::nullopt},
        {nullptr, nullptr, std::nullopt},
    };
    for (const auto &row : rows)
        EXPECT_TRUE(childPasses([&] {
            makeMachine(row.cpuinfo, row.frequency);
            EXPECT_EQ(host::processorClockHertz(), row.hertz);
        })) << (row.cpuinfo ? row.cpuinfo : "-");
}

TEST(ProcessorSources, ParagraphWithoutEnd_IsNotKnown) {
    ZORCOMN_SKIP_WITHOUT_NAMESPACES();
    const std::string endless = x86Text("GenuineIntel", "6", "1") + "flags\t\t: " + std::string(100000, 'f');
    EXPECT_TRUE(childPasses([&] {
        makeMachine(endless.c_str(), nullptr);
        EXPECT_EQ(host::processorCode(), std::nullopt);
        EXPECT_EQ(host::processorClockHertz(), std::nullopt);
    }));
}

TEST(ProcessorSources, Count_IsTheSystems) {
    EXPECT_EQ(host::processorCount(), static_cast<int32_t>(sysconf(_SC_NPROCESSORS_ONLN)));
}

} // namespace
