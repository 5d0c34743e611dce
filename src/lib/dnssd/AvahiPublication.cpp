// SPDX-License-Identifier: MIT
#include "AvahiPublication.h"

#include "TxtItems.h"

namespace vesk::dnssd {

namespace {

using StringList = std::unique_ptr<AvahiStringList, decltype(&avahi_string_list_free)>;

/// The daemon refuses empty items; without any item it publishes the empty one by itself.
StringList toStringList(const std::string& txt)
{
    AvahiStringList* list = nullptr;
    TxtItems items(txt.data(), txt.size());
    while (const auto item = items.next()) {
        if (item->whole.empty())
            continue;
        const auto* bytes = reinterpret_cast<const uint8_t*>(item->whole.data());
        list = avahi_string_list_add_arbitrary(list, bytes, item->whole.size());
    }
    return {list, avahi_string_list_free};
}

/// The SRV record that keeps a name for a service which offers nothing yet.
std::string placeholderData(const Labels& host)
{
    return std::string(6, '\0') + toWire(host);
}

} // namespace

AvahiPublication::AvahiPublication(AvahiErrorListener& errors, Loop& loop, const Service& service,
                                   Backend::Publisher& publisher)
    : m_loop(loop)
    , m_group(errors)
    , m_errors(errors)
    , m_publisher(publisher)
    , m_interface(daemonIndex(service.interface))
    , m_isPlaceholder(service.port == 0)
    , m_name(service.name)
    , m_type(toDaemonText(service.type))
    , m_domain(toDaemonText(service.domain))
{
}

int AvahiPublication::start(AvahiClientPool& pool, const Service& service)
{
    auto made = pool.make<AvahiEntryGroup>(
        [this](AvahiClient* client) { return avahi_entry_group_new(client, changed, this); });
    m_group.set(made);
    if (!made.object)
        return made.error;
    int error = m_isPlaceholder ? addPlaceholder(service) : addService(service);
    for (const std::string& subtype : service.subtypes) {
        if (error == AVAHI_OK && !m_isPlaceholder)
            error = addSubtype(subtype);
    }
    return error == AVAHI_OK ? avahi_entry_group_commit(m_group.get()) : error;
}

void AvahiPublication::update(const std::string& txt)
{
    if (!m_group.get() || m_isPlaceholder)
        return;
    m_errors.returned(avahi_entry_group_update_service_txt_strlst(
        m_group.get(), m_interface, AVAHI_PROTO_UNSPEC, AvahiPublishFlags(0), m_name.c_str(), m_type.c_str(),
        m_domain.c_str(), toStringList(txt).get()));
}

int AvahiPublication::addService(const Service& service)
{
    const std::string host = toDaemonText(service.host);
    return avahi_entry_group_add_service_strlst(m_group.get(), m_interface, AVAHI_PROTO_UNSPEC,
                                                AvahiPublishFlags(0), m_name.c_str(), m_type.c_str(),
                                                m_domain.c_str(), host.empty() ? nullptr : host.c_str(),
                                                service.port, toStringList(service.txt).get());
}

int AvahiPublication::addSubtype(const std::string& subtype)
{
    const std::string type = toDaemonText({subtype, "_sub"}) + '.' + m_type;
    return avahi_entry_group_add_service_subtype(m_group.get(), m_interface, AVAHI_PROTO_UNSPEC,
                                                 AvahiPublishFlags(0), m_name.c_str(), m_type.c_str(),
                                                 m_domain.c_str(), type.c_str());
}

int AvahiPublication::addPlaceholder(const Service& service)
{
    const char* fqdn = avahi_client_get_host_name_fqdn(m_group.client());
    const Labels thisHost = parseName(fqdn ? fqdn : "").value_or(Labels());
    const std::string data = placeholderData(service.host.empty() ? thisHost : service.host);
    const std::string name = toDaemonText(Labels{service.name} + service.type + service.domain);
    return avahi_entry_group_add_record(m_group.get(), m_interface, AVAHI_PROTO_UNSPEC, AVAHI_PUBLISH_UNIQUE,
                                        name.c_str(), kDNSServiceClass_IN, kDNSServiceType_SRV, 120,
                                        data.data(), data.size());
}

/// Called in the middle of libavahi's work, while whoever is told may release the group.
void AvahiPublication::changed(AvahiEntryGroup*, AvahiEntryGroupState state, void* self)
{
    auto* publication = static_cast<AvahiPublication*>(self);
    if (state == AVAHI_ENTRY_GROUP_ESTABLISHED)
        publication->tell(&Backend::Publisher::published);
    else if (state == AVAHI_ENTRY_GROUP_COLLISION)
        publication->tell(&Backend::Publisher::collided);
}

void AvahiPublication::tell(void (Backend::Publisher::*what)())
{
    m_loop.post([this, what, alive = std::weak_ptr(m_alive)] {
        if (!alive.expired())
            (m_publisher.*what)();
    });
}

} // namespace vesk::dnssd
