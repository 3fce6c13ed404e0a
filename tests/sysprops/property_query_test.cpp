// Queries and the full collection on collectors made up by this test: each writes its field names behind a run number,
// so that every answer tells which field it is and which run wrote it.

#include "zorcomn/sysprops.h"

#include "source/sysprops/network_information.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

using namespace velmora_com::vta::sysprops;

namespace {

std::vector<std::string> runs; // which collectors ran, in order
bool collectorsFail = false;   // they then write nothing
std::string namesWanted;       // of the machine, by the last network collection

std::wstring collected(const wchar_t *field) {
    return std::to_wstring(runs.size()) + L":" + field;
}

/** Notes a run. @return whether the collector is to write its record. */
bool starts(const char *collector) {
    runs.push_back(collector);
    return !collectorsFail;
}

} // namespace

bool ISysProps::GetNetworkInformation(NetworkInformation &info) {
    return zor::collectNetworkInformation({true, true}, info);
}

bool zor::collectNetworkInformation(WantedNames names, NetworkInformation &info) {
    namesWanted = std::string(names.domain ? "domain " : "") + (names.full ? "full" : "");
    if (!starts("network"))
        return false;
    info.DomainName = collected(L"DomainName");
    info.ComputerName = collected(L"ComputerName");
    info.IPAddress = collected(L"IPAddress");
    info.SubnetAddress = collected(L"SubnetAddress");
    info.SubnetMask = collected(L"SubnetMask");
    info.NETAddress = collected(L"NETAddress");
    info.IPXAddress = collected(L"IPXAddress");
    info.IPHostName = collected(L"IPHostName");
    return true;
}

bool ISysProps::GetCPUInformation(CPUInformation &info) {
    if (!starts("processor"))
        return false;
    info.CPUType = collected(L"CPUType");
    info.CPUSpeed = collected(L"CPUSpeed");
    info.NumOfCPU = collected(L"NumOfCPU");
    info.CPUSerialNumber = collected(L"CPUSerialNumber");
    info.IsPortable = collected(L"IsPortable");
    return true;
}

bool ISysProps::GetMemoryInformation(MemoryInformation &info) {
    if (!starts("memory"))
        return false;
    info.TotalPhysicalMemory = collected(L"TotalPhysicalMemory");
    info.FreeMemory = collected(L"FreeMemory");
    return true;
}

bool ISysProps::GetDiskInformation(DiskInformation &info) {
    if (!starts("disk"))
        return false;
    info.TotalDiskSpace = collected(L"TotalDiskSpace");
    info.FreeDiskSpace = collected(L"FreeDiskSpace");
    info.NumberOfFileSystems = collected(L"NumberOfFileSystems");
    info.FileSystems[L"/"] = {L"100.00", L"50.00"};
    info.FileSystems[L"/my \"disk\""] = {L"10.00", L"5.00"};
    return true;
}

bool ISysProps::GetMiscInformation(MiscInformation &info) {
    if (!starts("miscellaneous"))
        return false;
    info.UserName = collected(L"UserName");
    info.TimeZone = collected(L"TimeZone");
    info.DefaultLangID = collected(L"DefaultLangID");
    info.LastUpdate = collected(L"LastUpdate");
    return true;
}

bool ISysProps::GetOSInformation(OSInformation &info) {
    if (!starts("operating system"))
        return false;
    info.OSType = collected(L"OSType");
    info.OSPlatform = collected(L"OSPlatform");
    info.OSVersion = collected(L"OSVersion");
    info.OSCsdVersion = collected(L"OSCsdVersion");
    info.OSBuildNum = collected(L"OSBuildNum");
    info.OSOEMId = collected(L"OSOEMId");
    info.PlatformID = collected(L"PlatformID");
    info.OSBitMode = collected(L"OSBitMode");
    return true;
}

