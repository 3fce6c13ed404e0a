// What callers get when a call below fails.

#include "zorcomn/session.h"

#include "tests/support/child.h"
#include "tests/support/failing_calls.h"
#include "tests/support/private_machine.h"
#include "tests/support/temporary_folder.h"

#include <cerrno>

#include <gtest/gtest.h>

namespace session = velmora_com::vta::session;
using zor::test::FailingCall;

TEST(FindDomainName, MemoryRunsOut_IsSaidAndNotThrown_Kept) {
    const auto result = zor::test::runInChild([] {
        std::string domain = "before";
        const FailingCall failing("operator new");
        EXPECT_FALSE(session::FindDomainName("root", domain));
        EXPECT_TRUE(failing.wasReached());
        EXPECT_EQ(domain, "before");
        return 0;
    });
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.output, "Domain name can't not be found.\n");
}

namespace {

/** Calls with the first allocation failing, then the second, and so on up to the last. */
template <class Call> void expectNothingThrown(Call call) {
    bool isReached = true;
    for (int nth = 1; isReached && nth < 1000; ++nth) {
        const FailingCall failing("operator new", nth);
        EXPECT_NO_THROW(call()) << nth;
        isReached = failing.wasReached();
    }
    EXPECT_FALSE(isReached);
}

} // namespace

TEST(SmallFunctions, NoMemory_ThrowNothing) {
    const std::wstring fullName = L"a domain beyond the short string\\a user beyond the short string";
    const std::string text(100, 'a'), list = text + '|' + text;
    expectNothingThrown([&] {
        std::wstring domain, user;
        session::parseFullUserName(fullName, domain, user);
    });
    expectNothingThrown([&] { session::trimmer(text.c_str()); });
    expectNothingThrown([&] {
        std::vector<std::string> parts;
        session::split(list, '|', parts);
    });
    expectNothingThrown([&] {
        std::string domain;
        session::FindDomainNameViaDscl(text, "attribute", domain); // short: its copy is the caller's
    });
}

TEST(Collections, NoMemory_ThrowNothingAndRewind) {
    EXPECT_TRUE(zor::test::childPasses([] {
        const zor::test::TemporaryFolder folder;
        const std::string name = "a-name-of-32-characters-at-least";
        zor::test::writeLoginRecords(folder / "utmp", {{zor::test::kUserProcess, "1", name, "pts/1"},
                                                       {zor::test::kUserProcess, "2", name, "pts/2"}});
        const std::wstring expected(name.begin(), name.end());
        int shortages = 0;
        expectNothingThrown([&] {
            std::wstring users;
            errno = EDOM;
            session::CollectAllLoggedonUsers(users);
            EXPECT_TRUE(users == expected || errno == ENOMEM) << "a list that lacks a user says so";
            EXPECT_TRUE(errno == EDOM || errno == ENOMEM) << errno;
            shortages += errno == ENOMEM;
        });
        EXPECT_GT(shortages, 0);
        std::wstring users;
        session::CollectAllLoggedonUsers(users);
        EXPECT_EQ(users, expected);
    }));
}
