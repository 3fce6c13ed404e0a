// Runs the target's own seam, compiled here against small stand-ins of its system calls.

#include "source/platform/host.h"

#include "fake_calls.h"

#include <cerrno>
#include <cstring>

#include <TargetConditionals.h>
#include <ifaddrs.h>
#include <net/if_dl.h>
#include <sys/socket.h>
#include <sys/sysctl.h>
#include <sys/time.h>
#include <unistd.h>

using zor::test::DarwinSeam;
using zor::test::fakeCalls;
namespace host = zor::host;

namespace {

template <class Fact> std::string bytesOf(const Fact &fact) {
    return {reinterpret_cast<const char *>(&fact), sizeof fact};
}

[[maybe_unused]] constexpr uint32_t code(const char (&name)[5]) {
    return static_cast<uint32_t>(static_cast<unsigned char>(name[0])) << 24 |
           static_cast<uint32_t>(static_cast<unsigned char>(name[1])) << 16 |
           static_cast<uint32_t>(static_cast<unsigned char>(name[2])) << 8 | static_cast<unsigned char>(name[3]);
}

struct statfs volume(const char *mountPoint, uint32_t flags) {
    struct statfs record = {};
    record.f_bsize = 4096;
    record.f_blocks = 256000;
    record.f_bfree = 146688;
    record.f_bavail = 1000;
    record.f_flags = flags;
    record.f_fsid.val[0] = 7;
    std::memcpy(record.f_mntonname, mountPoint, std::strlen(mountPoint));
    return record;
}

/** The system with these mounts, each of which tells its space as it is listed. */
void mountAll(const std::vector<struct statfs> &mounted) {
    fakeCalls.mounted = mounted;
    for (const struct statfs &record : mounted)
        fakeCalls.space[record.f_mntonname] = record;
}

std::string containerOf(const char *type, const char *device) {
    struct statfs record = volume("/", MNT_LOCAL);
    std::memcpy(record.f_fstypename, type, std::strlen(type));
    std::memcpy(record.f_mntfromname, device, std::strlen(device));
    mountAll({record});
    return host::mountedFileSystems()->at(0).container;
}

/** An interface entry whose link-level record ends where its own length says. */
struct LinkEntry {
    LinkEntry(const std::string &name, const std::string &address, size_t recordLength)
        : record(recordLength), entry() {
        sockaddr_dl header = {};
        header.sdl_len = static_cast<uint8_t>(recordLength);
        header.sdl_family = AF_LINK;
        header.sdl_nlen = static_cast<uint8_t>(name.size());
        header.sdl_alen = static_cast<uint8_t>(address.size());
        std::memcpy(record.data(), &header, offsetof(sockaddr_dl, sdl_data));
        const std::string data = (name + address).substr(0, recordLength - offsetof(sockaddr_dl, sdl_data));
        std::memcpy(record.data() + offsetof(sockaddr_dl, sdl_data), data.data(), data.size());
        entry.ifa_addr = reinterpret_cast<sockaddr *>(record.data());
    }
    std::vector<char> record;
    ifaddrs entry;
};

using Texts = std::map<std::string, std::string>;
using Bytes = std::array<uint8_t, 6>;
const std::string kAddress("\x00\x1a\x2b\x3c\x4d\x5e", 6);
constexpr Bytes kAddressBytes = {0x00, 0x1a, 0x2b, 0x3c, 0x4d, 0x5e};

} // namespace

TEST_F(DarwinSeam, TimeMarkedAsDaylightSaving_IsRefusedInAZoneWithoutIt) {
    EXPECT_EQ(host::daylightShiftWithoutRules(), std::nullopt);
}

TEST_F(DarwinSeam, FailingCalls_KnowNothing) {
    EXPECT_FALSE(host::processorCount());
    EXPECT_FALSE(host::physicalMemoryBytes());
    EXPECT_FALSE(host::freeMemory());
    EXPECT_FALSE(host::processorClockHertz());
    EXPECT_FALSE(host::architectureCode());
    EXPECT_FALSE(host::hardwareModel());
    EXPECT_FALSE(host::bootTimeSeconds());
    EXPECT_FALSE(host::nisDomainName());
    EXPECT_FALSE(host::mountedFileSystems());
    EXPECT_FALSE(host::fileSystemSpace("/"));
    EXPECT_EQ(errno, ENOENT);
    EXPECT_FALSE(host::lookUpInPropertyList("", {"key"}));
}

