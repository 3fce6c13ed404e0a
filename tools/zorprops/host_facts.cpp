#include "host_facts.h"

#include <algorithm>
#include <cstdlib>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/utsname.h>
#include <unistd.h>

namespace zorprops {

namespace {

/** The address that the system would send from to a far one: a datagram socket is given a peer, nothing is sent. */
std::optional<std::string> sourceAddress(const sockaddr *peer, socklen_t length) {
    const int descriptor = socket(peer->sa_family, SOCK_DGRAM, 0);
    if (descriptor < 0)
        return std::nullopt;
    sockaddr_storage own{};
    socklen_t ownLength = sizeof own;
    char text[INET6_ADDRSTRLEN];
    const void *bytes = peer->sa_family == AF_INET
                            ? static_cast<const void *>(&reinterpret_cast<sockaddr_in *>(&own)->sin_addr)
                            : &reinterpret_cast<sockaddr_in6 *>(&own)->sin6_addr;
    const bool known = connect(descriptor, peer, length) == 0 &&
                       getsockname(descriptor, reinterpret_cast<sockaddr *>(&own), &ownLength) == 0 &&
                       inet_ntop(peer->sa_family, bytes, text, sizeof text);
    close(descriptor);
    return known ? std::optional<std::string>(text) : std::nullopt;
}

/** By way of the addresses that are set apart for documentation: they are nobody's, so the default route leads there.
 */
std::optional<std::string> defaultAddress() {
    constexpr in_port_t kDiscard = 9;
    sockaddr_in far{};
    far.sin_family = AF_INET;
    far.sin_port = htons(kDiscard);
    inet_pton(AF_INET, "192.0.2.1", &far.sin_addr);
    if (auto address = sourceAddress(reinterpret_cast<const sockaddr *>(&far), sizeof far))
        return address;
    sockaddr_in6 far6{};
    far6.sin6_family = AF_INET6;
    far6.sin6_port = htons(kDiscard);
    inet_pton(AF_INET6, "2001:db8::1", &far6.sin6_addr);
    return sourceAddress(reinterpret_cast<const sockaddr *>(&far6), sizeof far6);
}

std::string localeName() {
    for (const char *name : {"LC_ALL", "LC_MESSAGES", "LANG"})
        if (const char *value = std::getenv(name); value && *value)
            return value;
    return "C";
}

std::string unquoted(const std::string &text) {
    if (text.size() < 2 || text.front() != text.back() || (text.front() != '"' && text.front() != '\''))
        return text;
    std::string value;
    for (size_t i = 1; i + 1 < text.size(); ++i) {
        if (text[i] == '\\' && text.front() == '"' && i + 2 < text.size())
            ++i;
        value += text[i];
    }
    return value;
}

} // namespace

std::string zoneName(const char *tz, const std::optional<std::string> &zoneFile) {
    if (tz)
        return *tz == '\0' ? "UTC" : *tz == ':' ? tz + 1 : tz; // set but empty: the C library takes UTC
    if (!zoneFile)
        return "UTC"; // no zone file: so does the C library
    constexpr char kFolder[] = "zoneinfo/";
    const size_t folder = zoneFile->find(kFolder);
    return folder == std::string::npos ? *zoneFile : zoneFile->substr(folder + sizeof kFolder - 1);
}

std::map<std::string, std::string> parseReleaseFile(const std::string &text) {
    std::map<std::string, std::string> values;
    for (size_t begin = 0; begin < text.size();) {
        const size_t end = std::min(text.find('\n', begin), text.size());
        const std::string line = text.substr(begin, end - begin);
        const size_t equals = line.find('=');
        if (equals != std::string::npos && equals > 0 && line.front() != '#')
            values[line.substr(0, equals)] = unquoted(line.substr(equals + 1));
        begin = end + 1;
    }
    return values;
}

std::map<std::string, std::string> collectHostFacts(const std::string &root) {
    const SystemFacts system = systemFacts(root);
    std::map<std::string, std::string> facts;
    const auto add = [&](const char *name, const std::optional<std::string> &value) {
        if (value && !value->empty())
            facts[name] = *value;
    };
    const auto addNumber = [&](const char *name, const std::optional<uint64_t> &value) {
        if (value)
            facts[name] = std::to_string(*value);
    };
    add("operatingSystem", system.name);
    add("operatingSystemVersion", system.version);
    utsname names;
    if (uname(&names) >= 0) {
        add("kernel", std::string(names.sysname) + " " + names.release);
        add("architecture", std::string(names.machine));
    }
    add("processor", system.processor);
    addNumber("memoryTotal", system.memoryTotal);
    addNumber("memoryAvailable", system.memoryAvailable);
    add("address", defaultAddress());
    add("zone", zoneName(std::getenv("TZ"), system.zoneFile));
    add("locale", localeName());
    addNumber("uptime", system.uptime);
    add("container", system.container);
    add("virtualMachine", system.virtualMachine);
    return facts;
}

} // namespace zorprops
