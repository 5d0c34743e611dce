// SPDX-License-Identifier: MIT
#include "ReleaseQueue.h"

#include "EventLoop.h"

#include <algorithm>

namespace vesk::dnssd {

using namespace std::chrono_literals;

ReleaseQueue::ReleaseQueue(EventLoop& loop, DaemonErrorListener& listener, Pause pause)
    : m_loop(loop)
    , m_listener(listener)
    , m_pause(pause)
    , m_timer(loop, [this] { releaseNext(); })
{
}

void ReleaseQueue::add(PreparedEntry entry) noexcept
{
    if (m_entries.empty())
        m_firstAdded = m_loop.now();
    m_entries.splice(m_entries.end(), entry);
    m_timer.start(pause());
}

std::chrono::microseconds ReleaseQueue::pause() const
{
    const auto rest =
        std::chrono::ceil<std::chrono::microseconds>(m_firstAdded + m_pause.longest - m_loop.now());
    return std::clamp<std::chrono::microseconds>(rest, 0us, m_pause.quiet);
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