TEST_F(DarwinSeam, KernelFacts_AreHandedOver) {
    fakeCalls.kernelFacts[{CTL_HW, HW_NCPU}] = bytesOf<int32_t>(2);
    fakeCalls.kernelFacts[{CTL_HW, HW_MEMSIZE}] = bytesOf<uint64_t>(0x123456789ABCu);
    fakeCalls.kernelFacts[{CTL_KERN, KERN_BOOTTIME}] = bytesOf(timeval{1200000000, 5});
    EXPECT_EQ(host::processorCount(), 2);
    EXPECT_EQ(host::physicalMemoryBytes(), 0x123456789ABCu);
    EXPECT_EQ(host::bootTimeSeconds(), 1200000000);
}

TEST_F(DarwinSeam, AnswerOfAnotherWidth_IsNone) {
    fakeCalls.kernelFacts[{CTL_HW, HW_NCPU}] = bytesOf<int16_t>(2);
    fakeCalls.kernelFacts[{CTL_HW, HW_MEMSIZE}] = bytesOf<uint32_t>(4096);
    EXPECT_FALSE(host::processorCount());
    EXPECT_FALSE(host::physicalMemoryBytes());
}

TEST_F(DarwinSeam, Model_FillsItsBufferAtMost) {
    fakeCalls.namedFacts["hw.model"] = std::string("PowerBook6,8") + '\0';
    EXPECT_EQ(host::hardwareModel(), "PowerBook6,8");
    fakeCalls.namedFacts["hw.model"] = std::string(256, 'm'); // no terminator
    EXPECT_EQ(host::hardwareModel(), std::string(256, 'm'));
    fakeCalls.namedFacts["hw.model"] = std::string(257, 'm');
    EXPECT_FALSE(host::hardwareModel());
}

TEST_F(DarwinSeam, NisDomain_IsReadIntoHalfOfItsBuffer) {
    fakeCalls.kernelFacts[{CTL_KERN, KERN_NISDOMAINNAME}] = std::string("example.org") + '\0';
    EXPECT_EQ(host::nisDomainName(), "example.org");
    EXPECT_EQ(fakeCalls.toldLength, 2048u);
    fakeCalls.kernelFacts[{CTL_KERN, KERN_NISDOMAINNAME}] = std::string(2048, 'd');
    EXPECT_EQ(host::nisDomainName(), std::string(2048, 'd'));
    fakeCalls.kernelFacts[{CTL_KERN, KERN_NISDOMAINNAME}] = "";
    EXPECT_EQ(host::nisDomainName(), "");
}

TEST_F(DarwinSeam, FreeMemory_NeedsBothCalls) {
    fakeCalls.pageSize = 4096;
    EXPECT_FALSE(host::freeMemory());
    fakeCalls.freePages = 0xFFFFFFFFu;
    const auto memory = host::freeMemory();
    ASSERT_TRUE(memory);
    EXPECT_EQ(memory->freePages, 0xFFFFFFFFu);
    EXPECT_EQ(memory->pageSizeBytes, 4096u);
    fakeCalls.pageSize.reset();
    EXPECT_FALSE(host::freeMemory());
}

#if TARGET_CPU_ARM64
TEST_F(DarwinSeam, ProcessorThatGestaltHasNoNumbersFor_IsNotKnown) {
    EXPECT_FALSE(host::architectureCode());
    EXPECT_FALSE(host::processorCode()) << "nor is it a 68000";
    fakeCalls.namedFacts["hw.cpufrequency"] = bytesOf<int64_t>(3200000000);
    EXPECT_EQ(host::processorClockHertz(), 3200000000);
    fakeCalls.namedFacts["hw.cpufrequency"] = bytesOf<int32_t>(24000000);
    EXPECT_FALSE(host::processorClockHertz());
}
#else
TEST_F(DarwinSeam, Gestalt_AnswersUnderItsSelectors) {
    fakeCalls.gestalt[code("sysa")] = 2;
    fakeCalls.gestalt[code("cput")] = 0x10C;
    fakeCalls.gestalt[code("pclk")] = 1999999999;
    EXPECT_EQ(host::architectureCode(), 2);
    EXPECT_EQ(host::processorCode(), 0x10C);
    EXPECT_EQ(host::processorClockHertz(), 1999999999);
}

