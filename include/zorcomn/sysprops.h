#pragma once
#include "api.h"

#include <map>
#include <string>
#include <utility>

namespace velmora_com {
namespace vta {
namespace sysprops {

ZORCOMN_API extern std::wstring SystemInfo_Key;
ZORCOMN_API extern std::wstring PlatformId_Key;
ZORCOMN_API extern std::wstring ComputerName_Key;
ZORCOMN_API extern std::wstring UserName_Key;
ZORCOMN_API extern std::wstring DomainName_Key;
ZORCOMN_API extern std::wstring CPUPortable_Key;
ZORCOMN_API extern std::wstring CPUType_Key;
ZORCOMN_API extern std::wstring NumOfCPU_Key;
ZORCOMN_API extern std::wstring CPUSpeed_Key;
ZORCOMN_API extern std::wstring CPUSerialNumber_Key;
ZORCOMN_API extern std::wstring OSType_Key;
ZORCOMN_API extern std::wstring OSBitMode_Key;
ZORCOMN_API extern std::wstring OSPlatform_Key;
ZORCOMN_API extern std::wstring OSVersion_Key;
ZORCOMN_API extern std::wstring OSBuildNum_Key;
ZORCOMN_API extern std::wstring OSCsdVersion_Key;
ZORCOMN_API extern std::wstring OSOEMId_Key;
ZORCOMN_API extern std::wstring TotalPhysicalMemory_Key;
ZORCOMN_API extern std::wstring FreeMemory_Key;
ZORCOMN_API extern std::wstring IPAddress_Key;
ZORCOMN_API extern std::wstring IPHostName_Key;
ZORCOMN_API extern std::wstring IPXAddress_Key;
ZORCOMN_API extern std::wstring NETAddress_Key;
ZORCOMN_API extern std::wstring SubnetAddress_Key;
ZORCOMN_API extern std::wstring SubnetMask_Key;
ZORCOMN_API extern std::wstring LastUpdate_Key;
ZORCOMN_API extern std::wstring TimeZone_Key;
ZORCOMN_API extern std::wstring DefaultLangID_Key;
ZORCOMN_API extern std::wstring TotalDiskSpace_Key;
ZORCOMN_API extern std::wstring FreeDiskSpace_Key;
ZORCOMN_API extern std::wstring NumFileSystems_Key;
ZORCOMN_API extern std::wstring FileSystemName;
ZORCOMN_API extern std::wstring FileSystemFreeSpace;
ZORCOMN_API extern std::wstring FileSystemTotalSpace;
ZORCOMN_API extern std::wstring DefaultProp_Val;
ZORCOMN_API extern std::wstring suse_distribution;
ZORCOMN_API extern std::wstring redhat_distribution;
ZORCOMN_API extern std::wstring novell_distribution;
ZORCOMN_API extern std::string redhat_release_file;
ZORCOMN_API extern std::string ubuntu_release_file;
ZORCOMN_API extern std::string suse_release_file;
ZORCOMN_API extern std::string debian_release_file;
ZORCOMN_API extern std::wstring platform_pinecrest;
ZORCOMN_API extern std::wstring platform_rkos;
ZORCOMN_API extern std::wstring platform_linux;
ZORCOMN_API extern std::wstring platform_mac;
ZORCOMN_API extern std::wstring platform_gwa;
ZORCOMN_API extern std::wstring platform_solaris;
ZORCOMN_API extern std::wstring platform_hpux;
ZORCOMN_API extern std::wstring platform_aix;
ZORCOMN_API extern std::wstring unknown;
ZORCOMN_API extern std::wstring unknown_domain;
ZORCOMN_API extern std::wstring os_linux;
ZORCOMN_API extern std::wstring os_mac;
ZORCOMN_API extern std::wstring os_solaris;
ZORCOMN_API extern std::wstring os_hpux;
ZORCOMN_API extern std::wstring os_aix;
ZORCOMN_API extern std::wstring os_gwa;
ZORCOMN_API extern std::wstring workstation;
ZORCOMN_API extern std::wstring p_workstation;
ZORCOMN_API extern std::wstring p_server;
ZORCOMN_API extern std::wstring os_mac_oemid;
ZORCOMN_API extern std::wstring os_solaris_oemid;
ZORCOMN_API extern std::wstring os_hpux_oemid;
ZORCOMN_API extern std::wstring os_aix_oemid;
ZORCOMN_API extern std::string server_strings;
ZORCOMN_API extern std::string suse_server_strings;
ZORCOMN_API extern std::wstring os_platform_ini;

class CPUInformation {
public:
    ZORCOMN_API CPUInformation();
    std::wstring CPUType, CPUSpeed, NumOfCPU, CPUSerialNumber, IsPortable;
};

class NetworkInformation {
public:
    ZORCOMN_API NetworkInformation();
    std::wstring DomainName, ComputerName, IPAddress, SubnetAddress, SubnetMask, NETAddress, IPXAddress, IPHostName;
};

class MemoryInformation {
public:
    ZORCOMN_API MemoryInformation();
    std::wstring TotalPhysicalMemory, FreeMemory;
};

class OSInformation {
public:
    ZORCOMN_API OSInformation();
    std::wstring OSType, OSPlatform, OSVersion, OSCsdVersion, OSBuildNum, OSOEMId, PlatformID, OSBitMode;
};

class DiskInformation {
public:
    ZORCOMN_API DiskInformation();
    std::wstring TotalDiskSpace, FreeDiskSpace, NumberOfFileSystems;
    /* mount point -> (total MB, free MB) */
    std::map<std::wstring, std::pair<std::wstring, std::wstring>> FileSystems;
};

class MiscInformation {
public:
    ZORCOMN_API MiscInformation();
    std::wstring UserName, TimeZone, DefaultLangID, LastUpdate;
};

class ISysProps {
public:
    ZORCOMN_API ISysProps();
    ZORCOMN_API ~ISysProps();

