// SPDX-License-Identifier: MIT
#include "CoreRecordBrowser.h"

#include "AvahiEncoding.h"
#include "AvahiError.h"
#include "CallbackGuard.h"
#include "CoreRecord.h"

namespace vesk::dnssd {

CoreRecordBrowser::CoreRecordBrowser(std::shared_ptr<CoreServer> server, RecordListener& listener)
    : m_browser(std::move(server))
    , m_listener(listener)
{
}

int CoreRecordBrowser::start(const Query& query)
{
    const CoreKey key = makeKey(toAvahiText(query.name), query.recordClass, query.type);
    if (!key)
        return AVAHI_ERR_INVALID_KEY;
    return m_browser.adopt(avahi_s_record_browser_new(
        m_browser.server().get(), toAvahiInterface(query.interface), toAvahiProtocol(query.transport),
        key.get(), AVAHI_LOOKUP_USE_MULTICAST, changed, this));
}

void CoreRecordBrowser::changed(AvahiSRecordBrowser*, AvahiIfIndex interface, AvahiProtocol protocol,
                                AvahiBrowserEvent event, AvahiRecord* record, AvahiLookupResultFlags flags,
                                void* context)
{
    auto* self = static_cast<CoreRecordBrowser*>(context);
    guardedCallback([&] {
        // Each of these calls may be the last thing that happens to this object.
        if (event == AVAHI_BROWSER_NEW || event == AVAHI_BROWSER_REMOVE)
            self->onRecord(interface, protocol, event == AVAHI_BROWSER_NEW, *record, flags);
        else if (event == AVAHI_BROWSER_CACHE_EXHAUSTED)
            self->m_listener.onCacheExhausted();
        else if (event == AVAHI_BROWSER_FAILURE)
            self->m_listener.onQueryFailed(
                toBackendError(avahi_server_errno(self->m_browser.server().get())));
    });
}

void CoreRecordBrowser::onRecord(AvahiIfIndex interface, AvahiProtocol protocol, bool isPresent,
                                 AvahiRecord& record, AvahiLookupResultFlags flags)
{
    auto labels = parseName(record.key->name);
    if (!labels)
        return;
    const Record heard{std::move(*labels), record.key->type,
                       record.key->clazz,  static_cast<uint32_t>(interface),
                       dataOf(record),     record.ttl};
    const Transport transport = protocol == AVAHI_PROTO_INET6 ? Transport::IPv6 : Transport::IPv4;
    m_listener.onRecord({heard, transport, isPresent, (flags & AVAHI_LOOKUP_RESULT_CACHED) != 0});
}

} // namespace vesk::dnssd
