#include "tests/network/fake_network.h"

#include "tests/network/socket_text.h"
#include "tests/support/descriptors.h"

#include <cerrno>
#include <cstring>

#include <dlfcn.h>

namespace zor::test {

FakeNetwork fakeNetwork;

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
    EXPECT_EQ(fakeNetwork.answersHeld, 0);
    EXPECT_EQ(openDescriptors(), m_descriptors);
    fakeNetwork = FakeNetwork();
}

} // namespace zor::test

using zor::test::fakeNetwork;

namespace {

template <class Function> Function *systemsOwn(const char *name) {
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

using Resolve = int(const char *, const char *, const addrinfo *, addrinfo **);

/** The system's answer for an address text; nothing else is ever asked for, so no question leaves this process. */
int resolveText(const std::string &text, const char *service, addrinfo hints, addrinfo **result) {
    if (fakeNetwork.refusedHosts.count(text) != 0)
        return EAI_NONAME;
    hints.ai_flags |= AI_NUMERICHOST;
    static const auto original = systemsOwn<Resolve>("getaddrinfo");
    return original(text.c_str(), service, &hints, result);
}

} // namespace

extern "C" {

int getifaddrs(ifaddrs **list) __THROW {
    ++fakeNetwork.listsRead;
    if (fakeNetwork.listFails) {
        errno = EIO; // not for want of anything
        return -1;
    }
    fakeNetwork.listsHeld += fakeNetwork.entries.first() != nullptr; // an empty list is a null pointer
    *list = fakeNetwork.entries.first();
    return 0;
}

void freeifaddrs(ifaddrs *list) __THROW {
    EXPECT_EQ(list, fakeNetwork.entries.first());
    --fakeNetwork.listsHeld;
}

unsigned int if_nametoindex(const char *name) __THROW {
    ++fakeNetwork.indexLookups;
    const auto found = fakeNetwork.indexes.find(name);
    return found == fakeNetwork.indexes.end() ? 0 : found->second;
}

int socket(int family, int type, int protocol) __THROW {
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

int getaddrinfo(const char *node, const char *service, const addrinfo *hints, addrinfo **result) {
    fakeNetwork.questions.push_back({node, service ? std::optional<std::string>(service) : std::nullopt, *hints});
    const auto known = fakeNetwork.hosts.find(node);
    const auto texts = known == fakeNetwork.hosts.end() ? std::vector<std::string>{node} : known->second;
    int error = EAI_NONAME;
    addrinfo *answer = nullptr;
    addrinfo **end = &answer;
    for (const std::string &text : texts) {
        const int textError = resolveText(text, service, *hints, end);
        error = answer ? 0 : textError;
        while (*end)
            end = &(*end)->ai_next;
    }
    if (answer) {
        ++fakeNetwork.answersHeld;
        *result = answer;
    }
    return error;
}

void freeaddrinfo(addrinfo *list) __THROW {
    --fakeNetwork.answersHeld;
    static const auto original = systemsOwn<void(addrinfo *)>("freeaddrinfo");
    original(list);
}

} // extern "C"
