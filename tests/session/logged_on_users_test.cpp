// Who is logged on, on machines made up of a login database, account files and a directory tool at its real path.

#include "zorcomn/session.h"

#include "tests/support/child.h"
#include "tests/support/descriptors.h"
#include "tests/support/private_machine.h"
#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <utmpx.h>

namespace session = velmora_com::vta::session;
using zor::test::childPasses;
using zor::test::LoginRecord;
using zor::test::PrivateMachine;

namespace {

constexpr char kPrincipal[] = "userPrincipalName";
constexpr char kAuthority[] = "OriginalAuthenticationAuthority";
constexpr char kBegin[] = "Some changes happen in the logon sessions.\n";
constexpr char kEnd[] = "Coming out from the logon session collections.\n";

constexpr char kPasswd[] = "root:x:0:0:root:/root:/bin/sh\n"
                           "user1:x:1001:5001::/:/bin/sh\n"
                           "User2:x:1002:5002::/:/bin/sh\n"
                           "user3:x:1003:5003::/:/bin/sh\n"
                           "user4:x:1004:5004::/:/bin/sh\n"
                           "user5:x:1005:5999::/:/bin/sh\n"
                           "user6:x:1006:5006::/:/bin/sh\n";
constexpr char kGroup[] = "root:x:0:\n"
                          "DOM1\\Domain Users:x:5001:\n"
                          "Dom2\\Sub\\DOMAIN USERS of all kinds:x:5002:\n"
                          "Domain Users:x:5003:\n"
                          "DOM4\\Staff:x:5004:\n"
                          "\\domain users:x:5006:\n";

/** The directory tool notes how it is called and answers what the test gave for user and attribute. */
constexpr char kDirectoryTool[] = R"(echo "$@" >> /mnt/calls
cat "/mnt/answer-${3#/Users/}" 2>/dev/null)";

struct Machine {
    std::vector<LoginRecord> records;
    std::vector<std::pair<std::string, std::string>> answers; // of the directory, by user
    std::string passwd = kPasswd;
    std::string group = kGroup;
};

LoginRecord userRecord(const std::string &id, const std::string &user) {
    return {zor::test::kUserProcess, id, user, "pts/" + id};
}

/** Makes the machine, in a child; false: it could not be made. */
bool make(const Machine &machine, PrivateMachine &files) {
    files.place("/etc/passwd", machine.passwd);
    files.place("/etc/group", machine.group);
    files.place("/etc/nsswitch.conf", "passwd: files\ngroup: files\n");
    files.placeScript("/usr/bin/dscl", kDirectoryTool);
    for (const auto &[user, answer] : machine.answers)
        files.place(files.scratch("answer-" + user), answer);
    zor::test::writeLoginRecords(files.scratch("utmp"), machine.records);
    return files.isReady();
}

bool make(const Machine &machine) {
    PrivateMachine files;
    return make(machine, files);
}

std::string narrowed(const std::wstring &text) {
    return {text.begin(), text.end()}; // ASCII in these tests
}

/** Collects on a machine; the diagnostics, then the sets, then the directory calls, as a text. */
std::string collect(const Machine &machine, bool networkOnly = false) {
    return zor::test::runInChild([&] {
               if (!make(machine))
                   return std::puts("the machine could not be made");
               std::set<std::wstring> networkUsers, localUsers;
               session::CollectLoggedonUsers(networkUsers, localUsers, networkOnly);
               for (const std::wstring &user : networkUsers)
                   std::printf("network: %s\n", narrowed(user).c_str());
               for (const std::wstring &user : localUsers)
                   std::printf("local: %s\n", narrowed(user).c_str());
               std::printf("%s", zor::test::readFile("/mnt/calls").c_str());
               if (access("/mnt/x", F_OK) == 0)
                   std::puts("a name ran a command");
               return 0;
           })
        .output;
}

std::string directoryCalls(const std::string &user, int count = 2) {
    std::string calls;
    for (int i = 0; i < count; ++i)
        calls += "/Search read /Users/" + user + "\n";
    return calls;
}

} // namespace

