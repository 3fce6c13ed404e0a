// Facts about the processors.

#include "source/platform/host.h"

#include "source/platform/linux/apart.h"
#include "source/platform/linux/processor_texts.h"
#include "source/platform/linux/system_file.h"

#include <cstring>

#include <unistd.h>

namespace zor::host {

namespace {

constexpr size_t kMaxProcessorBytes = size_t{64} * 1024; // one processor's paragraph
constexpr size_t kMaxFrequencyBytes = 64;

/** The first processor's facts; those of the others take time on a large machine and are not asked for. */
std::optional<std::string> firstProcessor() {
    return readFirstParagraph("/proc/cpuinfo", kMaxProcessorBytes);
}

/** The number of processors as the C library tells it; -1 when it is not known. The library reads the kernel's files
 * itself, without a limit. */
long onlineProcessors() {
    Reach reach = reachOf("/sys/devices/system/cpu/online");
    if (reach == Reach::nowhere)
        reach = reachOf("/proc/stat");
    if (reach != Reach::foreign)
        return sysconf(_SC_NPROCESSORS_ONLN);
    long count = -1;
    const std::optional<std::string> answer = askApart(
        [](char *bytes, size_t) {
            const long told = sysconf(_SC_NPROCESSORS_ONLN);
            std::memcpy(bytes, &told, sizeof told);
            return static_cast<ssize_t>(sizeof told);
        },
        sizeof count, kAnswerLimit);
    if (answer && answer->size() == sizeof count)
        std::memcpy(&count, answer->data(), sizeof count);
    return count;
}

} // namespace

std::optional<int32_t> processorCount() {
    const long count = onlineProcessors();
    if (count < 1 || count > INT32_MAX)
        return std::nullopt;
    return static_cast<int32_t>(count);
}

std::optional<int64_t> processorClockHertz() {
    if (const std::optional<std::string> processor = firstProcessor())
        if (const std::optional<int64_t> clock = clockIn(*processor, kCompiledFamily))
            return clock;
    const std::optional<std::string> frequency =
        readSystemFile("/sys/devices/system/cpu/cpu0/cpufreq/cpuinfo_max_freq", kMaxFrequencyBytes);
    return frequency ? highestFrequency(*frequency) : std::nullopt;
}

std::optional<int32_t> architectureCode() {
    return architectureCodeOf(kCompiledFamily);
}

std::optional<int32_t> processorCode() {
    const std::optional<std::string> processor = firstProcessor();
    return processor ? processorCodeIn(*processor, kCompiledFamily) : std::nullopt;
}

} // namespace zor::host
