// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_AVAHIGLANCE_H
#define VESK_DNSSD_AVAHIGLANCE_H

#include "AvahiObject.h"

#include <avahi-client/lookup.h>

namespace vesk::dnssd {

/// A service resolver that is released with its first answer. The daemon holds a question back for a tenth of
/// a second before it goes out, and drops it when nobody is left to know: what is in its cache costs the
/// network nothing.
class AvahiGlance : public Backend::Asking
{
public:
    AvahiGlance(AvahiErrorListener& errors, Backend::Glancer& glancer);

    /// Returns the daemon's error.
    int start(AvahiClientPool& pool, const Labels& instance, uint32_t interface, Transport transport);

private:
    static void resolved(AvahiServiceResolver*, AvahiIfIndex, AvahiProtocol, AvahiResolverEvent event,
                         const char* name, const char* type, const char* domain, const char* host,
                         const AvahiAddress*, uint16_t port, AvahiStringList* txt, AvahiLookupResultFlags,
                         void* self);

    AvahiErrorListener& m_errors;
    AvahiObject<AvahiServiceResolver, avahi_service_resolver_free> m_resolver;
    Backend::Glancer& m_glancer;
};

} // namespace vesk::dnssd

#endif
