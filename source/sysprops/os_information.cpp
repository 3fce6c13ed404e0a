// The operating system record: three fixed texts, the version and build from the version file, then two questions to
// the system's own commands, whether it is a server and whether it runs in 64-bit mode.

#include "source/sysprops/os_information.h"

#include "source/platform/host.h"
#include "source/platform/open.h"
#include "source/platform/posix.h"
#include "source/portability/transcoding.h"
#include "source/utilities/command_output.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <sys/utsname.h>
#include <unistd.h>

namespace {

using namespace velmora_com::vta::sysprops;

constexpr char kVersionFile[] = "/System/Library/CoreServices/SystemVersion.plist";
constexpr size_t kTextSize = 256; // of a text looked up, terminator included
constexpr size_t kMaxProductNameBytes = 30;
constexpr size_t kMaxBitModeBytes = 4;

struct Version {
    std::string version;
    std::string build;
};

/** The content of the version file, whatever its size; nothing when it is missing, empty or unreadable. */
std::optional<std::string> readVersionFile(const char *path) {
    // Without O_NONBLOCK, a pipe in the file's place would hold us up.
    const zor::Descriptor file = zor::host::openFile(path, O_RDONLY | O_NOCTTY | O_NONBLOCK);
    // What has no size is no file; asked so, a date that does not fit the system's records does not matter. A folder
    // may tell any size, but gives no byte.
    char first = '\0';
    const off_t size = file ? lseek(file.get(), 0, SEEK_END) : -1;
    if (size <= 0 || static_cast<uint64_t>(size) > SIZE_MAX / 2 || lseek(file.get(), 0, SEEK_SET) != 0 ||
        zor::retryInterrupted([&] { return read(file.get(), &first, 1); }) != 1 || first == '\0' ||
        lseek(file.get(), 0, SEEK_SET) != 0)
        return std::nullopt;
    std::string content(static_cast<size_t>(size), '\0');
    size_t length = 0;
    while (length < content.size()) {
        const ssize_t got =
            zor::retryInterrupted([&] { return read(file.get(), &content[length], content.size() - length); });
        if (got < 0)
            return std::nullopt;
        if (got == 0)
            break;
        length += static_cast<size_t>(got);
    }
    content.resize(length);
    return content;
}

/** The version and build that the list names; nothing when it does not parse, lacks the version, or holds no text for
 * either key, or one that its place cannot take. */
std::optional<Version> lookUpVersion(const std::string &list) {
    std::optional<std::vector<std::optional<std::string>>> texts =
        zor::host::lookUpInPropertyList(list, {"ProductVersion", "ProductBuildVersion"});
    if (!texts || texts->size() != 2 || !texts->at(0))
        return std::nullopt;
    // Kept: without a build the version stands in for it.
    Version version{*texts->at(0), texts->at(1) ? *texts->at(1) : *texts->at(0)};
    if (version.version.size() >= kTextSize || version.build.size() >= kTextSize)
        return std::nullopt;
    return version;
}

/** The parts between dots, the first four of them; the rest stay empty. */
std::array<std::string, 4> versionParts(std::string version) {
    std::array<std::string, 4> parts;
    char *rest = nullptr;
    char *part = strtok_r(version.data(), ".", &rest);
    for (size_t i = 0; part && i < parts.size(); ++i) {
        parts[i] = part;
        part = strtok_r(nullptr, ".", &rest);
    }
    return parts;
}

/** The number that text begins with, as large as fits; 0 for none. */
int leadingNumber(const std::string &text) {
    const long number = std::strtol(text.c_str(), nullptr, 10);
    return static_cast<int>(std::clamp<long>(number, INT_MIN, INT_MAX));
}

bool isServer(int major, int minor) {
    if (major <= 9)
        return false;
    // Systems after the last server edition have no serverinfo, which is nobody's business to read about.
    const char *const command = minor > 7 ? "serverinfo --productname 2>/dev/null" : "sw_vers -productName 2>/dev/null";
    return strcasestr(zor::commandOutput(command, kMaxProductNameBytes).value_or("").c_str(), "server") != nullptr;
}

const wchar_t *bitMode(const std::string &machine) {
    if (machine.find("_64") != std::string::npos)
        return L"1";
    if (machine.find("86") != std::string::npos)
        return L"0";
    const std::optional<std::string> answer =
        zor::commandOutput("sysctl hw 2>/dev/null | grep 64bit | awk '{ print $2 }'", kMaxBitModeBytes);
    if (!answer)
        return L"-1";
    return leadingNumber(*answer) != 0 ? L"1" : L"0";
}

std::string machineType() {
    utsname system;
    return uname(&system) < 0 ? std::string() : std::string(system.machine);
}

} // namespace

namespace zor {

bool collectOSInformation(const char *versionFile, const std::string &machine, OSInformation &info) {
    info.PlatformID = platform_mac;
    info.OSType = os_mac;
    info.OSOEMId = os_mac_oemid;
    const std::optional<std::string> list = readVersionFile(versionFile);
    const std::optional<Version> version = list ? lookUpVersion(*list) : std::nullopt;
    if (!version)
        return false;
    OSInformation collected = info; // the record is written when all of it is there
    const std::array<std::string, 4> parts = versionParts(version->version);
    // Kept: the first dot is there even when nothing follows it.
    collected.OSVersion = wideOf(parts[0]) + L"." + wideOf(parts[1]);
    if (!parts[2].empty()) {
        collected.OSCsdVersion = wideOf(parts[2]);
        collected.OSVersion += L"." + collected.OSCsdVersion;
    }
    collected.OSBuildNum = wideOf(version->build);
    collected.OSPlatform = isServer(leadingNumber(parts[0]), leadingNumber(parts[1])) ? p_server : p_workstation;
    collected.OSBitMode = bitMode(machine);
    info = std::move(collected);
    return true;
}

} // namespace zor

namespace velmora_com {
namespace vta {
namespace sysprops {

bool ISysProps::GetOSInformation(OSInformation &info) {
    const zor::UncancellableScope uncancellable;
    return zor::guarded(false, [&] { return zor::collectOSInformation(kVersionFile, machineType(), info); });
}

} // namespace sysprops
} // namespace vta
} // namespace velmora_com
