// Runs the seam's tests on 32-bit PowerPC with 10.5's own types and records: see scripts/darwin/run_10_5.

#include <gtest/gtest.h>

#include "source/platform/host.h"

#include <cstddef>

#include <ifaddrs.h>
#include <mach/mach.h>
#include <net/if_dl.h>
#include <netdb.h>
#include <sys/mount.h>
#include <sys/time.h>

template class std::basic_string<char>; // there is no built C++ library for this target

// What no other target of ours has; 10.5's own headers say the same.
static_assert(sizeof(bool) == 4 && sizeof(long) == 4 && sizeof(void *) == 4, "types of 32-bit PowerPC");
static_assert(sizeof(timeval) == 8, "seconds of 32 bits");
static_assert(offsetof(struct statfs, f_blocks) == 8 && sizeof(((struct statfs *)nullptr)->f_mntonname) == 1024,
              "records with whole mount points, their 64 bits aligned to 4");

namespace {

struct Records : testing::Test {};

/** Where find's member lies in a record, by the code that was lowered; offsetof is what the compiler thinks. */
template <class Record, class Find> size_t placeIn(Find find) {
    static Record record = {};
    return static_cast<size_t>(static_cast<const char *>(find(record)) - reinterpret_cast<const char *>(&record));
}
#define EXPECT_PLACE(Record, member)                                                                                   \
    EXPECT_EQ(placeIn<Record>([](Record & record) __attribute__((noinline))->const void * { return &record.member; }), \
              offsetof(Record, member))

} // namespace

namespace testing {
State &state() {
    static State only;
    return only;
}
} // namespace testing

TEST_F(Records, LieAsTheTargetHasThem) {
    using zor::host::FreeMemory;
    using zor::host::MountedFileSystem;
    EXPECT_PLACE(struct statfs, f_blocks);
    EXPECT_PLACE(struct statfs, f_fsid);
    EXPECT_PLACE(struct statfs, f_flags);
    EXPECT_PLACE(struct statfs, f_fstypename);
    EXPECT_PLACE(struct statfs, f_mntonname);
    EXPECT_PLACE(struct statfs, f_mntfromname);
    EXPECT_PLACE(timeval, tv_usec);
    EXPECT_PLACE(sockaddr_dl, sdl_nlen);
    EXPECT_PLACE(sockaddr_dl, sdl_data);
    EXPECT_PLACE(ifaddrs, ifa_addr);
    EXPECT_PLACE(hostent, h_addr_list);
    EXPECT_PLACE(vm_statistics_data_t, speculative_count);
    EXPECT_PLACE(FreeMemory, pageSizeBytes);
    EXPECT_PLACE(MountedFileSystem, blockSizeBytes);
    EXPECT_PLACE(MountedFileSystem, isLocal);
    EXPECT_PLACE(MountedFileSystem, container);
}

int main() {
    const unsigned short order = 0x0102;
    unsigned char bytes[2];
    std::memcpy(bytes, &order, 2);
    if (bytes[0] != 1)
        return 2; // not the target's byte order
    int run = 0, failed = 0;
    for (const testing::Case *each = testing::state().first; each; each = each->next) {
        testing::state().failed = false;
        each->run();
        ++run;
        failed += testing::state().failed ? 1 : 0;
        std::printf("%s %s\n", testing::state().failed ? "FAILED" : "passed", each->name);
        std::fflush(nullptr);
    }
    std::printf("tests %d failed %d\n", run, failed);
    return failed == 0 && run > 0 ? 0 : 1;
}