TEST_F(DarwinSeam, ProcessorThatGestaltDoesNotTell_IsCodeZero_Kept) {
    fakeCalls.gestalt[code("sysa")] = 2;
    EXPECT_EQ(host::processorCode(), 0);
}

TEST_F(DarwinSeam, ClockAboveTwoToThe31_StaysPositive) {
    fakeCalls.gestalt[code("pclk")] = static_cast<int32_t>(2500000000u);
    EXPECT_EQ(host::processorClockHertz(), 2500000000);
}
#endif

TEST_F(DarwinSeam, PropertyList_GivesTextsAndGaps) {
    fakeCalls.dictionary = Texts{{"ProductVersion", "10.4.11"}, {"Other", "x"}};
    const auto texts = host::lookUpInPropertyList("<plist/>", {"ProductVersion", "ProductBuildVersion"});
    ASSERT_TRUE(texts);
    ASSERT_EQ(texts->size(), 2u);
    EXPECT_EQ((*texts)[0], "10.4.11");
    EXPECT_FALSE((*texts)[1]);
}

TEST_F(DarwinSeam, PropertyList_FailsWhereAnythingIsWrong) {
    const std::vector<std::string> keys = {"k"};
    fakeCalls.dictionary = Texts{{"k", std::string(255, 'v')}};
    EXPECT_TRUE(host::lookUpInPropertyList("b", keys)) << "255 bytes and the terminator fit";
    fakeCalls.dictionary = Texts{{"k", std::string(256, 'v')}};
    EXPECT_FALSE(host::lookUpInPropertyList("b", keys)) << "one byte too long";
    fakeCalls.dictionary = Texts{{"k", "v"}};
    fakeCalls.rootIsText = true;
    EXPECT_FALSE(host::lookUpInPropertyList("b", keys)) << "root is no dictionary";
    fakeCalls.rootIsText = false;
    fakeCalls.valuesAreNumbers = true;
    EXPECT_FALSE(host::lookUpInPropertyList("b", keys)) << "value is no string";
    fakeCalls.valuesAreNumbers = false;
    fakeCalls.keyFails = true;
    EXPECT_FALSE(host::lookUpInPropertyList("b", keys)) << "key cannot be made";
    fakeCalls.keyFails = false;
    fakeCalls.dataFails = true;
    EXPECT_FALSE(host::lookUpInPropertyList("b", keys)) << "data cannot be made";
}

TEST_F(DarwinSeam, FileSystems_AreDescribed) {
    mountAll({volume("/", MNT_LOCAL), volume("/net", 0)});
    const auto mounted = host::mountedFileSystems();
    ASSERT_TRUE(mounted);
    ASSERT_EQ(mounted->size(), 2u);
    EXPECT_EQ((*mounted)[0].mountPoint, "/");
    EXPECT_EQ((*mounted)[0].blockSizeBytes, 4096u);
    EXPECT_EQ((*mounted)[0].blocks, 256000u);
    EXPECT_EQ((*mounted)[0].freeBlocks, 146688u);
    EXPECT_TRUE((*mounted)[0].isLocal);
    EXPECT_EQ((*mounted)[0].container, "");
    EXPECT_FALSE((*mounted)[1].isLocal);
}

