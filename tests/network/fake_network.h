#pragma once

// The system's interface calls as a test sets them: getifaddrs hands out a made-up list, if_nametoindex knows the names
// given here, socket and getnameinfo refuse what they are told to refuse. Linked into a test of its own, where these
// definitions take the place of the system's.

#include <deque>
#include <map>
#include <set>
#include <string>

#include <ifaddrs.h>
#include <net/if.h>
#include <sys/socket.h>

#include "tests/support/fake_host.h"

namespace zor::test {

constexpr unsigned int kUp = IFF_UP;
constexpr unsigned int kLoopback = IFF_UP | IFF_LOOPBACK;

/** Address texts become socket addresses; a null pointer stands for an entry without the address. */
struct InterfaceEntries {
    /** A link-level entry as the fake host knows it, its six bytes being 0x02, 0, 0, 0, 0 and the number. */
    ifaddrs &addLink(const char *name, unsigned char number);
    ifaddrs &addAddress(const char *name, unsigned int flags, const char *address, const char *mask);
    /** An entry whose address has a family of its own and no address that anybody could read. */
    ifaddrs &addFamily(const char *name, unsigned int flags, sa_family_t family);

    ifaddrs *first() { return m_entries.empty() ? nullptr : &m_entries.front().entry; }
    void clear() { m_entries.clear(); }

private:
    struct Node {
        std::string name;
        sockaddr_storage address, mask;
        ifaddrs entry;
    };
    ifaddrs &add(const char *name, unsigned int flags);
    std::deque<Node> m_entries;
};

struct FakeNetwork {
    InterfaceEntries entries;
    bool listFails = false;
    int listsHeld = 0; // read and not yet freed
    int listsRead = 0;
    std::map<std::string, unsigned int> indexes; // names that are not here have index 0
    int indexLookups = 0;
    std::set<int> refusedFamilies; // for which no socket can be had
    int socketsOpened = 0;
    bool namesFail = false;
};

extern FakeNetwork fakeNetwork;

/** The socket address of a text, IPv4 or IPv6. */
sockaddr_storage socketAddress(const char *text);

class FakeNetworkTest : public host::FakeHostTest {
protected:
    FakeNetworkTest();
    ~FakeNetworkTest() override;

private:
    size_t m_descriptors;
};

} // namespace zor::test
