// SPDX-License-Identifier: MIT
#include "Reconfirmations.h"

#include "QueryKey.h"

#include <iterator>

namespace vesk::dnssd {

namespace {

std::string keyOfRecord(const Record& record)
{
    return queryKeyOf(record, record.interface) + record.data;
}

} // namespace

Reconfirmations::Reconfirmations(EventLoop& loop, Backend& backend, Reconfirmation::Owner& owner)
    : m_loop(loop)
    , m_backend(backend)
    , m_owner(owner)
{
}

void Reconfirmations::begin(const Record& record)
{
    forgetExpired();
    const std::string key = keyOfRecord(record);
    const auto underWay = m_all.find(key);
    if (underWay != m_all.end())
        underWay->second->resume();
    else
        m_all.emplace(key, std::make_unique<Reconfirmation>(m_loop, m_backend, m_owner, record));
}

/// Those that no operation has waited for: they have no timer.
void Reconfirmations::forgetExpired()
{
    for (auto place = m_all.begin(); place != m_all.end();)
        place = place->second->isExpired() ? m_all.erase(place) : std::next(place);
}

bool Reconfirmations::keepsBack(const Record& record)
{
    if (isEmpty())
        return false;
    const auto found = m_all.find(keyOfRecord(record));
    if (found == m_all.end() || !found->second->isGone())
        return false;
    found->second->resume();
    return true;
}

std::unique_ptr<Reconfirmation> Reconfirmations::end(const Record& record)
{
    if (isEmpty())
        return nullptr;
    const auto ended = m_all.extract(keyOfRecord(record));
    return ended.empty() ? nullptr : std::move(ended.mapped());
}

} // namespace vesk::dnssd