    ZORCOMN_API std::wstring GetOneSystemProperty(const std::wstring &name);
    ZORCOMN_API bool GetAllSystemProperties(std::map<std::wstring, std::wstring> &props);
    ZORCOMN_API bool GetAllSystemProperties(std::map<std::wstring, std::wstring> &props,
                                            std::map<std::wstring, std::pair<std::wstring, std::wstring>> &fileSystems);

    ZORCOMN_API bool GetOSInformation(OSInformation &info);
    ZORCOMN_API bool GetCPUInformation(CPUInformation &info);
    ZORCOMN_API bool GetMemoryInformation(MemoryInformation &info);
    ZORCOMN_API bool GetDiskInformation(DiskInformation &info);
    ZORCOMN_API bool GetNetworkInformation(NetworkInformation &info);
    /** Fills the record of logged-on users, time zone, language and time of the collection. Sources: the login records
     * (see CollectAllLoggedonUsers, whose diagnostics it writes to standard output), tzname[0], the environment
     * variable LANG, and the system's clock in local time. tzset is not called: until something in the process has
     * called it, the zone is the C library's initial one.
     * @param info  [in, out] UserName: the users, or "NA" (not "N/A") when nobody is logged on.
     *              TimeZone: the name of the standard-time zone.
     *              DefaultLangID: "0809" when LANG holds "en_UK", else "0411" when it holds "ja_JP", else "0409".
     *              LastUpdate: month/day/year hour:minute:second; untouched when the time cannot be told.
     * @return true.
     * Error cell: untouched.  Threads: one collection of users at a time in a process.  Owns: nothing.
     */
    ZORCOMN_API bool GetMiscInformation(MiscInformation &info);

    ZORCOMN_API bool IsNetworkProperty(const std::wstring &name);
    ZORCOMN_API bool IsCPUProperty(const std::wstring &name);
    ZORCOMN_API bool IsMemoryProperty(const std::wstring &name);
    ZORCOMN_API bool IsMiscProperty(const std::wstring &name);
    ZORCOMN_API bool IsDiskProperty(const std::wstring &name);
    ZORCOMN_API bool IsOSProperty(const std::wstring &name);

    ZORCOMN_API std::wstring GetOneNetworkProperty(const std::wstring &name);
    ZORCOMN_API std::wstring GetOneCPUProperty(const std::wstring &name);
    ZORCOMN_API std::wstring GetOneMemoryProperty(const std::wstring &name);
    ZORCOMN_API std::wstring GetOneMiscProperty(const std::wstring &name);
    ZORCOMN_API std::wstring GetOneDiskProperty(const std::wstring &name);
    ZORCOMN_API std::wstring GetOneOSProperty(const std::wstring &name);