class LoggedOnUsers : public ::testing::Test {
protected:
    void SetUp() override { ZORCOMN_SKIP_WITHOUT_NAMESPACES(); }
};

TEST_F(LoggedOnUsers, NoRecords_GiveNobodyAndRunNothing) {
    EXPECT_EQ(collect({}), std::string(kBegin) + kEnd);
}

TEST_F(LoggedOnUsers, OnlyRecordsOfType7_CountAndAllAreShown) {
    Machine machine;
    std::string shown;
    for (const short type : std::initializer_list<short>{1, 2, 5, 6, 8}) {
        const std::string id = std::to_string(type);
        machine.records.push_back({type, id, "nobody" + id, "tty" + id});
        shown += id + "  " + id + "  nobody" + id + "  tty" + id + " \n";
    }
    EXPECT_EQ(collect(machine), kBegin + shown + kEnd);
    machine.records.push_back(userRecord("9", "Carol"));
    EXPECT_EQ(collect(machine), kBegin + shown + "7  9  Carol  pts/9 \nLocal User Logged on carol \n" + kEnd +
                                    "local: carol\n" + directoryCalls("Carol"));
}

TEST_F(LoggedOnUsers, UserAtThreeTerminals_IsListedOnce) {
    const std::string output =
        collect({{userRecord("1", "carol"), userRecord("2", "carol"), userRecord("3", "Carol")}, {}});
    EXPECT_EQ(output.substr(output.find("local: ")),
              "local: carol\n" + directoryCalls("carol", 4) + directoryCalls("Carol"));
}

TEST_F(LoggedOnUsers, PrimaryGroupThatNamesADomain_MakesANetworkUserWithoutTheDirectory) {
    EXPECT_EQ(collect({{userRecord("1", "user1")}, {}}), std::string(kBegin) +
                                                             "7  1  user1  pts/1 \nfound group struct dom1. \n"
                                                             "Network User logged on dom1\\user1 \n" +
                                                             kEnd + "network: dom1\\user1\n");
}

TEST_F(LoggedOnUsers, UserAndDomain_AreInLowerCaseUpToTheFirstBackslash) {
    EXPECT_EQ(collect({{userRecord("1", "User2")}, {}}), std::string(kBegin) +
                                                             "7  1  User2  pts/1 \nfound group struct dom2. \n"
                                                             "Network User logged on dom2\\user2 \n" +
                                                             kEnd + "network: dom2\\user2\n");
}

TEST_F(LoggedOnUsers, PrimaryGroupWithoutDomain_LeavesALocalUser) {
    // A group without a backslash, one without "domain users", none at all, and a user without an entry.
    for (const char *user : {"user3", "user4", "user5", "carol"})
        EXPECT_EQ(collect({{userRecord("1", user)}, {}}), std::string(kBegin) + "7  1  " + user +
                                                              "  pts/1 \nLocal User Logged on " + user + " \n" + kEnd +
                                                              "local: " + user + "\n" + directoryCalls(user));
}

TEST_F(LoggedOnUsers, EmptyDomain_IsADomainAllTheSame_Kept) {
    const std::string output = collect({{userRecord("1", "user6")}, {}});
    EXPECT_NE(output.find("found group struct . \n"), std::string::npos) << output;
    EXPECT_NE(output.find("network: \\user6\n"), std::string::npos) << output;
}

TEST_F(LoggedOnUsers, PrincipalName_IsAskedFirstAndEndsTheSearch) {
    EXPECT_EQ(
        collect({{userRecord("1", "Carol")}, {{"Carol", "userPrincipalName: Carol@DOM1\nRecordName: Carol@DOM9\n"}}}),
        std::string(kBegin) + "7  1  Carol  pts/1 \nNetwork User logged on dom1\\carol \n" + kEnd +
            "network: dom1\\carol\n" + directoryCalls("Carol", 1));
}

TEST_F(LoggedOnUsers, Authority_IsAskedLast) {
    EXPECT_EQ(collect({{userRecord("1", "carol")},
                       {{"carol", "OriginalAuthenticationAuthority: ;Kerberosv5;;carol@DOM1;DOM1;\n"}}}),
              std::string(kBegin) + "7  1  carol  pts/1 \nNetwork User logged on dom1\\carol \n" + kEnd +
                  "network: dom1\\carol\n" + directoryCalls("carol"));
}

