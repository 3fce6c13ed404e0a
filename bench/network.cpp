// Enumerating the interfaces of machines with many addresses and with many interfaces, beside the system's own list
// made into texts. Runs in a network namespace of its own; without root or the ip command every case says why it is
// skipped.

#include "zorcomn/network.h"

#include "bench/compare.h"
#include "source/platform/posix.h"

#include <cstdio>
#include <cstdlib>
#include <string>

#include <net/if.h>
#include <netinet/in.h>
#include <sched.h>

#ifdef ZORCOMN_HAS_LIBUV
#include <uv.h>
#endif

namespace {

using namespace zor::bench;
using velmora_com::vta::NetInterfaceList;

/** A network of this thread's own with so many addresses on its loopback interface. */
bool makeAddresses(int64_t count) {
    if (unshare(CLONE_NEWNET) != 0 || std::system("ip link set lo up 2>/dev/null") != 0)
        return false;
    const zor::Pipe commands(popen("ip -batch -", "w"));
    if (!commands)
        return false;
    for (int64_t i = 1; i < count; ++i) // the first is 127.0.0.1
        std::fprintf(commands.get(), "addr add 10.%d.%d.1/32 dev lo\n", static_cast<int>(i / 250),
                     static_cast<int>(i % 250));
    return true;
}

/** The same with so many interfaces, each with an address. */
bool makeLinks(int64_t count) {
    if (unshare(CLONE_NEWNET) != 0 || std::system("ip link set lo up 2>/dev/null") != 0)
        return false;
    const zor::Pipe commands(popen("ip -batch -", "w"));
    if (!commands)
        return false;
    for (int64_t i = 1; i < count; ++i) { // the first is the loopback interface
        std::fprintf(commands.get(), "link add br%d type bridge\n", static_cast<int>(i));
        std::fprintf(commands.get(), "addr add 10.%d.%d.1/32 dev br%d\n", static_cast<int>(i / 250),
                     static_cast<int>(i % 250), static_cast<int>(i));
        std::fprintf(commands.get(), "link set br%d up\n", static_cast<int>(i));
    }
    return true;
}

int64_t enumerate() {
    NetInterfaceList list(true);
    list.initialize();
    int64_t count = 0;
    for (const unsigned int index : list.getIndexes())
        for (const auto &address : list.getNetInterface(index).getIPAddress())
            count += address.getIPFamily() == AF_INET;
    return count;
}

/** The alternative: every address of the system's list as text, without masks, subnets and hardware addresses. */
int64_t listAddresses() {
    ifaddrs *head = nullptr;
    if (getifaddrs(&head) != 0)
        return 0;
    const zor::InterfaceEntries entries(head);
    int64_t count = 0;
    for (const ifaddrs *entry = entries.get(); entry; entry = entry->ifa_next) {
        char text[NI_MAXHOST];
        if (entry->ifa_addr && entry->ifa_addr->sa_family == AF_INET &&
            getnameinfo(entry->ifa_addr, sizeof(sockaddr_in), text, sizeof text, nullptr, 0, NI_NUMERICHOST) == 0)
            ++count;
    }
    return count;
}

#ifdef ZORCOMN_HAS_LIBUV
int64_t listByLibuv() {
    uv_interface_address_t *addresses = nullptr;
    int found = 0;
    if (uv_interface_addresses(&addresses, &found) != 0)
        return 0;
    int64_t count = 0;
    for (int i = 0; i < found; ++i) {
        char text[64];
        count += addresses[i].address.address4.sin_family == AF_INET &&
                 uv_ip4_name(&addresses[i].address.address4, text, sizeof text) == 0;
    }
    uv_free_interface_addresses(addresses, found);
    return count;
}
#endif

void addCase(const std::string &name, bool (*make)(int64_t), int64_t count, int64_t (*other)()) {
    add(name, count < 4096 ? 31 : 11, [=](benchmark::State &state) {
        if (!make(count))
            return state.SkipWithError("needs root, network namespaces and the ip command");
        compareWork(
            state, count, [] {}, enumerate, other);
    });
}

const bool areAdded = [] {
    addCase("interfaces/1,000 addresses/getifaddrs and getnameinfo", makeAddresses, 1000, listAddresses);
#ifdef ZORCOMN_HAS_LIBUV
    addCase("interfaces/1,000 addresses/libuv", makeAddresses, 1000, listByLibuv);
#else
    addMissing("interfaces/1,000 addresses/libuv", "libuv1-dev");
#endif
    for (const int64_t count : {64, 256, 1024, 4096})
        addCase("growth/addresses/" + std::to_string(count), makeAddresses, count, listAddresses);
    for (const int64_t count : {10, 50, 200, 1000})
        addCase("growth/links/" + std::to_string(count), makeLinks, count, listAddresses);
    return true;
}();

} // namespace
