// SPDX-License-Identifier: MIT
#include "AvahiClientPool.h"

namespace vesk::dnssd {

AvahiClientPool::AvahiClientPool(Loop& loop, StateChanged stateChanged)
    : m_loop(loop)
    , m_stateChanged(std::move(stateChanged))
{
}

bool AvahiClientPool::connect()
{
    auto connection = open(AVAHI_CLIENT_NO_FAIL, [](AvahiClient*, AvahiClientState state, void* pool) {
        static_cast<AvahiClientPool*>(pool)->post(state);
    });
    if (!connection)
        return false;
    m_connections.push_back(std::move(connection));
    return true;
}

void AvahiClientPool::disconnect()
{
    ++m_generation;
    for (const auto& connection : m_connections)
        connection->breakUp();
    m_connections.clear();
}

AvahiClient* AvahiClientPool::main() const
{
    return m_connections.empty() ? nullptr : m_connections.front()->client();
}

std::shared_ptr<AvahiConnection> AvahiClientPool::open(AvahiClientFlags flags, AvahiClientCallback callback)
{
    AvahiClient* client = avahi_client_new(m_loop.api(), flags, callback, this, nullptr);
    return client ? std::make_shared<AvahiConnection>(client) : nullptr;
}

/// libavahi is in the middle of something when it tells its state.
void AvahiClientPool::post(AvahiClientState state)
{
    m_loop.post([this, state, generation = m_generation] {
        if (generation == m_generation)
            m_stateChanged(state);
    });
}

} // namespace vesk::dnssd
