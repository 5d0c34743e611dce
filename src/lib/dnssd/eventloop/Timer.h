// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_TIMER_H
#define VESK_DNSSD_TIMER_H

#include "TimerQueue.h"

#include <functional>

namespace vesk::dnssd {

class EventLoop;

/// Calls its function once, some time after start(), on the event loop's thread.
class Timer final : private TimerQueue::Entry
{
public:
    Timer(EventLoop& loop, std::function<void()> task);
    ~Timer();
    Timer(const Timer&) = delete;
    Timer& operator=(const Timer&) = delete;

    /// With no delay it is called in the loop's next round, before posted tasks. Allocates nothing:
    /// destructors start timers.
    void start(std::chrono::microseconds delay) noexcept;
    void stop() noexcept;
    bool isActive() const { return m_slot.empty(); }

private:
    void expire(TimerQueue::Slot slot) override;

    TimerQueue& m_queue;
    std::function<void()> m_task;
    TimerQueue::Slot m_slot;              ///< while it does not run
    TimerQueue::Timers::iterator m_place; ///< while it runs
};

} // namespace vesk::dnssd

#endif
