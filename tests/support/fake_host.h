#pragma once

// The seam as tests set it: 'architecture 2 and processor 0x10C' or 'the statistics call fails' is one assignment.
// reset() brings back a host that knows nothing; every test starts from there through the FakeHostTest fixture.

#include "source/platform/host.h"

#include <functional>

#include <gtest/gtest.h>
#include <sys/socket.h>

namespace zor::host {

struct FakeHost {
    std::optional<int32_t> processorCount;
    std::optional<uint64_t> physicalMemoryBytes;
    std::optional<FreeMemory> freeMemory;
    std::optional<int64_t> processorClockHertz;
    std::optional<int32_t> architectureCode;
    std::optional<int32_t> processorCode;
    std::optional<std::string> hardwareModel;
    std::optional<int64_t> bootTimeSeconds;
    std::optional<int32_t> daylightShiftWithoutRules;
    std::optional<std::string> nisDomainName;
    std::function<std::optional<std::string>(const std::string &name)> officialHostName; // unset: knows no host
    std::function<unsigned int(const ifaddrs &entry)> linkIndex;                         // unset: not told
    std::function<bool(const char *link, const char *address)> isSameInterface;          // unset: the same name
    std::function<size_t(const sockaddr &address)> socketAddressLength;                  // unset: by the family
    std::optional<std::vector<MountedFileSystem>> mountedFileSystems;
    std::optional<FileSystemSpace> fileSystemSpace;
    /** The property list's texts by key; nothing stands for a list that does not parse. */
    std::function<std::optional<std::vector<std::optional<std::string>>>(const std::string &bytes,
                                                                         const std::vector<std::string> &keys)>
        lookUpInPropertyList;
};

extern FakeHost fakeHost;

class FakeHostTest : public ::testing::Test {
protected:
    FakeHostTest() { fakeHost = FakeHost(); }
    ~FakeHostTest() override { fakeHost = FakeHost(); }
};

} // namespace zor::host
