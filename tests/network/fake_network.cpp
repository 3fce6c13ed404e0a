#include "tests/network/fake_network.h"

#include "tests/support/descriptors.h"

#include <cerrno>
#include <cstring>

#include <arpa/inet.h>
#include <dlfcn.h>
#include <netdb.h>
#include <netinet/in.h>

namespace zor::test {

FakeNetwork fakeNetwork;

sockaddr_storage socketAddress(const char *text) {
    sockaddr_storage storage{};
    sockaddr_in ipv4{};
    sockaddr_in6 ipv6{};
    if (inet_pton(AF_INET, text, &ipv4.sin_addr) == 1) {
        ipv4.sin_family = AF_INET;
        std::memcpy(&storage, &ipv4, sizeof ipv4);
    } else if (inet_pton(AF_INET6, text, &ipv6.sin6_addr) == 1) {
        ipv6.sin6_family = AF_INET6;
        std::memcpy(&storage, &ipv6, sizeof ipv6);
    } else {
        ADD_FAILURE() << '"' << text << "\" is no address";
    }
    return storage;
}

ifaddrs &InterfaceEntries::add(const char *name, unsigned int flags) {
    m_entries.push_back({name, {}, {}, {}});
    Node &node = m_entries.back();
    node.entry.ifa_name = node.name.data();
    node.entry.ifa_flags = flags;
    if (m_entries.size() > 1)
        m_entries[m_entries.size() - 2].entry.ifa_next = &node.entry;
    return node.entry;
}

ifaddrs &InterfaceEntries::addLink(const char *name, unsigned char number) {
    ifaddrs &entry = addFamily(name, kUp, AF_UNSPEC);
    const unsigned char bytes[6] = {0x02, 0, 0, 0, 0, number};
    std::memcpy(entry.ifa_addr->sa_data, bytes, sizeof bytes);
    return entry;
}

ifaddrs &InterfaceEntries::addAddress(const char *name, unsigned int flags, const char *address, const char *mask) {
    ifaddrs &entry = add(name, flags);
    Node &node = m_entries.back();
    if (address) {
        node.address = socketAddress(address);
        entry.ifa_addr = reinterpret_cast<sockaddr *>(&node.address);
    }
    if (mask) {
        node.mask = socketAddress(mask);
        entry.ifa_netmask = reinterpret_cast<sockaddr *>(&node.mask);
    }
    return entry;
}

ifaddrs &InterfaceEntries::addFamily(const char *name, unsigned int flags, sa_family_t family) {
    ifaddrs &entry = add(name, flags);
    Node &node = m_entries.back();
    node.address.ss_family = family;
    entry.ifa_addr = reinterpret_cast<sockaddr *>(&node.address);
    return entry;
}

FakeNetworkTest::FakeNetworkTest() : m_descriptors(openDescriptors()) {
    fakeNetwork = FakeNetwork();
}

FakeNetworkTest::~FakeNetworkTest() {
    EXPECT_EQ(fakeNetwork.listsHeld, 0);
    EXPECT_EQ(openDescriptors(), m_descriptors);
    fakeNetwork = FakeNetwork();
}

} // namespace zor::test

using zor::test::fakeNetwork;

namespace {

template <class Function> Function *systemsOwn(const char *name) {
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

} // namespace

extern "C" {

int getifaddrs(ifaddrs **list) noexcept {
    ++fakeNetwork.listsRead;
    if (fakeNetwork.listFails) {
        errno = ENOMEM;
        return -1;
    }
    fakeNetwork.listsHeld += fakeNetwork.entries.first() != nullptr; // an empty list is a null pointer
    *list = fakeNetwork.entries.first();
    return 0;
}

void freeifaddrs(ifaddrs *list) noexcept {
    EXPECT_EQ(list, fakeNetwork.entries.first());
    --fakeNetwork.listsHeld;
}

unsigned int if_nametoindex(const char *name) noexcept {
    ++fakeNetwork.indexLookups;
    const auto found = fakeNetwork.indexes.find(name);
    return found == fakeNetwork.indexes.end() ? 0 : found->second;
}

int socket(int family, int type, int protocol) noexcept {
    if (fakeNetwork.refusedFamilies.count(family) != 0) {
        errno = EAFNOSUPPORT;
        return -1;
    }
    ++fakeNetwork.socketsOpened;
    static const auto original = systemsOwn<int(int, int, int)>("socket");
    return original(family, type, protocol);
}

int getnameinfo(const sockaddr *address, socklen_t length, char *host, socklen_t hostLength, char *service,
                socklen_t serviceLength, int flags) {
    if (fakeNetwork.namesFail)
        return EAI_FAIL;
    static const auto original =
        systemsOwn<int(const sockaddr *, socklen_t, char *, socklen_t, char *, socklen_t, int)>("getnameinfo");
    return original(address, length, host, hostLength, service, serviceLength, flags);
}

} // extern "C"
