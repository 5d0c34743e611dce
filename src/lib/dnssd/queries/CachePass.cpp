// SPDX-License-Identifier: MIT
#include "CachePass.h"

#include "dns_sd.h"

namespace vesk::dnssd {

bool CachePass::precedes(const Query& query, bool isAnythingKnown, const QueryPacing& pacing)
{
    return query.type == kDNSServiceType_PTR && !isAnythingKnown &&
           pacing.cachePassLimit > QueryPacing::Time::zero();
}

bool CachePass::isLargeResult(std::size_t records, const QueryPacing& pacing)
{
    return pacing.largeResult > 0 && records >= pacing.largeResult;
}

CachePass::CachePass(EventLoop& loop, ResolveLimiter& limiter, const QueryPacing& pacing, Task onLimit)
    : m_hold(limiter)
    , m_limit(loop, std::move(onLimit))
{
    m_limit.start(pacing.cachePassLimit);
}

} // namespace vesk::dnssd
