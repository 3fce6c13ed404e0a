#include "tests/network/listener.h"

#include "tests/network/socket_text.h"

namespace zor::test {

Listener::Listener(const char *address, int backlog, uint32_t scope) : m_address(socketAddress(address)) {
    if (m_address.ss_family == AF_INET6)
        reinterpret_cast<sockaddr_in6 &>(m_address).sin6_scope_id = scope;
    m_length = m_address.ss_family == AF_INET6 ? sizeof(sockaddr_in6) : sizeof(sockaddr_in);
    m_socket = openSocket(m_address.ss_family, SOCK_STREAM, 0);
    EXPECT_EQ(bind(m_socket.get(), this->address(), m_length), 0) << address << ": " << std::strerror(errno);
    EXPECT_EQ(listen(m_socket.get(), backlog), 0);
    EXPECT_EQ(getsockname(m_socket.get(), this->address(), &m_length), 0);
}

uint16_t Listener::port() const {
    return ntohs(m_address.ss_family == AF_INET6 ? reinterpret_cast<const sockaddr_in6 &>(m_address).sin6_port
                                                 : reinterpret_cast<const sockaddr_in &>(m_address).sin_port);
}

SilentListener::SilentListener() : Listener("127.0.0.1", 0), m_waiting(openSocket(AF_INET, SOCK_STREAM, 0)) {
    EXPECT_EQ(connect(m_waiting.get(), address(), static_cast<socklen_t>(length())), 0);
}

} // namespace zor::test
