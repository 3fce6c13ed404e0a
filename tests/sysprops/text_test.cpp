// The names that the system tells: this test stands between the library and uname, getpwuid_r and sysconf (--wrap).

#include "zorcomn/sysprops.h"

#include "tests/support/failing_calls.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/utsname.h>
#include <unistd.h>

using namespace velmora_com::vta::sysprops;

namespace {

struct {
    std::optional<std::string> nodeName; // unset: uname fails
    std::vector<int> lookUpResults;      // one for each call of getpwuid_r; none left: the entry is found
    const char *userName = nullptr;      // unset: there is no such entry
    long suggestedSize = 64;
    std::vector<size_t> sizes; // of the buffers it was called with
} made;

} // namespace

extern "C" {

int __wrap_uname(utsname *system) {
    if (!made.nodeName)
        return -1;
    std::memset(system, '#', sizeof *system);
    made.nodeName->resize(std::min(made.nodeName->size(), sizeof system->nodename - 1));
    std::memcpy(system->nodename, made.nodeName->c_str(), made.nodeName->size() + 1);
    return 0;
}

int __wrap_getpwuid_r(uid_t, passwd *entry, char *buffer, size_t size, passwd **result) {
    made.sizes.push_back(size);
    std::memset(buffer, 'x', size); // all of it must be there
    *result = nullptr;
    if (!made.lookUpResults.empty()) {
        const int error = made.lookUpResults.front();
        made.lookUpResults.erase(made.lookUpResults.begin());
        return error;
    }
    if (!made.userName)
        return 0;
    std::memcpy(buffer, made.userName, std::strlen(made.userName) + 1);
    entry->pw_name = buffer;
    *result = entry;
    return 0;
}

long __real_sysconf(int name);
long __wrap_sysconf(int name) {
    return name == _SC_GETPW_R_SIZE_MAX ? made.suggestedSize : __real_sysconf(name);
}
}

