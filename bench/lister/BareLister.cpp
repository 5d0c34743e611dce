// SPDX-License-Identifier: MIT
#include "ListerRun.h"
#include "QtLister.h"

#include <avahi-client/client.h>
#include <avahi-client/lookup.h>
#include <avahi-glib/glib-watch.h>

#include <memory>
#include <stdexcept>

namespace bench {

namespace {

/// Qt's event loop is GLib's.
using Poll = std::unique_ptr<AvahiGLibPoll, decltype(&avahi_glib_poll_free)>;
using Client = std::unique_ptr<AvahiClient, decltype(&avahi_client_free)>;

void resolved(AvahiServiceResolver* resolver, AvahiIfIndex, AvahiProtocol, AvahiResolverEvent event,
              const char* name, const char*, const char*, const char*, const AvahiAddress*, uint16_t,
              AvahiStringList*, AvahiLookupResultFlags, void* run)
{
    if (event != AVAHI_RESOLVER_FOUND)
        return;
    avahi_service_resolver_free(resolver);
    static_cast<ListerRun*>(run)->complete(QString::fromUtf8(name));
}

void browsed(AvahiServiceBrowser* browser, AvahiIfIndex interface, AvahiProtocol protocol,
             AvahiBrowserEvent event, const char* name, const char* type, const char* domain,
             AvahiLookupResultFlags, void* run)
{
    // One transport is enough, as one is to the other implementation.
    if (event == AVAHI_BROWSER_NEW && protocol == AVAHI_PROTO_INET)
        avahi_service_resolver_new(avahi_service_browser_get_client(browser), interface, protocol, name, type,
                                   domain, AVAHI_PROTO_INET, AvahiLookupFlags(0), resolved, run);
}

} // namespace

Outcome listBare(unsigned instances, std::chrono::seconds limit)
{
    ListerRun run(instances, limit);
    const Poll poll(avahi_glib_poll_new(nullptr, G_PRIORITY_DEFAULT), avahi_glib_poll_free);
    const auto ignore = [](AvahiClient*, AvahiClientState, void*) {};
    const Client client(
        avahi_client_new(avahi_glib_poll_get(poll.get()), AvahiClientFlags(0), ignore, nullptr, nullptr),
        avahi_client_free);
    if (!client)
        throw std::runtime_error("no mDNS daemon");
    avahi_service_browser_new(client.get(), AVAHI_IF_UNSPEC, AVAHI_PROTO_UNSPEC, ServiceType, nullptr,
                              AvahiLookupFlags(0), browsed, &run);
    return run.run();
}

} // namespace bench
