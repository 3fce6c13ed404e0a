#pragma once

// A listening socket on the loopback interface, at a port that the system picks.

#include "source/platform/posix.h"

#include <string>

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>

namespace zor::test {

class Listener {
public:
    explicit Listener(const char *address = "127.0.0.1", int backlog = 8, uint32_t scope = 0);

    sockaddr *address() { return reinterpret_cast<sockaddr *>(&m_address); }
    int length() const { return static_cast<int>(m_length); }
    uint16_t port() const;
    std::string service() const { return std::to_string(port()); }

    /** Takes the next connection, waiting for it. */
    Descriptor accept() const { return Descriptor(::accept(m_socket.get(), nullptr, nullptr)); }
    /** Closes the socket, so that connections are refused from here on. */
    void refuse() { m_socket.reset(); }

private:
    Descriptor m_socket;
    sockaddr_storage m_address{};
    socklen_t m_length = sizeof m_address;
};

/** A listener that answers no connection: its queue of one is full and nobody empties it. */
class SilentListener : public Listener {
public:
    SilentListener();

private:
    Descriptor m_waiting;
};

} // namespace zor::test
