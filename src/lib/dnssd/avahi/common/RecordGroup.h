// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_RECORDGROUP_H
#define VESK_DNSSD_RECORDGROUP_H

#include "EntryGroup.h"

namespace vesk::dnssd {

/// A published record, alone in an entry group.
class RecordGroup final : public Backend::RecordPublication
{
public:
    RecordGroup(EntryGroups& groups, const PublishedRecord& record, PublishListener& listener);

    /// Returns libavahi's error.
    int start(const PublishedRecord& record);
    void update(const std::string& data, uint32_t ttl) override;

private:
    int publish(const std::string& data, uint32_t ttl);

    EntryGroups& m_groups;
    PublishListener& m_listener;
    AvahiIfIndex m_interface;
    AvahiPublishFlags m_flags;
    std::string m_name;
    uint16_t m_type;
    std::unique_ptr<EntryGroup> m_group;
};

} // namespace vesk::dnssd

#endif
