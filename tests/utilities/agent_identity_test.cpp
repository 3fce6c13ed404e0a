#include "zorcomn/utilities.h"

#include "tests/support/child.h"
#include "tests/support/failing_calls.h"
#include "tests/support/private_machine.h"
#include "tests/support/temporary_folder.h"

#include <cstring>
#include <cwchar>
#include <string>

#include <gtest/gtest.h>

using zor::test::childPasses;
using zor::test::LoginRecord;
using zor::test::TemporaryFolder;

namespace {

constexpr uint32_t kFailure = 0x80000008;
constexpr char kId[] = "TZXAGENT4800MACX";
constexpr wchar_t kWideId[] = L"TZXAGENT4800MACX";

TEST(SoftwareId, SizesUpTo16_ReceiveNothing) {
    for (const uint32_t size : {0u, 1u, 15u, 16u}) {
        char narrow[20] = "#";
        qelcomn_get_agent_softwareid(narrow, size);
        EXPECT_STREQ(narrow, "#") << size;
        wchar_t wide[20] = L"#";
        qelcomn_get_agent_softwareid_W(wide, size);
        EXPECT_STREQ(wide, L"#") << size;
    }
}

TEST(SoftwareId, Narrow_IsABoundedCopyOfOneByteLess_Kept) {
    for (const uint32_t size : {17u, 18u, 30u}) {
        char buffer[40];
        std::memset(buffer, '#', sizeof buffer);
        qelcomn_get_agent_softwareid(buffer, size);
        std::string expected(kId, 16);
        expected.resize(size - 1); // zeros
        expected.resize(40, '#');  // at 17 there is no terminator at all
        EXPECT_EQ(std::string(buffer, 40), expected) << size;
    }
}

TEST(SoftwareId, ZeroedBufferOf17_HoldsItWhole) {
    char buffer[17] = {};
    qelcomn_get_agent_softwareid(buffer, sizeof buffer);
    EXPECT_STREQ(buffer, kId);
}

TEST(SoftwareId, Wide_HasItsTerminatorFrom17On_Kept) {
    for (const uint32_t size : {17u, 18u, 30u}) {
        wchar_t buffer[40];
        std::wmemset(buffer, L'#', 40);
        qelcomn_get_agent_softwareid_W(buffer, size);
        EXPECT_STREQ(buffer, kWideId) << size;
        EXPECT_EQ(buffer[17], L'#') << "nothing behind it";
    }
}

TEST(SoftwareId, Null_DoesNothing) {
    qelcomn_get_agent_softwareid(nullptr, 100);
    qelcomn_get_agent_softwareid_W(nullptr, 100);
}

/** A GUID's text in braces and in upper case. */
std::string bracedText(const qelGuid &guid) {
    char plain[37];
    std::string text = std::string("{") + qelUuidToStringA(&guid, plain) + "}";
    for (char &character : text)
        if (character >= 'a' && character <= 'f')
            character = static_cast<char>(character - 32);
    return text;
}

TEST(CreateGuid, Text_IsTheGuidInBracesAndUpperCase) {
    bool hasLetters = false;
    for (int i = 0; i < 100; ++i) {
        qelGuid guid;
        char text[64];
        ASSERT_EQ(qelcomn_create_guid(&guid, text, sizeof text), 1);
        EXPECT_EQ(text, bracedText(guid));
        EXPECT_EQ(std::strlen(text), 38u);
        hasLetters = hasLetters || std::strpbrk(text, "ABCDEF");
    }
    EXPECT_TRUE(hasLetters) << "or this test could not tell upper from lower case";
}

TEST(CreateGuid, BufferOfEachSize_IsFilledByABoundedCopy_Kept) {
    for (const uint32_t size : {0u, 1u, 37u, 38u, 39u, 50u}) {
        qelGuid guid{};
        char text[64];
        std::memset(text, '#', sizeof text);
        EXPECT_EQ(qelcomn_create_guid(&guid, text, size), 1) << size;
        std::string expected = bracedText(guid); // at 38 or less there is no terminator
        expected.resize(size);
        expected.resize(64, '#');
        EXPECT_EQ(std::string(text, 64), expected) << size;
    }
}

TEST(CreateGuid, NullGuid_GivesTheTextAlone) {
    char text[39];
    EXPECT_EQ(qelcomn_create_guid(nullptr, text, sizeof text), 1);
    EXPECT_EQ(std::strlen(text), 38u);
    EXPECT_EQ(text[0], '{');
    EXPECT_EQ(text[37], '}');
}

TEST(CreateGuid, NullText_GivesTheGuidAlone) {
    qelGuid guid{};
    EXPECT_EQ(qelcomn_create_guid(&guid, nullptr, 100), 1);
    EXPECT_EQ(guid.Data4[0] >> 6, 2);
    EXPECT_EQ(qelcomn_create_guid(nullptr, nullptr, 0), 1);
}

TEST(CreateGuid, EachCall_GivesAnother) {
    char first[39];
    char second[39];
    qelcomn_create_guid(nullptr, first, sizeof first);
    qelcomn_create_guid(nullptr, second, sizeof second);
    EXPECT_STRNE(first, second);
}

/** Expects the user name with these users logged on, at each size around its length; in a child of its own. */
::testing::AssertionResult userNameIs(const std::vector<LoginRecord> &records, const std::string &expected) {
    return childPasses([&] {
        const TemporaryFolder folder;
        zor::test::writeLoginRecords(folder / "utmp", records);
        const auto length = static_cast<uint32_t>(expected.size());
        for (const uint32_t size : {length + 1, length + 2, 200u}) {
            char buffer[256];
            std::memset(buffer, '#', sizeof buffer);
            EXPECT_EQ(qelcomn_get_user_name(buffer, size), 0u);
            EXPECT_EQ(buffer, expected);
            EXPECT_EQ(buffer[length + 1], '#');
        }
        for (const uint32_t size : {0u, 1u, length}) {
            char buffer[256] = "#";
            EXPECT_EQ(qelcomn_get_user_name(buffer, size), kFailure) << size;
            EXPECT_STREQ(buffer, "#");
        }
    });
}

TEST(UserName, NobodyLoggedOn_IsNA_Kept) {
    EXPECT_TRUE(userNameIs({}, "NA"));
}

TEST(UserName, UsersLoggedOn_AreTheWholeList_Kept) {
    EXPECT_TRUE(userNameIs({{zor::test::kUserProcess, "1", "no-such-user-1", "pts/1"}}, "no-such-user-1"));
    EXPECT_TRUE(userNameIs({{zor::test::kUserProcess, "1", "no-such-user-1", "pts/1"},
                            {zor::test::kUserProcess, "2", "no-such-user-2", "pts/2"}},
                           "no-such-user-1,no-such-user-2"));
}

TEST(UserName, Null_IsRefused) {
    EXPECT_EQ(qelcomn_get_user_name(nullptr, 100), kFailure);
}

TEST(UserName, NoMemory_IsRefused) {
    EXPECT_TRUE(childPasses([] {
        const TemporaryFolder folder;
        zor::test::writeLoginRecords(folder / "utmp",
                                     {{zor::test::kUserProcess, "1", "a-user-with-quite-a-long-name", "pts/1"}});
        char buffer[256];
        for (int nth = 1;; ++nth) {
            std::strcpy(buffer, "#");
            const zor::test::FailingCall failing("operator new", nth);
            const uint32_t result = qelcomn_get_user_name(buffer, sizeof buffer);
            if (!failing.wasReached())
                break;
            EXPECT_TRUE(result == 0 || result == kFailure) << nth;
            EXPECT_STREQ(buffer, result == 0 ? "a-user-with-quite-a-long-name" : "#") << nth;
        }
        EXPECT_STREQ(buffer, "a-user-with-quite-a-long-name");
    }));
}

} // namespace