namespace {

class PropertyTest : public ::testing::Test {
protected:
    PropertyTest() {
        runs.clear();
        collectorsFail = false;
    }
};
class PropertyQuery : public PropertyTest {};
class PropertyGroup : public PropertyTest {};
class FlatQuery : public PropertyTest {};
class FullCollection : public PropertyTest {};

struct Group {
    const char *collector;
    bool (ISysProps::*knows)(const std::wstring &);
    std::wstring (ISysProps::*getOne)(const std::wstring &);
    std::vector<std::wstring> names;
};

const Group kGroups[] = {
    {"network",
     &ISysProps::IsNetworkProperty,
     &ISysProps::GetOneNetworkProperty,
     {L"ComputerName", L"DomainName", L"IPAddress", L"IPHostName", L"IPXAddress", L"NETAddress", L"SubnetAddress",
      L"SubnetMask"}},
    {"processor",
     &ISysProps::IsCPUProperty,
     &ISysProps::GetOneCPUProperty,
     {L"CPUType", L"NumOfCPU", L"CPUSpeed", L"IsPortable", L"CPUSerialNumber"}},
    {"memory", &ISysProps::IsMemoryProperty, &ISysProps::GetOneMemoryProperty, {L"TotalPhysicalMemory", L"FreeMemory"}},
    {"miscellaneous",
     &ISysProps::IsMiscProperty,
     &ISysProps::GetOneMiscProperty,
     {L"UserName", L"TimeZone", L"DefaultLangID", L"LastUpdate"}},
    {"disk", &ISysProps::IsDiskProperty, &ISysProps::GetOneDiskProperty, {L"FreeDiskSpace", L"TotalDiskSpace"}},
    {"operating system",
     &ISysProps::IsOSProperty,
     &ISysProps::GetOneOSProperty,
     {L"OSType", L"OSBitMode", L"OSPlatform", L"OSVersion", L"OSBuildNum", L"OSCsdVersion", L"OSOEMId", L"PlatformID"}},
};

const std::vector<std::wstring> kNamesOfNoGroup = {L"SystemInfo",
                                                   L"NumberOfFileSystems",
                                                   L"FileSystem",
                                                   L"Free_Disk_Space_in_MB",
                                                   L"Total_Disk_Space_in_MB",
                                                   L"N/A",
                                                   L"",
                                                   L"CPUTYPE",
                                                   L"cputype",
                                                   L"CPUType ",
                                                   L" CPUType",
                                                   std::wstring(L"OSType\0", 7),
                                                   L"OSTypes",
                                                   L"OSTyp"};

std::vector<std::wstring> namesOfAllGroups() {
    std::vector<std::wstring> names;
    for (const Group &group : kGroups)
        names.insert(names.end(), group.names.begin(), group.names.end());
    return names;
}

bool holds(const std::vector<std::wstring> &names, const std::wstring &name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

std::string printable(const std::wstring &text) {
    return std::string(text.begin(), text.end());
}

TEST_F(PropertyGroup, EveryName_BelongsToItsGroupAlone) {
    std::vector<std::wstring> names = namesOfAllGroups();
    EXPECT_EQ(names.size(), 29u);
    names.insert(names.end(), kNamesOfNoGroup.begin(), kNamesOfNoGroup.end());
    ISysProps props;
    for (const Group &group : kGroups)
        for (const std::wstring &name : names)
            EXPECT_EQ((props.*group.knows)(name), holds(group.names, name))
                << group.collector << ' ' << printable(name);
    EXPECT_TRUE(runs.empty());
}

TEST_F(PropertyGroup, NamesOfTheGroup_AreAnsweredByOneRunOfItsCollector) {
    for (const Group &group : kGroups)
        for (const std::wstring &name : group.names) {
            ISysProps props;
            runs.clear();
            EXPECT_EQ((props.*group.getOne)(name), L"1:" + name);
            EXPECT_EQ(runs, std::vector<std::string>{group.collector});
        }
}

TEST_F(PropertyGroup, NetworkProperty_AsksForNoMoreOfTheMachinesNamesThanItsValueNeeds) {
    ISysProps props;
    for (const std::wstring &name : kGroups[0].names) {
        props.GetOneNetworkProperty(name);
        EXPECT_EQ(namesWanted, name == L"DomainName"   ? "domain "
                               : name == L"IPHostName" ? "full"
                                                       : "")
            << printable(name);
    }
    props.GetOneNetworkProperty(L"OSType");
    EXPECT_EQ(namesWanted, "");
    std::map<std::wstring, std::wstring> all;
    props.GetAllSystemProperties(all);
    EXPECT_EQ(namesWanted, "domain full");
}

TEST_F(PropertyGroup, NameOutsideTheGroup_IsNotAvailable_Kept) {
    std::vector<std::wstring> names = namesOfAllGroups();
    names.insert(names.end(), {L"SystemInfo", L"", L"CPUTYPE"});
    for (const Group &group : kGroups)
        for (const std::wstring &name : names)
            if (!holds(group.names, name)) {
                ISysProps props;
                runs.clear();
                EXPECT_EQ((props.*group.getOne)(name), L"N/A") << group.collector << ' ' << printable(name);
                EXPECT_EQ(runs, std::vector<std::string>{group.collector}); // it is collected all the same
            }
}

TEST_F(PropertyGroup, NumberOfFileSystems_IsAnsweredByTheDiskGroupAlone_Kept) {
    ISysProps props;
    EXPECT_FALSE(props.IsDiskProperty(L"NumberOfFileSystems"));
    EXPECT_EQ(props.GetOneDiskProperty(L"NumberOfFileSystems"), L"1:NumberOfFileSystems");
    EXPECT_EQ(props.GetOneOSProperty(L"NumberOfFileSystems"), L"N/A");
    EXPECT_EQ(props.GetOneSystemProperty(L"NumberOfFileSystems"), L"");
}

TEST_F(PropertyQuery, EveryName_IsAnsweredByOneRunOfOneCollector) {
    for (const Group &group : kGroups)
        for (const std::wstring &name : group.names) {
            ISysProps props;
            runs.clear();
            EXPECT_EQ(props.GetOneSystemProperty(name), L"1:" + name);
            EXPECT_EQ(runs, std::vector<std::string>{group.collector});
        }
}

TEST_F(PropertyQuery, UnknownName_IsEmptyAndCollectsNothing_Kept) {
    ISysProps props;
    for (const std::wstring &name : kNamesOfNoGroup)
        EXPECT_EQ(props.GetOneSystemProperty(name), L"") << printable(name);
    EXPECT_TRUE(runs.empty());
}

TEST_F(PropertyQuery, SecondQuery_CollectsAgain) {
    ISysProps props;
    EXPECT_EQ(props.GetOneSystemProperty(L"FreeMemory"), L"1:FreeMemory");
    EXPECT_EQ(props.GetOneSystemProperty(L"FreeMemory"), L"2:FreeMemory");
}

TEST_F(PropertyQuery, FailingCollector_LeavesTheEarlierValue_Kept) {
    ISysProps props;
    collectorsFail = true;
    EXPECT_EQ(props.GetOneSystemProperty(L"OSType"), L"N/A");
    EXPECT_EQ(props.GetOneSystemProperty(L"PlatformID"), L"");
    EXPECT_EQ(props.GetOneSystemProperty(L"IsPortable"), L"");
    collectorsFail = false;
    EXPECT_EQ(props.GetOneSystemProperty(L"OSType"), L"4:OSType");
    collectorsFail = true;
    EXPECT_EQ(props.GetOneSystemProperty(L"OSType"), L"4:OSType");
    EXPECT_EQ(props.GetOneSystemProperty(L"OSVersion"), L"4:OSVersion"); // written by the same run
    EXPECT_EQ(ISysProps().GetOneSystemProperty(L"OSType"), L"N/A");
}

constexpr struct {
    std::wstring (*function)();
    const wchar_t *name;
} kFlat[] = {
    {qelcomn_get_cpu_type, L"CPUType"},
    {qelcomn_get_cpu_speed, L"CPUSpeed"},
    {qelcomn_get_number_of_processors, L"NumOfCPU"},
    {qelcomn_get_cpu_serial_number, L"CPUSerialNumber"},
    {qelcomn_get_domain_name, L"DomainName"},
    {qelcomn_get_computer_name, L"ComputerName"},
    {qelcomn_get_ip_address, L"IPAddress"},
    {qelcomn_get_subnet_address, L"SubnetAddress"},
    {qelcomn_get_subnet_mask, L"SubnetMask"},
    {qelcomn_get_mac_address, L"NETAddress"},
    {qelcomn_get_ipx_address, L"IPXAddress"},
    {qelcomn_get_fqdn_address, L"IPHostName"},
    {qelcomn_get_total_memory, L"TotalPhysicalMemory"},
    {qelcomn_get_free_memory, L"FreeMemory"},
    {qelcomn_get_total_disk_space, L"TotalDiskSpace"},
    {qelcomn_get_free_disk_space, L"FreeDiskSpace"},
    {qelcomn_get_os_type, L"OSType"},
    {qelcomn_get_os_platform, L"OSPlatform"},
    {qelcomn_get_os_version, L"OSVersion"},
    {qelcomn_get_os_service_pack, L"OSCsdVersion"},
    {qelcomn_get_os_build_number, L"OSBuildNum"},
    {qelcomn_get_os_oem_id, L"OSOEMId"},
    {qelcomn_get_os_platform_id, L"PlatformID"},
    {qelcomn_get_user_name, L"UserName"},
    {qelcomn_get_time_zone, L"TimeZone"},
    {qelcomn_get_language, L"DefaultLangID"},
    {qelcomn_get_last_update_time, L"LastUpdate"},
};

TEST_F(FlatQuery, EveryFunction_AsksForItsProperty) {
    EXPECT_EQ(std::size(kFlat), 27u);
    for (const auto &row : kFlat) {
        runs.clear();
        EXPECT_EQ(row.function(), std::wstring(L"1:") + row.name);
    }
}

TEST_F(FlatQuery, EveryCall_UsesAnObjectOfItsOwn) {
    EXPECT_EQ(qelcomn_get_os_type(), L"1:OSType");
    collectorsFail = true;
    EXPECT_EQ(qelcomn_get_os_type(), L"N/A");
    EXPECT_EQ(qelcomn_get_os_platform_id(), L"");
}

TEST_F(FlatQuery, NumberOfFileSystems_IsAlwaysEmpty_Kept) {
    EXPECT_EQ(qelcomn_get_number_of_file_systems(), L"");
    EXPECT_TRUE(runs.empty());
}

TEST_F(FlatQuery, QuestionsAboutOneFileSystem_ArePlaceholders_Kept) {
    for (const int index : {0, 1, -1, 1000})
        EXPECT_EQ(qelcomn_get_file_system_name(index), L"N/A");
    for (const wchar_t *name : {L"", L"/", L"/my \"disk\""}) {
        EXPECT_EQ(qelcomn_get_file_system_free_space_by_name(name), L"N/A");
        EXPECT_EQ(qelcomn_get_file_system_total_space_by_name(name), L"N/A");
    }
    EXPECT_TRUE(runs.empty());
}

TEST_F(FlatQuery, SetLocalAddress_IsTheLastKnownOne) {
    qelcomn_set_local_ip_addr(L"10.0.0.5");
    EXPECT_EQ(ISysProps::GetLastKnownLocalIP(), L"10.0.0.5");
    qelcomn_set_local_ip_addr(L"");
    EXPECT_EQ(ISysProps::GetLastKnownLocalIP(), L"");
    EXPECT_TRUE(runs.empty());
}

using Properties = std::map<std::wstring, std::wstring>;
using FileSystems = std::map<std::wstring, std::pair<std::wstring, std::wstring>>;

const std::vector<std::string> kOrderOfCollectors = {"network", "processor",     "memory",
                                                     "disk",    "miscellaneous", "operating system"};

/** The thirty fixed names as the six collectors write them in one go. */
Properties fixedProperties() {
    Properties expected;
    for (const Group &group : kGroups) {
        const auto place = std::find(kOrderOfCollectors.begin(), kOrderOfCollectors.end(), group.collector);
        const std::wstring run = std::to_wstring(place - kOrderOfCollectors.begin() + 1) + L":";
        for (const std::wstring &name : group.names)
            expected[name] = run + name;
        if (place == kOrderOfCollectors.begin() + 3)
            expected[L"NumberOfFileSystems"] = run + L"NumberOfFileSystems";
    }
    return expected;
}

const FileSystems kFileSystems = {{L"/", {L"100.00", L"50.00"}}, {L"/my \"disk\"", {L"10.00", L"5.00"}}};

TEST_F(FullCollection, WithFileSystemsApart_HoldsThirtyNames) {
    Properties props = {{L"left over", L"x"}, {L"OSType", L"x"}};
    FileSystems fileSystems = {{L"left over", {L"x", L"x"}}};
    EXPECT_TRUE(ISysProps().GetAllSystemProperties(props, fileSystems));
    EXPECT_EQ(props.size(), 30u);
    EXPECT_EQ(props, fixedProperties());
    EXPECT_EQ(fileSystems, kFileSystems);
    EXPECT_EQ(runs, kOrderOfCollectors);
}

TEST_F(FullCollection, InOneMap_HoldsNoIsPortableButTheFileSystems_Kept) {
    Properties props = {{L"left over", L"x"}, {L"IsPortable", L"x"}};
    EXPECT_TRUE(ISysProps().GetAllSystemProperties(props));
    Properties expected = fixedProperties();
    expected.erase(L"IsPortable");
    EXPECT_EQ(expected.size(), 29u);
    expected[L"FileSystem\"/\" Total_Disk_Space_in_MB"] = L"100.00";
    expected[L"FileSystem\"/\" Free_Disk_Space_in_MB"] = L"50.00";
    expected[L"FileSystem\"/my \"disk\"\" Total_Disk_Space_in_MB"] = L"10.00";
    expected[L"FileSystem\"/my \"disk\"\" Free_Disk_Space_in_MB"] = L"5.00";
    EXPECT_EQ(props, expected);
    EXPECT_EQ(runs, kOrderOfCollectors);
}

TEST_F(FullCollection, FailingCollectors_LeaveTheDefaultsAndSucceed) {
    collectorsFail = true;
    Properties props;
    FileSystems fileSystems = {{L"left over", {L"x", L"x"}}};
    EXPECT_TRUE(ISysProps().GetAllSystemProperties(props, fileSystems));
    EXPECT_EQ(props.size(), 30u);
    for (const auto &[name, value] : props)
        EXPECT_EQ(value, name == L"IsPortable" || name == L"PlatformID" ? L"" : L"N/A") << printable(name);
    EXPECT_TRUE(fileSystems.empty());
    EXPECT_TRUE(ISysProps().GetAllSystemProperties(props));
    EXPECT_EQ(props.size(), 29u);
}

TEST_F(FullCollection, FailingCollectors_LeaveTheObjectsEarlierValues_Kept) {
    ISysProps object;
    Properties first, second;
    FileSystems fileSystems;
    object.GetAllSystemProperties(first, fileSystems);
    collectorsFail = true;
    fileSystems.clear();
    object.GetAllSystemProperties(second, fileSystems);
    EXPECT_EQ(second, first);
    EXPECT_EQ(fileSystems, kFileSystems);
    EXPECT_EQ(object.GetOneSystemProperty(L"CPUSpeed"), first[L"CPUSpeed"]); // queries share the records
}

} // namespace
