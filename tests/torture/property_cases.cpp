// The records, their collectors, the queries.

#include "tests/torture/cases.h"

#include "zorcomn/sysprops.h"

using namespace velmora_com::vta::sysprops;

namespace zor::torture {

namespace {

const std::vector<std::string> kUnknown = {"N/A"};
const std::vector<std::string> kUnknownOrEmpty = {"N/A", ""};

// What the contract makes of a source that cannot be read, other than "N/A".
const std::string kReading = "open64 __open64_2 syscall read __read_chk statx";
const std::vector<std::string> kStated = {
    by("popen", "Workstation"),                                  // of the server question
    by("popen access", "corp\\carol,alice,bob"),                 // of the directory
    by("getpwnam_r getgrgid_r", "example.org\\alice,bob,carol"), // of the account database
    by(kReading, "0 MHz"),                                       // of the clock
    by(kReading, "Intel"),                                       // of the processor's kind
    by(kReading, "524288000"),                                   // free memory, of an unknown total
    by(kReading + " fstatfs64 statfs64", "0.00"),                // disks: none can be seen
    by(kReading + " fstatfs64 statfs64", "0"),
    by(kReading + " fstatfs64 statfs64", "0.00 0.00 0"),
};

/** These failure values, and the stated ones. */
std::vector<std::string> orStated(std::vector<std::string> unknown) {
    unknown.insert(unknown.end(), kStated.begin(), kStated.end());
    return unknown;
}

/** A field of a record that begins as "N/A". */
void tell(Outcome &outcome, const char *name, const std::wstring &value,
          const std::vector<std::string> &unknown = kUnknown) {
    outcome.field(name, value, orStated(unknown));
}

void tell(Outcome &outcome, const CPUInformation &info) {
    tell(outcome, "type", info.CPUType);
    tell(outcome, "speed", info.CPUSpeed);
    tell(outcome, "number", info.NumOfCPU);
    tell(outcome, "serial", info.CPUSerialNumber);
    tell(outcome, "portable", info.IsPortable, {"", "-1"});
}

void tell(Outcome &outcome, const NetworkInformation &info) {
    tell(outcome, "domain", info.DomainName);
    tell(outcome, "computer", info.ComputerName);
    // What belongs to an address goes with it.
    tell(outcome, "address",
         info.IPAddress + L' ' + info.SubnetAddress + L' ' + info.SubnetMask + L' ' + info.NETAddress,
         {"N/A N/A N/A N/A"});
    tell(outcome, "ipx", info.IPXAddress);
    tell(outcome, "host", info.IPHostName);
}

void tell(Outcome &outcome, const MemoryInformation &info) {
    tell(outcome, "total", info.TotalPhysicalMemory);
    tell(outcome, "free", info.FreeMemory);
}

void tell(Outcome &outcome, const OSInformation &info) {
    tell(outcome, "type", info.OSType);
    tell(outcome, "platform", info.OSPlatform);
    tell(outcome, "version", info.OSVersion);
    tell(outcome, "service pack", info.OSCsdVersion);
    tell(outcome, "build", info.OSBuildNum);
    tell(outcome, "maker", info.OSOEMId);
    tell(outcome, "identifier", info.PlatformID, {""});
    tell(outcome, "bits", info.OSBitMode, {"N/A", "-1"});
}

void tell(Outcome &outcome, const DiskInformation &info) {
    std::wstring all = info.TotalDiskSpace + L' ' + info.FreeDiskSpace + L' ' + info.NumberOfFileSystems;
    for (const auto &[name, space] : info.FileSystems)
        all += L' ' + name + L'=' + space.first + L'/' + space.second;
    tell(outcome, "disks", all, {"N/A N/A N/A"});
}

void tell(Outcome &outcome, const MiscInformation &info) {
    tell(outcome, "user", info.UserName);
    tell(outcome, "zone", info.TimeZone);
    tell(outcome, "language", info.DefaultLangID);
    tell(outcome, "time", info.LastUpdate);
}

/** A collector of a record: it fails, and says so, or some fields are not known. */
template <class Record, bool (ISysProps::*collect)(Record &)> void collected(Outcome &outcome) {
    Record info;
    ISysProps properties;
    faulty([&] { return (properties.*collect)(info); });
    tell(outcome, info);
}

template <std::wstring (ISysProps::*query)(const std::wstring &)>
void queried(Outcome &outcome, const std::wstring &name, const std::vector<std::string> &unknown = kUnknownOrEmpty) {
    ISysProps properties;
    tell(outcome, "value", faulty([&] { return (properties.*query)(name); }), unknown);
}

template <class Function> void flat(Outcome &outcome, Function function) {
    tell(outcome, "value", faulty([&] { return function(); }), {"N/A", "", "-1"});
}

std::vector<Case> records() {
    return {
        {"CPUInformation::CPUInformation MemoryInformation::MemoryInformation OSInformation::OSInformation "
         "DiskInformation::DiskInformation MiscInformation::MiscInformation NetworkInformation::NetworkInformation "
         "ISysProps::ISysProps ISysProps::~ISysProps",
         [](Outcome &outcome) {
             const std::wstring name = L"no such property";
             const size_t length = faulty([&] {
                 return ISysProps().GetOneSystemProperty(name).size() + CPUInformation().CPUSerialNumber.size() +
                        MemoryInformation().FreeMemory.size() + OSInformation().OSType.size() +
                        DiskInformation().FreeDiskSpace.size() + MiscInformation().UserName.size() +
                        NetworkInformation().IPAddress.size();
             });
             outcome.field("length", std::to_string(length));
         }},
        {"ISysProps::updateLocalIP ISysProps::GetLastKnownLocalIP qelcomn_set_local_ip_addr",
         [](Outcome &outcome) {
             const std::wstring before = ISysProps::m_wstrLastKnownLocalIP;
             const std::wstring first = L"2001:db8:aaaa:bbbb:1:2:3:4";
             std::wstring second = L"2001:db8:aaaa:bbbb:1:2:3:5";
             faulty([&] { ISysProps::updateLocalIP(first); });
             outcome.field("first", ISysProps::m_wstrLastKnownLocalIP, {Outcome::narrow(before)});
             outcome.field("told", faulty([] { return ISysProps::GetLastKnownLocalIP(); }),
                           {"", Outcome::narrow(before)});
             faulty([&] { qelcomn_set_local_ip_addr(std::move(second)); });
             outcome.field("second", ISysProps::m_wstrLastKnownLocalIP,
                           {Outcome::narrow(before), Outcome::narrow(first)});
             ISysProps::m_wstrLastKnownLocalIP = before;
         }},
        {"sysprops_wide_to_ansi",
         [](Outcome &outcome) {
             std::wstring text = L"a text longer than small";
             outcome.field("text", faulty([&] { return sysprops_wide_to_ansi(std::move(text)); }), {""});
         }},
        {"sysprops_ansi_to_wide",
         [](Outcome &outcome) {
             std::string text = "a text longer than small";
             outcome.field("text", faulty([&] { return sysprops_ansi_to_wide(std::move(text)); }), {""});
         }},
        {"getComputerName",
         [](Outcome &outcome) {
             std::string name;
             if (outcome.succeeded(faulty([&] { return getComputerName(name); })))
                 outcome.field("name", name);
         }},
        {"GetPwUid",
         [](Outcome &outcome) {
             std::string name;
             if (outcome.succeeded(faulty([&] { return GetPwUid(0, name); })))
                 outcome.field("name", name);
         }},
        {"ConvertGestaltCPUTypeToString ConvertGestaltSysArchToString get_closest_floor",
         [](Outcome &outcome) {
             char first[64] = "", second[64] = "";
             faulty([&] {
                 ConvertGestaltCPUTypeToString(0x10C, first);
                 ConvertGestaltSysArchToString(2, second);
             });
             const unsigned long long value = 77, upper = 100, lower = 0;
             const unsigned int steps = 20;
             outcome.field("texts", std::string(first) + second);
             outcome.field("floor",
                           std::to_string(faulty([&] { return get_closest_floor(value, upper, lower, steps); })));
         }},
        {"IsPortableComputer",
         [](Outcome &outcome) {
             bool isPortable = false;
             const bool isKnown = faulty([&] { return IsPortableComputer(isPortable); });
             outcome.field("known", std::to_string(isKnown), {"0"}); // not every machine tells its model
             outcome.field("portable", std::to_string(isPortable),
                           isKnown ? std::vector<std::string>() : std::vector<std::string>{"0"});
         }},
    };
}

std::vector<Case> collectors() {
    return {
        {"ISysProps::GetOSInformation", collected<OSInformation, &ISysProps::GetOSInformation>},
        {"ISysProps::GetCPUInformation", collected<CPUInformation, &ISysProps::GetCPUInformation>},
        {"ISysProps::GetMemoryInformation", collected<MemoryInformation, &ISysProps::GetMemoryInformation>},
        {"ISysProps::GetDiskInformation", collected<DiskInformation, &ISysProps::GetDiskInformation>},
        {"ISysProps::GetNetworkInformation", collected<NetworkInformation, &ISysProps::GetNetworkInformation>},
        {"ISysProps::GetNetworkInformation",
         [](Outcome &outcome) { // the last known address is preferred
             const std::wstring before = ISysProps::m_wstrLastKnownLocalIP;
             ISysProps::m_wstrLastKnownLocalIP = L"2001:db8:0:0:0:0:0:7";
             collected<NetworkInformation, &ISysProps::GetNetworkInformation>(outcome);
             ISysProps::m_wstrLastKnownLocalIP = before;
         }},
        {"ISysProps::GetMiscInformation", collected<MiscInformation, &ISysProps::GetMiscInformation>},
        {"ISysProps::GetAllSystemProperties",
         [](Outcome &outcome) {
             std::map<std::wstring, std::wstring> properties;
             faulty([&] { return ISysProps().GetAllSystemProperties(properties); });
             if (!outcome.succeeded(!properties.empty()))
                 return;
             std::string names;
             for (const auto &[name, value] : properties) {
                 const bool isDisk = name.find(L"isk") != std::wstring::npos; // comes and goes as a whole
                 if (!isDisk)
                     names += Outcome::narrow(name) + ' ';
                 outcome.field(Outcome::narrow(name), value, orStated({"N/A", "-1", ""}));
             }
             outcome.field("names", names);
         }},
        {"ISysProps::GetAllSystemProperties",
         [](Outcome &outcome) { // with the file systems apart
             std::map<std::wstring, std::wstring> properties;
             std::map<std::wstring, std::pair<std::wstring, std::wstring>> fileSystems;
             faulty([&] { return ISysProps().GetAllSystemProperties(properties, fileSystems); });
             if (!outcome.succeeded(!properties.empty()))
                 return;
             std::string names, disks;
             for (const auto &[name, value] : properties) {
                 names += Outcome::narrow(name) + ' ';
                 outcome.field(Outcome::narrow(name), value, orStated({"N/A", "-1", ""}));
             }
             for (const auto &[name, space] : fileSystems)
                 disks += Outcome::narrow(name + L'=' + space.first + L'/' + space.second);
             outcome.field("names", names);
             const bool isUnknown = properties[TotalDiskSpace_Key] == DefaultProp_Val; // with all that belongs to it
             outcome.field("disks", disks, {isUnknown ? "" : by(kReading + " fstatfs64 statfs64", "")});
         }},
    };
}

std::vector<Case> queries() {
    return {
        {"ISysProps::IsNetworkProperty ISysProps::IsCPUProperty ISysProps::IsMemoryProperty ISysProps::IsMiscProperty "
         "ISysProps::IsDiskProperty ISysProps::IsOSProperty",
         [](Outcome &outcome) {
             ISysProps properties;
             int known = 0;
             faulty([&] {
                 for (const std::wstring *const name : {&IPAddress_Key, &OSType_Key, &UserName_Key})
                     known = known * 2 + (properties.IsNetworkProperty(*name) || properties.IsCPUProperty(*name) ||
                                          properties.IsMemoryProperty(*name) || properties.IsMiscProperty(*name) ||
                                          properties.IsDiskProperty(*name));
                 known = known * 2 + properties.IsOSProperty(OSType_Key);
             });
             outcome.field("known", std::to_string(known));
         }},
        {"ISysProps::GetOneSystemProperty",
         [](Outcome &outcome) { queried<&ISysProps::GetOneSystemProperty>(outcome, OSVersion_Key); }},
        {"ISysProps::GetOneNetworkProperty",
         [](Outcome &outcome) { queried<&ISysProps::GetOneNetworkProperty>(outcome, IPAddress_Key); }},
        {"ISysProps::GetOneCPUProperty",
         [](Outcome &outcome) { queried<&ISysProps::GetOneCPUProperty>(outcome, CPUType_Key); }},
        {"ISysProps::GetOneMemoryProperty",
         [](Outcome &outcome) { queried<&ISysProps::GetOneMemoryProperty>(outcome, TotalPhysicalMemory_Key); }},
        {"ISysProps::GetOneMiscProperty",
         [](Outcome &outcome) { queried<&ISysProps::GetOneMiscProperty>(outcome, TimeZone_Key); }},
        {"ISysProps::GetOneDiskProperty",
         [](Outcome &outcome) { queried<&ISysProps::GetOneDiskProperty>(outcome, TotalDiskSpace_Key); }},
        {"ISysProps::GetOneOSProperty",
         [](Outcome &outcome) { queried<&ISysProps::GetOneOSProperty>(outcome, OSPlatform_Key); }},
#define FLAT(function)                                                                                                 \
    {                                                                                                                  \
#function, [](Outcome & outcome) { flat(outcome, function); }                                                  \
    }
        FLAT(qelcomn_get_cpu_type),
        FLAT(qelcomn_get_cpu_speed),
        FLAT(qelcomn_get_number_of_processors),
        FLAT(qelcomn_get_cpu_serial_number),
        FLAT(qelcomn_get_domain_name),
        FLAT(qelcomn_get_computer_name),
        FLAT(qelcomn_get_ip_address),
        FLAT(qelcomn_get_subnet_address),
        FLAT(qelcomn_get_subnet_mask),
        FLAT(qelcomn_get_mac_address),
        FLAT(qelcomn_get_ipx_address),
        FLAT(qelcomn_get_fqdn_address),
        FLAT(qelcomn_get_total_memory),
        FLAT(qelcomn_get_free_memory),
        FLAT(qelcomn_get_number_of_file_systems),
        FLAT(qelcomn_get_total_disk_space),
        FLAT(qelcomn_get_free_disk_space),
        FLAT(qelcomn_get_os_type),
        FLAT(qelcomn_get_os_platform),
        FLAT(qelcomn_get_os_version),
        FLAT(qelcomn_get_os_service_pack),
        FLAT(qelcomn_get_os_build_number),
        FLAT(qelcomn_get_os_oem_id),
        FLAT(qelcomn_get_os_platform_id),
        FLAT(qelcomn_get_user_name),
        FLAT(qelcomn_get_time_zone),
        FLAT(qelcomn_get_language),
        FLAT(qelcomn_get_last_update_time),
#undef FLAT
        {"qelcomn_get_file_system_name qelcomn_get_file_system_free_space_by_name "
         "qelcomn_get_file_system_total_space_by_name",
         [](Outcome &outcome) {
             const std::wstring name = L"/a/file/system/with/a/long/name";
             tell(outcome, "name", faulty([] { return qelcomn_get_file_system_name(0); }));
             tell(outcome, "free", faulty([&] { return qelcomn_get_file_system_free_space_by_name(name); }));
             tell(outcome, "total", faulty([&] { return qelcomn_get_file_system_total_space_by_name(name); }));
         }},
    };
}

} // namespace

std::vector<Case> propertyCases() {
    std::vector<Case> cases;
    for (const auto &part : {records(), collectors(), queries()})
        cases.insert(cases.end(), part.begin(), part.end());
    return cases;
}

} // namespace zor::torture
