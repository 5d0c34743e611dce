// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_QUERYPACING_H
#define VESK_DNSSD_QUERYPACING_H

#include <chrono>
#include <cstddef>

namespace vesk::dnssd {

/// How fast a backend takes queries. Each knows best what its responder can carry.
struct QueryPacing
{
    using Time = std::chrono::milliseconds;

    /// How long a browse reads the cache before the network is asked; 0: the network is asked at once.
    Time cachePassLimit{0};
    /// With so many cached records the network is asked only after they have been resolved; 0: never wait.
    std::size_t largeResult = 0;

    std::size_t resolvesAtOnce = 50; ///< instances that are resolved at the same time
    Time resolvePermit{50};          ///< after which a resolve no longer counts among them
    /// With so few under way a resolve is to find the host's address, too, which spares few instances a wait
    /// and would cost many more than it spares; 0: never.
    std::size_t resolvesWithAddress = 0;

    /// Queries that have an answer already are asked once no other such query has come for the pause, after
    /// the longest pause at the latest, and then a batch at each interval.
    Time deferredPause{250};
    Time longestDeferredPause{4000};
    Time deferredInterval{20};
    unsigned deferredBatch = 20;

    /// When the records of an instance are watched for a resolve that has been answered and stays.
    Time watchDelay{500};

    /// How long after the backend's return records count as there that have not been heard again: a responder
    /// that was restarted has asked three times by then (RFC 6762 section 5.2: after 0, 1 and 3 seconds).
    Time confirmationTime{5000};
};

} // namespace vesk::dnssd

#endif