TEST_F(DarwinSeam, LocalFileSystems_AreAskedAnewAndNoOther) {
    struct statfs grown = volume("/", MNT_LOCAL);
    grown.f_blocks = 0x123456789AB;
    grown.f_bfree = 5;
    fakeCalls.mounted = {volume("/", MNT_LOCAL), volume("/dead/server", 0)};
    fakeCalls.space["/"] = grown;
    const auto mounted = host::mountedFileSystems();
    ASSERT_TRUE(mounted);
    ASSERT_EQ(mounted->size(), 2u);
    EXPECT_EQ((*mounted)[0].blocks, 0x123456789ABu);
    EXPECT_EQ((*mounted)[0].freeBlocks, 5u);
    EXPECT_EQ((*mounted)[1].freeBlocks, 146688u);
    EXPECT_EQ(fakeCalls.askedForSpace, std::vector<std::string>{"/"});
}

TEST_F(DarwinSeam, LocalFileSystemThatFails_IsPassedOver) {
    mountAll({volume("/", MNT_LOCAL), volume("/broken", MNT_LOCAL)});
    fakeCalls.space.erase("/broken");
    fakeCalls.spaceError = EIO;
    const auto mounted = host::mountedFileSystems();
    ASSERT_TRUE(mounted);
    ASSERT_EQ(mounted->size(), 1u);
    EXPECT_EQ((*mounted)[0].mountPoint, "/");
}

TEST_F(DarwinSeam, LocalFileSystemThatNoPathLeadsTo_IsAsTheTableHasIt) {
    struct statfs cover = volume("/covered", MNT_LOCAL);
    cover.f_fsid.val[1] = 1;
    cover.f_bfree = 1;
    fakeCalls.mounted = {volume("/covered", MNT_LOCAL), volume("/closed", MNT_LOCAL)};
    fakeCalls.space["/covered"] = cover;
    fakeCalls.spaceError = EACCES;
    const auto mounted = host::mountedFileSystems();
    ASSERT_TRUE(mounted);
    ASSERT_EQ(mounted->size(), 2u);
    EXPECT_EQ((*mounted)[0].freeBlocks, 146688u);
    EXPECT_EQ((*mounted)[1].freeBlocks, 146688u);
}

TEST_F(DarwinSeam, VolumesOfApfs_NameTheirContainer) {
    EXPECT_EQ(containerOf("apfs", "/dev/disk3s1"), "/dev/disk3");
    EXPECT_EQ(containerOf("apfs", "/dev/disk3s1s1"), "/dev/disk3") << "the sealed snapshot of a system volume";
    EXPECT_EQ(containerOf("apfs", "of /dev/disk9s1@/dev/disk13s5"), "/dev/disk13") << "a snapshot by its name";
    EXPECT_EQ(containerOf("apfs", "/dev/disk3"), "/dev/disk3");
    EXPECT_EQ(containerOf("apfs", "/dev/disk"), "");
    EXPECT_EQ(containerOf("apfs", "map auto"), "");
    EXPECT_EQ(containerOf("hfs", "/dev/disk3s1"), "") << "partitions share nothing";
    EXPECT_EQ(containerOf("apfsx", "/dev/disk3s1"), "");
    EXPECT_EQ(containerOf("", ""), "");
}

TEST_F(DarwinSeam, LongMountPoint_IsWhole) {
    const std::string deep = "/" + std::string(1022, 'x');
    mountAll({volume(deep.c_str(), MNT_LOCAL)});
    EXPECT_EQ(host::mountedFileSystems()->at(0).mountPoint, deep);
}

TEST_F(DarwinSeam, MountPointWithoutTerminator_EndsWithItsField) {
    struct statfs full = volume("/", MNT_LOCAL);
    std::memset(full.f_mntonname, 'x', sizeof full.f_mntonname);
    fakeCalls.mounted = {full};
    fakeCalls.space[std::string(1024, 'x')] = full;
    EXPECT_EQ(host::mountedFileSystems()->at(0).mountPoint, std::string(1024, 'x'));
}

TEST_F(DarwinSeam, MountsBetweenTheTwoCalls_StayWithinTheRecords) {
    mountAll({volume("/", MNT_LOCAL), volume("/b", MNT_LOCAL)});
    fakeCalls.mountedAtSecondCall = 1;
    EXPECT_EQ(host::mountedFileSystems()->size(), 1u) << "one came: no room was made for it";
    fakeCalls.mountedAtSecondCall = -1;
    EXPECT_EQ(host::mountedFileSystems()->size(), 2u) << "one went: only what was filled";
    fakeCalls.secondCallFails = true;
    EXPECT_FALSE(host::mountedFileSystems());
}

