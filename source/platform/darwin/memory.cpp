// Free memory, from the Mach host.

#include "source/platform/host.h"

#include <mach/mach.h>

namespace zor::host {

namespace {

/** The host port; every call of mach_host_self hands out one more right to it, which is given back. */
class HostPort {
public:
    HostPort() : m_port(mach_host_self()) {}
    ~HostPort() { mach_port_deallocate(mach_task_self(), m_port); }
    HostPort(const HostPort &) = delete;
    HostPort &operator=(const HostPort &) = delete;

    mach_port_t get() const { return m_port; }

private:
    mach_port_t m_port;
};

} // namespace

std::optional<FreeMemory> freeMemory() {
    const HostPort host;
    vm_size_t pageSize = 0;
    if (host_page_size(host.get(), &pageSize) != KERN_SUCCESS)
        return std::nullopt;
    vm_statistics_data_t statistics = {};
    mach_msg_type_number_t words = HOST_VM_INFO_COUNT;
    if (host_statistics(host.get(), HOST_VM_INFO, reinterpret_cast<host_info_t>(&statistics), &words) != KERN_SUCCESS)
        return std::nullopt;
    return FreeMemory{statistics.free_count, pageSize};
}

} // namespace zor::host
