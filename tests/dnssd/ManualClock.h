// SPDX-License-Identifier: MIT
#ifndef VESK_TESTS_MANUALCLOCK_H
#define VESK_TESTS_MANUALCLOCK_H

#include "EventLoop.h"

#include <algorithm>

namespace vesk::dnssd::tests {

/// A clock that stands still until a test advances it.
class ManualClock final : public Clock
{
public:
    TimePoint now() const override { return m_now; }

    /// Lets time pass for a loop: its timers expire one after the other, each at its time.
    void advance(EventLoop& loop, std::chrono::microseconds time)
    {
        const TimePoint end = m_now + time;
        loop.runUntilIdle();
        while (const auto deadline = nextDeadlineUntil(loop, end)) {
            m_now = std::max(m_now, *deadline);
            loop.runUntilIdle();
        }
        m_now = end;
        loop.runUntilIdle();
    }

    /// Lets time pass during a step of a loop.
    void pass(std::chrono::microseconds time) { m_now += time; }

private:
    static std::optional<TimePoint> nextDeadlineUntil(EventLoop& loop, TimePoint end)
    {
        const auto deadline = loop.timers().nextDeadline();
        return deadline && *deadline <= end ? deadline : std::nullopt;
    }

    TimePoint m_now{};
};

} // namespace vesk::dnssd::tests

#endif
