#pragma once

// What the made-up system calls answer; each test sets what it needs and starts from a system where every call fails.

#include <cerrno>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <sys/mount.h>

namespace zor::test {

struct FakeCalls {
    /** Answers of sysctl by its two numbers, as bytes. */
    std::map<std::pair<int, int>, std::string> kernelFacts;
    std::map<std::string, std::string> namedFacts;
    std::map<std::string, std::string> officialNames;
    size_t toldLength = 0; // what sysctl was told about the room for its last answer

    std::optional<unsigned long> pageSize;
    std::optional<uint32_t> freePages;
    int hostPorts = 0; // rights to the host port that were not given back

    std::map<uint32_t, long> gestalt;

    bool dataFails = false, keyFails = false;
    /** What the property list parses to: nothing, or a dictionary unless rootIsText. */
    std::optional<std::map<std::string, std::string>> dictionary;
    bool rootIsText = false, valuesAreNumbers = false;
    int liveObjects = 0; // CoreFoundation objects that were not released

    std::optional<std::vector<struct statfs>> mounted;
    int mountedAtSecondCall = 0; // how many more (or fewer, if negative) the second call finds
    bool secondCallFails = false;
    std::map<std::string, struct statfs> space; // what statfs answers, by path; it fails with spaceError otherwise
    int spaceError = ENOENT;
    std::vector<std::string> askedForSpace;
};

extern FakeCalls fakeCalls;

class DarwinSeam : public ::testing::Test {
protected:
    DarwinSeam() { fakeCalls = FakeCalls(); }
    ~DarwinSeam() override {
        EXPECT_EQ(fakeCalls.liveObjects, 0);
        EXPECT_EQ(fakeCalls.hostPorts, 0);
        fakeCalls = FakeCalls();
    }
};

} // namespace zor::test
