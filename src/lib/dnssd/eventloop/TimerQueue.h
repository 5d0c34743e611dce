// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_TIMERQUEUE_H
#define VESK_DNSSD_TIMERQUEUE_H

#include "Clock.h"

#include <cstdint>
#include <map>
#include <optional>
#include <utility>

namespace vesk::dnssd {

/// The timers that run, in the order in which they are due.
class TimerQueue
{
public:
    class Entry;
    using Timers =
        std::map<std::pair<Clock::TimePoint, uint64_t>, Entry*>; ///< by deadline and order of the start
    using Slot = Timers::node_type; ///< a timer's own, so that to start it allocates nothing

    /// What runs.
    class Entry
    {
    public:
        /// It is due. The slot is its own again.
        virtual void expire(Slot slot) = 0;

    protected:
        ~Entry() = default;
    };

    static Slot makeSlot(Entry& entry);

    explicit TimerQueue(const Clock& clock)
        : m_clock(clock)
    {
    }

    Timers::iterator add(Slot slot, Clock::TimePoint deadline) noexcept;
    Slot remove(Timers::iterator place) noexcept { return m_timers.extract(place); }

    Clock::TimePoint now() const { return m_clock.now(); }
    std::optional<Clock::TimePoint> nextDeadline() const;
    bool isAnyDue() const;

    /// Takes out the timers that are due, apart from those that are started meanwhile, and calls each.
    /// Returns how many.
    int runDue();

private:
    const Clock& m_clock;
    Timers m_timers;
    uint64_t m_started = 0;
};

} // namespace vesk::dnssd

#endif
