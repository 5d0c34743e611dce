// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_CORESERVER_H
#define VESK_DNSSD_CORESERVER_H

#include "PollAdapter.h"

#include <avahi-core/core.h>

#include <memory>
#include <string>

namespace vesk::dnssd {

class EventLoop;

/**
 * A multicast DNS responder inside this process, on libavahi-core, with sockets and a cache of its own. It
 * publishes nothing by itself, not even this host's name. It answers beside other responders of this host.
 *
 * Its objects share it: once it has ended they are gone, and nothing may be asked of it.
 */
class CoreServer
{
public:
    /// Null when there is no descriptor, memory or network interface list to be had.
    static std::shared_ptr<CoreServer> start(EventLoop& loop);

    explicit CoreServer(EventLoop& loop);
    ~CoreServer() { end(); }
    CoreServer(const CoreServer&) = delete;
    CoreServer& operator=(const CoreServer&) = delete;

    /// Withdraws all that is published: the goodbyes are sent when this returns. Not to be called from within
    /// a callback of libavahi's, which would go on with a freed server.
    void end();

    /// Null once it has ended.
    AvahiServer* get() const { return m_server.get(); }

    /// This host's name, without and with the domain.
    std::string hostName() const;
    std::string fullHostName() const;
    /// Another host has the name: from now on this host has the next one.
    void takeNextHostName();

private:
    bool start();

    PollAdapter m_poll;
    std::unique_ptr<AvahiServer, decltype(&avahi_server_free)>
        m_server; ///< after the adapter, which it needs
};

} // namespace vesk::dnssd

#endif
