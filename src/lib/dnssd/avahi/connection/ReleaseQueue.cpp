// SPDX-License-Identifier: MIT
#include "ReleaseQueue.h"

#include <chrono>

namespace vesk::dnssd {

using namespace std::chrono_literals;

ReleaseQueue::ReleaseQueue(EventLoop& loop, DaemonErrorListener& listener)
    : m_listener(listener)
    , m_timer(loop, [this] { releaseNext(); })
{
}

void ReleaseQueue::add(PreparedEntry entry) noexcept
{
    m_entries.splice(m_entries.end(), entry);
    if (!m_timer.isActive())
        m_timer.start(0ms);
}

void ReleaseQueue::releaseNext()
{
    const auto entry = std::move(m_entries.front());
    m_entries.pop_front();
    if (!m_entries.empty())
        m_timer.start(0ms);
    m_listener.onDaemonAnswer(entry->release());
}

} // namespace vesk::dnssd