TEST_F(LoggedOnUsers, SeveralDomains_GiveOneEntryEach) {
    EXPECT_EQ(collect({{userRecord("1", "carol")},
                       {{"carol", "userPrincipalName: carol@DOM2\nx userPrincipalName: carol@DOM1\n"}}}),
              std::string(kBegin) +
                  "7  1  carol  pts/1 \nNetwork User logged on dom2\\carol \nNetwork User logged on dom1\\carol \n" +
                  kEnd + "network: dom1\\carol\nnetwork: dom2\\carol\n" + directoryCalls("carol", 1));
}

TEST_F(LoggedOnUsers, NetworkOnly_LeavesLocalUsersOutAndUnmentioned) {
    EXPECT_EQ(collect({{userRecord("1", "carol"), userRecord("2", "user1")}, {}}, true),
              std::string(kBegin) +
                  "7  1  carol  pts/1 \n7  2  user1  pts/2 \nfound group struct dom1. \n"
                  "Network User logged on dom1\\user1 \n" +
                  kEnd + "network: dom1\\user1\n" + directoryCalls("carol"));
}

TEST_F(LoggedOnUsers, HostileNames_RunNothingAndAreLocal) {
    for (const std::string name : {"$(touch /mnt/x)", "`touch /mnt/x`", "';touch /mnt/x;'", "a;touch /mnt/x",
                                   "a\ntouch /mnt/x", "\"a\" 'b'", "a|b", "../../etc/passwd", "a\\", "-e a b"}) {
        const std::string shown = "7  1  " + name + "  pts/1 \nLocal User Logged on " + name + " \n";
        EXPECT_EQ(collect({{userRecord("1", name)}, {}}), kBegin + shown + kEnd + "local: " + name + "\n");
    }
}

TEST_F(LoggedOnUsers, FieldsWithoutTerminator_EndWithTheField) {
    const LoginRecord full{zor::test::kUserProcess, std::string(300, 'i'), std::string(300, 'u'),
                           std::string(300, 'l')};
    utmpx entry;
    const std::string id(sizeof entry.ut_id, 'i'), user(sizeof entry.ut_user, 'u'), line(sizeof entry.ut_line, 'l');
    EXPECT_EQ(collect({{full}, {}}),
              kBegin + ("7  " + id + "  " + user + "  " + line + " \nLocal User Logged on " + user + " \n") + kEnd +
                  "local: " + user + "\n" + directoryCalls(user));
}

TEST_F(LoggedOnUsers, NameThatIsNoUtf8_StopsNothing) {
    EXPECT_TRUE(childPasses([] {
        ASSERT_TRUE(make({{userRecord("1", "ab\xFF\xFE"), userRecord("2", "carol")}, {}}));
        std::set<std::wstring> networkUsers, localUsers;
        session::CollectLoggedonUsers(networkUsers, localUsers, false);
        EXPECT_EQ(localUsers, (std::set<std::wstring>{L"ab", L"carol"}));
    }));
}

TEST_F(LoggedOnUsers, Sets_AreAddedTo) {
    EXPECT_TRUE(childPasses([] {
        ASSERT_TRUE(make({{userRecord("1", "carol"), userRecord("2", "user1")}, {}}));
        std::set<std::wstring> networkUsers{L"before"}, localUsers{L"earlier"};
        session::CollectLoggedonUsers(networkUsers, localUsers, false);
        EXPECT_EQ(networkUsers, (std::set<std::wstring>{L"before", L"dom1\\user1"}));
        EXPECT_EQ(localUsers, (std::set<std::wstring>{L"carol", L"earlier"}));
    }));
}

