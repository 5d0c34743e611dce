// SPDX-License-Identifier: MIT
#include "MulticastSocket.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <array>
#include <cstring>

namespace vesk::dnssd {

namespace {

constexpr uint16_t MulticastDnsPort = 5353;
constexpr int LocalLink = 255; ///< the number of hops that multicast DNS is sent with
constexpr std::size_t LongestMessage = 9000;

union Address {
    sockaddr any;
    sockaddr_in ipv4;
    sockaddr_in6 ipv6;
};

int familyOf(Transport transport)
{
    return transport == Transport::IPv4 ? AF_INET : AF_INET6;
}

FileDescriptor open(Transport transport)
{
    return FileDescriptor(socket(familyOf(transport), SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
}

void set(int descriptor, int level, int name, int value)
{
    setsockopt(descriptor, level, name, &value, sizeof value);
}

Address groupOf(Transport transport, uint32_t interface)
{
    Address address;
    std::memset(&address, 0, sizeof address);
    if (transport == Transport::IPv4) {
        address.ipv4.sin_family = AF_INET;
        address.ipv4.sin_port = htons(MulticastDnsPort);
        inet_pton(AF_INET, "224.0.0.251", &address.ipv4.sin_addr);
    } else {
        address.ipv6.sin6_family = AF_INET6;
        address.ipv6.sin6_port = htons(MulticastDnsPort);
        address.ipv6.sin6_scope_id = interface;
        inet_pton(AF_INET6, "ff02::fb", &address.ipv6.sin6_addr);
    }
    return address;
}

bool isFromResponder(const Address& sender)
{
    const in_port_t port = sender.any.sa_family == AF_INET ? sender.ipv4.sin_port : sender.ipv6.sin6_port;
    return port == htons(MulticastDnsPort);
}

} // namespace

MulticastSocket::MulticastSocket(EventLoop& loop, Transport transport, Receive receive)
    : m_transport(transport)
    , m_receive(std::move(receive))
    , m_socket(open(transport))
{
    if (!m_socket.isValid())
        return;
    if (transport == Transport::IPv4)
        set(m_socket.get(), IPPROTO_IP, IP_MULTICAST_TTL, LocalLink);
    else
        set(m_socket.get(), IPPROTO_IPV6, IPV6_MULTICAST_HOPS, LocalLink);
    m_watch.emplace(loop, m_socket.get(), EPOLLIN, [this](uint32_t) { this->receive(); });
}

bool MulticastSocket::send(std::string_view message, uint32_t interface) const
{
    if (m_transport == Transport::IPv4) {
        ip_mreqn request{};
        request.imr_ifindex = static_cast<int>(interface);
        if (setsockopt(m_socket.get(), IPPROTO_IP, IP_MULTICAST_IF, &request, sizeof request) != 0)
            return false;
    }
    const Address group = groupOf(m_transport, interface);
    const socklen_t size = m_transport == Transport::IPv4 ? sizeof group.ipv4 : sizeof group.ipv6;
    return sendto(m_socket.get(), message.data(), message.size(), 0, &group.any, size) >= 0;
}

/// One message a call: it may be the last.
void MulticastSocket::receive()
{
    std::array<char, LongestMessage> message;
    Address sender;
    std::memset(&sender, 0, sizeof sender);
    socklen_t size = sizeof sender;
    const ssize_t length = recvfrom(m_socket.get(), message.data(), message.size(), 0, &sender.any, &size);
    if (length > 0 && isFromResponder(sender))
        m_receive({message.data(), static_cast<std::size_t>(length)});
}

} // namespace vesk::dnssd
