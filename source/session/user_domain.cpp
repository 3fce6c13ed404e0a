// Which domain a user belongs to: asked of the account database, through the name of the user's primary group, or of
// the directory service, through its command line tool. Names are what anybody may have put into a login record: what
// a shell could take for more than a plain word never gets near one.

#include "source/session/user_domain.h"

#include "zorcomn/session.h"

#include "source/platform/failure.h"
#include "source/platform/posix.h"
#include "source/utilities/command_output.h"

#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <grp.h>
#include <pwd.h>
#include <unistd.h>

namespace session = velmora_com::vta::session;

namespace {

constexpr char kDirectoryTool[] = "/usr/bin/dscl";
constexpr size_t kCommandSize = 256;
constexpr size_t kAnswerSize = 1024; // terminator included
constexpr size_t kAccountBufferSize = 16384;

/** Calls a look-up that gives its error number back, again while a signal interrupts it. Kept: one that fails for
 * whatever reason finds nobody; only without memory nobody knows. */
template <class LookUp> bool isFound(LookUp lookUp) {
    int error = lookUp();
    while (error == EINTR)
        error = lookUp();
    if (error == ENOMEM)
        zor::fail(error);
    return error == 0;
}

/** The name of the user's primary group; empty when the user or the group has no entry, or none that fits the buffer.
 */
std::string primaryGroupName(const std::string &user) {
    if (user.find('\0') != std::string::npos)
        return {};
    std::vector<char> buffer(kAccountBufferSize);
    passwd account{};
    passwd *foundAccount = nullptr;
    if (!isFound([&] { return getpwnam_r(user.c_str(), &account, buffer.data(), buffer.size(), &foundAccount); }) ||
        !foundAccount)
        return {};
    // From here on the account's texts are gone, since its buffer serves the group; its numbers are in the record.
    group entry{};
    group *foundGroup = nullptr;
    if (!isFound([&] { return getgrgid_r(account.pw_gid, &entry, buffer.data(), buffer.size(), &foundGroup); }) ||
        !foundGroup)
        return {};
    return entry.gr_name;
}

bool isAsciiAlphanumeric(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

/** The first text of a command's output, one byte less than the answer's size at most. */
std::string outputOf(const std::string &command) {
    const std::string output = zor::commandOutput(command.c_str(), kAnswerSize - 1).value_or("");
    return output.substr(0, output.find('\0'));
}

/** The directory's answer; empty where there is no directory tool to ask, so that no shell is started to say so. */
std::string askDirectory(const std::string &user, const std::string &attribute) {
    const std::optional<std::string> command = zor::directoryCommand(user, attribute);
    if (!command || access(kDirectoryTool, X_OK) != 0)
        return {};
    return outputOf(*command);
}

/** The text between the first '@' and the ';' that ends it; without one the answer, cut off or of another kind, names
 * no domain. */
std::string domainInAuthority(const std::string &answer) {
    const size_t start = answer.find('@') + 1;
    const size_t end = answer.find(';', start);
    return end == std::string::npos ? std::string() : answer.substr(start, end - start);
}

std::string domainsInPrincipalNames(const std::string &answer) {
    std::string domains;
    for (const std::string &line : zor::splitOrWhole(answer, '\n')) {
        const std::string name = zor::trimmedName(line);
        const size_t at = name.find('@');
        if (at != std::string::npos)
            domains += name.substr(at + 1) + '|';
    }
    return domains;
}

} // namespace

namespace zor {

std::vector<std::string> splitOrWhole(const std::string &text, char separator) {
    std::vector<std::string> parts = partsOf(text, separator);
    if (parts.empty())
        parts.push_back(text);
    return parts;
}

bool isShellSafe(const std::string &text) {
    for (size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '\0' || (!isAsciiAlphanumeric(c) && !std::strchr("._-@+=\\", c)))
            return false;
        if (c == '\\' && (i + 1 == text.size() || !isAsciiAlphanumeric(text[i + 1])))
            return false;
    }
    return true;
}

std::optional<std::string> directoryCommand(const std::string &user, const std::string &attribute) {
    if (!isShellSafe(user) || !isShellSafe(attribute))
        return std::nullopt;
    char command[kCommandSize];
    const int length = std::snprintf(command, sizeof command, "%s /Search read /Users/%s  |  /usr/bin/grep %s",
                                     kDirectoryTool, user.c_str(), attribute.c_str());
    if (length < 0 || static_cast<size_t>(length) >= sizeof command)
        return std::nullopt;
    return command;
}

std::string domainsInAnswer(const std::string &answer, const std::string &attribute) {
    if (answer.find('@') == std::string::npos)
        return {};
    if (attribute == "OriginalAuthenticationAuthority")
        return domainInAuthority(answer);
    if (attribute == "userPrincipalName")
        return domainsInPrincipalNames(answer);
    return {};
}

bool findGroupDomain(const std::string &user, std::string &domain) {
    std::string group = primaryGroupName(user);
    session::toLower(group);
    if (group.find("domain users") == std::string::npos)
        return false;
    std::vector<std::string> parts = splitOrWhole(group, '\\');
    if (parts.size() < 2)
        return false;
    domain = std::move(parts.front()); // Kept: an empty one counts; the user is then listed as "\user".
    std::fprintf(session::myfd(), "found group struct %s. \n", domain.c_str());
    return true;
}

bool findDirectoryDomain(const std::string &user, const std::string &attribute, std::string &domain) {
    std::string answer = askDirectory(user, attribute);
    if (answer.empty())
        return false;
    session::toLower(answer);
    const std::string domains = domainsInAnswer(answer, attribute);
    domain = trimmedName(domains); // Kept: an answer without a domain empties it.
    return !domains.empty();
}

} // namespace zor

namespace velmora_com {
namespace vta {
namespace session {

bool FindDomainName(const std::string &user, std::string &domain) {
    const zor::UncancellableScope uncancellable;
    try {
        return zor::findGroupDomain(user, domain);
    } catch (const std::exception &) {
        // Kept: the wording; logs are searched for it.
        std::fputs("Domain name can't not be found.\n", myfd());
        return false;
    }
}

bool FindDomainNameViaDscl(const std::string &user, std::string attribute, std::string &domain) {
    const zor::UncancellableScope uncancellable;
    return zor::guarded(false, [&] { return zor::findDirectoryDomain(user, attribute, domain); });
}

} // namespace session
} // namespace vta
} // namespace velmora_com
