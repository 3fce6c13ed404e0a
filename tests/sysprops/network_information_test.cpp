// The choice of the address that represents the machine, from interface lists made here.

#include "source/sysprops/network_information.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sys/socket.h>

namespace {

using namespace velmora_com::vta;
using velmora_com::vta::sysprops::NetworkInformation;

struct Address {
    std::string text;
    std::string subnet = "subnet of " + text;
    std::string mask = "mask of " + text;
};

/** A list whose interface 'index' carries these addresses; its hardware address is "mac" and the index. */
class List {
public:
    List &add(unsigned int index, const std::vector<Address> &addresses, bool sortLast = false) {
        NetInterface &record = m_list.getNetInterface(index);
        record.setOption(NETINTERFACE_PARAM_MAC_ADDRESS, "mac" + std::to_string(index));
        record.setOption(NETINTERFACE_PARAM_SORT_LAST, sortLast ? 1u : 0u);
        for (const Address &address : addresses) {
            IPAddress one;
            const bool isIPv6 = address.text.find(':') != std::string::npos;
            one.setOption(IP_PARAM_ADDRESS, address.text);
            one.setOption(IP_PARAM_FAMILY, static_cast<unsigned int>(isIPv6 ? AF_INET6 : AF_INET));
            one.setOption(IP_PARAM_SUBNET_ADDRESS, address.subnet);
            one.setOption(IP_PARAM_SUBNET_MASK, address.mask);
            record.setOption(NETINTERFACE_PARAM_IP_ADDRESS, one);
        }
        return *this;
    }

    /** "address|subnet|mask|hardware address" as reported into a fresh record. */
    std::wstring report(const std::string &lastKnownIP) {
        NetworkInformation info;
        zor::reportRepresentativeAddress(m_list, lastKnownIP, info);
        EXPECT_EQ(info.ComputerName + info.DomainName + info.IPHostName + info.IPXAddress, L"N/AN/AN/AN/A");
        return info.IPAddress + L"|" + info.SubnetAddress + L"|" + info.SubnetMask + L"|" + info.NETAddress;
    }

private:
    NetInterfaceList m_list{false};
};

std::wstring reportOf(const std::wstring &ip, const std::wstring &mac) {
    return ip + L"|subnet of " + ip + L"|mask of " + ip + L"|" + mac;
}

const std::string kIPv6 = "2001:db8:0:0:0:0:0:5";
const std::wstring kWideIPv6 = L"2001:db8:0:0:0:0:0:5";

TEST(RepresentativeAddress, LastKnownAddressStillPresent_Wins) {
    List list;
    list.add(4, {{"10.0.0.5"}}).add(5, {{"10.0.0.6"}, {"192.168.1.20"}, {kIPv6}});
    EXPECT_EQ(list.report("192.168.1.20"), reportOf(L"192.168.1.20", L"mac5"));
    EXPECT_EQ(list.report(kIPv6), reportOf(kWideIPv6, L"mac5"));
}

TEST(RepresentativeAddress, LastKnownAddressOfTwoInterfaces_IsTakenFromTheFirst) {
    List list;
    list.add(4, {{"10.0.0.5"}}, true).add(5, {{"10.0.0.5"}});
    EXPECT_EQ(list.report("10.0.0.5"), reportOf(L"10.0.0.5", L"mac5"));
}

TEST(RepresentativeAddress, OfEqualEntries_TheLastOnesSubnetAndMaskStay_Kept) {
    List list;
    list.add(4, {{"10.0.0.5", "s1", "m1"}, {"10.0.0.6", "s2", "m2"}, {"10.0.0.5", "s3", "m3"}});
    EXPECT_EQ(list.report("10.0.0.5"), L"10.0.0.5|s3|m3|mac4");
    EXPECT_EQ(list.report(""), L"10.0.0.5|s1|m1|mac4") << "the first of its family is the first of them";
}

TEST(RepresentativeAddress, LastKnownAddressGone_FirstOfItsFamilyIsReported) {
    List list;
    list.add(4, {{kIPv6}}).add(5, {{"fe80:0:0:0:0:0:0:1"}, {"10.0.0.6"}, {"10.0.0.7"}}).add(6, {{"10.0.0.8"}});
    EXPECT_EQ(list.report("192.168.1.20"), reportOf(L"10.0.0.6", L"mac5"));
    EXPECT_EQ(list.report("2001:db8:0:0:0:0:0:99"), reportOf(kWideIPv6, L"mac4"));
    EXPECT_EQ(list.report("nonsense"), reportOf(L"10.0.0.6", L"mac5"));
}

TEST(RepresentativeAddress, NoLastKnownAddress_FirstIPv4IsReported) {
    List list;
    list.add(4, {{kIPv6}}).add(5, {{"10.0.0.6"}});
    EXPECT_EQ(list.report(""), reportOf(L"10.0.0.6", L"mac5"));
}

TEST(RepresentativeAddress, LastKnownIPv6NotExpanded_IsNeverMatched_Kept) {
    List list;
    list.add(4, {{"fe80:0:0:0:0:0:0:1"}}).add(5, {{kIPv6}});
    EXPECT_EQ(list.report("2001:db8::5"), reportOf(L"fe80:0:0:0:0:0:0:1", L"mac4"));
    EXPECT_EQ(list.report(":"), reportOf(L"fe80:0:0:0:0:0:0:1", L"mac4"));
}

TEST(RepresentativeAddress, SortLastInterfaces_AreLookedAtLast) {
    List list;
    list.add(4, {{"10.0.0.5"}}, true).add(5, {{"10.0.0.6"}});
    EXPECT_EQ(list.report(""), reportOf(L"10.0.0.6", L"mac5"));
    EXPECT_EQ(list.report("10.0.0.5"), reportOf(L"10.0.0.5", L"mac4"));
}

TEST(RepresentativeAddress, NoAddressOfTheFamily_FirstInterfacesFirstIsReported_Kept) {
    List onlyIPv6;
    onlyIPv6.add(4, {{"fe80:0:0:0:0:0:0:1"}, {kIPv6}}, true).add(5, {{kIPv6}, {"fe80:0:0:0:0:0:0:2"}});
    EXPECT_EQ(onlyIPv6.report(""), reportOf(kWideIPv6, L"mac5"));
    EXPECT_EQ(onlyIPv6.report("10.0.0.5"), reportOf(kWideIPv6, L"mac5"));
    List onlyIPv4;
    onlyIPv4.add(4, {{"10.0.0.5"}, {"10.0.0.6"}});
    EXPECT_EQ(onlyIPv4.report("2001:db8::5"), reportOf(L"10.0.0.5", L"mac4"));
}

TEST(RepresentativeAddress, NothingToChooseFrom_LeavesTheFields) {
    List empty, withoutAddresses;
    withoutAddresses.add(4, {});
    EXPECT_EQ(empty.report(""), L"N/A|N/A|N/A|N/A");
    EXPECT_EQ(withoutAddresses.report("10.0.0.5"), L"N/A|N/A|N/A|N/A");
}

} // namespace
