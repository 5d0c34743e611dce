// SPDX-License-Identifier: MIT
#include "ReconnectTimer.h"

#include <algorithm>

namespace vesk::dnssd {

namespace {

using namespace std::chrono_literals;

constexpr std::chrono::milliseconds ShortestPause = 100ms;
constexpr std::chrono::milliseconds LongestPause = 5s;

} // namespace

ReconnectTimer::ReconnectTimer(EventLoop& loop, std::function<void()> reconnect)
    : m_timer(loop, std::move(reconnect))
    , m_pause(ShortestPause)
{
}

void ReconnectTimer::start()
{
    m_timer.start(m_pause);
    m_pause = std::min(2 * m_pause, LongestPause);
}

void ReconnectTimer::onConnected()
{
    m_pause = ShortestPause;
}

} // namespace vesk::dnssd
