// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_RELEASEQUEUE_H
#define VESK_DNSSD_RELEASEQUEUE_H

#include "DaemonError.h"
#include "Timer.h"

#include <chrono>
#include <list>
#include <memory>

namespace vesk::dnssd {

/**
 * Objects of the daemon's that are no longer wanted. To release one is a round trip on the bus, which must
 * not happen inside a callback of libavahi's, so each is released in a round of the loop of its own. Releases
 * come before posted tasks: they relieve the daemon, and a query that is given up in time never goes out.
 */
class ReleaseQueue
{
public:
    class Entry
    {
    public:
        virtual ~Entry() = default;
        /// Returns libavahi's error.
        virtual int release() = 0;
    };

    /// An entry as it is held until it is added, which then allocates nothing: that is for destructors.
    using PreparedEntry = std::list<std::unique_ptr<Entry>>;

    /// When releases begin: once none has been added for a while, or the first one has waited longest.
    struct Pause
    {
        std::chrono::milliseconds quiet{0};
        std::chrono::milliseconds longest{0};
    };

    /// What is left when the queue dies goes with its connection.
    ReleaseQueue(EventLoop& loop, DaemonErrorListener& listener, Pause pause);

    void add(PreparedEntry entry) noexcept;

private:
    void releaseNext();
    std::chrono::microseconds pause() const;

    EventLoop& m_loop;
    DaemonErrorListener& m_listener;
    const Pause m_pause;
    Clock::TimePoint m_firstAdded; ///< since the queue was empty
    PreparedEntry m_entries;
    Timer m_timer;
};

} // namespace vesk::dnssd

#endif
