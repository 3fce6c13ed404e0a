#include "tests/support/loopback.h"

#include "tests/support/child.h"

#include <cstring>

#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace zor::test {

namespace {

bool isDown(int socket, ifreq &loopback) {
    return ioctl(socket, SIOCGIFFLAGS, &loopback) == 0 && (loopback.ifr_flags & IFF_UP) == 0;
}

} // namespace

void ensureLoopback() {
    ifreq loopback{};
    std::strcpy(loopback.ifr_name, "lo");
    const int before = socket(AF_INET, SOCK_DGRAM, 0);
    const bool wasDown = isDown(before, loopback);
    close(before);
    if (!wasDown || !enterPrivateNetwork())
        return;
    const int own = socket(AF_INET, SOCK_DGRAM, 0);
    loopback.ifr_flags = IFF_UP;
    ioctl(own, SIOCSIFFLAGS, &loopback);
    close(own);
}

} // namespace zor::test
