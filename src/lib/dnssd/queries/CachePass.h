// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_CACHEPASS_H
#define VESK_DNSSD_CACHEPASS_H

#include "Query.h"
#include "QueryPacing.h"
#include "ResolveLimiter.h"
#include "Timer.h"

namespace vesk::dnssd {

/**
 * The beginning of a browse: what the responder has cached is read before the network is asked. A responder
 * tells at once what it knows, and holds a new query back for a while: time enough to hear all of it, over
 * one transport, and to give the query up before it goes out. Nothing is reported and nothing resolved
 * meanwhile, as each resolve would take the responder's time.
 */
class CachePass
{
public:
    /// Whether a query begins with one: a browse of which nothing is known, at a backend that offers it.
    static bool precedes(const Query& query, bool isAnythingKnown, const QueryPacing& pacing);

    /// Whether so many records are to be resolved before the network is asked: the responder would be busy
    /// with asking for further ones, and with their answers.
    static bool isLargeResult(std::size_t records, const QueryPacing& pacing);

    /// `onLimit` is called when the responder takes too long to tell what it knows.
    CachePass(EventLoop& loop, ResolveLimiter& limiter, const QueryPacing& pacing, Task onLimit);

private:
    ResolveLimiter::Hold m_hold;
    Timer m_limit;
};

} // namespace vesk::dnssd

#endif
