// SPDX-License-Identifier: MIT
#include "InstanceTransports.h"

namespace vesk::dnssd {

namespace {

std::string entryKey(const Labels& name, uint32_t interface)
{
    return canonical(name).append(reinterpret_cast<const char*>(&interface), sizeof interface);
}

constexpr std::size_t indexOf(Transport transport)
{
    return transport == Transport::IPv4 ? 0 : 1;
}

} // namespace

const InstanceTransports::Entry* InstanceTransports::entryOf(const Labels& instance, uint32_t interface) const
{
    const auto found = m_entries.find(entryKey(instance, interface));
    return found == m_entries.end() ? nullptr : &found->second;
}

void InstanceTransports::add(const Labels& instance, uint32_t interface, Transport transport)
{
    Entry& entry = m_entries.try_emplace(entryKey(instance, interface), Entry{instance}).first->second;
    ++entry.browses[indexOf(transport)];
}

void InstanceTransports::remove(const Labels& instance, uint32_t interface, Transport transport)
{
    const auto found = m_entries.find(entryKey(instance, interface));
    if (found == m_entries.end())
        return;
    auto& browses = found->second.browses;
    if (browses[indexOf(transport)] > 0)
        --browses[indexOf(transport)];
    if (browses[0] + browses[1] == 0)
        m_entries.erase(found);
}

std::optional<Transport> InstanceTransports::find(const Labels& instance, uint32_t interface) const
{
    const Entry* entry = entryOf(instance, interface);
    if (!entry)
        return std::nullopt;
    return entry->browses[indexOf(Transport::IPv4)] > 0 ? Transport::IPv4 : Transport::IPv6;
}

bool InstanceTransports::isSeenOver(const Labels& instance, uint32_t interface, Transport transport) const
{
    const Entry* entry = entryOf(instance, interface);
    return entry && entry->browses[indexOf(transport)] > 0;
}

bool InstanceTransports::isSpelt(const Labels& instance, uint32_t interface) const
{
    const Entry* entry = entryOf(instance, interface);
    return entry && entry->name == instance;
}

} // namespace vesk::dnssd
