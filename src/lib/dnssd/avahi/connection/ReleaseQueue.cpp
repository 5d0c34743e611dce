// SPDX-License-Identifier: MIT
#include "ReleaseQueue.h"

namespace vesk::dnssd {

using namespace std::chrono_literals;

ReleaseQueue::ReleaseQueue(EventLoop& loop, DaemonErrorListener& listener, Pause pause)
    : m_listener(listener)
    , m_pause(pause)
    , m_timer(loop, [this] { releaseNext(); })
{
}

void ReleaseQueue::add(PreparedEntry entry) noexcept
{
    m_entries.splice(m_entries.end(), entry);
    m_timer.start(m_entries.size() > m_pause.mostWaiting ? 0ms : m_pause.quiet);
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
