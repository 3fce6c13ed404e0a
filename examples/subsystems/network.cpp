#include <zorcomn/network.h>

#include <cstdio>
#include <string>

using namespace velmora_com::vta;

int main() {
    const std::string address = expandIPV6Address("2001:db8::1");
    std::printf("%s, as a host name %s\n", address.c_str(), convertV6AddrToLiteralFormat(address).c_str());

    NetInterfaceList interfaces(false); // without loopback
    getNetInterfacesList(interfaces);   // false where there is no address
    std::string hardware;
    if (getMACAddressFromIPAddress(hardware, "192.0.2.1", interfaces) == 0)
        std::puts("192.0.2.1 is not one of this machine's addresses");
    return address == "2001:db8:0:0:0:0:0:1" ? 0 : 1;
}
