// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_CORERECORDBROWSER_H
#define VESK_DNSSD_CORERECORDBROWSER_H

#include "Backend.h"
#include "CoreObject.h"

#include <avahi-core/lookup.h>

namespace vesk::dnssd {

/// A query, as a record browser.
class CoreRecordBrowser final : public Backend::ActiveQuery
{
public:
    CoreRecordBrowser(std::shared_ptr<CoreServer> server, RecordListener& listener);

    /// Returns libavahi's error.
    int start(const Query& query);

private:
    static void changed(AvahiSRecordBrowser* browser, AvahiIfIndex interface, AvahiProtocol protocol,
                        AvahiBrowserEvent event, AvahiRecord* record, AvahiLookupResultFlags flags,
                        void* context);
    void onRecord(AvahiIfIndex interface, AvahiProtocol protocol, bool isPresent, AvahiRecord& record,
                  AvahiLookupResultFlags flags);

    CoreObject<AvahiSRecordBrowser, avahi_s_record_browser_free> m_browser;
    RecordListener& m_listener;
};

} // namespace vesk::dnssd

#endif
