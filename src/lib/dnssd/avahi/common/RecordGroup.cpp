// SPDX-License-Identifier: MIT
#include "RecordGroup.h"

#include "AvahiEncoding.h"

#include <avahi-common/error.h>

namespace vesk::dnssd {

namespace {

/// Shared records may lie beside a service's TXT record, where that allows it.
AvahiPublishFlags publishFlags(PublishedRecord::Claim claim)
{
    switch (claim) {
    case PublishedRecord::Claim::Shared:
        return AVAHI_PUBLISH_ALLOW_MULTIPLE;
    case PublishedRecord::Claim::KnownUnique:
        return AvahiPublishFlags(AVAHI_PUBLISH_UNIQUE | AVAHI_PUBLISH_NO_PROBE);
    case PublishedRecord::Claim::Unique:
        break;
    }
    return AVAHI_PUBLISH_UNIQUE;
}

} // namespace

RecordGroup::RecordGroup(EntryGroups& groups, const PublishedRecord& record, PublishListener& listener)
    : m_groups(groups)
    , m_listener(listener)
    , m_interface(toAvahiInterface(record.interface))
    , m_flags(publishFlags(record.claim))
    , m_name(toAvahiText(record.name))
    , m_type(record.type)
{
}

int RecordGroup::start(const PublishedRecord& record)
{
    return publish(record.data, record.ttl);
}

/// Replaces the group, once there is the new one.
int RecordGroup::publish(const std::string& data, uint32_t ttl)
{
    auto [error, group] = m_groups.makeGroup(m_listener);
    if (error == AVAHI_OK)
        error = group->addRecord({m_interface, m_flags, m_name, m_type, ttl, data});
    if (error == AVAHI_OK)
        error = group->commit();
    if (error == AVAHI_OK)
        m_group = std::move(group);
    return error;
}

/// A unique record voids what was said before. Of a shared one libavahi's own update would withdraw the new
/// data instead of the old.
void RecordGroup::update(const std::string& data, uint32_t ttl)
{
    if (!m_group->isThere())
        return;
    const auto updating = AvahiPublishFlags(m_flags | AVAHI_PUBLISH_UPDATE);
    const bool isUnique = (m_flags & AVAHI_PUBLISH_UNIQUE) != 0;
    if (!isUnique)
        publish(data, ttl);
    else
        m_group->whenPublished([=] {
            m_group->addRecord({m_interface, updating, m_name, m_type, ttl, data});
        });
}

} // namespace vesk::dnssd
