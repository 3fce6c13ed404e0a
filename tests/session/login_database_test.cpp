// Collections side by side on one login database, whose position is the process's own. The linker leads the database's
// calls, and the lock of a mutex, here (see CMakeLists.txt).

#include "zorcomn/session.h"

#include "tests/support/eventually.h"

#include <atomic>
#include <cstring>
#include <functional>
#include <iterator>
#include <set>
#include <string>
#include <thread>
#include <utility>

#include <gtest/gtest.h>
#include <pthread.h>
#include <pwd.h>
#include <utmpx.h>

namespace session = velmora_com::vta::session;

namespace {

constexpr const char *kUsers[] = {"no-such-user-1", "no-such-user-2", "no-such-user-3", "no-such-user-4"};

size_t position = 0; // of the database; std::size(kUsers): at its end
std::atomic<int> reads{0}, locks{0};
std::function<void()> afterFirstRead, atFirstLookUp;

void runOnce(std::function<void()> &action) {
    if (const auto taken = std::exchange(action, nullptr))
        taken();
}

std::set<std::wstring> collect() {
    std::set<std::wstring> networkUsers, localUsers;
    session::CollectLoggedonUsers(networkUsers, localUsers, false);
    return localUsers;
}

std::set<std::wstring> everybody() {
    std::set<std::wstring> users;
    for (const std::string user : kUsers)
        users.emplace(user.begin(), user.end());
    return users;
}

} // namespace

extern "C" {

utmpx *__wrap_getutxent() {
    static utmpx record;
    ++reads;
    if (position == std::size(kUsers))
        return nullptr;
    record = {};
    record.ut_type = USER_PROCESS;
    std::strcpy(record.ut_user, kUsers[position++]);
    runOnce(afterFirstRead);
    return &record;
}

void __wrap_setutxent() {
    position = 0;
}

int __real_pthread_mutex_lock(pthread_mutex_t *mutex);
int __wrap_pthread_mutex_lock(pthread_mutex_t *mutex) {
    ++locks;
    return __real_pthread_mutex_lock(mutex);
}

int __real_getpwnam_r(const char *name, passwd *entry, char *buffer, size_t size, passwd **found);
int __wrap_getpwnam_r(const char *name, passwd *entry, char *buffer, size_t size, passwd **found) {
    runOnce(atFirstLookUp);
    return __real_getpwnam_r(name, entry, buffer, size, found);
}

} // extern "C"

TEST(LoginDatabase, CollectionsSideBySide_EachGetEveryUser) {
    std::set<std::wstring> others;
    std::thread other;
    // The other collection begins in the middle of this one's walk; it is waited for until it reads, or waits to.
    afterFirstRead = [&] {
        const int readsBefore = reads, locksBefore = locks;
        other = std::thread([&] { others = collect(); });
        EXPECT_TRUE(zor::test::eventually([&] { return reads > readsBefore || locks > locksBefore; }));
    };
    EXPECT_EQ(collect(), everybody());
    ASSERT_TRUE(other.joinable());
    other.join();
    EXPECT_EQ(others, everybody());
}

TEST(LoginDatabase, CollectionDuringAnothersLookUp_DoesNotWaitForIt) {
    std::set<std::wstring> others;
    atFirstLookUp = [&] { std::thread([&] { others = collect(); }).join(); }; // or this never ends
    EXPECT_EQ(collect(), everybody());
    EXPECT_EQ(others, everybody());
}
