// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_RESOLVELIMITER_H
#define VESK_DNSSD_RESOLVELIMITER_H

#include "OwnedTasks.h"
#include "QueryPacing.h"
#include "Timer.h"

#include <deque>
#include <memory>

namespace vesk::dnssd {

/// Lets only so many resolves be under way at a time; the others wait in line. A resolve that takes long no
/// longer counts.
class ResolveLimiter
{
public:
    /// A resolve's place in line, or among those under way; given up by its destructor.
    class Permit
    {
    public:
        Permit(ResolveLimiter& limiter, Task begin);
        ~Permit();
        Permit(const Permit&) = delete;
        Permit& operator=(const Permit&) = delete;

    private:
        friend class ResolveLimiter;

        ResolveLimiter& m_limiter;
        Task m_begin;
    };

    /// While there is one, no further resolve begins.
    class Hold
    {
    public:
        explicit Hold(ResolveLimiter& limiter);
        ~Hold();
        Hold(const Hold&) = delete;
        Hold& operator=(const Hold&) = delete;

    private:
        ResolveLimiter& m_limiter;
    };

    /// What the pacing says at each moment holds.
    ResolveLimiter(EventLoop& loop, const QueryPacing& pacing);

    /// Calls `begin` from the loop, a round later at the earliest; never once the permit is given up.
    std::unique_ptr<Permit> request(Task begin);

    /// Those that count.
    std::size_t underWay() const { return m_granted.size(); }

private:
    struct Granted
    {
        Permit* permit;
        Clock::TimePoint since;
    };

    bool mayGrant() const;
    void giveUp(Permit& permit);
    void grantSoon() noexcept;
    void grantNext();
    void forgetSlow();

    EventLoop& m_loop;
    OwnedTasks m_tasks;
    const QueryPacing& m_pacing;
    std::deque<Permit*> m_waiting;
    std::deque<Granted> m_granted; ///< the first one the longest ago
    bool m_isGranting = false;
    unsigned m_holds = 0;
    Timer m_slowTimer;
};

} // namespace vesk::dnssd

#endif
