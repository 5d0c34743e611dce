// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_MEMORYQUERY_H
#define VESK_DNSSD_MEMORYQUERY_H

#include "Backend.h"

#include <map>

namespace vesk::dnssd {

class MemoryNetwork;

/// A query to the network in memory. It knows what it has told, so that whatever has happened there since
/// comes down to what is new and what is gone.
class MemoryQuery final : public Backend::ActiveQuery
{
public:
    /// The queries that stand, in the order of their start.
    using Standing = std::map<uint64_t, MemoryQuery*>;

    MemoryQuery(const MemoryNetwork& network, Standing& standing, Query query, RecordListener& listener);
    ~MemoryQuery() override;

    /// Tells the listener what has changed; the first time, what there is, the newest first. The listener may
    /// end any query, this one included, in each of its calls.
    void tellNews();

private:
    struct News
    {
        Record record;
        bool isPresent;
    };

    std::vector<News> news();

    const MemoryNetwork& m_network;
    Standing& m_standing;
    const uint64_t m_number;
    const Query m_query;
    const std::string m_name; ///< of the query, canonical
    RecordListener& m_listener;
    std::map<std::string, Record> m_told; ///< by interface, type and data
    uint64_t m_toldVersion = 0;
    bool m_hasToldCache = false;
    std::shared_ptr<char> m_alive = std::make_shared<char>();
};

} // namespace vesk::dnssd

#endif
