// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_MULTICASTSOCKET_H
#define VESK_DNSSD_MULTICASTSOCKET_H

#include "FileDescriptor.h"
#include "IoWatch.h"
#include "Query.h"

#include <functional>
#include <optional>
#include <string_view>

namespace vesk::dnssd {

/**
 * Sends messages to the multicast DNS group of one transport, from a port of its own: hosts send
 * their answers by unicast, to this socket alone (RFC 6762 section 6.7).
 */
class MulticastSocket
{
public:
    /// Called with each message that a responder sends. May end the socket.
    using Receive = std::function<void(std::string_view message)>;

    MulticastSocket(EventLoop& loop, Transport transport, Receive receive);

    /// False: the system did not take the message, or there is no such socket.
    bool send(std::string_view message, uint32_t interface) const;

private:
    void receive();

    Transport m_transport;
    Receive m_receive;
    FileDescriptor m_socket;
    std::optional<IoWatch> m_watch; ///< after the descriptor, which it needs
};

} // namespace vesk::dnssd

#endif
