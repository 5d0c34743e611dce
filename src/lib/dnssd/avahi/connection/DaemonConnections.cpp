// SPDX-License-Identifier: MIT
#include "DaemonConnections.h"

namespace vesk::dnssd {

DaemonConnections::DaemonConnections(EventLoop& loop, StateChanged stateChanged)
    : m_poll(loop)
    , m_tasks(loop)
    , m_stateChanged(std::move(stateChanged))
{
}

bool DaemonConnections::connect()
{
    auto connection = open(AVAHI_CLIENT_NO_FAIL, [](AvahiClient*, AvahiClientState state, void* context) {
        static_cast<DaemonConnections*>(context)->post(state);
    });
    if (!connection)
        return false;
    m_connections.push_back(std::move(connection));
    return true;
}

void DaemonConnections::disconnect()
{
    ++m_generation;
    for (const auto& connection : m_connections)
        connection->breakUp();
    m_connections.clear();
}

AvahiClient* DaemonConnections::main() const
{
    return m_connections.empty() ? nullptr : m_connections.front()->client();
}

std::shared_ptr<DaemonConnection> DaemonConnections::open(AvahiClientFlags flags,
                                                          AvahiClientCallback callback)
{
    AvahiClient* client = avahi_client_new(m_poll.api(), flags, callback, this, nullptr);
    return client ? std::make_shared<DaemonConnection>(client) : nullptr;
}

/// libavahi is in the middle of something when it tells its state.
void DaemonConnections::post(AvahiClientState state)
{
    m_tasks.post([this, state, generation = m_generation] {
        if (generation == m_generation)
            m_stateChanged(state);
    });
}

} // namespace vesk::dnssd
