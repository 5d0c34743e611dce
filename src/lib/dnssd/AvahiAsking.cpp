// SPDX-License-Identifier: MIT
#include "AvahiAsking.h"

namespace vesk::dnssd {

AvahiAsking::AvahiAsking(AvahiErrorListener& errors, Backend::Asker& asker)
    : m_browser(errors)
    , m_asker(asker)
{
}

int AvahiAsking::start(AvahiClientPool& pool, const Query& query)
{
    const std::string name = toDaemonText(query.name);
    auto made = pool.make<AvahiRecordBrowser>([&](AvahiClient* client) {
        return avahi_record_browser_new(client, daemonIndex(query.interface), daemonProtocol(query.transport),
                                        name.c_str(), query.recordClass, query.type, AvahiLookupFlags(0),
                                        answered, this);
    });
    m_browser.set(made);
    return made.error;
}

void AvahiAsking::answered(AvahiRecordBrowser*, AvahiIfIndex interface, AvahiProtocol protocol,
                           AvahiBrowserEvent event, const char* name, uint16_t recordClass, uint16_t type,
                           const void* data, size_t size, AvahiLookupResultFlags flags, void* self)
{
    Backend::Asker& asker = static_cast<AvahiAsking*>(self)->m_asker;
    if (event == AVAHI_BROWSER_CACHE_EXHAUSTED)
        asker.exhausted();
    if (event != AVAHI_BROWSER_NEW && event != AVAHI_BROWSER_REMOVE)
        return;
    auto labels = parseName(name);
    if (!labels)
        return;
    const Record record{std::move(*labels), type, recordClass, static_cast<uint32_t>(interface),
                        std::string(static_cast<const char*>(data), size)};
    const Transport transport = protocol == AVAHI_PROTO_INET6 ? Transport::IPv6 : Transport::IPv4;
    asker.answered(record, transport, event == AVAHI_BROWSER_NEW, (flags & AVAHI_LOOKUP_RESULT_CACHED) != 0);
}

} // namespace vesk::dnssd
