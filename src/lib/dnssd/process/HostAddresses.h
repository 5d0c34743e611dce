// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_HOSTADDRESSES_H
#define VESK_DNSSD_HOSTADDRESSES_H

#include "CoreObject.h"
#include "InterfaceAddresses.h"
#include "OwnedTasks.h"
#include "Timer.h"

#include <avahi-core/publish.h>

#include <map>
#include <memory>
#include <optional>

namespace vesk::dnssd {

/**
 * This host's addresses under its name, published as long as something else is that needs them, and a moment
 * longer: a service that is published anew must not take them away in between. They follow the interfaces.
 *
 * Other responders of this host publish the same under the same name, which is no conflict (RFC 6762 section
 * 8.1): identical records stand beside each other, and when one takes them back the others announce them
 * again. The names of addresses (reverse look-ups) are not published: of those there would be a conflict
 * where the others call this host by another name.
 */
class HostAddresses
{
public:
    /// `onNameConflict` is called from the loop when another host has the name.
    HostAddresses(EventLoop& loop, std::function<void()> onNameConflict);
    ~HostAddresses();
    HostAddresses(const HostAddresses&) = delete;
    HostAddresses& operator=(const HostAddresses&) = delete;

    /// While there is one, the addresses are published.
    class Need
    {
    public:
        explicit Need(HostAddresses& addresses);
        ~Need();
        Need(const Need&) = delete;
        Need& operator=(const Need&) = delete;

    private:
        HostAddresses& m_addresses;
    };

    /// Where they are published from now on, if they are needed then; null: nowhere.
    void setServer(std::shared_ptr<CoreServer> server);

    /// Takes them back until the next need comes.
    void withdraw();

private:
    using Group = CoreObject<AvahiSEntryGroup, avahi_s_entry_group_free>;
    using Place = std::pair<uint32_t, std::string>; ///< an interface and an address

    static void changed(AvahiServer*, AvahiSEntryGroup*, AvahiEntryGroupState state, void* context);
    void onCollision();
    void publish();
    void update();
    std::unique_ptr<Group> makeGroup(const InterfaceAddress& address);

    EventLoop& m_loop;
    OwnedTasks m_tasks;
    std::function<void()> m_onNameConflict;
    std::shared_ptr<CoreServer> m_server;
    unsigned m_needs = 0;
    Timer m_linger;                        ///< runs after the last need has gone
    std::optional<InterfaceWatch> m_watch; ///< while they are published
    std::map<Place, std::unique_ptr<Group>> m_groups;
    bool m_hasCollided = false; ///< of several that collide at once the first counts
};

} // namespace vesk::dnssd

#endif
