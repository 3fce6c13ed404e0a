#include "source/session/logged_on_users.h"

#include <gtest/gtest.h>

namespace {

/** A list of length characters with commas at these places alone. */
std::wstring listOf(size_t length, std::initializer_list<size_t> commas) {
    std::wstring list(length, L'u');
    for (const size_t comma : commas)
        list[comma] = L',';
    return list;
}

} // namespace

TEST(JoinNames, Names_HaveACommaBetweenThem) {
    EXPECT_EQ(zor::joinNames({}), L"");
    EXPECT_EQ(zor::joinNames({L"b"}), L"b");
    EXPECT_EQ(zor::joinNames({L"b", L"a", L"c"}), L"a,b,c");
    EXPECT_EQ(zor::joinNames({L"", L"a"}), L",a");
}

TEST(LimitNames, UpTo127Characters_AreLeft) {
    for (const size_t length : {0u, 1u, 126u, 127u})
        EXPECT_EQ(zor::limitNames(std::wstring(length, L'u')), std::wstring(length, L'u'));
    EXPECT_EQ(zor::limitNames(listOf(127, {60})), listOf(127, {60}));
}

TEST(LimitNames, Exactly128Characters_AreCutAtTheLastComma_Kept) {
    EXPECT_EQ(zor::limitNames(listOf(128, {60})), std::wstring(60, L'u') + L",...");
}

TEST(LimitNames, CommaWithFourCharactersToTheEnd_IsTheLastToGiveDots) {
    EXPECT_EQ(zor::limitNames(listOf(200, {124})), std::wstring(124, L'u') + L",...");
    EXPECT_EQ(zor::limitNames(listOf(128, {124})), std::wstring(124, L'u') + L",...");
}

TEST(LimitNames, CommaAmongTheLastThree_LeavesTheCut_Kept) {
    for (const size_t comma : {125u, 126u, 127u})
        EXPECT_EQ(zor::limitNames(listOf(200, {60, comma})), listOf(128, {60, comma})) << comma;
}

TEST(LimitNames, CommaBeyondTheCut_DoesNotCount) {
    EXPECT_EQ(zor::limitNames(listOf(200, {60, 128})), std::wstring(60, L'u') + L",...");
    EXPECT_EQ(zor::limitNames(listOf(200, {128, 150})), std::wstring(128, L'u'));
}

TEST(LimitNames, NoComma_LeavesTheCut) {
    EXPECT_EQ(zor::limitNames(std::wstring(300, L'u')), std::wstring(128, L'u'));
}

TEST(LimitNames, CommaInFront_LeavesTheDotsAlone) {
    EXPECT_EQ(zor::limitNames(listOf(128, {0})), L",...");
}