TEST_F(LoggedOnUsers, Database_IsRewoundAtTheEndOnly_Kept) {
    EXPECT_TRUE(childPasses([] {
        ASSERT_TRUE(make({{userRecord("1", "alice"), userRecord("2", "bob"), userRecord("3", "carol")}, {}}));
        ASSERT_NE(getutxent(), nullptr); // somebody else has read the first record
        std::set<std::wstring> networkUsers, first, second;
        session::CollectLoggedonUsers(networkUsers, first, false);
        EXPECT_EQ(first, (std::set<std::wstring>{L"bob", L"carol"}));
        session::CollectLoggedonUsers(networkUsers, second, false);
        EXPECT_EQ(second, (std::set<std::wstring>{L"alice", L"bob", L"carol"}));
    }));
}

TEST_F(LoggedOnUsers, Collections_LeaveNoDescriptorButTheDatabase_Kept) {
    EXPECT_TRUE(childPasses([] {
        ASSERT_TRUE(make({{userRecord("1", "alice"), userRecord("2", "user1")}, {}}));
        std::set<std::wstring> networkUsers, localUsers;
        const size_t before = zor::test::openDescriptors();
        session::CollectLoggedonUsers(networkUsers, localUsers, false);
        EXPECT_EQ(zor::test::openDescriptors(), before + 1);
        session::CollectLoggedonUsers(networkUsers, localUsers, false);
        EXPECT_EQ(zor::test::openDescriptors(), before + 1);
    }));
}

TEST_F(LoggedOnUsers, CommaSeparatedLists_HoldTheSetsInOrder) {
    EXPECT_TRUE(childPasses([] {
        ASSERT_TRUE(make(
            {{userRecord("1", "carol"), userRecord("2", "User2"), userRecord("3", "alice"), userRecord("4", "user1")},
             {}}));
        std::wstring networkUsers = L"before", localUsers = L"before";
        session::CollectComaSepLoggedonUsers(networkUsers, localUsers, false);
        EXPECT_EQ(networkUsers, L"dom1\\user1,dom2\\user2");
        EXPECT_EQ(localUsers, L"alice,carol");
    }));
}

TEST_F(LoggedOnUsers, CommaSeparatedListOfAnEmptySet_IsLeftAlone_Kept) {
    EXPECT_TRUE(childPasses([] {
        ASSERT_TRUE(make({{userRecord("1", "carol")}, {}}));
        std::wstring networkUsers = L"before", localUsers = L"before";
        session::CollectComaSepLoggedonUsers(networkUsers, localUsers, true);
        EXPECT_EQ(networkUsers, L"before");
        EXPECT_EQ(localUsers, L"before");
        session::CollectComaSepLoggedonUsers(networkUsers, localUsers, false);
        EXPECT_EQ(networkUsers, L"before");
        EXPECT_EQ(localUsers, L"carol");
    }));
}

TEST_F(LoggedOnUsers, CombinedList_HasNetworkUsersFirst) {
    const struct {
        std::vector<LoginRecord> records;
        const wchar_t *combined;
    } rows[] = {
        {{}, L""},
        {{userRecord("1", "carol"), userRecord("2", "alice")}, L"alice,carol"},
        {{userRecord("1", "user1")}, L"dom1\\user1"},
        {{userRecord("1", "alice"), userRecord("2", "user1")}, L"dom1\\user1,alice"},
    };
    for (const auto &row : rows)
        EXPECT_TRUE(childPasses([&] {
            ASSERT_TRUE(make({row.records, {}}));
            std::wstring users = L"before";
            session::CollectAllLoggedonUsers(users);
            EXPECT_EQ(users, row.combined);
        }));
}

TEST_F(LoggedOnUsers, ThirtyLongNames_AreCutWithDots) {
    Machine machine;
    for (int i = 10; i < 40; ++i)
        machine.records.push_back(userRecord(std::to_string(i), "a-rather-long-name-" + std::to_string(i)));
    EXPECT_TRUE(childPasses([&] {
        ASSERT_TRUE(make(machine));
        std::wstring users;
        session::CollectAllLoggedonUsers(users);
        // Five names of 21 characters and their commas are 110; the sixth would end behind the 128th.
        EXPECT_EQ(users, L"a-rather-long-name-10,a-rather-long-name-11,a-rather-long-name-12,a-rather-long-name-13,"
                         L"a-rather-long-name-14,...");
    }));
}

