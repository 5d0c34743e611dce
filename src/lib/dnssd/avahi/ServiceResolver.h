// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_SERVICERESOLVER_H
#define VESK_DNSSD_SERVICERESOLVER_H

#include "Backend.h"
#include "DaemonObject.h"

#include <avahi-client/lookup.h>

namespace vesk::dnssd {

/// A service resolver of the daemon's that is released with its first answer. The daemon holds a query back
/// for a tenth of a second before it goes out, and drops it when nothing waits for the answer any more: what
/// is in its cache costs the network nothing.
class ServiceResolver final : public Backend::ActiveResolve
{
public:
    ServiceResolver(ReleaseQueue& releases, ResolveListener& listener);

    /// Returns libavahi's error.
    int start(DaemonConnections& connections, const Labels& instance, uint32_t interface, Transport transport,
              bool withAddress);

private:
    static void changed(AvahiServiceResolver*, AvahiIfIndex, AvahiProtocol, AvahiResolverEvent event,
                        const char* name, const char* type, const char* domain, const char* host,
                        const AvahiAddress*, uint16_t port, AvahiStringList* txt, AvahiLookupResultFlags,
                        void* context);

    DaemonObject<AvahiServiceResolver, avahi_service_resolver_free, ServiceResolver> m_resolver;
    ResolveListener& m_listener;
};

} // namespace vesk::dnssd

#endif
