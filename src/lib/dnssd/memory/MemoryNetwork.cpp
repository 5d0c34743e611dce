// SPDX-License-Identifier: MIT
#include "MemoryNetwork.h"

#include "dns_sd.h"

#include <net/if.h>

#include <algorithm>

namespace vesk::dnssd {

namespace {

using Claim = PublishedRecord::Claim;

constexpr uint32_t Loopback = 1;   // of every Linux machine
constexpr uint16_t AnyClass = 255; // RFC 1035 section 3.2.5

bool interfaceExists(uint32_t index)
{
    char name[IF_NAMESIZE];
    return index == Loopback || if_indextoname(index, name) != nullptr;
}

bool meet(uint32_t interface, uint32_t other)
{
    return interface == 0 || other == 0 || interface == other;
}

/// Identical records are one record, whichever host publishes them (RFC 6762 section 9).
bool differ(const PublishedRecord& a, const PublishedRecord& b)
{
    return a.type == b.type && meet(a.interface, b.interface) && a.data != b.data;
}

bool answers(const PublishedRecord& record, const Query& query)
{
    const bool isOfType = query.type == kDNSServiceType_ANY || query.type == record.type;
    const bool isOfClass = query.recordClass == AnyClass || query.recordClass == kDNSServiceClass_IN;
    const bool isThere = record.interface != 0 || query.interface == 0 || interfaceExists(query.interface);
    return isOfType && isOfClass && isThere && meet(record.interface, query.interface);
}

uint32_t interfaceOf(const PublishedRecord& record, const Query& query)
{
    if (query.interface != 0)
        return query.interface;
    return record.interface != 0 ? record.interface : Loopback;
}

} // namespace

MemoryNetwork::MemoryNetwork(std::function<void()> onChanged)
    : m_onChanged(std::move(onChanged))
{
}

void MemoryNetwork::changed(Name& name) noexcept
{
    name.version = ++m_changes;
    m_onChanged();
}

template <typename Act>
void MemoryNetwork::forEachEntryOf(const Holder& holder, Act act)
{
    for (const std::string& key : holder.m_names) {
        const auto name = m_names.find(key);
        if (name == m_names.end())
            continue;
        for (Entry& entry : name->second.entries) {
            if (entry.holder == &holder && act(entry))
                changed(name->second);
        }
    }
}

template <typename IsRemoved>
MemoryNetwork::Names::iterator MemoryNetwork::removeIf(Names::iterator name, IsRemoved isRemoved) noexcept
{
    auto& entries = name->second.entries;
    const auto end = std::remove_if(entries.begin(), entries.end(), isRemoved);
    if (end != entries.end()) {
        entries.erase(end, entries.end());
        changed(name->second);
    }
    return entries.empty() ? m_names.erase(name) : std::next(name);
}

bool MemoryNetwork::isTakenHere(const std::vector<PublishedRecord>& records) const
{
    const auto exclude = [](const Entry& entry, const PublishedRecord& record) {
        const bool isShared = record.claim == Claim::Shared;
        return entry.host == Host::This && differ(entry.record, record) &&
               (entry.record.claim != Claim::Shared || !isShared) && !(entry.allowsFurther && isShared);
    };
    return std::any_of(records.begin(), records.end(), [&](const PublishedRecord& record) {
        const auto name = m_names.find(canonical(record.name));
        return name != m_names.end() &&
               std::any_of(name->second.entries.begin(), name->second.entries.end(),
                           [&](const Entry& entry) { return exclude(entry, record); });
    });
}

void MemoryNetwork::add(Holder& holder, Host host, const std::vector<PublishedRecord>& records)
try {
    const bool isAnnounced = host == Host::Other;
    for (const PublishedRecord& record : records) {
        holder.m_names.push_back(canonical(record.name)); // first: by it the record is found again
        Name& name = m_names[holder.m_names.back()];
        name.entries.push_back({&holder, host, record, isAnnounced, false});
        changed(name);
    }
    std::vector<Holder*> inConflict;
    if (host == Host::Other) {
        for (const std::string& name : holder.m_names)
            findConflicts(m_names[name], inConflict);
    }
    for (Holder* one : inConflict)
        one->onNameConflict();
} catch (...) {
    remove(holder);
    throw;
}

bool MemoryNetwork::isInConflict(const Entry& entry, const Name& name) const
{
    return entry.host == Host::This && entry.record.claim == Claim::Unique &&
           std::any_of(name.entries.begin(), name.entries.end(), [&](const Entry& other) {
               return other.host == Host::Other && isHeard(other) && differ(entry.record, other.record);
           });
}

bool MemoryNetwork::isInConflict(const Holder& holder) const
{
    return std::any_of(holder.m_names.begin(), holder.m_names.end(), [&](const std::string& key) {
        const auto found = m_names.find(key);
        if (found == m_names.end())
            return false;
        const Name& name = found->second;
        return std::any_of(name.entries.begin(), name.entries.end(), [&](const Entry& entry) {
            return entry.holder == &holder && isInConflict(entry, name);
        });
    });
}

/// What is not announced yet looks for conflicts by itself when it is.
void MemoryNetwork::findConflicts(const Name& name, std::vector<Holder*>& inConflict) const
{
    for (const Entry& entry : name.entries) {
        const bool isNoted =
            std::find(inConflict.begin(), inConflict.end(), entry.holder) != inConflict.end();
        if (!isNoted && entry.isAnnounced && isInConflict(entry, name))
            inConflict.push_back(entry.holder);
    }
}

void MemoryNetwork::announce(const Holder& holder)
{
    forEachEntryOf(holder, [](Entry& entry) { return entry.isAnnounced = true; });
}

void MemoryNetwork::replace(const Holder& holder, uint16_t type, const std::string& data, uint32_t ttl)
{
    forEachEntryOf(holder, [&](Entry& entry) {
        if (entry.record.type != type)
            return false;
        entry.record.data = data;
        entry.record.ttl = ttl;
        return true;
    });
}

void MemoryNetwork::allowFurther(const Holder& holder, uint16_t type)
{
    forEachEntryOf(holder, [&](Entry& entry) {
        entry.allowsFurther = entry.allowsFurther || entry.record.type == type;
        return false;
    });
}

void MemoryNetwork::remove(Holder& holder) noexcept
{
    for (const std::string& key : holder.m_names) {
        const auto name = m_names.find(key);
        if (name != m_names.end())
            removeIf(name, [&](const Entry& entry) { return entry.holder == &holder; });
    }
    holder.m_names.clear();
}

void MemoryNetwork::removeThisHosts() noexcept
{
    for (auto name = m_names.begin(); name != m_names.end();)
        name = removeIf(name, [](const Entry& entry) { return entry.host == Host::This; });
}

void MemoryNetwork::setConnected(bool isConnected)
{
    if (m_isConnected == isConnected)
        return;
    m_isConnected = isConnected;
    std::vector<Holder*> inConflict;
    for (auto& [key, name] : m_names) {
        changed(name);
        findConflicts(name, inConflict);
    }
    for (Holder* holder : inConflict)
        holder->onNameConflict();
}

bool MemoryNetwork::isHeard(const Entry& entry) const
{
    return entry.isAnnounced && (entry.host == Host::This || m_isConnected);
}

std::vector<Record> MemoryNetwork::find(const Query& query) const
{
    std::vector<Record> found;
    const auto name = m_names.find(canonical(query.name));
    if (name == m_names.end())
        return found;
    for (const Entry& entry : name->second.entries) {
        const PublishedRecord& record = entry.record;
        if (isHeard(entry) && answers(record, query))
            found.push_back({record.name, record.type, kDNSServiceClass_IN, interfaceOf(record, query),
                             record.data, record.ttl});
    }
    return found;
}

uint64_t MemoryNetwork::versionOf(const std::string& canonicalName) const
{
    const auto name = m_names.find(canonicalName);
    return name == m_names.end() ? 0 : name->second.version;
}

} // namespace vesk::dnssd
