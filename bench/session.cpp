// Who is logged on, on machines with many users, beside a walk over the same login records that looks every account up.
// The records are a file of their own.

#include "zorcomn/session.h"

#include "bench/compare.h"
#include "tests/support/temporary_folder.h"

#include <cstdio>
#include <cstring>
#include <set>
#include <string>

#include <fcntl.h>
#include <pwd.h>
#include <unistd.h>
#include <utmp.h>
#include <utmpx.h>

namespace {

using namespace zor::bench;

std::string loginRecords(int64_t count) {
    std::string records;
    for (int64_t i = 0; i < count; ++i) {
        utmpx record{};
        record.ut_type = USER_PROCESS;
        record.ut_pid = getpid();
        std::snprintf(record.ut_user, sizeof record.ut_user, "user%d", static_cast<int>(i));
        std::snprintf(record.ut_line, sizeof record.ut_line, "pts/%d", static_cast<int>(i));
        std::snprintf(record.ut_id, sizeof record.ut_id, "%d", static_cast<int>(i % 1000));
        records.append(reinterpret_cast<const char *>(&record), sizeof record);
    }
    return records;
}

/** What the library writes while it works goes nowhere. */
class QuietOutput {
public:
    QuietOutput() : m_output(dup(STDOUT_FILENO)) {
        std::fflush(stdout);
        const int nowhere = open("/dev/null", O_WRONLY);
        dup2(nowhere, STDOUT_FILENO);
        close(nowhere);
    }
    ~QuietOutput() {
        std::fflush(stdout);
        dup2(m_output, STDOUT_FILENO);
        close(m_output);
    }
    QuietOutput(const QuietOutput &) = delete;
    QuietOutput &operator=(const QuietOutput &) = delete;

private:
    int m_output;
};

int64_t collectByLibrary() {
    std::set<std::wstring> network, local;
    velmora_com::vta::session::CollectLoggedonUsers(network, local, false);
    return static_cast<int64_t>(network.size() + local.size());
}

int64_t collectByHand() {
    std::set<std::string> users;
    setutxent();
    while (const utmpx *record = getutxent()) {
        if (record->ut_type != USER_PROCESS)
            continue;
        const std::string name(record->ut_user, strnlen(record->ut_user, sizeof record->ut_user));
        char room[1024];
        passwd account, *found = nullptr;
        getpwnam_r(name.c_str(), &account, room, sizeof room, &found);
        users.insert(name);
    }
    endutxent();
    return static_cast<int64_t>(users.size());
}

const bool areAdded = [] {
    for (const int64_t count : {100, 1000, 10000})
        add("growth/logged-on users/" + std::to_string(count), count < 10000 ? 11 : 3, [=](benchmark::State &state) {
            const zor::test::TemporaryFolder folder;
            utmpname(folder.write("utmp", loginRecords(count)).c_str());
            const QuietOutput quiet;
            compareWork(
                state, count, [] {}, collectByLibrary, collectByHand);
        });
    return true;
}();

} // namespace
