#pragma once

// What the kernel's texts say about the processor, and the codes for it that callers compare with. The family of
// processors is an argument, so that the texts of each are readable (and tested) on all.

#include <cstdint>
#include <optional>
#include <string_view>

namespace zor::host {

enum class ProcessorFamily { x86, powerPc, other };

constexpr ProcessorFamily kCompiledFamily =
#if defined(__i386__) || defined(__x86_64__)
    ProcessorFamily::x86;
#elif defined(__powerpc__)
    ProcessorFamily::powerPc;
#else
    ProcessorFamily::other;
#endif

/** The architecture's code. */
std::optional<int32_t> architectureCodeOf(ProcessorFamily family);

/** The processor's code, from one processor's paragraph of /proc/cpuinfo. */
std::optional<int32_t> processorCodeIn(std::string_view cpuinfo, ProcessorFamily family);

/** The clock in hertz, from one processor's paragraph of /proc/cpuinfo. */
std::optional<int64_t> clockIn(std::string_view cpuinfo, ProcessorFamily family);

/** The clock in hertz, from the frequency driver's text, which gives kilohertz. */
std::optional<int64_t> highestFrequency(std::string_view cpuinfoMaxFreq);

} // namespace zor::host
