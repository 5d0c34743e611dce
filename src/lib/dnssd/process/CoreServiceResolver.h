// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_CORESERVICERESOLVER_H
#define VESK_DNSSD_CORESERVICERESOLVER_H

#include "Backend.h"
#include "CoreObject.h"

#include <avahi-core/lookup.h>

namespace vesk::dnssd {

/// A service resolver that is released with its first answer: what is in the cache costs the network nothing.
class CoreServiceResolver final : public Backend::ActiveResolve
{
public:
    CoreServiceResolver(std::shared_ptr<CoreServer> server, ResolveListener& listener);

    /// Returns libavahi's error.
    int start(const Labels& instance, uint32_t interface, Transport transport, bool withAddress);

private:
    static void changed(AvahiSServiceResolver*, AvahiIfIndex, AvahiProtocol, AvahiResolverEvent event,
                        const char* name, const char* type, const char* domain, const char* host,
                        const AvahiAddress* address, uint16_t port, AvahiStringList* txt,
                        AvahiLookupResultFlags, void* context);

    CoreObject<AvahiSServiceResolver, avahi_s_service_resolver_free> m_resolver;
    ResolveListener& m_listener;
};

} // namespace vesk::dnssd

#endif
