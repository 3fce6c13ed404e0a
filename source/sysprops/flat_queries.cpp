// The flat functions: one property each, for callers with no object. Every call collects anew through an object of its
// own.

#include "zorcomn/sysprops.h"

#include "source/platform/posix.h"

using namespace velmora_com::vta::sysprops;

namespace {

std::wstring oneProperty(const std::wstring &name) {
    return zor::guarded(std::wstring(), [&] { return ISysProps().GetOneSystemProperty(name); });
}

// Kept: the questions about a single file system are placeholders; callers get "N/A" whatever they ask.
std::wstring placeholder() {
    return zor::guarded(std::wstring(), [] { return DefaultProp_Val; });
}

} // namespace

std::wstring qelcomn_get_cpu_type() {
    return oneProperty(CPUType_Key);
}

std::wstring qelcomn_get_cpu_speed() {
    return oneProperty(CPUSpeed_Key);
}

std::wstring qelcomn_get_number_of_processors() {
    return oneProperty(NumOfCPU_Key);
}

std::wstring qelcomn_get_cpu_serial_number() {
    return oneProperty(CPUSerialNumber_Key);
}

std::wstring qelcomn_get_domain_name() {
    return oneProperty(DomainName_Key);
}

std::wstring qelcomn_get_computer_name() {
    return oneProperty(ComputerName_Key);
}

std::wstring qelcomn_get_ip_address() {
    return oneProperty(IPAddress_Key);
}

std::wstring qelcomn_get_subnet_address() {
    return oneProperty(SubnetAddress_Key);
}

std::wstring qelcomn_get_subnet_mask() {
    return oneProperty(SubnetMask_Key);
}

std::wstring qelcomn_get_mac_address() {
    return oneProperty(NETAddress_Key);
}

std::wstring qelcomn_get_ipx_address() {
    return oneProperty(IPXAddress_Key);
}

std::wstring qelcomn_get_fqdn_address() {
    return oneProperty(IPHostName_Key);
}

std::wstring qelcomn_get_total_memory() {
    return oneProperty(TotalPhysicalMemory_Key);
}

std::wstring qelcomn_get_free_memory() {
    return oneProperty(FreeMemory_Key);
}

// Kept: always empty, since the number of file systems belongs to no group of properties.
std::wstring qelcomn_get_number_of_file_systems() {
    return oneProperty(NumFileSystems_Key);
}

std::wstring qelcomn_get_total_disk_space() {
    return oneProperty(TotalDiskSpace_Key);
}

std::wstring qelcomn_get_free_disk_space() {
    return oneProperty(FreeDiskSpace_Key);
}

std::wstring qelcomn_get_os_type() {
    return oneProperty(OSType_Key);
}

std::wstring qelcomn_get_os_platform() {
    return oneProperty(OSPlatform_Key);
}

std::wstring qelcomn_get_os_version() {
    return oneProperty(OSVersion_Key);
}

std::wstring qelcomn_get_os_service_pack() {
    return oneProperty(OSCsdVersion_Key);
}

std::wstring qelcomn_get_os_build_number() {
    return oneProperty(OSBuildNum_Key);
}

std::wstring qelcomn_get_os_oem_id() {
    return oneProperty(OSOEMId_Key);
}

std::wstring qelcomn_get_os_platform_id() {
    return oneProperty(PlatformId_Key);
}

std::wstring qelcomn_get_user_name() {
    return oneProperty(UserName_Key);
}

std::wstring qelcomn_get_time_zone() {
    return oneProperty(TimeZone_Key);
}

std::wstring qelcomn_get_language() {
    return oneProperty(DefaultLangID_Key);
}

std::wstring qelcomn_get_last_update_time() {
    return oneProperty(LastUpdate_Key);
}

std::wstring qelcomn_get_file_system_name(int) {
    return placeholder();
}

std::wstring qelcomn_get_file_system_free_space_by_name(const std::wstring &) {
    return placeholder();
}

std::wstring qelcomn_get_file_system_total_space_by_name(const std::wstring &) {
    return placeholder();
}

void qelcomn_set_local_ip_addr(std::wstring ip) {
    ISysProps::updateLocalIP(ip);
}
