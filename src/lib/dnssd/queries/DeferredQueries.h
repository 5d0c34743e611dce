// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_DEFERREDQUERIES_H
#define VESK_DNSSD_DEFERREDQUERIES_H

#include "QueryPacing.h"
#include "Timer.h"

#include <deque>
#include <functional>
#include <string>

namespace vesk::dnssd {

/**
 * Queries that have an answer already, and are asked when there is time: after a rush of others, and then
 * batch by batch, because a responder's work grows faster than the number of queries that it puts on the
 * network at once.
 */
class DeferredQueries
{
public:
    using Activate = std::function<void(const std::string& key)>;

    /// What the pacing says at each moment holds.
    DeferredQueries(EventLoop& loop, const QueryPacing& pacing, Activate activate);

    void add(const std::string& key);
    void clear() { m_keys.clear(); }

private:
    void activateBatch();

    EventLoop& m_loop;
    const QueryPacing& m_pacing;
    Activate m_activate;
    std::deque<std::string> m_keys;
    Clock::TimePoint m_latest; ///< when the first batch is due, however many more come
    Timer m_timer;
};

} // namespace vesk::dnssd

#endif
