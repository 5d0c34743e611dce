// SPDX-License-Identifier: MIT
#include "DeferredQueries.h"

#include "EventLoop.h"

namespace vesk::dnssd {

DeferredQueries::DeferredQueries(EventLoop& loop, const QueryPacing& pacing, Activate activate)
    : m_loop(loop)
    , m_pacing(pacing)
    , m_activate(std::move(activate))
    , m_timer(loop, [this] { activateBatch(); })
{
}

void DeferredQueries::add(const std::string& key)
{
    if (m_keys.empty())
        m_latest = m_loop.now() + m_pacing.longestDeferredPause;
    m_keys.push_back(key);
    if (m_loop.now() + m_pacing.deferredPause < m_latest)
        m_timer.start(m_pacing.deferredPause);
}

void DeferredQueries::activateBatch()
{
    for (unsigned i = 0; i < m_pacing.deferredBatch && !m_keys.empty(); ++i) {
        m_activate(m_keys.front());
        m_keys.pop_front();
    }
    if (!m_keys.empty())
        m_timer.start(m_pacing.deferredInterval);
}

} // namespace vesk::dnssd