TEST_F(LoggedOnUsers, AccountEntryBeyondTheBuffer_CountsAsNone) {
    const std::string long16k(17000, 'x');
    const std::string passwd = "user1:x:1001:5001:" + long16k + ":/:/bin/sh\n" + "user7:x:1007:5007::/:/bin/sh\n";
    const std::string group = "DOM1\\Domain Users:x:5001:\nDOM7\\Domain Users:x:5007:" + long16k + "\n";
    EXPECT_TRUE(childPasses([&] {
        ASSERT_TRUE(make({{}, {}, passwd, group}));
        std::string domain = "before";
        EXPECT_FALSE(session::FindDomainName("user1", domain));
        EXPECT_FALSE(session::FindDomainName("user7", domain));
        EXPECT_EQ(domain, "before");
    }));
}

TEST_F(LoggedOnUsers, AccountEntryThatNearlyFillsTheBuffer_IsRead) {
    const std::string passwd = "user1:x:1001:5001:" + std::string(16000, 'x') + ":/:/bin/sh\n";
    const std::string group = "DOM1\\Domain Users:x:5001:" + std::string(8000, 'y') + "\n"; // over the account's texts
    EXPECT_TRUE(childPasses([&] {
        ASSERT_TRUE(make({{}, {}, passwd, group}));
        std::string domain;
        EXPECT_TRUE(session::FindDomainName("user1", domain));
        EXPECT_EQ(domain, "dom1");
    }));
}

TEST_F(LoggedOnUsers, NameWithANullByte_HasNoEntry) {
    EXPECT_TRUE(childPasses([] {
        ASSERT_TRUE(make({}));
        std::string domain;
        EXPECT_TRUE(session::FindDomainName("user1", domain));
        EXPECT_FALSE(session::FindDomainName(std::string("user1\0x", 7), domain));
        EXPECT_FALSE(session::FindDomainName("", domain));
    }));
}

class Directory : public LoggedOnUsers {};

TEST_F(Directory, Answers_AreReadAsTheirAttributeWants) {
    const struct {
        const char *attribute, *answer;
        bool found;
        const char *domain;
    } rows[] = {
        {kPrincipal, "userPrincipalName: carol@DOM1.Example.COM\n", true, "dom1.example.com"},
        {kPrincipal, "userPrincipalName: carol@DOM1 ;\n", true, "dom1"},
        {kPrincipal, "userPrincipalName: carol\n", false, ""},
        {kPrincipal, "userPrincipalName: carol@\n", false, ""},
        {kPrincipal, "userPrincipalName: a@DOM1\nuserPrincipalName: b@DOM2\n", true, "dom1|dom2"},
        {kAuthority, "OriginalAuthenticationAuthority: carol@DOM1;DOM2;\n", true, "dom1"},
        {kAuthority, "OriginalAuthenticationAuthority: carol@DOM1\n", false, ""}, // nothing ends the domain
        {kAuthority, "OriginalAuthenticationAuthority: carol@;DOM1;\n", false, ""},
        {"RecordName", "RecordName: carol@DOM1\n", false, ""},
        {kPrincipal, "", false, "before"},
        {kPrincipal, "AnotherAttribute: carol@DOM1\n", false, "before"}, // which the filter takes away
    };
    for (const auto &row : rows)
        EXPECT_TRUE(childPasses([&] {
            ASSERT_TRUE(make({{}, {{"carol", row.answer}}}));
            std::string domain = "before";
            EXPECT_EQ(session::FindDomainNameViaDscl("carol", row.attribute, domain), row.found);
            EXPECT_EQ(domain, row.domain);
        })) << row.answer;
}

TEST_F(Directory, LongAnswer_IsReadUpTo1023Bytes) {
    const std::string start = "userPrincipalName: carol@";
    const std::string domain(1023 - start.size(), 'd');
    for (const size_t more : {0u, 1u, 2u, 100u, 100000u})
        EXPECT_TRUE(childPasses([&] {
            ASSERT_TRUE(make({{}, {{"carol", start + domain + std::string(more, 'd')}}}));
            std::string found;
            EXPECT_TRUE(session::FindDomainNameViaDscl("carol", kPrincipal, found));
            EXPECT_EQ(found, domain);
        })) << more;
}

