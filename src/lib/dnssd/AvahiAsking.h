// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_AVAHIASKING_H
#define VESK_DNSSD_AVAHIASKING_H

#include "AvahiObject.h"

#include <avahi-client/lookup.h>

namespace vesk::dnssd {

/// A record browser of the daemon's.
class AvahiAsking : public Backend::Asking
{
public:
    AvahiAsking(AvahiErrorListener& errors, Backend::Asker& asker);

    /// Returns the daemon's error.
    int start(AvahiClientPool& pool, const Query& query);

private:
    static void answered(AvahiRecordBrowser*, AvahiIfIndex interface, AvahiProtocol protocol,
                         AvahiBrowserEvent event, const char* name, uint16_t recordClass, uint16_t type,
                         const void* data, size_t size, AvahiLookupResultFlags flags, void* self);

    AvahiObject<AvahiRecordBrowser, avahi_record_browser_free> m_browser;
    Backend::Asker& m_asker;
};

} // namespace vesk::dnssd

#endif
