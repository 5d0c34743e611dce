// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_RECORDBROWSER_H
#define VESK_DNSSD_RECORDBROWSER_H

#include "Backend.h"
#include "DaemonObject.h"

#include <avahi-client/lookup.h>

namespace vesk::dnssd {

/// A query, as a record browser of the daemon's.
class RecordBrowser final : public Backend::ActiveQuery
{
public:
    RecordBrowser(ReleaseQueue& releases, DaemonErrorListener& errors, RecordListener& listener);

    /// Returns libavahi's error.
    int start(DaemonConnections& connections, const Query& query);

private:
    static void changed(AvahiRecordBrowser* browser, AvahiIfIndex interface, AvahiProtocol protocol,
                        AvahiBrowserEvent event, const char* name, uint16_t recordClass, uint16_t type,
                        const void* data, size_t size, AvahiLookupResultFlags flags, void* context);
    void fail(int error);

    DaemonObject<AvahiRecordBrowser, avahi_record_browser_free, RecordBrowser> m_browser;
    DaemonErrorListener& m_errors;
    RecordListener& m_listener;
};

} // namespace vesk::dnssd

#endif
