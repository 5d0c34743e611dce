// SPDX-License-Identifier: MIT
#include "AvahiGlance.h"

namespace vesk::dnssd {

namespace {

/// The daemon sends its list, which it keeps back to front, and libavahi turns it round once more.
std::string toWireTxt(const AvahiStringList* items)
{
    std::string txt;
    for (; items; items = items->next) {
        txt += static_cast<char>(items->size);
        txt.append(reinterpret_cast<const char*>(items->text), items->size);
    }
    return txt.empty() ? std::string(1, '\0') : txt;
}

} // namespace

AvahiGlance::AvahiGlance(AvahiErrorListener& errors, Backend::Glancer& glancer)
    : m_errors(errors)
    , m_resolver(errors)
    , m_glancer(glancer)
{
}

int AvahiGlance::start(AvahiClientPool& pool, const Labels& instance, uint32_t interface, Transport transport)
{
    const auto type = instance.begin() + 1;
    const std::string typeText = toDaemonText({type, type + 2});
    const std::string domainText = toDaemonText({type + 2, instance.end()});
    auto made = pool.make<AvahiServiceResolver>([&](AvahiClient* client) {
        return avahi_service_resolver_new(client, daemonIndex(interface), daemonProtocol(transport),
                                          instance.front().c_str(), typeText.c_str(), domainText.c_str(),
                                          AVAHI_PROTO_UNSPEC, AVAHI_LOOKUP_NO_ADDRESS, resolved, this);
    });
    m_resolver.set(made);
    return made.error;
}

void AvahiGlance::resolved(AvahiServiceResolver*, AvahiIfIndex, AvahiProtocol, AvahiResolverEvent event,
                           const char*, const char*, const char*, const char* host, const AvahiAddress*,
                           uint16_t port, AvahiStringList* txt, AvahiLookupResultFlags, void* self)
{
    auto labels = event == AVAHI_RESOLVER_FOUND ? parseName(host) : std::nullopt;
    if (!labels)
        return;
    const Glimpse glimpse{std::move(*labels), port, toWireTxt(txt)};
    auto* glance = static_cast<AvahiGlance*>(self);
    glance->m_errors.returnedInCallback(glance->m_resolver.release());
    glance->m_glancer.glimpsed(glimpse);
}

} // namespace vesk::dnssd
