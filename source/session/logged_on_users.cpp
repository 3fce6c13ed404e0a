// Who is logged on: reads the login records and sorts each user of a session into directory and local users. The
// position in the login database is the process's own; a mutex guards it, so that collections side by side each get all
// records. It is held while the records are read, and no longer: not while a user is looked up or a command runs.

#include "source/session/logged_on_users.h"

#include "zorcomn/session.h"

#include "source/platform/failure.h"
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

struct LoginRecord {
    short type;
    std::string id, user, line;
};

/** The text of a login record's field, which fills it without a terminator where it is long. */
template <size_t size> std::string fieldText(const char (&field)[size]) {
    return {field, zor::boundedLength(field, size)};
}

/** The next login record, good until the one after it is asked for; null behind the last. One that cannot be read is
 * not taken for the end. */
const utmpx *nextRecord() ZORCOMN_REQUIRES(loginDatabaseMutex) {
    errno = 0;
    const utmpx *record = getutxent();
    while (!record && errno == EINTR) {
        errno = 0;
        record = getutxent();
    }
    if (!record && errno == EIO)
        zor::fail(errno);
    if (!record)
        zor::failOnShortage(errno);
    return record;
}

/** Goes back to the first login record. Kept: at the end, not at the start, and nothing is closed; callers that read
 * records themselves rely on it. */
struct Rewound {
    Rewound() = default;
    ~Rewound() { setutxent(); }
    Rewound(const Rewound &) = delete;
    Rewound &operator=(const Rewound &) = delete;
};

/** The login records from the database's position on, which is the first record afterwards. */
std::vector<LoginRecord> readLoginRecords() {
    std::vector<LoginRecord> records;
    const zor::MutexLock lock(loginDatabaseMutex);
    const zor::ForkDelay delay; // the database has a lock of its own
    const Rewound rewound;
    while (const utmpx *record = nextRecord()) {
        if (records.size() == kMostRecords)
            zor::fail(ENOMEM);
        records.push_back({static_cast<short>(record->ut_type), fieldText(record->ut_id), fieldText(record->ut_user),
                           fieldText(record->ut_line)});
    }
    return records;
}

bool findDomains(const std::string &user, std::string &domains) {
    return zor::findGroupDomain(user, domains) || zor::findDirectoryDomain(user, "userPrincipalName", domains) ||
           zor::findDirectoryDomain(user, "OriginalAuthenticationAuthority", domains);
}

/** Adds a name in lower case and says so with the diagnostic line's beginning. */
void addUser(std::string name, const char *line, std::set<std::wstring> &users) {
    session::toLower(name);
    users.insert(zor::wideOf(name));
    std::fprintf(session::myfd(), "%s %s \n", line, name.c_str());
}

struct Users {
    std::set<std::wstring> network, local;
};

void sortUser(const std::string &user, Users &users, bool networkOnly) {
    std::string domains;
    if (findDomains(user, domains)) {
        for (std::string &name : zor::splitOrWhole(domains, '|')) {
            name.append(1, '\\').append(user);
            addUser(std::move(name), "Network User logged on", users.network);
        }
    } else if (!networkOnly) {
        addUser(user, "Local User Logged on", users.local);
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

/** All users, or an exception: nobody could see who is missing in a part of them. */
Users collectUsers(bool networkOnly) {
    std::fputs("Some changes happen in the logon sessions.\n", session::myfd());
    Users users;
    for (const LoginRecord &record : readLoginRecords()) {
        std::fprintf(session::myfd(), "%d  %s  %s  %s \n", static_cast<int>(record.type), record.id.c_str(),
                     record.user.c_str(), record.line.c_str());
        if (record.type == USER_PROCESS)
            sortUser(record.user, users, networkOnly);
    }
    std::fputs("Coming out from the logon session collections.\n", session::myfd());
    return users;
}

std::wstring combinedList(const std::wstring &networkUsers, const std::wstring &localUsers) {
    const wchar_t *const comma = networkUsers.empty() || localUsers.empty() ? L"" : L",";
    return zor::limitNames(networkUsers + comma + localUsers);
}

/** Runs a collection; one that fails leaves the caller's lists as they were. Its callers learn that from errno. */
template <class Collection> void runCollection(Collection collect) {
    const zor::UncancellableScope uncancellable;
    const int callersErrno = errno;
    errno = [&] {
        try {
            collect();
            return callersErrno;
        } catch (const std::system_error &error) {
            return error.code().value();
        } catch (const std::exception &) {
            return ENOMEM;
        }
    }();
}

} // namespace

namespace zor {

std::wstring allLoggedOnUsers() {
    const Users users = collectUsers(false);
    return combinedList(joinNames(users.network), joinNames(users.local));
}

} // namespace zor

namespace velmora_com {
namespace vta {
namespace session {

void CollectLoggedonUsers(std::set<std::wstring> &networkUsers, std::set<std::wstring> &localUsers, bool networkOnly) {
    runCollection([&] {
        Users users = collectUsers(networkOnly);
        networkUsers.merge(users.network); // moves nodes, which cannot fail
        localUsers.merge(users.local);
    });
}

void CollectComaSepLoggedonUsers(std::wstring &networkUsers, std::wstring &localUsers, bool networkOnly) {
    runCollection([&] {
        const Users users = collectUsers(networkOnly);
        std::wstring network = zor::joinNames(users.network), local = zor::joinNames(users.local);
        // Kept: a list whose set is empty is left as the caller passed it.
        if (!users.network.empty())
            networkUsers = std::move(network);
        if (!networkOnly && !users.local.empty())
            localUsers = std::move(local);
    });
}

void CollectAllLoggedonUsers(std::wstring &users) {
    users.clear();
    runCollection([&] { users = zor::allLoggedOnUsers(); });
}

} // namespace session
} // namespace vta
} // namespace velmora_com
