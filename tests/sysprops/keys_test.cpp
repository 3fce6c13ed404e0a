// The property vocabulary as a program sees it that links the shared library: the table is filled by the program's own
// static initialisers, which may use the library's constants already.

#include "zorcomn/sysprops.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

using namespace velmora_com::vta::sysprops;

namespace {

template <class String> struct Row {
    const char *name;
    const String *constant;
    String atStart; // as the static initialiser found it
    const typename String::value_type *value;
};

#define ROW(name, value)                                                                                               \
    { #name, &name, name, value }

const std::vector<Row<std::wstring>> kProperties = {
    ROW(SystemInfo_Key, L"SystemInfo"),
    ROW(PlatformId_Key, L"PlatformID"),
    ROW(ComputerName_Key, L"ComputerName"),
    ROW(UserName_Key, L"UserName"),
    ROW(DomainName_Key, L"DomainName"),
    ROW(CPUPortable_Key, L"IsPortable"),
    ROW(CPUType_Key, L"CPUType"),
    ROW(NumOfCPU_Key, L"NumOfCPU"),
    ROW(CPUSpeed_Key, L"CPUSpeed"),
    ROW(CPUSerialNumber_Key, L"CPUSerialNumber"),
    ROW(OSType_Key, L"OSType"),
    ROW(OSBitMode_Key, L"OSBitMode"),
    ROW(OSPlatform_Key, L"OSPlatform"),
    ROW(OSVersion_Key, L"OSVersion"),
    ROW(OSBuildNum_Key, L"OSBuildNum"),
    ROW(OSCsdVersion_Key, L"OSCsdVersion"),
    ROW(OSOEMId_Key, L"OSOEMId"),
    ROW(TotalPhysicalMemory_Key, L"TotalPhysicalMemory"),
    ROW(FreeMemory_Key, L"FreeMemory"),
    ROW(IPAddress_Key, L"IPAddress"),
    ROW(IPHostName_Key, L"IPHostName"),
    ROW(IPXAddress_Key, L"IPXAddress"),
    ROW(NETAddress_Key, L"NETAddress"),
    ROW(SubnetAddress_Key, L"SubnetAddress"),
    ROW(SubnetMask_Key, L"SubnetMask"),
    ROW(LastUpdate_Key, L"LastUpdate"),
    ROW(TimeZone_Key, L"TimeZone"),
    ROW(DefaultLangID_Key, L"DefaultLangID"),
    ROW(TotalDiskSpace_Key, L"TotalDiskSpace"),
    ROW(FreeDiskSpace_Key, L"FreeDiskSpace"),
    ROW(NumFileSystems_Key, L"NumberOfFileSystems"),
    ROW(FileSystemName, L"FileSystem"),
    ROW(FileSystemFreeSpace, L"Free_Disk_Space_in_MB"),
    ROW(FileSystemTotalSpace, L"Total_Disk_Space_in_MB"),
    ROW(DefaultProp_Val, L"N/A"),
};

const std::vector<Row<std::wstring>> kPlatform = {
    ROW(suse_distribution, L"SuSE"),
    ROW(redhat_distribution, L"redhat"),
    ROW(novell_distribution, L"Novell"),
    ROW(platform_pinecrest, L"LINUX"),
    ROW(platform_rkos, L"RKOS"),
    ROW(platform_linux, L"LINUX"),
    ROW(platform_mac, L"MAC"),
    ROW(platform_gwa, L"GWA"),
    ROW(platform_solaris, L"SLR"),
    ROW(platform_hpux, L"HPUX"),
    ROW(platform_aix, L"AIX"),
    ROW(unknown, L"Unknown"),
    ROW(unknown_domain, L"UnKnownDomain"),
    ROW(os_linux, L"Linux"),
    ROW(os_mac, L"Mac OS X"),
    ROW(os_solaris, L"SunOS Sparc"),
    ROW(os_hpux, L"HP-UX"),
    ROW(os_aix, L"AIX"),
    ROW(os_gwa, L"Tarvex Gateway Appliance"),
    ROW(workstation, L"Linux"),
    ROW(p_workstation, L"Workstation"),
    ROW(p_server, L"Server"),
    ROW(os_mac_oemid, L"Apple Macintosh"),
    ROW(os_solaris_oemid, L"Solaris Sparc"),
    ROW(os_hpux_oemid, L"Hpux PA-RISC"),
    ROW(os_aix_oemid, L"AIX PowerPC"),
    ROW(os_platform_ini, L"/etc/vta.d/osinfo.ini"),
};

const std::vector<Row<std::string>> kNarrowPlatform = {
    ROW(redhat_release_file, "/etc/redhat-release"),
    ROW(ubuntu_release_file, "/etc/lsb-release"),
    ROW(suse_release_file, "/etc/SuSE-release"),
    ROW(debian_release_file, "/etc/os-release"),
    ROW(server_strings, ", Server , Enterprise , AS , ES , WS "),
    ROW(suse_server_strings, ", Server "),
};

template <class String> void expectValues(const std::vector<Row<String>> &rows) {
    for (const auto &row : rows) {
        EXPECT_EQ(*row.constant, row.value) << row.name;
        EXPECT_EQ(row.atStart, row.value) << row.name << " when the program's static initialisers ran";
    }
}

TEST(PropertyNames, EveryConstant_HasItsValue) {
    EXPECT_EQ(kProperties.size(), 35u);
    expectValues(kProperties);
}

TEST(PlatformTexts, EveryConstant_HasItsWidthAndValue) {
    EXPECT_EQ(kPlatform.size() + kNarrowPlatform.size(), 33u);
    expectValues(kPlatform);
    expectValues(kNarrowPlatform);
}

TEST(PlatformTexts, SharedTexts_AreEqual_Kept) {
    EXPECT_EQ(platform_pinecrest, platform_linux);
    EXPECT_EQ(workstation, os_linux);
}

// Records made by static initialisers hold the defaults too.
const MemoryInformation kRecordAtStart;

TEST(PropertyNames, RecordOfAStaticInitialiser_HoldsTheDefaults) {
    EXPECT_EQ(kRecordAtStart.FreeMemory, L"N/A");
}

} // namespace
