// Each of the library's collectors runs at most once for a report, so that the machine's names are looked up once. One
// that may wait runs in a child, and what it found comes back as name, value, name, value; the file systems' table as
// five texts for each.

#include "machine.h"

#include "host_facts.h"

#include "zorcomn/network.h"
#include "zorcomn/session.h"
#include "zorcomn/sysprops.h"
#include "zorcomn/utilities.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <iterator>
#include <list>
#include <new>
#include <system_error>

#include <ifaddrs.h>
#include <net/if.h>
#include <sys/socket.h>
#include <sys/statvfs.h>
#include <time.h>

namespace session = velmora_com::vta::session;
namespace sysprops = velmora_com::vta::sysprops;

namespace zorprops {

namespace {

using sysprops::ISysProps;

/** The library's converter gives an empty text when there is no memory; a fact must not seem to be empty for that. */
std::string narrow(const std::wstring &text) {
    std::string narrowed = sysprops::sysprops_wide_to_ansi(text);
    const bool isConvertible = !text.empty() && text.front() > 0 && text.front() < 0xD800;
    if (narrowed.empty() && isConvertible)
        throw std::bad_alloc();
    return narrowed;
}

/** The library reports the time zone as it finds it set up in the process. */
void setUpTimeZone() {
    tzset();
}

/** The collector's own 'this failed', as a name that no property has. */
constexpr char kUnread[] = "";

void append(Texts &texts, const Texts &more) {
    texts.insert(texts.end(), more.begin(), more.end());
}

Texts systemTexts(ISysProps &machine) {
    sysprops::OSInformation info;
    const bool isTold = machine.GetOSInformation(info);
    Texts texts{"OSType",     narrow(info.OSType),     "OSVersion",    narrow(info.OSVersion),
                "OSBuildNum", narrow(info.OSBuildNum), "OSCsdVersion", narrow(info.OSCsdVersion),
                "OSPlatform", narrow(info.OSPlatform), "OSBitMode",    narrow(info.OSBitMode),
                "OSOEMId",    narrow(info.OSOEMId),    "PlatformID",   narrow(info.PlatformID)};
    if (!isTold && ZORPROPS_HOST_IS_TARGET) // elsewhere there is nothing to read
        append(texts, {kUnread, "OSVersion", kUnread, "OSBuildNum", kUnread, "OSPlatform"});
    return texts;
}

Texts processorTexts(ISysProps &machine) {
    sysprops::CPUInformation info;
    machine.GetCPUInformation(info); // false: no name for it, which is no failure
    return {"CPUType",         narrow(info.CPUType),        "CPUSpeed",   narrow(info.CPUSpeed),
            "NumOfCPU",        narrow(info.NumOfCPU),       "IsPortable", narrow(info.IsPortable),
            "CPUSerialNumber", narrow(info.CPUSerialNumber)};
}

Texts memoryTexts(ISysProps &machine) {
    sysprops::MemoryInformation info;
    machine.GetMemoryInformation(info); // false: FreeMemory has no value
    return {"TotalPhysicalMemory", narrow(info.TotalPhysicalMemory), "FreeMemory", narrow(info.FreeMemory)};
}

/** Whether the system's list of interfaces can be read and has none with an address that the library would report. */
bool hasNoAddress(bool includeLoopback = false) {
    ifaddrs *list = nullptr;
    if (getifaddrs(&list) != 0)
        return false;
    bool isFound = false;
    for (const ifaddrs *entry = list; entry; entry = entry->ifa_next)
        isFound = isFound || (entry->ifa_addr && (entry->ifa_flags & IFF_UP) &&
                              (includeLoopback || !(entry->ifa_flags & IFF_LOOPBACK)) &&
                              (entry->ifa_addr->sa_family == AF_INET || entry->ifa_addr->sa_family == AF_INET6));
    freeifaddrs(list);
    return !isFound;
}

constexpr const char *kOfAnAddress[] = {"IPAddress", "SubnetMask", "SubnetAddress", "NETAddress"};

bool isOfAnAddress(const std::string &name) {
    return std::find(std::begin(kOfAnAddress), std::end(kOfAnAddress), name) != std::end(kOfAnAddress);
}

Texts networkTexts(ISysProps &machine) {
    sysprops::NetworkInformation info;
    const bool isTold = machine.GetNetworkInformation(info);
    Texts texts{"ComputerName",  narrow(info.ComputerName),  "DomainName", narrow(info.DomainName),
                "IPHostName",    narrow(info.IPHostName),    "IPAddress",  narrow(info.IPAddress),
                "SubnetMask",    narrow(info.SubnetMask),    "NETAddress", narrow(info.NETAddress),
                "SubnetAddress", narrow(info.SubnetAddress), "IPXAddress", narrow(info.IPXAddress)};
    if (!isTold && !hasNoAddress())
        for (const char *name : kOfAnAddress)
            append(texts, {kUnread, name});
    return texts;
}

/** Whether a list of users is whole, which its collection tells by errno. */
template <class Collection> bool isWhole(Collection collect) {
    errno = 0;
    collect();
    return errno == 0;
}

Texts userTexts(ISysProps &machine) {
    setUpTimeZone();
    sysprops::MiscInformation info;
    machine.GetMiscInformation(info);
    return {"UserName",      narrow(info.UserName),      "TimeZone",   narrow(info.TimeZone),
            "DefaultLangID", narrow(info.DefaultLangID), "LastUpdate", narrow(info.LastUpdate)};
}

constexpr char kFileSystem[] = "FileSystem"; // before the five texts of one

Texts diskTexts(ISysProps &machine) {
    sysprops::DiskInformation info;
    machine.GetDiskInformation(info);
    Texts texts{"TotalDiskSpace",           narrow(info.TotalDiskSpace), "FreeDiskSpace",
                narrow(info.FreeDiskSpace), "NumberOfFileSystems",       narrow(info.NumberOfFileSystems)};
    if (info.FileSystems.empty() && !fileSystemsAreTold())
        append(texts, {kUnread, "TotalDiskSpace", kUnread, "FreeDiskSpace", kUnread, "NumberOfFileSystems"});
    for (const auto &[mountPoint, space] : info.FileSystems) {
        append(texts, {kFileSystem, narrow(mountPoint), narrow(space.first), narrow(space.second)});
        struct statvfs figures;
        if (statvfs(texts[texts.size() - 3].c_str(), &figures) == 0)
            append(texts, {std::to_string(uint64_t(figures.f_blocks) * figures.f_frsize),
                           std::to_string(uint64_t(figures.f_bavail) * figures.f_frsize)});
        else
            append(texts, {"", ""});
    }
    return texts;
}

Texts collectorTexts(Source source) {
    ISysProps machine;
    switch (source) {
    case Source::System:
        return systemTexts(machine);
    case Source::Processor:
        return processorTexts(machine);
    case Source::Memory:
        return memoryTexts(machine);
    case Source::Network:
        return networkTexts(machine);
    case Source::Users:
        return userTexts(machine);
    case Source::Disks:
        break;
    }
    return diskTexts(machine);
}

std::optional<std::wstring> computerName() {
    std::string name;
    return sysprops::getComputerName(name) ? sysprops::sysprops_ansi_to_wide(name) : sysprops::DefaultProp_Val;
}

/** None where it may be one that this question cuts. */
std::optional<std::wstring> timeZone() {
    constexpr size_t kLongest = 63; // bytes that it answers
    setUpTimeZone();
    std::wstring name;
    return velmora_com::vta::zorcomn_gettimezone(name) && narrow(name).size() < kLongest
               ? std::optional<std::wstring>(name)
               : std::nullopt;
}

/** A property for which no record need be collected: the library tells it by itself. */
struct Single {
    const char *name;
    std::optional<std::wstring> (*read)();
    bool asksNobody; // who may not answer
};

using MaybeText = std::optional<std::wstring>;
constexpr Single kSingles[] = {
    {"OSType", [] { return MaybeText(sysprops::os_mac); }, true},
    {"OSOEMId", [] { return MaybeText(sysprops::os_mac_oemid); }, true},
    {"PlatformID", [] { return MaybeText(sysprops::platform_mac); }, true},
    {"ComputerName", computerName, true},
    {"DomainName", [] { return MaybeText(velmora_com::vta::getDomainName()); }, false},
    {"IPHostName", [] { return MaybeText(velmora_com::vta::getFqdnAddress()); }, false},
    {"IPXAddress", [] { return MaybeText(sysprops::DefaultProp_Val); }, true},
    {"TimeZone", timeZone, false},
};

const Single *singleOf(const std::string &name) {
    const auto *const found = std::find_if(std::begin(kSingles), std::end(kSingles),
                                           [&](const Single &single) { return single.name == name; });
    return found == std::end(kSingles) ? nullptr : found;
}

/** Whether a property by itself asks nobody who may not answer. */
bool asksNobody(const Word *word) {
    const Single *const single = singleOf(word->name);
    return word->has(AtOnce) || isOfAnAddress(word->name) || (single && single->asksNobody);
}

/** What the query by name answers. */
std::wstring queried(ISysProps &machine, const Word &word) {
    if (word.source == Source::Users)
        setUpTimeZone();
    const std::wstring name = sysprops::sysprops_ansi_to_wide(word.name);
    const bool isGrouped = name != sysprops::NumFileSystems_Key; // the one that it does not know
    return isGrouped ? machine.GetOneSystemProperty(name) : machine.GetOneDiskProperty(name);
}

/** Some of a group's properties, each by itself: the library then asks for no more than they need. */
Texts singleTexts(const std::vector<const Word *> &words) {
    ISysProps machine;
    Texts texts;
    for (const Word *word : words) {
        const Single *const single = singleOf(word->name);
        std::optional<std::wstring> told = single ? single->read() : std::nullopt;
        const std::string value = narrow(told ? *told : queried(machine, *word));
        append(texts, {word->name, value});
        const bool hasNoDisk = word->source == Source::Disks && (value == "0" || value == "0.00");
        if (hasNoDisk && !fileSystemsAreTold())
            append(texts, {kUnread, word->name});
        if (isOfAnAddress(word->name) && (value.empty() || value == "N/A") && !hasNoAddress())
            append(texts, {kUnread, word->name});
    }
    return texts;
}

std::optional<uint64_t> number(const std::string &digits) {
    return digits.empty() ? std::nullopt : std::optional<uint64_t>(std::strtoull(digits.c_str(), nullptr, 10));
}

/** Enters what a collector found. What is there already stays. */
void enter(Report &report, const Texts &texts) {
    for (size_t i = 0; i + 1 < texts.size(); i += 2) {
        if (texts[i] == kUnread) {
            report.unread.insert(texts[i + 1]);
        } else if (texts[i] != kFileSystem) {
            report.properties.emplace(texts[i], texts[i + 1]);
        } else if (i + 5 < texts.size()) {
            report.fileSystems.push_back(
                {texts[i + 1], texts[i + 2], texts[i + 3], number(texts[i + 4]), number(texts[i + 5])});
            i += 4;
        }
    }
}

/** The disks of this host together: unknown as soon as one of them is. */
void addDisks(Report &report) {
    uint64_t total = 0, available = 0;
    for (const FileSystem &fileSystem : report.fileSystems) {
        if (!fileSystem.totalBytes || !fileSystem.availableBytes)
            return;
        total += *fileSystem.totalBytes;
        available += *fileSystem.availableBytes;
    }
    if (report.fileSystems.empty())
        return;
    report.host["diskTotal"] = std::to_string(total);
    report.host["diskAvailable"] = std::to_string(available);
}

const char *kindOfWait(Source source) {
    switch (source) {
    case Source::Network:
        return "name look-ups";
    case Source::Users:
        return "the list of users";
    case Source::Disks:
        return "the disks";
    default:
        return "the operating system's commands";
    }
}

bool isHostFact(const Word *word) {
    return word >= hostFacts().data() && word < hostFacts().data() + hostFacts().size();
}

/** What is asked of one collector. */
struct Share {
    Source source;
    std::vector<const Word *> words;
    bool isWhole; // the collector's whole record, else each word by itself
    bool isSpare; // for the case only that the collector gets stuck
};

bool isPrompt(const Word *word) {
    return word->has(Prompt);
}

constexpr size_t kFew = 3; // so many by themselves, when that keeps the whole record from being waited for

Share shareOf(Source source, const std::vector<const Word *> &asked, bool withFileSystems) {
    Share share{source, {}, false, false};
    for (const Word *word : asked)
        if (word->source == source && !isHostFact(word))
            share.words.push_back(word);
    const bool needsTable =
        source == Source::Disks && (withFileSystems || std::any_of(asked.begin(), asked.end(), [](const Word *word) {
                                        return isHostFact(word) && word->source == Source::Disks;
                                    }));
    const bool needsNobody =
        share.words.size() <= kFew && std::all_of(share.words.begin(), share.words.end(), isPrompt);
    share.isWhole = needsTable || (share.words.size() > 1 && !needsNobody);
    return share;
}

/** Who is asked for what, in the order of asking: names last, since they are what keeps one waiting. What no record has
 * to be waited for is asked for by itself when its record does not come. */
std::vector<Share> sharesOf(const std::vector<const Word *> &asked, bool withFileSystems) {
    std::vector<Share> shares;
    for (const Source source :
         {Source::Processor, Source::Memory, Source::Disks, Source::Users, Source::System, Source::Network}) {
        const Share share = shareOf(source, asked, withFileSystems);
        if (share.isWhole || !share.words.empty())
            shares.push_back(share);
        Share spare{source, {}, false, true};
        if (share.isWhole)
            std::copy_if(share.words.begin(), share.words.end(), std::back_inserter(spare.words), isPrompt);
        if (!spare.words.empty())
            shares.push_back(spare);
    }
    return shares;
}

Texts textsOf(const Share &share) {
    return share.isWhole ? collectorTexts(share.source) : singleTexts(share.words);
}

/** Whether it is for a thread, which is waited for no longer than one has patience. */
bool mayWait(const Share &share) {
    const auto isQuick = [&](const Word *word) { return share.isWhole ? word->has(AtOnce) : asksNobody(word); };
    return share.isSpare || share.words.empty() || !std::all_of(share.words.begin(), share.words.end(), isQuick);
}

/** Names what a collector that did not come to its end owes, unless it came another way. */
void blame(Report &report, Source source, const std::vector<const Word *> &asked, Outcome::State state) {
    auto &names = state == Outcome::Late ? report.late : report.unread;
    for (const Word *word : asked) {
        if (word->source != source)
            continue;
        if (isHostFact(word) ? source == Source::Disks && report.host.count(word->name) == 0
                             : report.properties.emplace(word->name, "N/A").second)
            names.insert(isHostFact(word) ? kHostPrefix + std::string(word->name) : word->name);
    }
}

/** Collects what needs not be waited for. */
void collectHere(Report &report, const Share &share, const std::vector<const Word *> &asked) {
    try {
        enter(report, textsOf(share));
    } catch (const std::exception &) {
        blame(report, share.source, asked, Outcome::Failed);
    }
}

/** Names what has no value although it should. */
void judge(Report &report, const std::vector<const Word *> &asked) {
    for (const Word *word : asked) {
        const auto found = report.properties.find(word->name);
        if (found != report.properties.end() && word->has(Always) && report.late.count(word->name) == 0 &&
            (found->second.empty() || found->second == "N/A"))
            report.unread.insert(word->name);
    }
}

/** What no listed interface lacks: the library's readers give nothing where memory runs out. */
template <class Part> Part present(Part part) {
    if (part.empty())
        throw std::bad_alloc();
    return part;
}

Interface describe(const velmora_com::vta::NetInterface &record) {
    Interface described{record.getIndex(), present(record.getIndexName()), present(record.getMACAddress()), {}};
    for (const auto &address : present(record.getIPAddress()))
        described.addresses.push_back({address.getIPFamily() == AF_INET6, present(address.getIPAddress()),
                                       present(address.getSubNetMask()), present(address.getSubNetAddr())});
    return described;
}

} // namespace

void setLocalAddress(const std::string &address) {
    qelcomn_set_local_ip_addr(sysprops::sysprops_ansi_to_wide(address));
}

Report collect(const std::vector<const Word *> &asked, bool withFileSystems, const Patience &patience) {
    std::vector<Share> quick, slow;
    for (Share &share : sharesOf(asked, withFileSystems))
        (mayWait(share) ? slow : quick).push_back(std::move(share));
    std::vector<Job> jobs;
    jobs.reserve(slow.size());
    for (const Share &share : slow)
        jobs.push_back({kindOfWait(share.source), [share] { return textsOf(share); }, share.isSpare});
    Workers workers(std::move(jobs), patience);

    Report report; // meanwhile
    for (const Share &share : quick)
        collectHere(report, share, asked);
    if (std::any_of(asked.begin(), asked.end(), isHostFact))
        report.host = collectHostFacts();

    const std::vector<Outcome> outcomes = workers.wait();
    for (const Outcome &outcome : outcomes)
        enter(report, outcome.texts);
    addDisks(report);
    for (size_t i = 0; i < slow.size(); ++i)
        if (outcomes[i].state != Outcome::Done && !slow[i].isSpare)
            blame(report, slow[i].source, asked, outcomes[i].state);
    judge(report, asked);
    return report;
}

Report collectReport(const Patience &patience) {
    std::vector<const Word *> all;
    for (const std::vector<Word> *words : {&properties(), &hostFacts()})
        for (const Word &word : *words)
            all.push_back(&word);
    return collect(all, true, patience);
}

std::optional<std::vector<Interface>> collectInterfaces(bool includeLoopback) {
    velmora_com::vta::NetInterfaceList list(includeLoopback);
    if (!velmora_com::vta::getNetInterfacesList(list) && !hasNoAddress(includeLoopback))
        return std::nullopt;
    std::vector<Interface> interfaces;
    const std::list<unsigned int> indexes = list.getIndexes();
    if (indexes.empty() && !hasNoAddress(includeLoopback))
        throw std::bad_alloc(); // the list holds some
    for (const unsigned int index : indexes)
        interfaces.push_back(describe(list.getNetInterface(index)));
    return interfaces;
}

Users collectUsers(const Patience &patience) {
    Workers workers({{"the list of users",
                      [] {
                          std::set<std::wstring> network, local;
                          std::wstring combined;
                          if (!isWhole([&] { session::CollectLoggedonUsers(network, local, false); }) ||
                              !isWhole([&] { session::CollectAllLoggedonUsers(combined); }))
                              throw std::system_error(errno, std::generic_category());
                          Texts texts{narrow(combined), std::to_string(network.size())};
                          for (const auto *names : {&network, &local})
                              for (const std::wstring &name : *names)
                                  texts.push_back(narrow(name));
                          return texts;
                      },
                      false}},
                    patience);
    const Outcome outcome = std::move(workers.wait().front());
    Users users;
    users.state = outcome.state;
    if (outcome.texts.size() < 2)
        return users;
    users.combined = outcome.texts[0];
    const size_t networkCount = std::strtoul(outcome.texts[1].c_str(), nullptr, 10);
    for (size_t i = 2; i < outcome.texts.size(); ++i)
        (i - 2 < networkCount ? users.network : users.local).push_back(outcome.texts[i]);
    return users;
}

} // namespace zorprops
