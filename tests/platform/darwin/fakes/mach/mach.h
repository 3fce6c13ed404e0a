#pragma once

// Stands in for the target's header: see sys/sysctl.h beside it.

#include <cstdint>

typedef uint32_t mach_port_t;
typedef unsigned long vm_size_t;
typedef int kern_return_t;
typedef uint32_t natural_t;
typedef uint32_t mach_msg_type_number_t;
typedef int32_t *host_info_t;
struct vm_statistics_data_t {
    natural_t free_count, others[14];
};

#define KERN_SUCCESS 0
#define mach_task_self() mach_task_self_
#define HOST_VM_INFO 2
#define HOST_VM_INFO_COUNT (static_cast<mach_msg_type_number_t>(sizeof(vm_statistics_data_t) / sizeof(int32_t)))

extern "C" {
mach_port_t mach_host_self();
extern mach_port_t mach_task_self_;
kern_return_t mach_port_deallocate(mach_port_t task, mach_port_t name);
kern_return_t host_page_size(mach_port_t host, vm_size_t *size);
kern_return_t host_statistics(mach_port_t host, int flavor, host_info_t info, mach_msg_type_number_t *words);
}
