// From the files that every distribution has: the release file, the kernel's tables, what containers leave as their
// mark.

#include "../../host_facts.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <iterator>

#include <fcntl.h>
#include <limits.h>
#include <time.h>
#include <unistd.h>

namespace zorprops {

namespace {

using Text = std::optional<std::string>;

constexpr size_t kEnough = size_t{64} * 1024; // no file here that means anything is longer

/** Up to limit bytes of a file; none when it cannot be opened or read. Never waits for a writer: what is no regular
 * file counts as one that cannot be read. */
Text readText(const std::string &path, size_t limit = kEnough) {
    const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (descriptor < 0)
        return std::nullopt;
    std::string text;
    char buffer[4096];
    ssize_t got = 1;
    while (text.size() < limit && (got = read(descriptor, buffer, std::min(sizeof buffer, limit - text.size()))) > 0)
        text.append(buffer, static_cast<size_t>(got));
    close(descriptor);
    return got < 0 ? std::nullopt : Text(text);
}

std::string trimmed(const std::string &text) {
    const auto isSpace = [](char c) { return c == '\0' || std::isspace(static_cast<unsigned char>(c)); };
    const auto begin = std::find_if_not(text.begin(), text.end(), isSpace);
    return {begin, std::find_if_not(text.rbegin(), std::make_reverse_iterator(begin), isSpace).base()};
}

/** The value of the first line 'key: value' with this key. */
Text valueOf(const std::string &text, const std::string &key) {
    for (size_t begin = 0; begin < text.size();) {
        const size_t end = std::min(text.find('\n', begin), text.size());
        const size_t colon = text.find(':', begin);
        if (colon < end && trimmed(text.substr(begin, colon - begin)) == key)
            if (const std::string value = trimmed(text.substr(colon + 1, end - colon - 1)); !value.empty())
                return value;
        begin = end + 1;
    }
    return std::nullopt;
}

std::optional<uint64_t> bytesOf(const std::string &memory, const char *key) {
    const Text kibibytes = valueOf(memory, key);
    if (!kibibytes || !std::isdigit(static_cast<unsigned char>(kibibytes->front())))
        return std::nullopt;
    return std::strtoull(kibibytes->c_str(), nullptr, 10) * 1024;
}

void describeRelease(const std::string &root, SystemFacts &facts) {
    Text release = readText(root + "/etc/os-release");
    if (!release)
        release = readText(root + "/usr/lib/os-release");
    if (!release)
        return;
    const auto values = parseReleaseFile(*release);
    const auto value = [&](const char *key) {
        const auto found = values.find(key);
        return found == values.end() || found->second.empty() ? Text() : Text(found->second);
    };
    facts.name = value("PRETTY_NAME") ? value("PRETTY_NAME") : value("NAME");
    facts.version = value("VERSION_ID") ? value("VERSION_ID") : value("VERSION");
}

/** The model of the first processor: the table goes on for each of the others, and is read no further. */
void describeProcessor(const std::string &root, SystemFacts &facts) {
    const Text processors = readText(root + "/proc/cpuinfo", 4096);
    if (!processors)
        return;
    for (const char *key : {"model name", "cpu", "uarch", "Processor", "cpu model", "Hardware"})
        if (!facts.processor)
            facts.processor = valueOf(*processors, key);
    const Text flags = valueOf(*processors, "flags");
    if (flags && (" " + *flags + " ").find(" hypervisor ") != std::string::npos)
        facts.virtualMachine = "unnamed hypervisor";
}

void describeMemory(const std::string &root, SystemFacts &facts) {
    const std::string memory = readText(root + "/proc/meminfo").value_or("");
    facts.memoryTotal = bytesOf(memory, "MemTotal");
    facts.memoryAvailable = bytesOf(memory, "MemAvailable");
}

Text findContainer(const std::string &root) {
    if (const Text name = readText(root + "/run/systemd/container"); name && !trimmed(*name).empty())
        return trimmed(*name);
    if (access((root + "/run/.containerenv").c_str(), F_OK) == 0)
        return "podman";
    if (access((root + "/.dockerenv").c_str(), F_OK) == 0)
        return "docker";
    const Text environment = readText(root + "/proc/1/environ"); // for the superuser only
    const std::string marked = '\0' + environment.value_or(""), key = std::string(1, '\0') + "container=";
    const size_t found = marked.find(key);
    if (found == std::string::npos)
        return std::nullopt;
    const std::string name =
        trimmed(marked.substr(found + key.size(), marked.find('\0', found + 1) - found - key.size()));
    return name.empty() ? std::nullopt : Text(name);
}

/** A hypervisor by the names that it gives the firmware of its machines; none for real firmware. */
Text findHypervisor(const std::string &root) {
    constexpr struct {
        const char *mark, *name;
    } kMarks[] = {{"KVM", "KVM"},
                  {"QEMU", "QEMU"},
                  {"VMware", "VMware"},
                  {"VirtualBox", "VirtualBox"},
                  {"innotek", "VirtualBox"},
                  {"Xen", "Xen"},
                  {"Parallels", "Parallels"},
                  {"BHYVE", "bhyve"},
                  {"Amazon EC2", "Amazon EC2"},
                  {"Google", "Google Compute Engine"},
                  {"Virtual Machine", "Hyper-V"},
                  {"Apple Virtualization", "Apple"}};
    const std::string folder = root + "/sys/class/dmi/id/";
    const std::string firmware = readText(folder + "sys_vendor").value_or("") + "\n" +
                                 readText(folder + "product_name").value_or("") + "\n" +
                                 readText(root + "/sys/hypervisor/type").value_or("") + "\n" +
                                 readText(root + "/proc/device-tree/hypervisor/compatible").value_or("");
    for (const auto &row : kMarks)
        if (std::search(firmware.begin(), firmware.end(), row.mark, row.mark + std::char_traits<char>::length(row.mark),
                        [](char a, char b) { return std::tolower(a) == std::tolower(b); }) != firmware.end())
            return row.name;
    return std::nullopt;
}

Text linkTarget(const std::string &path) {
    char target[PATH_MAX];
    const ssize_t length = readlink(path.c_str(), target, sizeof target);
    if (length > 0)
        return std::string(target, static_cast<size_t>(length));
    return access(path.c_str(), F_OK) == 0 ? Text(path) : std::nullopt; // a copy of a zone's file has no name
}

} // namespace

SystemFacts systemFacts(const std::string &root) {
    SystemFacts facts;
    describeRelease(root, facts);
    describeProcessor(root, facts);
    describeMemory(root, facts);
    timespec sinceStart;
    if (clock_gettime(CLOCK_BOOTTIME, &sinceStart) == 0)
        facts.uptime = static_cast<uint64_t>(sinceStart.tv_sec);
    facts.zoneFile = linkTarget(root + "/etc/localtime");
    facts.container = findContainer(root);
    if (const Text hypervisor = findHypervisor(root))
        facts.virtualMachine = hypervisor;
    return facts;
}

bool fileSystemsAreTold() {
    const int table = open("/proc/self/mountinfo", O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (table >= 0)
        close(table);
    return table >= 0;
}

} // namespace zorprops
