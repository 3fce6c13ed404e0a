#pragma once

// The system's network calls as a test sets them: getifaddrs hands out a made-up list, if_nametoindex and getaddrinfo
// know the names given here, socket and getnameinfo refuse what they are told to refuse. Linked into a test of its own,
// where these definitions take the place of the system's.

#include <deque>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <ifaddrs.h>
#include <net/if.h>
#include <netdb.h>
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

/** One question to the resolver. */
struct Question {
    std::string node;
    std::optional<std::string> service;
    addrinfo hints;
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
    /** What the resolver answers: addresses by name. It also takes address texts, and nothing else. */
    std::map<std::string, std::vector<std::string>> hosts;
    std::set<std::string> refusedHosts; // address texts that it does not take
    std::vector<Question> questions;
    int answersHeld = 0; // given and not yet freed
};

extern FakeNetwork fakeNetwork;

class FakeNetworkTest : public host::FakeHostTest {
protected:
    FakeNetworkTest();
    ~FakeNetworkTest() override;

    /** Empties the list of questions, and its storage with it. */
    static void forgetQuestions() { std::vector<Question>().swap(fakeNetwork.questions); }

private:
    size_t m_descriptors;
};

} // namespace zor::test
