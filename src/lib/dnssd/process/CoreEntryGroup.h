// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_COREENTRYGROUP_H
#define VESK_DNSSD_COREENTRYGROUP_H

#include "CoreObject.h"
#include "EntryGroup.h"
#include "HostAddresses.h"

#include <avahi-core/publish.h>

#include <optional>

namespace vesk::dnssd {

/// An entry group of the server's. With one that names this host as a service's, the host's addresses are
/// published, too.
class CoreEntryGroup final : public EntryGroup
{
public:
    CoreEntryGroup(EventLoop& loop, std::shared_ptr<CoreServer> server, HostAddresses& addresses,
                   PublishListener& listener);

    /// Makes the group. Returns libavahi's error.
    int make();

    bool isThere() const override { return m_group.get() != nullptr; }
    std::string hostName() const override { return m_group.server().fullHostName(); }
    int addRecord(const RecordEntry& record) override;
    int addService(const ServiceEntry& service, const std::string& host, uint16_t port,
                   AvahiStringList* txt) override;
    int addSubtype(const ServiceEntry& service, const std::string& subtype) override;
    int updateTxt(const ServiceEntry& service, AvahiStringList* txt) override;
    int commit() override { return avahi_s_entry_group_commit(m_group.get()); }

private:
    static void changed(AvahiServer*, AvahiSEntryGroup*, AvahiEntryGroupState state, void* context);
    AvahiServer* server() const { return m_group.server().get(); }

    HostAddresses& m_addresses;
    CoreObject<AvahiSEntryGroup, avahi_s_entry_group_free> m_group;
    std::optional<HostAddresses::Need> m_addressesNeed;
};

} // namespace vesk::dnssd

#endif
