// SPDX-License-Identifier: MIT
#include "Sightings.h"

namespace vesk::dnssd {

namespace {

std::string sightingKey(const Labels& name, uint32_t interface)
{
    return canonical(name).append(reinterpret_cast<const char*>(&interface), sizeof interface);
}

} // namespace

const Sightings::Sighting* Sightings::find(const Labels& name, uint32_t interface) const
{
    const auto found = m_all.find(sightingKey(name, interface));
    return found == m_all.end() ? nullptr : &found->second;
}

void Sightings::add(const Labels& name, uint32_t interface, Transport transport)
{
    Sighting& sighting = m_all.try_emplace(sightingKey(name, interface), Sighting{name}).first->second;
    ++sighting.seen[Sighting::place(transport)];
}

void Sightings::remove(const Labels& name, uint32_t interface, Transport transport)
{
    const auto found = m_all.find(sightingKey(name, interface));
    if (found == m_all.end())
        return;
    auto& seen = found->second.seen;
    if (seen[Sighting::place(transport)] > 0)
        --seen[Sighting::place(transport)];
    if (seen[0] + seen[1] == 0)
        m_all.erase(found);
}

} // namespace vesk::dnssd
