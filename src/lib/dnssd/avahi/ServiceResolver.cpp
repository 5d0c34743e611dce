// SPDX-License-Identifier: MIT
#include "ServiceResolver.h"

#include "AvahiEncoding.h"

namespace vesk::dnssd {

ServiceResolver::ServiceResolver(ReleaseQueue& releases, ResolveListener& listener)
    : m_resolver(releases, *this)
    , m_listener(listener)
{
}

int ServiceResolver::start(DaemonConnections& connections, const Labels& instance, uint32_t interface,
                           Transport transport, bool withAddress)
{
    const auto type = instance.begin() + 1;
    const std::string typeText = toAvahiText({type, type + 2});
    const std::string domainText = toAvahiText({type + 2, instance.end()});
    return m_resolver.adopt(connections.make<AvahiServiceResolver>([&](AvahiClient* client) {
        return avahi_service_resolver_new(
            client, toAvahiInterface(interface), toAvahiProtocol(transport), instance.front().c_str(),
            typeText.c_str(), domainText.c_str(), toAvahiProtocol(transport),
            withAddress ? AvahiLookupFlags(0) : AVAHI_LOOKUP_NO_ADDRESS, changed, m_resolver.context());
    }));
}

void ServiceResolver::changed(AvahiServiceResolver*, AvahiIfIndex, AvahiProtocol, AvahiResolverEvent event,
                              const char*, const char*, const char*, const char* host,
                              const AvahiAddress* address, uint16_t port, AvahiStringList* txt,
                              AvahiLookupResultFlags, void* context)
{
    ServiceResolver* self = decltype(m_resolver)::ownerOf(context);
    if (!self)
        return;
    auto labels = event == AVAHI_RESOLVER_FOUND ? parseName(host) : std::nullopt;
    self->m_resolver.release();
    // Either call may end this object.
    if (labels)
        self->m_listener.onResolved({std::move(*labels), port, fromAvahiTxt(txt), fromAvahiAddress(address)});
    else
        self->m_listener.onResolveFailed();
}

} // namespace vesk::dnssd
