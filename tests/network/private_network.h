#pragma once

// A network that a test makes for itself, in a child with a network namespace of its own: interfaces that carry what
// the test gives them and reach nothing outside.

#include "tests/support/child.h"
#include "tests/support/temporary_folder.h"

#include <functional>
#include <string>

namespace zor::test {

/** Whether there is an ip command (iproute2). */
bool hasIpCommand();
/** Whether the kernel speaks IPv6. */
bool hasIPv6();

/** Runs ip with these arguments; a failing command is a failure of the test. */
void ip(const std::string &arguments);

/** Makes an interface with the hardware address 02:00:00:00:00:0N and no addresses, down: a dummy, or one end of a pair
 * where the kernel has no dummies. */
void addInterface(const std::string &name, int number);

/** Sets an interface up and waits until the kernel uses it, which may take it a while. */
void bringUp(const std::string &name);

/** Runs body in a child with a network of its own, loopback up. */
::testing::AssertionResult passesInPrivateNetwork(const std::function<void()> &body);

/** Puts a text in the place of a file, in the mount namespace of its own that the process is in. */
void coverFile(const TemporaryFolder &folder, const std::string &path, const std::string &content);

/** Makes the resolver look into this hosts file and nowhere else; needs a mount namespace of its own. */
void coverHosts(const TemporaryFolder &folder, const std::string &hosts);

} // namespace zor::test

#define ZORCOMN_SKIP_WITHOUT_PRIVATE_NETWORK()                                                                         \
    ZORCOMN_SKIP_WITHOUT_NAMESPACES();                                                                                 \
    if (!zor::test::hasIpCommand())                                                                                    \
    GTEST_SKIP() << "needs the ip command of iproute2"

#define ZORCOMN_SKIP_WITHOUT_IPV6()                                                                                    \
    if (!zor::test::hasIPv6())                                                                                         \
    GTEST_SKIP() << "needs a kernel with IPv6"
