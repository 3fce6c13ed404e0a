// The small text functions of the logged-on users: splitting account names and directory answers, and where the
// diagnostics go.

#include "zorcomn/session.h"

#include "source/platform/posix.h"
#include "source/session/user_domain.h"

#include <algorithm>
#include <cctype>
#include <iterator>
#include <utility>

namespace {

bool isAlphanumeric(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0;
}

} // namespace

namespace zor {

std::vector<std::string> partsOf(const std::string &text, char separator) {
    std::vector<std::string> parts;
    size_t start = 0;
    for (size_t found = text.find(separator); found != std::string::npos; found = text.find(separator, start)) {
        parts.push_back(text.substr(start, found - start));
        start = found + 1;
    }
    if (!parts.empty())
        parts.push_back(text.substr(start));
    return parts;
}

std::string trimmedName(const std::string &text) {
    const char *first = text.c_str();
    while (*first != '\0' && !isAlphanumeric(*first))
        ++first;
    const char *end = first + std::strlen(first);
    while (end > first && !isAlphanumeric(end[-1]))
        --end;
    return {first, end};
}

} // namespace zor

namespace velmora_com {
namespace vta {
namespace session {

FILE *myfd() {
    return stdout;
}

void parseFullUserName(const std::wstring &fullName, std::wstring &domain, std::wstring &user) {
    zor::guarded(false, [&] {
        const size_t backslash = fullName.find(L'\\');
        // Kept: only the backslash form has a domain; a name with '@' is a user name as it stands.
        const bool hasDomain = backslash != std::wstring::npos;
        std::wstring beforeIt = fullName.substr(0, hasDomain ? backslash : 0);
        std::wstring afterIt = fullName.substr(hasDomain ? backslash + 1 : 0);
        domain = std::move(beforeIt); // only now: the full name may be one of the two
        user = std::move(afterIt);
        return true;
    });
}

void toLower(std::string &text) {
    for (char &c : text)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
}

// Kept: everything but letters and digits goes, from both ends; the domain list relies on it to lose its last '|'.
std::string trimmer(const char *text) {
    return zor::guarded(std::string(), [&] { return zor::trimmedName(text ? text : ""); });
}

// Kept: a text without the separator adds nothing, not even itself; every caller adds the whole text in that case.
void split(const std::string &text, char separator, std::vector<std::string> &parts) {
    zor::guarded(false, [&] {
        std::vector<std::string> found = zor::partsOf(text, separator); // first, since text may be an element of parts
        parts.insert(parts.end(), std::make_move_iterator(found.begin()), std::make_move_iterator(found.end()));
        return true;
    });
}

} // namespace session
} // namespace vta
} // namespace velmora_com
