// The login records: the input is the file that the system keeps them in, read once more here, field by field.

#include "zorcomn/session.h"

#include "source/portability/transcoding.h"
#include "tests/fuzz/readers.h"
#include "tests/support/temporary_folder.h"

#include <cctype>
#include <cstdio>
#include <cstring>
#include <set>

#include <fcntl.h>
#include <unistd.h>
#include <utmpx.h>

namespace zor::test::readers {

namespace {

namespace session = velmora_com::vta::session;

/** Leads standard output, where the diagnostics go, to nowhere. */
class Silence {
public:
    Silence() : m_output(dup(STDOUT_FILENO)) {
        std::fflush(stdout);
        const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
        dup2(nowhere, STDOUT_FILENO);
        close(nowhere);
    }
    ~Silence() {
        std::fflush(stdout);
        dup2(m_output, STDOUT_FILENO);
        close(m_output);
    }
    Silence(const Silence &) = delete;
    Silence &operator=(const Silence &) = delete;

private:
    int m_output;
};

/** Nobody here has a domain: every user of a session is a local one. */
std::set<std::wstring> usersIn(const std::string &bytes) {
    std::set<std::wstring> users;
    for (size_t at = 0; bytes.size() - at >= sizeof(utmpx); at += sizeof(utmpx)) {
        utmpx record;
        std::memcpy(&record, bytes.data() + at, sizeof record);
        if (record.ut_type != USER_PROCESS)
            continue;
        std::string name(record.ut_user, sizeof record.ut_user);
        name.resize(std::strlen(name.c_str()));
        for (char &c : name)
            c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        users.insert(wideOf(name));
    }
    return users;
}

std::wstring listOf(const std::set<std::wstring> &users) {
    std::wstring list;
    for (const std::wstring &user : users)
        list += (list.empty() && user == *users.begin() ? L"" : L",") + user;
    return list;
}

bool isCutFrom(const std::wstring &cut, const std::wstring &whole) {
    if (whole.size() < 128)
        return cut == whole;
    const bool hasDots = cut.size() >= 4 && cut.substr(cut.size() - 4) == L",...";
    const std::wstring kept = hasDots ? cut.substr(0, cut.size() - 4) : cut;
    return cut.size() <= 128 && whole.compare(0, kept.size(), kept) == 0 && (hasDots || cut.size() == 128);
}

} // namespace

const char *login_records(const std::string &bytes) {
    static const TemporaryFolder folder;
    static const std::string path = folder / "utmp";
    folder.write("utmp", bytes);
    utmpxname(path.c_str());
    const Silence silence;
    const std::set<std::wstring> expected = usersIn(bytes);
    std::set<std::wstring> networkUsers, localUsers;
    session::CollectLoggedonUsers(networkUsers, localUsers, false);
    if (!networkUsers.empty() || localUsers != expected)
        return "the users of the records";
    session::CollectLoggedonUsers(networkUsers, localUsers, true);
    if (!networkUsers.empty() || localUsers != expected)
        return "users without a domain are none of the network's";
    std::wstring networkList = L"before", localList = L"before", all;
    session::CollectComaSepLoggedonUsers(networkList, localList, false);
    if (networkList != L"before" || localList != (expected.empty() ? L"before" : listOf(expected)))
        return "the list of the users, where there are any";
    session::CollectAllLoggedonUsers(all);
    if (!isCutFrom(all, listOf(expected)))
        return "the whole list is cut after a name";
    return nullptr;
}

} // namespace zor::test::readers
