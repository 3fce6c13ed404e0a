#include "source/platform/host.h"

#include <cstring>

#include <gtest/gtest.h>
#include <ifaddrs.h>
#include <linux/if_packet.h>
#include <netinet/in.h>

namespace {

using Bytes = std::array<uint8_t, 6>;

TEST(LinkLevelAddress, PacketEntry_GivesSixBytesWhateverTheLength) {
    for (const int length : {0, 6, 8}) {
        sockaddr_ll address = {};
        address.sll_family = AF_PACKET;
        address.sll_halen = static_cast<unsigned char>(length);
        const uint8_t bytes[8] = {0x02, 0x00, 0x5E, 0x10, 0x80, 0xFF, 0xAA, 0xBB};
        std::memcpy(address.sll_addr, bytes, sizeof bytes);
        ifaddrs entry = {};
        entry.ifa_addr = reinterpret_cast<sockaddr *>(&address);
        EXPECT_EQ(zor::host::linkLevelAddress(entry), (Bytes{0x02, 0x00, 0x5E, 0x10, 0x80, 0xFF})) << length;
    }
}

TEST(LinkLevelAddress, OtherFamilyOrNoAddress_GivesNothing) {
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    ifaddrs entry = {};
    EXPECT_EQ(zor::host::linkLevelAddress(entry), std::nullopt);
    entry.ifa_addr = reinterpret_cast<sockaddr *>(&address);
    EXPECT_EQ(zor::host::linkLevelAddress(entry), std::nullopt);
}

TEST(LinkIndex, PacketEntry_StatesIt) {
    sockaddr_ll address = {};
    address.sll_family = AF_PACKET;
    ifaddrs entry = {};
    entry.ifa_addr = reinterpret_cast<sockaddr *>(&address);
    for (const int index : {0, 1, 70000}) {
        address.sll_ifindex = index;
        EXPECT_EQ(zor::host::linkIndex(entry), static_cast<unsigned int>(index));
    }
}

TEST(IsSameInterface, EachPair_IsJudgedByTheNameBeforeTheColon) {
    constexpr struct {
        const char *link;
        const char *address;
        bool same;
    } kRows[] = {{"eth0", "eth0", true},   {"eth0", "eth0:1", true}, {"eth0", "eth0:web:2", true},
                 {"eth0", "eth0:", true},  {"eth0", "eth00", false}, {"eth0", "eth00:1", false},
                 {"eth0", "eth", false},   {"eth", "eth0", false},   {"eth0", "eth1:1", false},
                 {"eth0:1", "eth0", false}};
    for (const auto &row : kRows)
        EXPECT_EQ(zor::host::isSameInterface(row.link, row.address), row.same) << row.link << ' ' << row.address;
}

TEST(SocketAddressLength, EachFamily_HasTheRoomItNeeds) {
    sockaddr_storage storage = {};
    const auto &address = reinterpret_cast<const sockaddr &>(storage);
    EXPECT_EQ(zor::host::socketAddressLength(address), sizeof(sockaddr));
    storage.ss_family = AF_INET;
    EXPECT_EQ(zor::host::socketAddressLength(address), sizeof(sockaddr_in));
    storage.ss_family = AF_INET6;
    EXPECT_EQ(zor::host::socketAddressLength(address), sizeof(sockaddr_in6));
}

} // namespace
