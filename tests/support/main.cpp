// Runs the tests; skips those that a list names, each with the reason that stands there. A target that has such a list
// (ZORCOMN_SKIPPED_TESTS, a file) says in it what cannot be done there: a test's full name, a blank, the reason; '#'
// begins a comment.

#include "tests/support/loopback.h"

#include <fstream>
#include <map>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

namespace {

class SkipsListed : public ::testing::EmptyTestEventListener {
public:
    explicit SkipsListed(const char *path) {
        std::ifstream list(path);
        for (std::string line; std::getline(list, line);) {
            const size_t end = line.find(' ');
            if (!line.empty() && line[0] != '#' && end != std::string::npos)
                m_reasons[line.substr(0, end)] = line.substr(end + 1);
        }
    }

    void OnTestStart(const ::testing::TestInfo &test) override {
        const auto found = m_reasons.find(std::string(test.test_suite_name()) + "." + test.name());
        if (found != m_reasons.end())
            GTEST_SKIP() << found->second;
    }

private:
    std::map<std::string, std::string> m_reasons;
};

} // namespace

int main(int argc, char **argv) {
    ::testing::InitGoogleTest(&argc, argv);
    ::testing::UnitTest::GetInstance()->listeners().Append(new SkipsListed(ZORCOMN_SKIPPED_TESTS));
    zor::test::ensureLoopback();
    return RUN_ALL_TESTS();
}
