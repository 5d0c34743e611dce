// SPDX-License-Identifier: MIT
#include "ResolveLimiter.h"

#include <algorithm>
#include <new>

namespace vesk::dnssd {

ResolveLimiter::Permit::Permit(ResolveLimiter& limiter, Task begin)
    : m_limiter(limiter)
    , m_begin(std::move(begin))
{
}

ResolveLimiter::Permit::~Permit()
{
    m_limiter.giveUp(*this);
}

ResolveLimiter::Hold::Hold(ResolveLimiter& limiter)
    : m_limiter(limiter)
{
    ++m_limiter.m_holds;
}

ResolveLimiter::Hold::~Hold()
{
    --m_limiter.m_holds;
    m_limiter.grantSoon();
}

ResolveLimiter::ResolveLimiter(EventLoop& loop, const QueryPacing& pacing)
    : m_loop(loop)
    , m_tasks(loop)
    , m_pacing(pacing)
    , m_slowTimer(loop, [this] { forgetSlow(); })
{
}

std::unique_ptr<ResolveLimiter::Permit> ResolveLimiter::request(Task begin)
{
    auto permit = std::make_unique<Permit>(*this, std::move(begin));
    m_waiting.push_back(permit.get());
    grantSoon();
    return permit;
}

void ResolveLimiter::giveUp(Permit& permit)
{
    const auto isIt = [&permit](const Granted& granted) { return granted.permit == &permit; };
    const auto granted = std::find_if(m_granted.begin(), m_granted.end(), isIt);
    if (granted != m_granted.end())
        m_granted.erase(granted);
    else
        m_waiting.erase(std::remove(m_waiting.begin(), m_waiting.end(), &permit), m_waiting.end());
    grantSoon();
}

bool ResolveLimiter::mayGrant() const
{
    return m_holds == 0 && !m_waiting.empty() && m_granted.size() < m_pacing.resolvesAtOnce;
}

/// One a round of the loop, so that a thousand of them hold nothing else up. Destructors call this: without
/// memory for a task the timer tries again.
void ResolveLimiter::grantSoon() noexcept
try {
    if (m_isGranting || !mayGrant())
        return;
    m_tasks.post([this] { grantNext(); });
    m_isGranting = true;
} catch (const std::bad_alloc&) {
    m_slowTimer.start(m_pacing.resolvePermit);
}

void ResolveLimiter::grantNext()
{
    m_isGranting = false;
    if (!mayGrant())
        return;
    Permit* next = m_waiting.front();
    m_granted.push_back({next, m_loop.now()});
    m_waiting.pop_front();
    if (!m_slowTimer.isActive())
        m_slowTimer.start(m_pacing.resolvePermit);
    grantSoon();
    const Task begin = std::move(next->m_begin); // the call may give the permit up
    begin();
}

void ResolveLimiter::forgetSlow()
{
    const auto longAgo = m_loop.now() - m_pacing.resolvePermit;
    while (!m_granted.empty() && m_granted.front().since <= longAgo)
        m_granted.pop_front();
    if (!m_granted.empty())
        m_slowTimer.start(std::chrono::ceil<std::chrono::microseconds>(m_granted.front().since - longAgo));
    grantSoon();
}

} // namespace vesk::dnssd
