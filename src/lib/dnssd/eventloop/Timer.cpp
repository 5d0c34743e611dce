// SPDX-License-Identifier: MIT
#include "Timer.h"

#include "EventLoop.h"

namespace vesk::dnssd {

Timer::Timer(EventLoop& loop, std::function<void()> task)
    : m_queue(loop.timers())
    , m_task(std::move(task))
    , m_slot(TimerQueue::makeSlot(*this))
{
}

Timer::~Timer()
{
    stop();
}

void Timer::start(std::chrono::microseconds delay) noexcept
{
    stop();
    m_place = m_queue.add(std::move(m_slot), m_queue.now() + delay);
}

void Timer::stop() noexcept
{
    if (isActive())
        m_slot = m_queue.remove(m_place);
}

void Timer::expire(TimerQueue::Slot slot)
{
    m_slot = std::move(slot);
    m_task(); // may end this timer
}

} // namespace vesk::dnssd
