// SPDX-License-Identifier: MIT
#include "Outcome.h"
#include "Peers.h"
#include "RunUntilEof.h"

#include <avahi-client/lookup.h>

#include <set>
#include <string>

namespace bench {

int browse(unsigned instances)
{
    Poll poll;
    const Client client = connect(poll);
    std::set<std::string> names;
    const auto browsed = [](AvahiServiceBrowser*, AvahiIfIndex, AvahiProtocol, AvahiBrowserEvent event,
                            const char* name, const char*, const char*, AvahiLookupResultFlags, void* found) {
        if (event == AVAHI_BROWSER_NEW)
            static_cast<std::set<std::string>*>(found)->insert(name);
    };
    avahi_service_browser_new(client.get(), AVAHI_IF_UNSPEC, AVAHI_PROTO_UNSPEC, ServiceType, nullptr,
                              AvahiLookupFlags(0), browsed, &names);
    runUntilEof(poll, [&] { return names.size() >= instances; });
    return 0;
}

} // namespace bench
