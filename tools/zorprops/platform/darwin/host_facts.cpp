// From sysctl, the Mach host, and sw_vers; these have no files, so the root folder counts for the zone alone.

#include "../../host_facts.h"

#include <cstdio>

#include <limits.h>
#include <mach/mach.h>
#include <sys/mount.h>
#include <sys/sysctl.h>
#include <sys/time.h>
#include <time.h>
#include <unistd.h>

namespace zorprops {

namespace {

std::optional<std::string> kernelText(const char *name) {
    char text[256] = "";
    size_t size = sizeof text - 1;
    return sysctlbyname(name, text, &size, nullptr, 0) == 0 && *text ? std::optional<std::string>(text) : std::nullopt;
}

template <class Number> std::optional<Number> kernelNumber(const char *name) {
    Number number = 0;
    size_t size = sizeof number;
    return sysctlbyname(name, &number, &size, nullptr, 0) == 0 && size == sizeof number ? std::optional<Number>(number)
                                                                                        : std::nullopt;
}

/** The first line that the system's version command prints. */
std::optional<std::string> version(const char *command) {
    std::FILE *const pipe = popen(command, "r");
    if (!pipe)
        return std::nullopt;
    char line[256] = "";
    const bool isRead = std::fgets(line, sizeof line, pipe) != nullptr;
    pclose(pipe);
    const std::string text(line);
    const std::string first = text.substr(0, text.find('\n'));
    return isRead && !first.empty() ? std::optional<std::string>(first) : std::nullopt;
}

/** Pages that are free, or that the system takes back before it is short of memory. */
std::optional<uint64_t> availableMemory() {
    vm_statistics_data_t statistics;
    mach_msg_type_number_t count = HOST_VM_INFO_COUNT;
    vm_size_t pageSize = 0;
    const mach_port_t host = mach_host_self();
    const bool isTold =
        host_page_size(host, &pageSize) == KERN_SUCCESS &&
        host_statistics(host, HOST_VM_INFO, reinterpret_cast<host_info_t>(&statistics), &count) == KERN_SUCCESS;
    mach_port_deallocate(mach_task_self(), host);
    if (!isTold)
        return std::nullopt;
    return (uint64_t(statistics.free_count) + statistics.inactive_count) * pageSize;
}

} // namespace

SystemFacts systemFacts(const std::string &root) {
    SystemFacts facts;
    facts.version = version("/usr/bin/sw_vers -productVersion 2>/dev/null");
    facts.name = version("/usr/bin/sw_vers -productName 2>/dev/null");
    if (facts.name && facts.version)
        *facts.name += " " + *facts.version;
    facts.processor = kernelText("machdep.cpu.brand_string");
    if (!facts.processor)
        facts.processor = kernelText("hw.model");
    facts.memoryTotal = kernelNumber<uint64_t>("hw.memsize");
    facts.memoryAvailable = availableMemory();
    if (kernelNumber<int>("kern.hv_vmm_present").value_or(0) != 0)
        facts.virtualMachine = "unnamed hypervisor";
    timeval start;
    size_t size = sizeof start;
    const time_t now = time(nullptr);
    if (sysctlbyname("kern.boottime", &start, &size, nullptr, 0) == 0 && start.tv_sec > 0 && now >= start.tv_sec)
        facts.uptime = static_cast<uint64_t>(now - start.tv_sec);
    char target[PATH_MAX];
    const ssize_t length = readlink((root + "/etc/localtime").c_str(), target, sizeof target);
    if (length > 0)
        facts.zoneFile = std::string(target, static_cast<size_t>(length));
    return facts;
}

bool fileSystemsAreTold() {
    return getfsstat(nullptr, 0, MNT_NOWAIT) >= 0;
}

} // namespace zorprops
