// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_CLOCK_H
#define VESK_DNSSD_CLOCK_H

#include <chrono>

namespace vesk::dnssd {

/// What timers and pauses are measured with; tests bring one that they advance themselves.
class Clock
{
public:
    using TimePoint = std::chrono::steady_clock::time_point;

    /// The system's monotonic clock.
    static const Clock& steady();

    /// Called on the event loop's thread.
    virtual TimePoint now() const = 0;

protected:
    ~Clock() = default;
};

} // namespace vesk::dnssd

#endif
