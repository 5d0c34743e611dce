// SPDX-License-Identifier: MIT
#include "ConflictLimiter.h"

namespace vesk::dnssd {

namespace {

using namespace std::chrono_literals;

constexpr std::size_t MostConflicts = 15;
constexpr auto Period = 10s;
constexpr std::chrono::milliseconds Pause = 5s;

} // namespace

std::chrono::milliseconds ConflictLimiter::pauseAfterConflict(Clock::TimePoint now)
{
    if (m_isLimiting && now - m_last >= Pause + Period)
        m_isLimiting = false; // the last attempt held that long
    m_last = now;
    m_recent.push_back(now);
    while (now - m_recent.front() > Period)
        m_recent.pop_front();
    if (m_recent.size() >= MostConflicts)
        m_isLimiting = true;
    return m_isLimiting ? Pause : 0ms;
}

} // namespace vesk::dnssd
