// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_DAEMONCONNECTIONS_H
#define VESK_DNSSD_DAEMONCONNECTIONS_H

#include "OwnedTasks.h"
#include "PollAdapter.h"

#include <avahi-client/client.h>
#include <avahi-common/error.h>

#include <functional>
#include <memory>
#include <vector>

namespace vesk::dnssd {

/// A connection to the daemon. Once it is broken nothing may be asked of it, and its objects are gone.
class DaemonConnection
{
public:
    explicit DaemonConnection(AvahiClient* client)
        : m_client(client, avahi_client_free)
    {
    }

    /// Null when the connection is broken.
    AvahiClient* client() const { return m_client.get(); }
    void breakUp() { m_client.reset(); }

    bool isFull() const { return m_isFull; }
    void setFull(bool isFull) { m_isFull = isFull; }

private:
    std::unique_ptr<AvahiClient, decltype(&avahi_client_free)> m_client;
    bool m_isFull = false;
};

/**
 * The connections to the daemon: one, and a further one only when the daemon takes no more objects on those
 * there are (1024 on each, as it is installed). They live and die together.
 */
class DaemonConnections
{
public:
    using StateChanged = std::function<void(AvahiClientState)>;

    /// `stateChanged` is called from the loop, never from within a call of this class or of libavahi.
    DaemonConnections(EventLoop& loop, StateChanged stateChanged);

    /// Makes the first connection; the daemon itself may come later. False when there is no bus.
    bool connect();
    /// Not to be called from within a callback of libavahi's, which would go on with a freed client.
    void disconnect();

    /// The first connection, or null.
    AvahiClient* main() const;

    template <typename Object>
    struct Made
    {
        std::shared_ptr<DaemonConnection> connection;
        Object* object;
        int error; ///< the daemon's when there is no object
    };
    /// Makes an object by `make(client)` on a connection that has room.
    template <typename Object, typename Make>
    Made<Object> make(Make make);

private:
    std::shared_ptr<DaemonConnection> open(AvahiClientFlags flags, AvahiClientCallback callback);
    void post(AvahiClientState state);

    PollAdapter m_poll;
    OwnedTasks m_tasks;
    StateChanged m_stateChanged;
    std::vector<std::shared_ptr<DaemonConnection>> m_connections;
    unsigned m_generation = 0; ///< tells news of connections that are gone from news of those that are there
};

template <typename Object, typename Make>
DaemonConnections::Made<Object> DaemonConnections::make(Make make)
{
    const auto reportFailure = [](AvahiClient*, AvahiClientState state, void* context) {
        if (state == AVAHI_CLIENT_FAILURE)
            static_cast<DaemonConnections*>(context)->post(state);
    };
    for (std::size_t i = 0; i < m_connections.size(); ++i) {
        const auto connection = m_connections[i];
        if (!connection->isFull()) {
            Object* object = make(connection->client());
            const int error = object ? AVAHI_OK : avahi_client_errno(connection->client());
            if (error != AVAHI_ERR_TOO_MANY_OBJECTS)
                return {connection, object, error};
            connection->setFull(true);
        }
        if (i + 1 == m_connections.size()) {
            if (auto further = open(AvahiClientFlags(0), reportFailure))
                m_connections.push_back(std::move(further));
        }
    }
    return {nullptr, nullptr, m_connections.empty() ? AVAHI_ERR_NO_DAEMON : AVAHI_ERR_TOO_MANY_OBJECTS};
}

} // namespace vesk::dnssd

#endif
