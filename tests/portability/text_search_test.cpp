#include "source/portability/text_search.h"

#include "tests/support/test_seed.h"

#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

size_t find(const std::string &text, const std::string &sought) {
    const char *const found = zor::findText(text.data(), text.size(), sought.data(), sought.size());
    return found ? static_cast<size_t>(found - text.data()) : std::string::npos;
}

/** Every text over "ab" up to a length. */
std::vector<std::string> textsUpTo(size_t length) {
    std::vector<std::string> texts{""};
    for (size_t i = 0; texts[i].size() < length; ++i)
        for (const char c : {'a', 'b'})
            texts.push_back(texts[i] + c);
    return texts;
}

TEST(FindText, EveryShortText_IsFoundAtItsFirstPlace) {
    const auto sought = textsUpTo(7), texts = textsUpTo(10);
    for (const std::string &text : texts)
        for (const std::string &part : sought)
            ASSERT_EQ(find(text, part), text.find(part)) << part << " in " << text;
}

TEST(FindText, PeriodicTexts_AreFoundAtTheirFirstPlace) {
    std::mt19937 random(zor::test::seedOfThisRun());
    for (int round = 0; round < 20000; ++round) {
        std::string unit, text;
        for (size_t i = 1 + random() % 6; i > 0; --i)
            unit += static_cast<char>('a' + random() % 2);
        while (text.size() < 200)
            text += random() % 8 ? unit : unit.substr(random() % unit.size());
        const size_t begin = random() % 100;
        std::string part = text.substr(begin, random() % 90);
        if (random() % 4 == 0)
            part += static_cast<char>('a' + random() % 3);
        ASSERT_EQ(find(text, part), text.find(part)) << part << " in " << text;
    }
}

TEST(FindText, AnyByte_Counts) {
    EXPECT_EQ(find(std::string("a\0b\xFF", 4), std::string("\0b", 2)), 1u);
    EXPECT_EQ(find("\xFF\xFE", "\xFE"), 1u);
    EXPECT_EQ(find("ab", "abc"), std::string::npos);
}

} // namespace
