// Facts that the kernel answers by number or name through sysctl.

#include "source/platform/host.h"

#include "source/platform/darwin/text_field.h"

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
    char model[256] = {};
    size_t length = sizeof model;
    if (sysctlbyname("hw.model", model, &length, nullptr, 0) != 0)
        return std::nullopt;
    return textIn(model);
}

std::optional<std::string> nisDomainName() {
    int path[] = {CTL_KERN, KERN_NISDOMAINNAME};
    char domain[4096] = {};
    size_t length = sizeof domain / 2;
    if (sysctl(path, 2, domain, &length, nullptr, 0) != 0)
        return std::nullopt;
    return textIn(domain);
}

} // namespace zor::host
