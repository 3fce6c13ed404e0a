// Facts that the kernel answers by number or name through sysctl.

#include "source/platform/host.h"
#include "source/platform/posix.h"

#include <array>
#include <cstring>

#include <sys/sysctl.h>
#include <sys/time.h>
#include <sys/types.h>

namespace zor::host {

namespace {

/** Asks for a fact of fixed width; an answer of another width is none. */
template <class Fact> std::optional<Fact> kernelFact(int area, int name) {
    int path[] = {area, name};
    Fact fact = {};
    size_t length = sizeof fact;
    if (sysctl(path, 2, &fact, &length, nullptr, 0) != 0 || length != sizeof fact)
        return std::nullopt;
    return fact;
}

/** The text in a zeroed buffer, up to its first zero; all of it where the kernel has filled it to the end. */
template <size_t size> std::string textIn(const std::array<char, size> &buffer) {
    return {buffer.data(), boundedLength(buffer.data(), size)};
}

} // namespace

std::optional<int32_t> processorCount() {
    return kernelFact<int32_t>(CTL_HW, HW_NCPU);
}

std::optional<uint64_t> physicalMemoryBytes() {
    return kernelFact<uint64_t>(CTL_HW, HW_MEMSIZE);
}

std::optional<int64_t> bootTimeSeconds() {
    const std::optional<timeval> bootTime = kernelFact<timeval>(CTL_KERN, KERN_BOOTTIME);
    if (!bootTime)
        return std::nullopt;
    return bootTime->tv_sec;
}

std::optional<std::string> hardwareModel() {
    std::array<char, 256> model = {};
    size_t length = model.size();
    if (sysctlbyname("hw.model", model.data(), &length, nullptr, 0) != 0)
        return std::nullopt;
    return textIn(model);
}

std::optional<std::string> nisDomainName() {
    int path[] = {CTL_KERN, KERN_NISDOMAINNAME};
    std::array<char, 4096> domain = {};
    size_t length = domain.size() / 2;
    if (sysctl(path, 2, domain.data(), &length, nullptr, 0) != 0)
        return std::nullopt;
    return textIn(domain);
}

} // namespace zor::host