TEST_F(DarwinSeam, Space_IsWhatUsersMayHave) {
    fakeCalls.space["/there"] = volume("/", MNT_LOCAL);
    const auto space = host::fileSystemSpace("/there");
    ASSERT_TRUE(space);
    EXPECT_EQ(space->blockSizeBytes, 4096u);
    EXPECT_EQ(space->availableBlocks, 1000u);
}

TEST_F(DarwinSeam, LinkLevelAddress_FollowsTheName) {
    EXPECT_EQ(host::linkLevelAddress(LinkEntry("en0", kAddress, 20).entry), kAddressBytes);
    EXPECT_EQ(host::linkLevelAddress(LinkEntry("", kAddress, 20).entry), kAddressBytes);
}

TEST_F(DarwinSeam, LongName_PushesTheAddressBeyondTheDeclaredEnd) {
    const std::string name = "interface000015";
    EXPECT_EQ(host::linkLevelAddress(LinkEntry(name, kAddress, 8 + name.size() + 6).entry), kAddressBytes);
}

TEST_F(DarwinSeam, ShortOrEmptyAddress_StillGivesSixBytes) {
    EXPECT_EQ(host::linkLevelAddress(LinkEntry("lo0", "", 20).entry), Bytes{});
    EXPECT_EQ(host::linkLevelAddress(LinkEntry("gif0", std::string("\x01\x02", 2), 14).entry),
              (Bytes{0x01, 0x02, 0, 0, 0, 0}))
        << "bytes beyond the record are not read";
    EXPECT_EQ(host::linkLevelAddress(LinkEntry("name that fills", "", 16).entry), Bytes{});
}

TEST_F(DarwinSeam, LinkIndex_IsTheRecordsOwn) {
    LinkEntry entry("en0", kAddress, 20);
    const uint16_t index = 1030;
    std::memcpy(entry.record.data() + offsetof(sockaddr_dl, sdl_index), &index, sizeof index);
    EXPECT_EQ(host::linkIndex(entry.entry), 1030u);
}

TEST_F(DarwinSeam, OtherEntries_HaveNoLinkLevelAddress) {
    ifaddrs none = {};
    EXPECT_FALSE(host::linkLevelAddress(none));
    LinkEntry entry("en0", kAddress, 20);
    entry.record[1] = AF_INET;
    EXPECT_FALSE(host::linkLevelAddress(entry.entry));
}

TEST_F(DarwinSeam, InterfaceNames_AreComparedExactly) {
    EXPECT_TRUE(host::isSameInterface("en0", "en0"));
    EXPECT_FALSE(host::isSameInterface("en0", "en0:1"));
    EXPECT_FALSE(host::isSameInterface("en0", "en"));
}

TEST_F(DarwinSeam, AddressLength_IsTheOneThatTheAddressStates) {
    for (const uint8_t length : {uint8_t(0), uint8_t(7), uint8_t(16), uint8_t(28)}) {
        sockaddr address = {};
        std::memcpy(&address, &length, 1);
        EXPECT_EQ(host::socketAddressLength(address), length);
    }
}

TEST_F(DarwinSeam, OfficialHostName_IsTheResolversOwn) {
    EXPECT_FALSE(host::officialHostName("alpha"));
    fakeCalls.officialNames["alpha"] = "alpha.beta.gamma";
    EXPECT_EQ(host::officialHostName("alpha"), "alpha.beta.gamma");
}

TEST_F(DarwinSeam, ProcessId_IsTheSystems) {
    EXPECT_EQ(host::processId(), getpid());
}

TEST_F(DarwinSeam, WideEncoding_IsTheMachinesOwn) {
    EXPECT_STREQ(host::wideEncodingName(), "UCS-4-INTERNAL");
}

TEST_F(DarwinSeam, FailedAssertion_IsReportedInTheSystemsWay) {
    EXPECT_DEATH(host::failAssertion("function", "../source/file", 31, "expression"),
                 "Assertion failed: \\(expression\\), function function, file ../source/file, line 31\\.");
}
