// SPDX-License-Identifier: MIT
#include "RecordSet.h"

#include "NetworkInterfaces.h"
#include "dns_sd.h"

#include <algorithm>
#include <unordered_set>

namespace vesk::dnssd {

namespace {

constexpr unsigned bitOf(Transport transport)
{
    return static_cast<unsigned>(transport);
}

constexpr unsigned BothTransports = bitOf(Transport::IPv4) | bitOf(Transport::IPv6);

std::string entryKey(const Record& record)
{
    std::string key(reinterpret_cast<const char*>(&record.interface), sizeof record.interface);
    key.append(reinterpret_cast<const char*>(&record.type), sizeof record.type);
    return key += record.data;
}

} // namespace

RecordSet::RecordSet(const Query& query, Observer& observer, bool isLoopbackALink)
    : m_query(query)
    , m_observer(observer)
    , m_isLoopbackALink(isLoopbackALink)
{
}

std::vector<RecordSet::Entry*> RecordSet::inOrderOfArrival()
{
    std::vector<Entry*> entries;
    for (auto& [key, entry] : m_entries)
        entries.push_back(&entry);
    std::sort(entries.begin(), entries.end(), [](auto* a, auto* b) { return a->order < b->order; });
    return entries;
}

std::vector<const Record*> RecordSet::reported()
{
    std::vector<const Record*> records;
    for (const Entry* entry : inOrderOfArrival()) {
        if (entry->isReported())
            records.push_back(&entry->record);
    }
    return records;
}

void RecordSet::add(const Record& record, Transport transport, bool isCached)
{
    const std::string key = entryKey(record);
    if (m_isReadingCache && isCached)
        m_cached.push_back(key);
    const auto [place, isNew] = m_entries.try_emplace(key, Entry{record, 0, 0, m_arrivals++, 0});
    Entry& entry = place->second;
    if (!(entry.transports & bitOf(transport)))
        m_observer.onHeard(record, transport, true);
    entry.transports |= bitOf(transport);
    entry.unconfirmed &= ~bitOf(transport);
    if (!isNew)
        return;
    if (isReportable(record))
        report(entry, isCached);
    if (!isLoopback(record) && ++m_fromLinks == 1)
        reconsiderAll(false);
}

void RecordSet::remove(const Record& record, Transport transport)
{
    const std::string key = entryKey(record);
    const auto found = m_entries.find(key);
    if (found == m_entries.end())
        return;
    unhear(found->second, bitOf(transport));
    if (found->second.transports == 0)
        drop(key);
}

void RecordSet::seed(const Record& record)
{
    const std::string key = entryKey(record);
    std::vector<std::string> outdated;
    for (const auto& entry : m_entries) {
        if (entry.first != key)
            outdated.push_back(entry.first);
    }
    const auto [place, isNew] = m_entries.try_emplace(key, Entry{record, 0, 0, 0, 0});
    Entry& entry = place->second;
    entry.order = m_arrivals++;
    if (isNew) {
        ++m_fromLinks;
        report(entry, true);
    } else {
        makeLastReport(entry);
    }
    for (const std::string& other : outdated)
        drop(other);
}

void RecordSet::beginCache()
{
    m_isReadingCache = true;
}

void RecordSet::endCache()
{
    if (!m_isReadingCache)
        return;
    m_isReadingCache = false;
    orderCached();
    reconsiderAll(true);
}

/// What one transport's cache holds says more than another's: the first one that names a record ranks it.
void RecordSet::orderCached()
{
    std::unordered_set<std::string> ranked;
    for (auto key = m_cached.rbegin(); key != m_cached.rend(); ++key) {
        const auto entry = m_entries.find(*key);
        if (entry != m_entries.end() && ranked.insert(*key).second)
            entry->second.order = m_arrivals++;
    }
    m_cached.clear();
}

void RecordSet::expectConfirmation()
{
    for (auto& [key, entry] : m_entries)
        entry.unconfirmed = entry.transports;
}

void RecordSet::forgetTransports()
{
    for (auto& [key, entry] : m_entries)
        unhear(entry, BothTransports);
}

bool RecordSet::hasUnconfirmed() const
{
    return std::any_of(m_entries.begin(), m_entries.end(), [](const auto& entry) {
        return entry.second.unconfirmed != 0 || entry.second.transports == 0;
    });
}

void RecordSet::dropUnconfirmed()
{
    std::vector<std::string> unheard;
    for (auto& [key, entry] : m_entries) {
        unhear(entry, entry.unconfirmed);
        if (entry.transports == 0)
            unheard.push_back(key);
    }
    for (const std::string& key : unheard)
        drop(key);
}

void RecordSet::drop(const std::string& key)
{
    const auto place = m_entries.find(key);
    Entry entry = std::move(place->second);
    m_entries.erase(place);
    if (entry.isReported())
        takeBack(entry);
    if (!isLoopback(entry.record) && --m_fromLinks == 0)
        reconsiderAll(false);
}

void RecordSet::unhear(Entry& entry, unsigned transports)
{
    for (const Transport transport : {Transport::IPv4, Transport::IPv6}) {
        if (entry.transports & transports & bitOf(transport))
            m_observer.onHeard(entry.record, transport, false);
    }
    entry.transports &= ~transports;
    entry.unconfirmed &= ~transports;
}

void RecordSet::tellObserver(const Entry& entry, bool isPresent, bool isCached, bool isRepeated) const
{
    const Transport transport =
        entry.transports == bitOf(Transport::IPv6) ? Transport::IPv6 : Transport::IPv4;
    m_observer.onReport({entry.record, transport, isPresent, isCached, isRepeated});
}

void RecordSet::report(Entry& entry, bool isCached, bool isRepeated)
{
    entry.reported = ++m_reports;
    m_lastReports[entry.record.interface] = entry.reported;
    tellObserver(entry, true, isCached, isRepeated);
}

void RecordSet::takeBack(Entry& entry)
{
    const bool wasLast = isLastReport(entry);
    entry.reported = 0;
    tellObserver(entry, false, false, false);
    if (wasLast && holdsOneRecord() && isAnyReported(entry.record.interface))
        m_observer.onUnsettled();
}

/// Whether the latest record of a name on an interface replaces the others.
bool RecordSet::holdsOneRecord() const
{
    return m_query.type == kDNSServiceType_TXT || m_query.type == kDNSServiceType_SRV;
}

bool RecordSet::isLastReport(const Entry& entry) const
{
    const auto last = m_lastReports.find(entry.record.interface);
    return last != m_lastReports.end() && last->second == entry.reported;
}

bool RecordSet::isAnyReported(uint32_t interface, unsigned sinceArrival) const
{
    return std::any_of(m_entries.begin(), m_entries.end(), [&](const auto& one) {
        const Entry& entry = one.second;
        return entry.isReported() && entry.record.interface == interface && entry.order >= sinceArrival;
    });
}

std::vector<uint32_t> RecordSet::interfacesOf(const Record& record) const
{
    std::vector<uint32_t> interfaces;
    for (const auto& [key, entry] : m_entries) {
        const Record& held = entry.record;
        const bool isSame = held.type == record.type && held.data == record.data;
        if (isSame && (record.interface == 0 || record.interface == held.interface))
            interfaces.push_back(held.interface);
    }
    return interfaces;
}

bool RecordSet::isLoopback(const Record& record) const
{
    return !m_isLoopbackALink && m_query.interface == 0 && record.interface == loopbackIndex();
}

bool RecordSet::isReportable(const Record& record) const
{
    return !m_isReadingCache && !m_observer.keepsBack(record) &&
           (!isLoopback(record) || (m_fromLinks == 0 && onlyLoopbackIsUp()));
}

void RecordSet::reconsiderAll(bool isCached)
{
    if (m_isReadingCache)
        return;
    for (Entry* entry : inOrderOfArrival()) {
        const bool isWanted = isReportable(entry->record);
        if (entry->isReported() == isWanted)
            continue;
        if (!isWanted)
            takeBack(*entry);
        else if (holdsOneRecord() && isAnyReported(entry->record.interface, entry->order))
            m_observer.onUnsettled();
        else
            report(*entry, isCached);
    }
}

void RecordSet::settle()
{
    std::map<uint32_t, Entry*> lastArrivals;
    for (Entry* entry : inOrderOfArrival()) {
        if (!entry->isReported() && isReportable(entry->record))
            report(*entry, false);
        if (entry->isReported())
            lastArrivals[entry->record.interface] = entry;
    }
    for (const auto& [interface, entry] : lastArrivals)
        makeLastReport(*entry);
}

void RecordSet::makeLastReport(Entry& entry)
{
    if (holdsOneRecord() && !isLastReport(entry))
        report(entry, false, true);
}

} // namespace vesk::dnssd
