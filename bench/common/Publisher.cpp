// SPDX-License-Identifier: MIT
#include "Outcome.h"
#include "Peers.h"
#include "RunUntilEof.h"

#include <avahi-client/publish.h>
#include <avahi-common/strlst.h>

#include <cstdio>
#include <vector>

namespace bench {

namespace {

/// A service has four records, and the daemon's default limit is 32 records a group.
constexpr unsigned ServicesPerGroup = 7;

struct Publications
{
    Poll poll;
    Client client = connect(poll);
    unsigned established = 0;

    AvahiEntryGroup* publishGroup(unsigned first, unsigned end)
    {
        const auto changed = [](AvahiEntryGroup*, AvahiEntryGroupState state, void* self) {
            if (state == AVAHI_ENTRY_GROUP_ESTABLISHED)
                ++static_cast<Publications*>(self)->established;
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
    Publications publications;
    unsigned groups = 0;
    for (unsigned i = 0; i < instances; i += ServicesPerGroup) {
        publications.publishGroup(i, std::min(i + ServicesPerGroup, instances));
        ++groups;
        // A few at a time, or the daemon is busy with overlapping probes.
        publications.poll.runUntil(
            Never, [&] { return publications.established + 16 >= groups || inputIsClosed(); });
    }
    runUntilEof(publications.poll, [&] { return publications.established == groups; });
    return 0;
}

} // namespace bench
