// Who is logged on: reads the login records and sorts each user of a session into directory and local users. The
// position in the login database is the process's own; a mutex guards it, so that collections side by side each get all
// records. It is held while the records are read, and no longer: not while a user is looked up or a command runs.

#include "source/session/logged_on_users.h"

#include "zorcomn/session.h"

#include "source/platform/fork.h"
#include "source/platform/posix.h"
#include "source/portability/transcoding.h"
#include "source/session/user_domain.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>
#include <vector>

#include <pthread.h>
#include <utmpx.h>

namespace session = velmora_com::vta::session;

namespace {

constexpr size_t kListLimit = 128;
constexpr size_t kDotsLength = 4;       // ",..."
constexpr size_t kMostRecords = 100000; // a database with more has no end: a device in its place
static_assert(USER_PROCESS == 7, "the type of the records that count");

// Guards the C library's position in the login database, and the record that it hands out.
zor::Mutex loginDatabaseMutex = PTHREAD_MUTEX_INITIALIZER;
const zor::ForkRepair loginDatabaseForks(loginDatabaseMutex);

/** The next record, good until the one after it is asked for; null at the end. */
const utmpx *nextRecord() ZORCOMN_REQUIRES(loginDatabaseMutex) {
    return getutxent();
}

struct LoginRecord {
    short type;
    std::string id, user, line;
};

/** The text of a login record's field, which fills it without a terminator where it is long. */
template <size_t size> std::string fieldText(const char (&field)[size]) {
    return {field, zor::boundedLength(field, size)};
}

/** Runs what may throw; false when memory ran out. */
template <class Body> bool hasMemoryFor(Body body) {
    return zor::guarded(false, [&] {
        body();
        return true;
    });
}

/** Adds the login records from the database's position on, which is the first record afterwards.
 * @return false when memory did not suffice for all of them or there is no end to them; the others are added. */
bool readLoginRecords(std::vector<LoginRecord> &records) {
    bool isWhole = true;
    const zor::MutexLock lock(loginDatabaseMutex);
    const zor::ForkDelay delay; // the database has a lock of its own
    size_t count = 0;
    while (const utmpx *record = count <= kMostRecords ? nextRecord() : nullptr) {
        isWhole &= ++count <= kMostRecords && hasMemoryFor([&] {
            records.push_back({static_cast<short>(record->ut_type), fieldText(record->ut_id),
                               fieldText(record->ut_user), fieldText(record->ut_line)});
        });
    }
    // Kept: rewound at the end, not at the start, and never closed; callers that read records themselves rely on it.
    setutxent();
    return isWhole;
}

bool findDomains(const std::string &user, std::string &domains) {
    return session::FindDomainName(user, domains) ||
           session::FindDomainNameViaDscl(user, "userPrincipalName", domains) ||
           session::FindDomainNameViaDscl(user, "OriginalAuthenticationAuthority", domains);
}

/** Adds a name in lower case and says so with the diagnostic line's beginning. */
void addUser(std::string name, const char *line, std::set<std::wstring> &users) {
    session::toLower(name);
    users.insert(zor::wideOf(name));
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

namespace {

bool collectSets(std::set<std::wstring> &networkUsers, std::set<std::wstring> &localUsers, bool networkOnly) {
    std::fputs("Some changes happen in the logon sessions.\n", session::myfd());
    std::vector<LoginRecord> records;
    bool isWhole = readLoginRecords(records);
    for (const LoginRecord &record : records) {
        std::fprintf(session::myfd(), "%d  %s  %s  %s \n", static_cast<int>(record.type), record.id.c_str(),
                     record.user.c_str(), record.line.c_str());
        if (record.type == USER_PROCESS)
            isWhole &= hasMemoryFor([&] { sortUser(record.user, networkUsers, localUsers, networkOnly); });
    }
    std::fputs("Coming out from the logon session collections.\n", session::myfd());
    return isWhole;
}

// Kept: a list whose set is empty is left as the caller passed it.
bool collectLists(std::wstring &networkUsers, std::wstring &localUsers, bool networkOnly) {
    std::set<std::wstring> networkSet, localSet;
    const bool isWhole = collectSets(networkSet, localSet, networkOnly);
    return hasMemoryFor([&] {
               if (!networkSet.empty())
                   networkUsers = zor::joinNames(networkSet);
               if (!networkOnly && !localSet.empty())
                   localUsers = zor::joinNames(localSet);
           }) &&
           isWhole;
}

std::wstring combinedList(const std::wstring &networkUsers, const std::wstring &localUsers) {
    const wchar_t *const comma = networkUsers.empty() || localUsers.empty() ? L"" : L",";
    return zor::limitNames(networkUsers + comma + localUsers);
}

/** Runs a collection that tells whether it is whole. Its callers learn that from errno. */
template <class Collection> void runCollection(Collection collect) {
    const zor::UncancellableScope uncancellable;
    const int callersErrno = errno;
    const bool isWhole = collect();
    errno = isWhole ? callersErrno : ENOMEM;
}

} // namespace

namespace velmora_com {
namespace vta {
namespace session {

void CollectLoggedonUsers(std::set<std::wstring> &networkUsers, std::set<std::wstring> &localUsers, bool networkOnly) {
    runCollection([&] { return collectSets(networkUsers, localUsers, networkOnly); });
}

void CollectComaSepLoggedonUsers(std::wstring &networkUsers, std::wstring &localUsers, bool networkOnly) {
    runCollection([&] { return collectLists(networkUsers, localUsers, networkOnly); });
}

void CollectAllLoggedonUsers(std::wstring &users) {
    runCollection([&] {
        users.clear();
        std::wstring networkUsers, localUsers;
        const bool isWhole = collectLists(networkUsers, localUsers, false);
        return hasMemoryFor([&] { users = combinedList(networkUsers, localUsers); }) && isWhole;
    });
}

} // namespace session
} // namespace vta
} // namespace velmora_com
