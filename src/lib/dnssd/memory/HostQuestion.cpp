// SPDX-License-Identifier: MIT
#include "HostQuestion.h"

#include "MemoryNetwork.h"

namespace vesk::dnssd {

HostQuestion::HostQuestion(EventLoop& loop, const MemoryNetwork& network, Query query,
                           RecordListener& listener)
    : m_network(network)
    , m_query(std::move(query))
    , m_listener(listener)
    , m_tasks(loop)
{
    m_tasks.post([this] { answer(); });
}

/// The listener may end the question in each of these calls.
void HostQuestion::answer()
{
    const Transport transport = m_query.transport.value_or(Transport::IPv4);
    const std::weak_ptr alive(m_alive);
    for (const Record& record : m_network.find(m_query)) {
        m_listener.onRecord({record, transport, true, false});
        if (alive.expired())
            return;
    }
}

} // namespace vesk::dnssd
