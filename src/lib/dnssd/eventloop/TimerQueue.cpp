// SPDX-License-Identifier: MIT
#include "TimerQueue.h"

#include <algorithm>

namespace vesk::dnssd {

TimerQueue::Slot TimerQueue::makeSlot(Entry& entry)
{
    Timers one;
    return one.extract(one.emplace(Timers::key_type{}, &entry).first);
}

TimerQueue::Timers::iterator TimerQueue::add(Slot slot, Clock::TimePoint deadline) noexcept
{
    slot.key() = {deadline, m_started++};
    return m_timers.insert(std::move(slot)).position;
}

std::optional<Clock::TimePoint> TimerQueue::nextDeadline() const
{
    return m_timers.empty() ? std::nullopt : std::optional(m_timers.begin()->first.first);
}

bool TimerQueue::isAnyDue() const
{
    return !m_timers.empty() && m_timers.begin()->first.first <= now();
}

int TimerQueue::runDue()
{
    const auto time = now();
    const uint64_t startedBefore = m_started;
    const auto isDue = [&](const auto& entry) {
        return entry.first.first <= time && entry.first.second < startedBefore;
    };
    int count = 0;
    for (;;) {
        const auto next = std::find_if(m_timers.begin(), m_timers.upper_bound({time, startedBefore}), isDue);
        if (next == m_timers.end() || !isDue(*next))
            return count;
        Slot slot = m_timers.extract(next);
        Entry& timer = *slot.mapped();
        timer.expire(std::move(slot)); // may start and stop timers
        ++count;
    }
}

} // namespace vesk::dnssd
