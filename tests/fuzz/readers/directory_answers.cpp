// What a directory answers about a user, and the small text functions around it. A user, an attribute (or a number for
// one of the two that count), and the answer.

#include "zorcomn/session.h"

#include "source/session/user_domain.h"
#include "tests/fuzz/bytes.h"
#include "tests/fuzz/readers.h"

#include <algorithm>
#include <cctype>
#include <iterator>
#include <numeric>

namespace zor::test::readers {

namespace {

namespace session = velmora_com::vta::session;

constexpr char kAuthority[] = "OriginalAuthenticationAuthority", kPrincipal[] = "userPrincipalName";

bool isPlain(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0;
}

bool modelIsSafe(const std::string &text) {
    bool needsPlain = false;
    for (const char c : text) {
        if (needsPlain ? !isPlain(c) : !isPlain(c) && std::string("._-@+=\\").find(c) == std::string::npos)
            return false;
        needsPlain = c == '\\';
    }
    return !needsPlain;
}

std::string modelTrimmed(std::string text) {
    text.resize(std::min(text.find('\0'), text.size()));
    while (!text.empty() && !isPlain(text.back()))
        text.pop_back();
    while (!text.empty() && !isPlain(text.front()))
        text.erase(0, 1);
    return text;
}

std::string modelDomains(const std::string &answer, const std::string &attribute) {
    std::string domains;
    if (attribute == kAuthority) {
        const size_t at = answer.find('@');
        const size_t end = at == std::string::npos ? at : answer.find(';', at);
        return end == std::string::npos ? "" : answer.substr(at + 1, end - at - 1);
    }
    if (attribute != kPrincipal)
        return domains;
    for (size_t begin = 0; begin <= answer.size();) {
        const size_t end = std::min(answer.find('\n', begin), answer.size());
        const std::string line = modelTrimmed(answer.substr(begin, end - begin));
        if (line.find('@') != std::string::npos)
            domains += line.substr(line.find('@') + 1) + "|";
        begin = end + 1;
    }
    return domains;
}

std::string joined(const std::vector<std::string> &parts, char separator) {
    return std::accumulate(std::next(parts.begin()), parts.end(), parts.front(),
                           [&](const std::string &text, const std::string &part) { return text + separator + part; });
}

const char *brokenNameRule(const std::string &name) {
    const std::wstring wide(name.begin(), name.end());
    std::wstring domain, user;
    session::parseFullUserName(wide, domain, user);
    const size_t backslash = wide.find(L'\\');
    if (backslash == std::wstring::npos ? !domain.empty() || user != wide
                                        : domain + L'\\' + user != wide || domain.find(L'\\') != std::wstring::npos)
        return "a full name is its domain, a backslash and its user";
    std::string lower = name;
    session::toLower(lower);
    if (lower.size() != name.size() ||
        std::any_of(lower.begin(), lower.end(), [](unsigned char c) { return std::isupper(c); }))
        return "lower case has no capitals";
    return nullptr;
}

} // namespace

const char *directory_answers(const std::string &bytes) {
    Bytes input(bytes);
    const std::string user = input.line();
    std::string attribute = input.line();
    if (attribute == "1" || attribute == "2")
        attribute = attribute == "1" ? kAuthority : kPrincipal;
    const std::string answer = input.rest();
    if (isShellSafe(user) != modelIsSafe(user))
        return "what a shell could misread is not safe";
    const auto command = directoryCommand(user, attribute);
    const std::string whole = "/usr/bin/dscl /Search read /Users/" + user + "  |  /usr/bin/grep " + attribute;
    if (command ? *command != whole : modelIsSafe(user) && modelIsSafe(attribute) && whole.size() < 256)
        return "a command is whole or there is none";
    if (command && !(modelIsSafe(user) && modelIsSafe(attribute)))
        return "nothing unsafe gets near a shell";
    if (domainsInAnswer(answer, attribute) != modelDomains(answer, attribute))
        return "the rules agree";
    if (session::trimmer(answer.c_str()) != modelTrimmed(answer))
        return "letters and digits stand at both ends";
    for (const char separator : {'|', '\\', '\0'}) {
        std::vector<std::string> parts{"before"};
        session::split(answer, separator, parts);
        const bool isSplit = answer.find(separator) != std::string::npos;
        const std::vector<std::string> added(parts.begin() + 1, parts.end());
        if (parts[0] != "before" || added.empty() == isSplit || (isSplit && joined(added, separator) != answer))
            return "the parts make the text";
    }
    return brokenNameRule(user);
}

} // namespace zor::test::readers
