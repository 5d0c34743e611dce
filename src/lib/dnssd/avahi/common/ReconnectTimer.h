// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_RECONNECTTIMER_H
#define VESK_DNSSD_RECONNECTTIMER_H

#include "Timer.h"

namespace vesk::dnssd {

/// When to try again to reach a responder: soon at first, then after pauses that double, up to five
/// seconds.
class ReconnectTimer
{
public:
    ReconnectTimer(EventLoop& loop, std::function<void()> reconnect);

    void start();
    void stop() { m_timer.stop(); }

    /// The responder is there: the next pause is the shortest again.
    void onConnected();

private:
    Timer m_timer;
    std::chrono::milliseconds m_pause;
};

} // namespace vesk::dnssd

#endif
