// SPDX-License-Identifier: MIT
#include "OwnRecords.h"

#include "ServiceRecords.h"
#include "dns_sd.h"

namespace vesk::dnssd {

OwnRecords::OwnRecords(EventLoop& loop, MemoryNetwork& network, const ResponderLife& life,
                       PublishListener& listener, const std::vector<PublishedRecord>& records)
    : m_network(network)
    , m_life(life)
    , m_listener(listener)
    , m_tasks(loop)
{
    later([this] { announce(); });
    m_network.add(*this, MemoryNetwork::Host::This, records); // last: it leaves nothing when it throws
}

OwnRecords::~OwnRecords()
{
    m_network.remove(*this);
}

void OwnRecords::replace(uint16_t type, const std::string& data, uint32_t ttl)
{
    m_network.replace(*this, type, data, ttl);
}

void OwnRecords::allowFurther(uint16_t type)
{
    m_network.allowFurther(*this, type);
}

/// What another host has is known at once, so that there is nothing to wait for as in probing
/// (RFC 6762 section 8.1).
void OwnRecords::announce()
{
    if (m_network.isInConflict(*this)) {
        onNameConflict();
        return;
    }
    m_network.announce(*this);
    m_listener.onPublished();
}

/// Told a round later: this may be a call of the one that publishes on the other host.
void OwnRecords::onNameConflict()
{
    m_network.remove(*this);
    later([this] { m_listener.onNameConflict(); });
}

void OwnRecords::later(Task task)
{
    m_tasks.post([task = std::move(task), life = m_life] {
        if (!life.expired())
            task();
    });
}

void OwnService::update(const std::string& txt)
{
    m_records.replace(kDNSServiceType_TXT, txt, OtherRecordTtl);
}

void OwnService::allowFurtherTxt()
{
    m_records.allowFurther(kDNSServiceType_TXT);
}

void OwnRecord::update(const std::string& data, uint32_t ttl)
{
    m_records.replace(m_type, data, ttl);
}

} // namespace vesk::dnssd