namespace {

class SystemNames : public ::testing::Test {
protected:
    SystemNames() { made = {}; }
    std::string name = "before";
};
class ComputerName : public SystemNames {};
class UserName : public SystemNames {};

TEST_F(ComputerName, NodeName_IsCutBeforeItsFirstDot) {
    const struct {
        const char *nodeName, *expected;
    } kRows[] = {
        {"alpha.beta.gamma", "alpha"},        {"alpha", "alpha"}, {"alpha.", "alpha"}, {".alpha", ""}, {"", ""},
        {"\xC3\xBC\xFF.beta", "\xC3\xBC\xFF"}};
    for (const auto &row : kRows) {
        made.nodeName = row.nodeName;
        EXPECT_TRUE(getComputerName(name));
        EXPECT_EQ(name, row.expected) << row.nodeName;
    }
}

TEST_F(ComputerName, LongestNodeName_IsWhole) {
    made.nodeName = std::string(sizeof(utsname::nodename) - 1, 'n');
    EXPECT_TRUE(getComputerName(name));
    EXPECT_EQ(name, std::string(sizeof(utsname::nodename) - 1, 'n'));
}

TEST_F(ComputerName, NoNodeName_LeavesTheTextAlone) {
    EXPECT_FALSE(getComputerName(name));
    EXPECT_EQ(name, "before");
}

TEST_F(ComputerName, NoMemory_LeavesTheTextAlone) {
    made.nodeName = std::string(40, 'n');
    const zor::test::FailingCall failing("operator new");
    EXPECT_FALSE(getComputerName(name));
    EXPECT_TRUE(failing.wasReached());
    EXPECT_EQ(name, "before");
}

TEST_F(UserName, Entry_IsFound) {
    made.userName = "alice";
    EXPECT_TRUE(GetPwUid(501, name));
    EXPECT_EQ(name, "alice");
    EXPECT_EQ(made.sizes, std::vector<size_t>{64});
}

TEST_F(UserName, NoEntry_LeavesTheTextAlone) {
    EXPECT_FALSE(GetPwUid(501, name));
    EXPECT_EQ(name, "before");
}

TEST_F(UserName, NoSuggestedSize_StartsWith1024Bytes) {
    made.userName = "alice";
    for (const long suggested : {-1L, 0L}) {
        made.suggestedSize = suggested;
        made.sizes.clear();
        EXPECT_TRUE(GetPwUid(501, name));
        EXPECT_EQ(made.sizes, std::vector<size_t>{1024});
    }
}

TEST_F(UserName, BufferTooSmall_IsDoubledUntilTheEntryFits) {
    made.lookUpResults = {ERANGE, ERANGE, ERANGE};
    made.userName = "alice";
    EXPECT_TRUE(GetPwUid(501, name));
    EXPECT_EQ(name, "alice");
    EXPECT_EQ(made.sizes, (std::vector<size_t>{64, 128, 256, 512}));
}

TEST_F(UserName, OtherError_LeavesTheTextAlone) {
    made.userName = "alice";
    for (const int error : {EIO, EINTR, ENOENT, EMFILE}) {
        made.lookUpResults = {ERANGE, error};
        made.sizes.clear();
        EXPECT_FALSE(GetPwUid(501, name)) << error;
        EXPECT_EQ(name, "before");
        EXPECT_EQ(made.sizes.size(), 2u); // no further try
    }
}

// Some compilers make the first of the three allocations, of nothing before, a malloc.
TEST_F(UserName, NoMemory_LeavesTheTextAloneAndNothingAllocated) {
    made.userName = "alice";
    int failures = 0;
    for (const char *function : {"malloc", "realloc"}) {
        for (const int nth : {1, 2, 3}) {
            made.lookUpResults = {ERANGE, ERANGE};
            made.sizes = {};
            made.sizes.reserve(8);
            name = "before";
            const zor::test::AllocationScope allocations;
            const zor::test::FailingCall failing(function, nth);
            const bool found = GetPwUid(501, name);
            const size_t live = allocations.live();
            failures += failing.wasReached();
            EXPECT_EQ(found, !failing.wasReached()) << function << nth;
            EXPECT_EQ(live, 0u) << function << nth;
            EXPECT_EQ(name, found ? "alice" : "before") << function << nth;
        }
    }
    EXPECT_EQ(failures, 3);
}

TEST_F(UserName, Found_ReleasesTheBuffer) {
    made.userName = "al";
    made.lookUpResults = {ERANGE, ERANGE};
    made.sizes.reserve(8);
    const zor::test::AllocationScope allocations;
    const bool found = GetPwUid(501, name);
    const size_t live = allocations.live();
    EXPECT_TRUE(found);
    EXPECT_EQ(live, 0u);
}

TEST(SystemPropertyText, ConvertsAsTheLibraryDoes) {
    EXPECT_EQ(sysprops_wide_to_ansi(L""), "");
    EXPECT_EQ(sysprops_ansi_to_wide(""), L"");
    EXPECT_EQ(sysprops_wide_to_ansi(L"Z\xFCrich \x6771\U0001F600"), "Z\xC3\xBCrich \xE6\x9D\xB1\xF0\x9F\x98\x80");
    EXPECT_EQ(sysprops_ansi_to_wide("Z\xC3\xBCrich \xE6\x9D\xB1\xF0\x9F\x98\x80"), L"Z\xFCrich \x6771\U0001F600");
}

TEST(SystemPropertyText, InvalidText_IsCut) {
    EXPECT_EQ(sysprops_wide_to_ansi(L"ab\xD800z"), "ab");
    EXPECT_EQ(sysprops_ansi_to_wide("ab\xFFz"), L"ab");
    EXPECT_EQ(sysprops_wide_to_ansi(std::wstring(L"a\0b", 3)), "a");
    EXPECT_EQ(sysprops_ansi_to_wide(std::string("a\0b", 3)), L"a");
}

} // namespace
