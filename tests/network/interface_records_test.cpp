// The value types of addresses and interfaces, the order of a list and the search by address.

#include "zorcomn/network.h"

#include <string>

#include <gtest/gtest.h>

namespace {

using namespace velmora_com::vta;

using Indexes = std::list<unsigned int>;

IPAddress addressOf(const std::string &text) {
    IPAddress address;
    address.setOption(IP_PARAM_ADDRESS, text);
    return address;
}

/** A record of the list with these addresses, its hardware address being "mac" and the index. */
NetInterface &addRecord(NetInterfaceList &list, unsigned int index, const std::list<std::string> &addresses) {
    NetInterface &record = list.getNetInterface(index);
    record.setOption(NETINTERFACE_PARAM_INDEX, index);
    record.setOption(NETINTERFACE_PARAM_MAC_ADDRESS, "mac" + std::to_string(index));
    for (const std::string &address : addresses)
        record.setOption(NETINTERFACE_PARAM_IP_ADDRESS, addressOf(address));
    return record;
}

std::string contentOf(const IPAddress &address) {
    return address.getIPAddress() + '|' + address.getSubNetMask() + '|' + address.getSubNetAddr() + '|' +
           std::to_string(address.getIPFamily());
}

std::string contentOf(const NetInterface &record) {
    std::string content = std::to_string(record.getIndex()) + '|' + record.getMACAddress() + '|' +
                          record.getIndexName() + '|' + std::to_string(record.getSortLast());
    for (const IPAddress &address : record.getIPAddress())
        content += '[' + contentOf(address) + ']';
    return content;
}

TEST(IPAddress, New_IsEmptyWithFamilyZero) {
    EXPECT_EQ(contentOf(IPAddress()), "|||0");
}

TEST(IPAddress, EachSelector_SetsItsFieldAndNothingElse) {
    const struct {
        IP_PARAM option;
        const char *afterText, *afterNumber;
    } rows[] = {{IP_PARAM_ADDRESS, "x|||0", "|||0"},
                {IP_PARAM_FAMILY, "|||0", "|||7"},
                {IP_PARAM_SUBNET_MASK, "|x||0", "|||0"},
                {IP_PARAM_SUBNET_ADDRESS, "||x|0", "|||0"}};
    for (const auto &row : rows) {
        IPAddress text, number;
        text.setOption(row.option, std::string("x"));
        number.setOption(row.option, 7u);
        EXPECT_EQ(contentOf(text), row.afterText) << row.option;
        EXPECT_EQ(contentOf(number), row.afterNumber) << row.option;
    }
}

TEST(NetInterface, New_IsEmpty) {
    EXPECT_EQ(contentOf(NetInterface()), "0|||0");
}

TEST(NetInterface, EachSelector_SetsItsFieldAndNothingElse) {
    const struct {
        int option;
        const char *afterText, *afterNumber, *afterAddress;
    } rows[] = {{0, "0|x||0", "0|||0", "0|||0"},       {1, "0||x|0", "0|||0", "0|||0"}, {2, "0|||0", "7|||0", "0|||0"},
                {3, "0|||0", "0|||0", "0|||0[a|||0]"}, {4, "0|||0", "0|||1", "0|||0"},  {5, "0|||0", "0|||0", "0|||0"}};
    for (const auto &row : rows) {
        const auto option = static_cast<NETINTERFACE_PARAM>(row.option);
        NetInterface text, number, address;
        text.setOption(option, std::string("x"));
        number.setOption(option, 7u);
        address.setOption(option, addressOf("a"));
        EXPECT_EQ(contentOf(text), row.afterText) << row.option;
        EXPECT_EQ(contentOf(number), row.afterNumber) << row.option;
        EXPECT_EQ(contentOf(address), row.afterAddress) << row.option;
    }
}

TEST(NetInterface, SortLast_IsOneForEveryValueButZero) {
    NetInterface record;
    record.setOption(NETINTERFACE_PARAM_SORT_LAST, 0x80000000u);
    EXPECT_EQ(record.getSortLast(), 1u);
    record.setOption(NETINTERFACE_PARAM_SORT_LAST, 0u);
    EXPECT_EQ(record.getSortLast(), 0u);
}

TEST(NetInterface, TextsReplaceAndAddressesAppend) {
    NetInterface record;
    for (const char *text : {"a", "b"}) {
        record.setOption(NETINTERFACE_PARAM_MAC_ADDRESS, std::string(text));
        record.setOption(NETINTERFACE_PARAM_INDEX_NAME, std::string(text));
        record.setOption(NETINTERFACE_PARAM_IP_ADDRESS, addressOf(text));
    }
    EXPECT_EQ(contentOf(record), "0|b|b|0[a|||0][b|||0]");
}

TEST(NetInterface, Copy_HasAddressesOfItsOwn) {
    NetInterface record;
    record.setOption(NETINTERFACE_PARAM_IP_ADDRESS, addressOf("a"));
    NetInterface copy = record;
    copy.setOption(NETINTERFACE_PARAM_IP_ADDRESS, addressOf("b"));
    EXPECT_EQ(record.getIPAddress().size(), 1u);
    EXPECT_EQ(copy.getIPAddress().size(), 2u);
}

TEST(NetInterfaceList, ReferenceToAbsentIndex_InsertsAnEmptyRecord_Kept) {
    NetInterfaceList list(false);
    EXPECT_EQ(contentOf(list.getNetInterface(7)), "0|||0");
    EXPECT_EQ(list.getIndexes(), Indexes{7});
    list.getNetInterface(7).setOption(NETINTERFACE_PARAM_INDEX_NAME, std::string("en0"));
    NetInterface record;
    EXPECT_EQ(list.getNetInterface(7, record), 1u);
    EXPECT_EQ(record.getIndexName(), "en0");
}

TEST(NetInterfaceList, CopyOfAbsentIndex_IsRefusedAndLeavesTheRecordAlone) {
    const NetInterfaceList list(true);
    NetInterface record;
    record.setOption(NETINTERFACE_PARAM_INDEX_NAME, std::string("mine"));
    EXPECT_EQ(list.getNetInterface(7, record), 0u);
    EXPECT_EQ(record.getIndexName(), "mine");
    EXPECT_TRUE(list.getIndexes().empty());
}

TEST(NetInterfaceList, Indexes_AscendWithSortLastInterfacesAtTheEnd) {
    NetInterfaceList list(false);
    for (const unsigned int index : {5u, 1u, 4u})
        list.getNetInterface(index);
    EXPECT_EQ(list.getIndexes(), (Indexes{1, 4, 5}));
    list.getNetInterface(4).setOption(NETINTERFACE_PARAM_SORT_LAST, 1u);
    EXPECT_EQ(list.getIndexes(), (Indexes{1, 5, 4}));
    list.getNetInterface(1).setOption(NETINTERFACE_PARAM_SORT_LAST, 1u);
    EXPECT_EQ(list.getIndexes(), (Indexes{5, 1, 4}));
    list.getNetInterface(5).setOption(NETINTERFACE_PARAM_SORT_LAST, 1u);
    EXPECT_EQ(list.getIndexes(), (Indexes{1, 4, 5}));
    list.getNetInterface(0xFFFFFFFFu);
    EXPECT_EQ(list.getIndexes(), (Indexes{0xFFFFFFFFu, 1, 4, 5}));
}

TEST(AddressSearch, FoundAddress_GivesItsInterfaceAndHardwareAddress) {
    NetInterfaceList list(false);
    addRecord(list, 1, {"10.0.0.1", "10.0.0.2"});
    addRecord(list, 4, {"10.0.0.3", "0:0:0:0:0:0:0:1"});
    NetInterface record;
    EXPECT_EQ(getNetInterfaceFromIPAddress(record, "10.0.0.3", list), 1u);
    EXPECT_EQ(record.getIndex(), 4u);
    EXPECT_EQ(record.getIPAddress().size(), 2u);
    std::string mac;
    EXPECT_EQ(getMACAddressFromIPAddress(mac, "10.0.0.2", list), 1u);
    EXPECT_EQ(mac, "mac1");
}

TEST(AddressSearch, AddressOfTwoInterfaces_IsFoundInTheOrderOfTheList) {
    NetInterfaceList list(false);
    addRecord(list, 1, {"10.0.0.1"}).setOption(NETINTERFACE_PARAM_SORT_LAST, 1u);
    addRecord(list, 4, {"10.0.0.1"});
    std::string mac;
    EXPECT_EQ(getMACAddressFromIPAddress(mac, "10.0.0.1", list), 1u);
    EXPECT_EQ(mac, "mac4");
}

TEST(AddressSearch, OtherForms_AreNotFound_Kept) {
    NetInterfaceList list(false);
    addRecord(list, 1, {"10.0.0.1", "0:0:0:0:0:0:0:1", "fe80:0:0:0:0:0:0:a"});
    for (const char *ip : {"::1", "FE80:0:0:0:0:0:0:A", "fe80::a", "10.0.0.1 ", "10.0.0", "010.0.0.1", ""}) {
        NetInterface record;
        record.setOption(NETINTERFACE_PARAM_INDEX_NAME, std::string("mine"));
        std::string mac = "mine";
        EXPECT_EQ(getNetInterfaceFromIPAddress(record, ip, list), 0u) << '"' << ip << '"';
        EXPECT_EQ(getMACAddressFromIPAddress(mac, ip, list), 0u) << '"' << ip << '"';
        EXPECT_EQ(mac, "mine");
        EXPECT_EQ(record.getIndexName(), "mine");
    }
}

TEST(AddressSearch, EmptyList_FindsNothing) {
    NetInterfaceList list(true);
    NetInterface record;
    EXPECT_EQ(getNetInterfaceFromIPAddress(record, "10.0.0.1", list), 0u);
}

} // namespace
