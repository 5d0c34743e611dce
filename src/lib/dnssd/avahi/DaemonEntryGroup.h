// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_DAEMONENTRYGROUP_H
#define VESK_DNSSD_DAEMONENTRYGROUP_H

#include "DaemonObject.h"
#include "EntryGroup.h"

#include <avahi-client/publish.h>

namespace vesk::dnssd {

/// An entry group of the daemon's.
class DaemonEntryGroup final : public EntryGroup
{
public:
    DaemonEntryGroup(EventLoop& loop, ReleaseQueue& releases, DaemonErrorListener& errors,
                     PublishListener& listener);

    /// Makes the group at the daemon. Returns libavahi's error.
    int make(DaemonConnections& connections);

    bool isThere() const override { return m_group.get() != nullptr; }
    std::string hostName() const override;
    int addRecord(const RecordEntry& record) override;
    int addService(const ServiceEntry& service, const std::string& host, uint16_t port,
                   AvahiStringList* txt) override;
    int addSubtype(const ServiceEntry& service, const std::string& subtype) override;
    int updateTxt(const ServiceEntry& service, AvahiStringList* txt) override;
    int commit() override;

private:
    static void changed(AvahiEntryGroup* group, AvahiEntryGroupState state, void* context);
    int answered(int error);

    DaemonErrorListener& m_errors;
    DaemonObject<AvahiEntryGroup, avahi_entry_group_free, DaemonEntryGroup> m_group;
};

} // namespace vesk::dnssd

#endif
