// SPDX-License-Identifier: MIT
#include "MemoryQuery.h"

#include "MemoryNetwork.h"

#include <algorithm>
#include <set>
#include <utility>

namespace vesk::dnssd {

namespace {

std::string keyOf(const Record& record)
{
    std::string key(reinterpret_cast<const char*>(&record.interface), sizeof record.interface);
    key.append(reinterpret_cast<const char*>(&record.type), sizeof record.type);
    return key += record.data;
}

uint64_t nextNumber(const MemoryQuery::Standing& standing)
{
    return standing.empty() ? 0 : standing.rbegin()->first + 1;
}

} // namespace

MemoryQuery::MemoryQuery(const MemoryNetwork& network, Standing& standing, Query query,
                         RecordListener& listener)
    : m_network(network)
    , m_standing(standing)
    , m_number(nextNumber(standing))
    , m_query(std::move(query))
    , m_name(canonical(m_query.name))
    , m_listener(listener)
{
    m_standing.emplace(m_number, this); // last: nothing is left of it when there is no memory
}

/// It stands no longer when the responder has gone, and its number may be another's.
MemoryQuery::~MemoryQuery()
{
    const auto place = m_standing.find(m_number);
    if (place != m_standing.end() && place->second == this)
        m_standing.erase(place);
}

void MemoryQuery::tellNews()
{
    const bool isCached = !std::exchange(m_hasToldCache, true);
    const uint64_t version = m_network.versionOf(m_name);
    if (!isCached && version == m_toldVersion)
        return;
    m_toldVersion = version;
    auto toTell = news();
    if (isCached)
        std::reverse(toTell.begin(), toTell.end());
    const Transport transport = m_query.transport.value_or(Transport::IPv4);
    const std::weak_ptr alive(m_alive);
    for (const News& one : toTell) {
        m_listener.onRecord({one.record, transport, one.isPresent, isCached});
        if (alive.expired())
            return;
    }
    if (isCached)
        m_listener.onCacheExhausted();
}

/// What is new first: of a TXT record that is replaced there is one at any moment.
std::vector<MemoryQuery::News> MemoryQuery::news()
{
    std::vector<News> all;
    std::set<std::string> present;
    for (const Record& record : m_network.find(m_query)) {
        const std::string key = keyOf(record);
        present.insert(key);
        if (m_told.emplace(key, record).second)
            all.push_back({record, true});
    }
    for (auto told = m_told.begin(); told != m_told.end();) {
        if (present.count(told->first) > 0) {
            ++told;
            continue;
        }
        all.push_back({std::move(told->second), false});
        told = m_told.erase(told);
    }
    return all;
}

} // namespace vesk::dnssd
