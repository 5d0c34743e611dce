// SPDX-License-Identifier: MIT
#include "DaemonEntryGroup.h"

#include "dns_sd.h"

namespace vesk::dnssd {

namespace {

constexpr auto NoFlags = AvahiPublishFlags(0);

} // namespace

DaemonEntryGroup::DaemonEntryGroup(EventLoop& loop, ReleaseQueue& releases, DaemonErrorListener& errors,
                                   PublishListener& listener)
    : EntryGroup(loop, listener)
    , m_errors(errors)
    , m_group(releases, *this)
{
}

int DaemonEntryGroup::make(DaemonConnections& connections)
{
    return m_group.adopt(connections.make<AvahiEntryGroup>(
        [this](AvahiClient* client) { return avahi_entry_group_new(client, changed, m_group.context()); }));
}

void DaemonEntryGroup::changed(AvahiEntryGroup* group, AvahiEntryGroupState state, void* context)
{
    if (DaemonEntryGroup* self = decltype(m_group)::ownerOf(context))
        self->onState(state, avahi_client_errno(avahi_entry_group_get_client(group)));
}

std::string DaemonEntryGroup::hostName() const
{
    const char* name = avahi_client_get_host_name_fqdn(m_group.client());
    return name ? name : "";
}

int DaemonEntryGroup::addRecord(const RecordEntry& record)
{
    return answered(avahi_entry_group_add_record(
        m_group.get(), record.interface, AVAHI_PROTO_UNSPEC, record.flags, record.name.c_str(),
        kDNSServiceClass_IN, record.type, record.ttl, record.data.data(), record.data.size()));
}

int DaemonEntryGroup::addService(const ServiceEntry& service, const std::string& host, uint16_t port,
                                 AvahiStringList* txt)
{
    return answered(avahi_entry_group_add_service_strlst(
        m_group.get(), service.interface, AVAHI_PROTO_UNSPEC, NoFlags, service.name.c_str(),
        service.type.c_str(), service.domain.c_str(), host.empty() ? nullptr : host.c_str(), port, txt));
}

int DaemonEntryGroup::addSubtype(const ServiceEntry& service, const std::string& subtype)
{
    return answered(avahi_entry_group_add_service_subtype(
        m_group.get(), service.interface, AVAHI_PROTO_UNSPEC, NoFlags, service.name.c_str(),
        service.type.c_str(), service.domain.c_str(), subtype.c_str()));
}

int DaemonEntryGroup::updateTxt(const ServiceEntry& service, AvahiStringList* txt)
{
    return answered(avahi_entry_group_update_service_txt_strlst(
        m_group.get(), service.interface, AVAHI_PROTO_UNSPEC, NoFlags, service.name.c_str(),
        service.type.c_str(), service.domain.c_str(), txt));
}

int DaemonEntryGroup::commit()
{
    return answered(avahi_entry_group_commit(m_group.get()));
}

/// Each call may be the one that finds the daemon gone.
int DaemonEntryGroup::answered(int error)
{
    m_errors.onDaemonAnswer(error);
    return error;
}

} // namespace vesk::dnssd
