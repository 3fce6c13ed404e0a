// Hands every reader its seeds, among them what the fuzzers found once, and the seeds damaged in many ways, the same
// ways on each run.

#include "tests/fuzz/reader_list.h"
#include "tests/support/emulator.h"
#include "tests/support/temporary_folder.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <ostream>
#include <random>
#include <set>
#include <vector>

#include <gtest/gtest.h>

namespace zor::test {

/** How a test is listed. */
static void PrintTo(const Reader &reader, std::ostream *out) {
    *out << reader.name;
}

} // namespace zor::test

namespace {

using zor::test::kReaders;
using zor::test::Reader;

const std::filesystem::path kFolder = ZORCOMN_READERS_FOLDER;

std::set<std::string> namesIn(const std::filesystem::path &folder) {
    std::set<std::string> names;
    for (const auto &entry : std::filesystem::directory_iterator(folder))
        names.insert(entry.path().stem().string());
    return names;
}

std::map<std::string, std::string> seedsOf(const Reader &reader) {
    std::map<std::string, std::string> seeds;
    for (const auto &entry : std::filesystem::directory_iterator(kFolder / "seeds" / reader.name))
        seeds[entry.path().string()] = zor::test::readFile(entry.path().string());
    return seeds;
}

TEST(Readers, EachFileAndEachFolderOfSeeds_IsInTheList) {
    std::set<std::string> listed;
    for (const Reader &reader : kReaders)
        listed.insert(reader.name);
    EXPECT_EQ(namesIn(kFolder / "readers"), listed);
    EXPECT_EQ(namesIn(kFolder / "seeds"), listed);
}

class EachReader : public ::testing::TestWithParam<Reader> {};

TEST_P(EachReader, Seeds_BreakNoRule) {
    const auto seeds = seedsOf(GetParam());
    EXPECT_FALSE(seeds.empty());
    for (const auto &[path, bytes] : seeds) {
        const char *rule = GetParam().brokenRule(bytes);
        EXPECT_EQ(rule, nullptr) << path << ": " << rule;
    }
}

std::string damaged(std::string text, std::mt19937 &random) {
    const auto pick = [&](size_t count) { return random() % std::max<size_t>(count, 1); };
    for (size_t changes = 1 + pick(3); changes > 0; --changes) {
        const size_t at = pick(text.size() + 1);
        switch (pick(5)) {
        case 0: // a gap
            text.erase(at, pick(20));
            break;
        case 1: // a piece of it, once more
            text.insert(at, text.substr(pick(text.size() + 1), pick(60)));
            break;
        case 2: // the rest cut off
            text.resize(pick(4) == 0 ? at : text.size());
            break;
        default: // another byte
            if (at < text.size())
                text[at] = static_cast<char>(pick(256));
        }
    }
    return text;
}

TEST_P(EachReader, DamagedSeeds_BreakNoRule) {
    const bool isSlow = std::string(GetParam().name) == "command_output" || !zor::test::underEmulator({}).empty();
    const int rounds = isSlow ? 20 : 500;
    std::mt19937 random;
    for (const auto &[path, bytes] : seedsOf(GetParam())) {
        for (int round = 0; round < rounds; ++round) {
            const std::string text = damaged(bytes, random);
            const char *rule = GetParam().brokenRule(text);
            ASSERT_EQ(rule, nullptr) << path << ": " << rule << '\n' << ::testing::PrintToString(text);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Readers, EachReader, ::testing::ValuesIn(kReaders),
                         [](const auto &reader) { return std::string(reader.param.name); });

} // namespace
