// SPDX-License-Identifier: MIT
#include "CoreEntryGroup.h"

#include "CallbackGuard.h"
#include "CoreRecord.h"

namespace vesk::dnssd {

namespace {

constexpr auto NoFlags = AvahiPublishFlags(0);

} // namespace

CoreEntryGroup::CoreEntryGroup(EventLoop& loop, std::shared_ptr<CoreServer> server, HostAddresses& addresses,
                               PublishListener& listener)
    : EntryGroup(loop, listener)
    , m_addresses(addresses)
    , m_group(std::move(server))
{
}

int CoreEntryGroup::make()
{
    return m_group.adopt(avahi_s_entry_group_new(server(), changed, this));
}

void CoreEntryGroup::changed(AvahiServer*, AvahiSEntryGroup*, AvahiEntryGroupState state, void* context)
{
    guardedCallback([&] { static_cast<CoreEntryGroup*>(context)->onState(state, AVAHI_OK); });
}

int CoreEntryGroup::addRecord(const RecordEntry& record)
{
    const CoreRecord added = makeRecord(record.name, record.type, record.ttl, record.data);
    if (!added)
        return AVAHI_ERR_INVALID_RECORD;
    if (record.type == AVAHI_DNS_TYPE_SRV)
        m_addressesNeed.emplace(m_addresses);
    return avahi_server_add(server(), m_group.get(), record.interface, AVAHI_PROTO_UNSPEC, record.flags,
                            added.get());
}

int CoreEntryGroup::addService(const ServiceEntry& service, const std::string& host, uint16_t port,
                               AvahiStringList* txt)
{
    if (host.empty())
        m_addressesNeed.emplace(m_addresses);
    return avahi_server_add_service_strlst(
        server(), m_group.get(), service.interface, AVAHI_PROTO_UNSPEC, NoFlags, service.name.c_str(),
        service.type.c_str(), service.domain.c_str(), host.empty() ? nullptr : host.c_str(), port, txt);
}

int CoreEntryGroup::addSubtype(const ServiceEntry& service, const std::string& subtype)
{
    return avahi_server_add_service_subtype(server(), m_group.get(), service.interface, AVAHI_PROTO_UNSPEC,
                                            NoFlags, service.name.c_str(), service.type.c_str(),
                                            service.domain.c_str(), subtype.c_str());
}

int CoreEntryGroup::updateTxt(const ServiceEntry& service, AvahiStringList* txt)
{
    return avahi_server_update_service_txt_strlst(server(), m_group.get(), service.interface,
                                                  AVAHI_PROTO_UNSPEC, NoFlags, service.name.c_str(),
                                                  service.type.c_str(), service.domain.c_str(), txt);
}

} // namespace vesk::dnssd
