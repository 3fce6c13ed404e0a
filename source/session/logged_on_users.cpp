// Who is logged on: reads the login records from first to last and sorts each user of a session into directory and
// local users. The position in the login database and the commands' child processes are the process's own, so callers
// run one collection at a time; nothing here locks.

#include "source/session/logged_on_users.h"

#include "zorcomn/session.h"
#include "zorcomn/utilities.h"

#include "source/platform/posix.h"
#include "source/session/user_domain.h"

#include <cstdio>
#include <cstring>
#include <utility>

#include <utmpx.h>

namespace session = velmora_com::vta::session;

namespace {

constexpr size_t kListLimit = 128;
constexpr size_t kDotsLength = 4; // ",..."
static_assert(USER_PROCESS == 7, "the type of the records that count");

/** Leaves the login database at its first record for the next collection, also when this one is cancelled. */
class RewindAtEnd {
public:
    RewindAtEnd() = default;
    // Kept: rewound at the end, not at the start, and never closed; callers that read records themselves rely on it.
    ~RewindAtEnd() {
        zor::CleanUpScope quiet;
        setutxent();
    }
    RewindAtEnd(const RewindAtEnd &) = delete;
    RewindAtEnd &operator=(const RewindAtEnd &) = delete;
};

/** The text of a login record's field, which fills it without a terminator where it is long. */
template <size_t size> std::string fieldText(const char (&field)[size]) {
    return {field, strnlen(field, size)};
}

bool findDomains(const std::string &user, std::string &domains) {
    return session::FindDomainName(user, domains) ||
           session::FindDomainNameViaDscl(user, "userPrincipalName", domains) ||
           session::FindDomainNameViaDscl(user, "OriginalAuthenticationAuthority", domains);
}

/** Adds a name in lower case and says so with the diagnostic line's beginning. */
void addUser(std::string name, const char *line, std::set<std::wstring> &users) {
    session::toLower(name);
    users.insert(velmora_com::vta::qelcomn_ansi_to_wide(name));
    std::fprintf(session::myfd(), "%s %s \n", line, name.c_str());
}

void sortUser(const std::string &user, std::set<std::wstring> &networkUsers, std::set<std::wstring> &localUsers,
              bool networkOnly) {
    std::string domains;
    if (findDomains(user, domains)) {
        for (std::string &name : zor::splitOrWhole(domains, '|')) {
            name.append(1, '\\').append(user);
            addUser(std::move(name), "Network User logged on", networkUsers);
        }
    } else if (!networkOnly) {
        addUser(user, "Local User Logged on", localUsers);
    }
}

} // namespace

namespace zor {

std::wstring joinNames(const std::set<std::wstring> &names) {
    std::wstring list;
    for (const std::wstring &name : names) {
        if (&name != &*names.begin())
            list += L',';
        list += name;
    }
    return list;
}

// Kept: a list of exactly 128 characters is cut too, and one whose last comma is among its last three characters ends
// in the middle of a name.
std::wstring limitNames(std::wstring names) {
    if (names.size() < kListLimit)
        return names;
    names.resize(kListLimit);
    const size_t comma = names.rfind(L',');
    if (comma != std::wstring::npos && names.size() - comma >= kDotsLength)
        names.replace(comma, std::wstring::npos, L",...");
    return names;
}

} // namespace zor

namespace velmora_com {
namespace vta {
namespace session {

void CollectLoggedonUsers(std::set<std::wstring> &networkUsers, std::set<std::wstring> &localUsers, bool networkOnly) {
    std::fputs("Some changes happen in the logon sessions.\n", myfd());
    RewindAtEnd rewindAtEnd;
    while (const utmpx *record = getutxent()) {
        zor::guarded(false, [&] {
            const std::string user = fieldText(record->ut_user);
            std::fprintf(myfd(), "%d  %s  %s  %s \n", static_cast<int>(record->ut_type),
                         fieldText(record->ut_id).c_str(), user.c_str(), fieldText(record->ut_line).c_str());
            if (record->ut_type == USER_PROCESS)
                sortUser(user, networkUsers, localUsers, networkOnly);
            return true;
        });
    }
    std::fputs("Coming out from the logon session collections.\n", myfd());
}

// Kept: a list whose set is empty is left as the caller passed it.
void CollectComaSepLoggedonUsers(std::wstring &networkUsers, std::wstring &localUsers, bool networkOnly) {
    zor::guarded(false, [&] {
        std::set<std::wstring> networkSet, localSet;
        CollectLoggedonUsers(networkSet, localSet, networkOnly);
        if (!networkSet.empty())
            networkUsers = zor::joinNames(networkSet);
        if (!networkOnly && !localSet.empty())
            localUsers = zor::joinNames(localSet);
        return true;
    });
}

void CollectAllLoggedonUsers(std::wstring &users) {
    users.clear();
    zor::guarded(false, [&] {
        std::wstring networkUsers, localUsers;
        CollectComaSepLoggedonUsers(networkUsers, localUsers, false);
        std::wstring all = networkUsers;
        if (!localUsers.empty())
            all += (all.empty() ? L"" : L",") + localUsers;
        users = zor::limitNames(std::move(all));
        return true;
    });
}

} // namespace session
} // namespace vta
} // namespace velmora_com
