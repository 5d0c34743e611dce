// SPDX-License-Identifier: MIT
#include "CoreServiceResolver.h"

#include "AvahiEncoding.h"
#include "CallbackGuard.h"

#include <optional>

namespace vesk::dnssd {

namespace {

/// Unlike the lists that a daemon hands over, this one is still back to front, as it is kept.
std::string toWire(AvahiStringList* txt)
{
    std::string wire(avahi_string_list_serialize(txt, nullptr, 0), '\0');
    avahi_string_list_serialize(txt, wire.data(), wire.size());
    return wire;
}

} // namespace

CoreServiceResolver::CoreServiceResolver(std::shared_ptr<CoreServer> server, ResolveListener& listener)
    : m_resolver(std::move(server))
    , m_listener(listener)
{
}

int CoreServiceResolver::start(const Labels& instance, uint32_t interface, Transport transport,
                               bool withAddress)
{
    const auto type = instance.begin() + 1;
    const std::string typeText = toAvahiText({type, type + 2});
    const std::string domainText = toAvahiText({type + 2, instance.end()});
    return m_resolver.adopt(avahi_s_service_resolver_new(
        m_resolver.server().get(), toAvahiInterface(interface), toAvahiProtocol(transport),
        instance.front().c_str(), typeText.c_str(), domainText.c_str(), toAvahiProtocol(transport),
        withAddress ? AvahiLookupFlags(0) : AVAHI_LOOKUP_NO_ADDRESS, changed, this));
}

void CoreServiceResolver::changed(AvahiSServiceResolver*, AvahiIfIndex, AvahiProtocol,
                                  AvahiResolverEvent event, const char*, const char*, const char*,
                                  const char* host, const AvahiAddress* address, uint16_t port,
                                  AvahiStringList* txt, AvahiLookupResultFlags, void* context)
{
    auto* self = static_cast<CoreServiceResolver*>(context);
    guardedCallback([&] {
        std::optional<ResolvedService> service;
        auto labels = event == AVAHI_RESOLVER_FOUND ? parseName(host) : std::nullopt;
        if (labels)
            service = {std::move(*labels), port, toWire(txt), fromAvahiAddress(address)};
        self->m_resolver.release(); // with it goes what the arguments point to
        // Either call may end this object.
        if (service)
            self->m_listener.onResolved(*service);
        else
            self->m_listener.onResolveFailed();
    });
}

} // namespace vesk::dnssd
