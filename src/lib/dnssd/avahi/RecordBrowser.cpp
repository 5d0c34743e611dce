// SPDX-License-Identifier: MIT
#include "RecordBrowser.h"

#include "AvahiEncoding.h"

namespace vesk::dnssd {

RecordBrowser::RecordBrowser(ReleaseQueue& releases, DaemonErrorListener& errors, RecordListener& listener)
    : m_browser(releases, *this)
    , m_errors(errors)
    , m_listener(listener)
{
}

int RecordBrowser::start(DaemonConnections& connections, const Query& query)
{
    const std::string name = toAvahiText(query.name);
    return m_browser.adopt(connections.make<AvahiRecordBrowser>([&](AvahiClient* client) {
        return avahi_record_browser_new(client, toAvahiInterface(query.interface),
                                        toAvahiProtocol(query.transport), name.c_str(), query.recordClass,
                                        query.type, AvahiLookupFlags(0), changed, m_browser.context());
    }));
}

void RecordBrowser::changed(AvahiRecordBrowser* browser, AvahiIfIndex interface, AvahiProtocol protocol,
                            AvahiBrowserEvent event, const char* name, uint16_t recordClass, uint16_t type,
                            const void* data, size_t size, AvahiLookupResultFlags flags, void* context)
{
    RecordBrowser* self = decltype(m_browser)::ownerOf(context);
    if (!self)
        return;
    // Each of these calls may be the last thing that happens to this object.
    if (event == AVAHI_BROWSER_CACHE_EXHAUSTED)
        return self->m_listener.onCacheExhausted();
    if (event == AVAHI_BROWSER_FAILURE)
        return self->fail(avahi_client_errno(avahi_record_browser_get_client(browser)));
    if (event != AVAHI_BROWSER_NEW && event != AVAHI_BROWSER_REMOVE)
        return;
    auto labels = parseName(name);
    if (!labels)
        return;
    const Record record{std::move(*labels), type, recordClass, static_cast<uint32_t>(interface),
                        std::string(static_cast<const char*>(data), size)};
    const Transport transport = protocol == AVAHI_PROTO_INET6 ? Transport::IPv6 : Transport::IPv4;
    self->m_listener.onRecord(
        {record, transport, event == AVAHI_BROWSER_NEW, (flags & AVAHI_LOOKUP_RESULT_CACHED) != 0});
}

/// A daemon that has gone has failed no query.
void RecordBrowser::fail(int error)
{
    m_errors.onDaemonAnswer(error);
    if (!isConnectionLost(error))
        m_listener.onQueryFailed(error == AVAHI_OK ? BackendError::Failed : toBackendError(error));
}

} // namespace vesk::dnssd
