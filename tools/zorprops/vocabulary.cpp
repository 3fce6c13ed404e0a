#include "vocabulary.h"

#include <algorithm>
#include <cctype>
#include <utility>

namespace zorprops {

namespace {

constexpr size_t kNearest = 3;

char lowered(char c) {
    return static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
}

const Word *find(const std::vector<Word> &words, const std::string &name) {
    for (const Word &word : words)
        if (equalIgnoringCase(word.name, name))
            return &word;
    return nullptr;
}

} // namespace

const std::vector<Word> &properties() {
    static const std::vector<Word> words = {
        {"OSType", Source::System, Type::Text, "", "operating system of the agent's contract", Fixed | Prompt},
        {"OSVersion", Source::System, Type::Text, "", "its version, three parts at most", 0},
        {"OSCsdVersion", Source::System, Type::Text, "", "the third part of that version", 0},
        {"OSBuildNum", Source::System, Type::Text, "", "its build", 0},
        {"OSPlatform", Source::System, Type::Text, "", "Server or Workstation", 0},
        {"OSBitMode", Source::System, Type::Boolean, "", "whether it runs with 64 bits", 0},
        {"OSOEMId", Source::System, Type::Text, "", "its maker", Fixed | Prompt},
        {"PlatformID", Source::System, Type::Text, "", "short name of the platform", Fixed | Prompt},
        {"CPUType", Source::Processor, Type::Text, "", "architecture and kind of the processors", AtOnce},
        {"CPUSpeed", Source::Processor, Type::Integer, "MHz", "clock of the processors", AtOnce},
        {"NumOfCPU", Source::Processor, Type::Integer, "", "processors in use", Always | AtOnce},
        {"CPUSerialNumber", Source::Processor, Type::Text, "", "told by no system", AtOnce},
        {"IsPortable", Source::Processor, Type::Boolean, "", "whether the machine is a portable", AtOnce},
        {"TotalPhysicalMemory", Source::Memory, Type::Integer, "bytes", "physical memory", Always | AtOnce},
        {"FreeMemory", Source::Memory, Type::Integer, "bytes", "free memory, in twentieths of the whole",
         Always | AtOnce},
        {"ComputerName", Source::Network, Type::Text, "", "name of the machine up to its first dot", Always | Prompt},
        {"DomainName", Source::Network, Type::Text, "", "domain of the machine", 0},
        {"IPHostName", Source::Network, Type::Text, "", "fully qualified name of the machine", Always},
        {"IPAddress", Source::Network, Type::Text, "", "the address that represents the machine", Prompt},
        {"SubnetMask", Source::Network, Type::Text, "", "mask of that address", Prompt},
        {"SubnetAddress", Source::Network, Type::Text, "", "subnet of that address", Prompt},
        {"NETAddress", Source::Network, Type::Text, "", "hardware address of the interface that carries it", Prompt},
        {"IPXAddress", Source::Network, Type::Text, "", "told by no system", Prompt},
        {"UserName", Source::Users, Type::Text, "", "who is logged on, network users first", Always},
        {"DefaultLangID", Source::Users, Type::Text, "", "language: 0409, 0809 or 0411", Always | Prompt},
        {"TimeZone", Source::Users, Type::Text, "", "name of the standard time", Prompt},
        {"LastUpdate", Source::Users, Type::Time, "", "when this report was collected, in local time",
         Always | Restless | Prompt},
        {"TotalDiskSpace", Source::Disks, Type::Decimal, "MB", "space of the local file systems", Always},
        {"FreeDiskSpace", Source::Disks, Type::Decimal, "MB", "free space, in twentieths of the whole", Always},
        {"NumberOfFileSystems", Source::Disks, Type::Integer, "", "local file systems", Always},
    };
    return words;
}

const std::vector<Word> &hostFacts() {
    static const std::vector<Word> words = {
        {"operatingSystem", Source::System, Type::Text, "", "operating system and edition", AtOnce},
        {"operatingSystemVersion", Source::System, Type::Text, "", "its version", AtOnce},
        {"kernel", Source::System, Type::Text, "", "kernel and release", AtOnce},
        {"architecture", Source::System, Type::Text, "", "kind of machine, as the kernel names it", AtOnce},
        {"processor", Source::Processor, Type::Text, "", "model of the processors", AtOnce},
        {"memoryTotal", Source::Memory, Type::Integer, "bytes", "memory that the kernel manages", AtOnce},
        {"memoryAvailable", Source::Memory, Type::Integer, "bytes", "memory that programs can still have",
         AtOnce | Restless},
        {"diskTotal", Source::Disks, Type::Integer, "bytes", "space of the local file systems", 0},
        {"diskAvailable", Source::Disks, Type::Integer, "bytes", "space that users can still have", Restless},
        {"address", Source::Network, Type::Text, "", "the address that other networks are reached from", AtOnce},
        {"zone", Source::Users, Type::Text, "", "time zone", AtOnce},
        {"locale", Source::Users, Type::Text, "", "locale of this session", AtOnce},
        {"uptime", Source::System, Type::Integer, "seconds", "time since the start", AtOnce | Restless},
        {"container", Source::System, Type::Text, "", "what contains this system, if known", AtOnce},
        {"virtualMachine", Source::System, Type::Text, "", "what emulates this machine, if known", AtOnce},
    };
    return words;
}

const char *titleOf(Source source) {
    switch (source) {
    case Source::System:
        return "Operating system";
    case Source::Processor:
        return "Processor";
    case Source::Memory:
        return "Memory";
    case Source::Network:
        return "Network";
    case Source::Users:
        return "Users, language and time";
    case Source::Disks:
        break;
    }
    return "Disks";
}

const char *nameOf(Type type) {
    switch (type) {
    case Type::Integer:
        return "integer";
    case Type::Decimal:
        return "decimal";
    case Type::Boolean:
        return "boolean";
    case Type::Time:
        return "time";
    case Type::Text:
        break;
    }
    return "text";
}

bool equalIgnoringCase(const std::string &one, const std::string &other) {
    return std::equal(one.begin(), one.end(), other.begin(), other.end(),
                      [](char a, char b) { return lowered(a) == lowered(b); });
}

const Word *findProperty(const std::string &name) {
    return find(properties(), name);
}

const Word *findHostFact(const std::string &name) {
    return find(hostFacts(), name);
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
    for (const Word &word : properties())
        candidates.emplace_back(editDistance(name, word.name), word.name);
    for (const Word &word : hostFacts())
        candidates.emplace_back(editDistance(name, std::string(kHostPrefix) + word.name),
                                std::string(kHostPrefix) + word.name);
    std::sort(candidates.begin(), candidates.end());
    std::vector<std::string> nearest;
    for (const auto &candidate : candidates)
        if (nearest.size() < kNearest)
            nearest.push_back(candidate.second);
    return nearest;
}

} // namespace zorprops
