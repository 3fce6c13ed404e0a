#include "vocabulary.h"

#include "zorcomn/sysprops.h"

#include <algorithm>
#include <cctype>
#include <utility>

namespace sysprops = velmora_com::vta::sysprops;

namespace zorprops {

namespace {

constexpr size_t kNearest = 3;

Group makeGroup(const char *title, std::initializer_list<const std::wstring *> keys) {
    Group group{title, {}};
    for (const std::wstring *key : keys)
        group.names.push_back(sysprops::sysprops_wide_to_ansi(*key));
    return group;
}

char lowered(char c) {
    return static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
}

} // namespace

const std::vector<Group> &groups() {
    using namespace velmora_com::vta::sysprops;
    static const std::vector<Group> all = {
        makeGroup("Operating system", {&OSType_Key, &OSVersion_Key, &OSCsdVersion_Key, &OSBuildNum_Key, &OSPlatform_Key,
                                       &OSBitMode_Key, &OSOEMId_Key, &PlatformId_Key}),
        makeGroup("Processor", {&CPUType_Key, &CPUSpeed_Key, &NumOfCPU_Key, &CPUSerialNumber_Key, &CPUPortable_Key}),
        makeGroup("Memory", {&TotalPhysicalMemory_Key, &FreeMemory_Key}),
        makeGroup("Network", {&ComputerName_Key, &DomainName_Key, &IPHostName_Key, &IPAddress_Key, &SubnetMask_Key,
                              &SubnetAddress_Key, &NETAddress_Key, &IPXAddress_Key}),
        makeGroup("Users, language and time", {&UserName_Key, &DefaultLangID_Key, &TimeZone_Key, &LastUpdate_Key}),
        makeGroup("Disks", {&TotalDiskSpace_Key, &FreeDiskSpace_Key, &NumFileSystems_Key}),
    };
    return all;
}

size_t editDistance(const std::string &one, const std::string &other) {
    std::vector<size_t> row(other.size() + 1); // from the first i characters of one to the first j of other
    for (size_t j = 0; j < row.size(); ++j)
        row[j] = j;
    for (size_t i = 1; i <= one.size(); ++i) {
        size_t diagonal = std::exchange(row[0], i);
        for (size_t j = 1; j < row.size(); ++j) {
            const size_t replaced = diagonal + (lowered(one[i - 1]) == lowered(other[j - 1]) ? 0 : 1);
            diagonal = row[j];
            row[j] = std::min({replaced, row[j] + 1, row[j - 1] + 1});
        }
    }
    return row.back();
}

std::vector<std::string> nearestNames(const std::string &name) {
    std::vector<std::pair<size_t, std::string>> candidates;
    for (const Group &group : groups())
        for (const std::string &candidate : group.names)
            candidates.emplace_back(editDistance(name, candidate), candidate);
    std::sort(candidates.begin(), candidates.end());
    std::vector<std::string> nearest;
    for (const auto &candidate : candidates)
        if (nearest.size() < kNearest)
            nearest.push_back(candidate.second);
    return nearest;
}

} // namespace zorprops
