// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_CONFLICTLIMITER_H
#define VESK_DNSSD_CONFLICTLIMITER_H

#include "Clock.h"

#include <deque>

namespace vesk::dnssd {

/**
 * How soon a name may be claimed again after a conflict (RFC 6762 section 8.1): after fifteen conflicts
 * within ten seconds, five seconds have to pass before each further attempt, until one has held for ten
 * seconds.
 */
class ConflictLimiter
{
public:
    /// Notes a conflict. Returns how long to wait before the next attempt.
    std::chrono::milliseconds pauseAfterConflict(Clock::TimePoint now);

private:
    std::deque<Clock::TimePoint> m_recent; ///< conflicts of the last ten seconds
    Clock::TimePoint m_last;
    bool m_isLimiting = false;
};

} // namespace vesk::dnssd

#endif
