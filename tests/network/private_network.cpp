#include "tests/network/private_network.h"

#include "source/platform/posix.h"
#include "tests/support/eventually.h"

#include <cstdlib>

#include <sys/mount.h>
#include <sys/socket.h>

namespace zor::test {

bool hasIpCommand() {
    static const bool has = std::system("ip -V >/dev/null 2>&1") == 0;
    return has;
}

bool hasIPv6() {
    static const bool has = Descriptor(socket(AF_INET6, SOCK_DGRAM, 0)) &&
                            readFile("/proc/sys/net/ipv6/conf/default/disable_ipv6") == "0\n";
    return has;
}

void ip(const std::string &arguments) {
    EXPECT_EQ(std::system(("ip " + arguments).c_str()), 0) << "ip " << arguments;
}

void addInterface(const std::string &name, int number) {
    if (std::system(("ip link add " + name + " type dummy 2>/dev/null").c_str()) != 0) {
        ip("link add " + name + " type veth peer name " + name + "-end");
        ip("link set " + name + "-end addrgenmode none up");
    }
    ip("link set " + name + " address 02:00:00:00:00:0" + std::to_string(number));
    ip("link set " + name + " addrgenmode none"); // no addresses but those that the test gives it
}

void bringUp(const std::string &name) {
    ip("link set " + name + " up");
    const std::string isUsed = "ip link show dev " + name + " | grep -q LOWER_UP";
    EXPECT_TRUE(eventually([&] { return std::system(isUsed.c_str()) == 0; })) << name;
}

::testing::AssertionResult passesInPrivateNetwork(const std::function<void()> &body) {
    return childPasses([&] {
        ASSERT_TRUE(enterPrivateNetwork());
        bringUp("lo");
        body();
    });
}

void coverFile(const TemporaryFolder &folder, const std::string &path, const std::string &content) {
    const std::string cover = folder.write(path.substr(path.rfind('/') + 1), content);
    EXPECT_EQ(mount(cover.c_str(), path.c_str(), nullptr, MS_BIND, nullptr), 0) << path << ' ' << errno;
}

void coverHosts(const TemporaryFolder &folder, const std::string &hosts) {
    coverFile(folder, "/etc/hosts", hosts);
    coverFile(folder, "/etc/nsswitch.conf", "hosts: files\n");
}

} // namespace zor::test