TEST_F(Directory, SignBeyondTheBytesRead_IsNotSeen) {
    const std::string start = "userPrincipalName: ";
    for (const size_t at : {1022u, 1023u})
        EXPECT_TRUE(childPasses([&] {
            ASSERT_TRUE(make({{}, {{"carol", start + std::string(at - start.size() - 1, 'c') + ";@DOM1\n"}}}));
            std::string found = "before";
            EXPECT_FALSE(session::FindDomainNameViaDscl("carol", kPrincipal, found));
            EXPECT_EQ(found, "");
        })) << at;
}

TEST_F(Directory, AnswerWithANullByte_EndsThere) {
    const std::string answer("userPrincipalName: carol@DOM1\0@DOM2\n", 36);
    EXPECT_TRUE(childPasses([&] {
        PrivateMachine files;
        ASSERT_TRUE(make({{}, {{"carol", answer}}}, files));
        files.placeScript("/usr/bin/grep", "exec cat"); // the real one says of such output only that it is binary
        ASSERT_TRUE(files.isReady());
        std::string domain;
        EXPECT_TRUE(session::FindDomainNameViaDscl("carol", kPrincipal, domain));
        EXPECT_EQ(domain, "dom1");
    }));
}

TEST_F(Directory, Command_HasBothToolsAtTheirPathsWithTheirArguments) {
    EXPECT_TRUE(childPasses([] {
        PrivateMachine files;
        files.placeScript("/usr/bin/dscl", "echo dscl $# \"$@\" >> /mnt/calls; echo a@dom1");
        files.placeScript("/usr/bin/grep", "echo grep $# \"$@\" >> /mnt/calls2; exec cat");
        ASSERT_TRUE(files.isReady());
        std::string domain;
        EXPECT_TRUE(session::FindDomainNameViaDscl("carol", kPrincipal, domain));
        EXPECT_EQ(domain, "dom1");
        EXPECT_EQ(zor::test::readFile("/mnt/calls"), "dscl 3 /Search read /Users/carol\n");
        EXPECT_EQ(zor::test::readFile("/mnt/calls2"), "grep 1 userPrincipalName\n");
    }));
}

TEST_F(Directory, NoDirectoryTool_IsAFailedLookUpWithoutAShell) {
    const auto result = zor::test::runInChild([] {
        PrivateMachine files;
        files.placeScript("/usr/bin/dscl", "echo a@dom1");
        chmod("/usr/bin/dscl", 0644);
        std::string domain = "before";
        return !files.isReady() || session::FindDomainNameViaDscl("carol", kPrincipal, domain) || domain != "before";
    });
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.output, ""); // a shell would have complained
}

TEST_F(Directory, CommandThatCannotBeStarted_IsAFailedLookUp) {
    EXPECT_TRUE(childPasses([] {
        ASSERT_TRUE(make({{}, {{"carol", "userPrincipalName: carol@DOM1\n"}}}));
        const rlimit before = [] {
            rlimit limit;
            getrlimit(RLIMIT_NOFILE, &limit);
            return limit;
        }();
        const rlimit none{3, before.rlim_max};
        std::string domain = "before";
        setrlimit(RLIMIT_NOFILE, &none);
        EXPECT_FALSE(session::FindDomainNameViaDscl("carol", kPrincipal, domain));
        setrlimit(RLIMIT_NOFILE, &before);
        EXPECT_EQ(domain, "before");
        EXPECT_TRUE(session::FindDomainNameViaDscl("carol", kPrincipal, domain));
    }));
}

TEST_F(Directory, Command_InheritsNoDescriptorOfAnotherOne) {
    EXPECT_TRUE(childPasses([] {
        ASSERT_TRUE(make({{}, {{"carol", "userPrincipalName: carol@DOM1\n"}}}));
        const size_t before = zor::test::openDescriptors();
        std::string domain;
        for (int i = 0; i < 3; ++i)
            EXPECT_TRUE(session::FindDomainNameViaDscl("carol", kPrincipal, domain));
        EXPECT_EQ(zor::test::openDescriptors(), before);
    }));
}
