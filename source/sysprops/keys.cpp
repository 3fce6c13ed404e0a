// The property vocabulary: names of the facts that the agent reports, and the platform texts. Values are fixed when the
// library is loaded; callers compare with them and must not assign.

#include "zorcomn/sysprops.h"

namespace velmora_com {
namespace vta {
namespace sysprops {

std::wstring SystemInfo_Key = L"SystemInfo";
std::wstring PlatformId_Key = L"PlatformID";
std::wstring ComputerName_Key = L"ComputerName";
std::wstring UserName_Key = L"UserName";
std::wstring DomainName_Key = L"DomainName";
std::wstring CPUPortable_Key = L"IsPortable";
std::wstring CPUType_Key = L"CPUType";
std::wstring NumOfCPU_Key = L"NumOfCPU";
std::wstring CPUSpeed_Key = L"CPUSpeed";
std::wstring CPUSerialNumber_Key = L"CPUSerialNumber";
std::wstring OSType_Key = L"OSType";
std::wstring OSBitMode_Key = L"OSBitMode";
std::wstring OSPlatform_Key = L"OSPlatform";
std::wstring OSVersion_Key = L"OSVersion";
std::wstring OSBuildNum_Key = L"OSBuildNum";
std::wstring OSCsdVersion_Key = L"OSCsdVersion";
std::wstring OSOEMId_Key = L"OSOEMId";
std::wstring TotalPhysicalMemory_Key = L"TotalPhysicalMemory";
std::wstring FreeMemory_Key = L"FreeMemory";
std::wstring IPAddress_Key = L"IPAddress";
std::wstring IPHostName_Key = L"IPHostName";
std::wstring IPXAddress_Key = L"IPXAddress";
std::wstring NETAddress_Key = L"NETAddress";
std::wstring SubnetAddress_Key = L"SubnetAddress";
std::wstring SubnetMask_Key = L"SubnetMask";
std::wstring LastUpdate_Key = L"LastUpdate";
std::wstring TimeZone_Key = L"TimeZone";
std::wstring DefaultLangID_Key = L"DefaultLangID";
std::wstring TotalDiskSpace_Key = L"TotalDiskSpace";
std::wstring FreeDiskSpace_Key = L"FreeDiskSpace";
std::wstring NumFileSystems_Key = L"NumberOfFileSystems";
std::wstring FileSystemName = L"FileSystem";
std::wstring FileSystemFreeSpace = L"Free_Disk_Space_in_MB";
std::wstring FileSystemTotalSpace = L"Total_Disk_Space_in_MB";
std::wstring DefaultProp_Val = L"N/A";

std::wstring suse_distribution = L"SuSE";
std::wstring redhat_distribution = L"redhat";
std::wstring novell_distribution = L"Novell";
std::string redhat_release_file = "/etc/redhat-release";
std::string ubuntu_release_file = "/etc/lsb-release";
std::string suse_release_file = "/etc/SuSE-release";
std::string debian_release_file = "/etc/os-release";
// Kept: two platform names share a text, and so do two of the system names; callers compare texts.
std::wstring platform_pinecrest = L"LINUX";
std::wstring platform_rkos = L"RKOS";
std::wstring platform_linux = L"LINUX";
std::wstring platform_mac = L"MAC";
std::wstring platform_gwa = L"GWA";
std::wstring platform_solaris = L"SLR";
std::wstring platform_hpux = L"HPUX";
std::wstring platform_aix = L"AIX";
std::wstring unknown = L"Unknown";
std::wstring unknown_domain = L"UnKnownDomain";
std::wstring os_linux = L"Linux";
std::wstring os_mac = L"Mac OS X";
std::wstring os_solaris = L"SunOS Sparc";
std::wstring os_hpux = L"HP-UX";
std::wstring os_aix = L"AIX";
std::wstring os_gwa = L"Tarvex Gateway Appliance";
std::wstring workstation = L"Linux";
std::wstring p_workstation = L"Workstation";
std::wstring p_server = L"Server";
std::wstring os_mac_oemid = L"Apple Macintosh";
std::wstring os_solaris_oemid = L"Solaris Sparc";
std::wstring os_hpux_oemid = L"Hpux PA-RISC";
std::wstring os_aix_oemid = L"AIX PowerPC";
std::string server_strings = ", Server , Enterprise , AS , ES , WS ";
std::string suse_server_strings = ", Server ";
std::wstring os_platform_ini = L"/etc/vta.d/osinfo.ini";

} // namespace sysprops
} // namespace vta
} // namespace velmora_com
