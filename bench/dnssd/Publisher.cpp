// SPDX-License-Identifier: MIT
#include "Lister.h"
#include "Stay.h"

#include <avahi-client/publish.h>
#include <avahi-common/strlst.h>

#include <cstdio>
#include <vector>

namespace bench {

namespace {

/// Four records a service, and a group holds 32 as the daemon is installed.
constexpr unsigned ServicesPerGroup = 7;

struct Offers
{
    Poll poll;
    Client client = connect(poll);
    unsigned established = 0;

    AvahiEntryGroup* publishSome(unsigned first, unsigned end)
    {
        const auto changed = [](AvahiEntryGroup*, AvahiEntryGroupState state, void* self) {
            if (state == AVAHI_ENTRY_GROUP_ESTABLISHED)
                ++static_cast<Offers*>(self)->established;
        };
        AvahiEntryGroup* group = avahi_entry_group_new(client.get(), changed, this);
        for (unsigned i = first; i < end; ++i) {
            char name[64];
            std::snprintf(name, sizeof name, "Instance %04u of many", i);
            if (avahi_entry_group_add_service(group, AVAHI_IF_UNSPEC, AVAHI_PROTO_UNSPEC,
                                              AvahiPublishFlags(0), name, ServiceType, nullptr, nullptr,
                                              static_cast<uint16_t>(1000 + i), "model=bench", "version=1",
                                              nullptr) != 0)
                throw std::runtime_error("the daemon does not publish");
        }
        avahi_entry_group_commit(group);
        return group;
    }
};

} // namespace

int publish(unsigned instances)
{
    Offers offers;
    unsigned groups = 0;
    for (unsigned i = 0; i < instances; i += ServicesPerGroup) {
        offers.publishSome(i, std::min(i + ServicesPerGroup, instances));
        ++groups;
        // A few at a time, or the daemon is busy with probes that overtake each other.
        offers.poll.runUntil(Never, [&] { return offers.established + 16 >= groups || inputIsClosed(); });
    }
    stay(offers.poll, [&] { return offers.established == groups; });
    return 0;
}

} // namespace bench