    ZORCOMN_API static void updateLocalIP(const std::wstring &ip);
    ZORCOMN_API static std::wstring GetLastKnownLocalIP();
    ZORCOMN_API static std::wstring m_wstrLastKnownLocalIP;

private:
    CPUInformation m_cpu;
    NetworkInformation m_network;
    MemoryInformation m_memory;
    OSInformation m_os;
    DiskInformation m_disk;
    MiscInformation m_misc;
};

ZORCOMN_API std::string sysprops_wide_to_ansi(std::wstring text);
ZORCOMN_API std::wstring sysprops_ansi_to_wide(std::string text);
ZORCOMN_API bool getComputerName(std::string &name);
ZORCOMN_API bool GetPwUid(unsigned int uid, std::string &name);

ZORCOMN_API bool ConvertGestaltCPUTypeToString(long code, char *out);
ZORCOMN_API bool ConvertGestaltSysArchToString(long code, char *out);
ZORCOMN_API bool IsPortableComputer(bool &portable);

/* instantiated in the library for unsigned long long and double */
template <typename T>
ZORCOMN_API T get_closest_floor(const T &value, const T &upper, const T &lower, const unsigned int &steps);
extern template unsigned long long get_closest_floor<unsigned long long>(const unsigned long long &,
                                                                         const unsigned long long &,
                                                                         const unsigned long long &,
                                                                         const unsigned int &);
extern template double get_closest_floor<double>(const double &, const double &, const double &, const unsigned int &);

} // namespace sysprops
} // namespace vta
} // namespace velmora_com

/* one property each, by a fresh ISysProps; global namespace, C++ linkage */
ZORCOMN_API std::wstring qelcomn_get_cpu_type();
ZORCOMN_API std::wstring qelcomn_get_cpu_speed();
ZORCOMN_API std::wstring qelcomn_get_number_of_processors();
ZORCOMN_API std::wstring qelcomn_get_cpu_serial_number();
ZORCOMN_API std::wstring qelcomn_get_domain_name();
ZORCOMN_API std::wstring qelcomn_get_computer_name();
ZORCOMN_API std::wstring qelcomn_get_ip_address();
ZORCOMN_API std::wstring qelcomn_get_subnet_address();
ZORCOMN_API std::wstring qelcomn_get_subnet_mask();
ZORCOMN_API std::wstring qelcomn_get_mac_address();
ZORCOMN_API std::wstring qelcomn_get_ipx_address();
ZORCOMN_API std::wstring qelcomn_get_fqdn_address();
ZORCOMN_API std::wstring qelcomn_get_total_memory();
ZORCOMN_API std::wstring qelcomn_get_free_memory();
ZORCOMN_API std::wstring qelcomn_get_number_of_file_systems();
ZORCOMN_API std::wstring qelcomn_get_total_disk_space();
ZORCOMN_API std::wstring qelcomn_get_free_disk_space();
ZORCOMN_API std::wstring qelcomn_get_os_type();
ZORCOMN_API std::wstring qelcomn_get_os_platform();
ZORCOMN_API std::wstring qelcomn_get_os_version();
ZORCOMN_API std::wstring qelcomn_get_os_service_pack();
ZORCOMN_API std::wstring qelcomn_get_os_build_number();
ZORCOMN_API std::wstring qelcomn_get_os_oem_id();
ZORCOMN_API std::wstring qelcomn_get_os_platform_id();
ZORCOMN_API std::wstring qelcomn_get_user_name();
ZORCOMN_API std::wstring qelcomn_get_time_zone();
ZORCOMN_API std::wstring qelcomn_get_language();
ZORCOMN_API std::wstring qelcomn_get_last_update_time();
ZORCOMN_API std::wstring qelcomn_get_file_system_name(int index);
ZORCOMN_API std::wstring qelcomn_get_file_system_free_space_by_name(const std::wstring &name);
ZORCOMN_API std::wstring qelcomn_get_file_system_total_space_by_name(const std::wstring &name);
ZORCOMN_API void qelcomn_set_local_ip_addr(std::wstring ip);
