// SPDX-License-Identifier: MIT
#include "HostAddresses.h"

#include "CallbackGuard.h"

#include <algorithm>
#include <cstring>

namespace vesk::dnssd {

namespace {

using namespace std::chrono_literals;

constexpr auto LingerTime = 1s;

AvahiAddress toAvahiAddress(const std::string& bytes)
{
    AvahiAddress address{};
    address.proto = bytes.size() == sizeof(AvahiIPv4Address) ? AVAHI_PROTO_INET : AVAHI_PROTO_INET6;
    std::memcpy(&address.data, bytes.data(), std::min(bytes.size(), sizeof address.data));
    return address;
}

} // namespace

HostAddresses::HostAddresses(EventLoop& loop, std::function<void()> onNameConflict)
    : m_loop(loop)
    , m_tasks(loop)
    , m_onNameConflict(std::move(onNameConflict))
    , m_linger(loop, [this] { withdraw(); })
{
}

HostAddresses::~HostAddresses() = default;

HostAddresses::Need::Need(HostAddresses& addresses)
    : m_addresses(addresses)
{
    m_addresses.publish();
    ++m_addresses.m_needs;
    m_addresses.m_linger.stop();
}

HostAddresses::Need::~Need()
{
    if (--m_addresses.m_needs == 0 && m_addresses.m_watch)
        m_addresses.m_linger.start(LingerTime);
}

void HostAddresses::setServer(std::shared_ptr<CoreServer> server)
{
    withdraw();
    m_server = std::move(server);
}

void HostAddresses::withdraw()
{
    m_linger.stop();
    m_groups.clear();
    m_watch.reset();
}

void HostAddresses::publish()
{
    if (m_watch || !m_server)
        return;
    m_watch.emplace(m_loop, [this] { update(); });
    update();
}

/// An address that could not be published is tried again with the next change.
void HostAddresses::update()
{
    const auto all = readInterfaceAddresses();
    if (!all)
        return;
    auto former = std::exchange(m_groups, {});
    for (const InterfaceAddress& address : publishedAddresses(*all)) {
        const Place place(address.interface, address.bytes);
        const auto known = former.find(place);
        auto group = known != former.end() ? std::move(known->second) : makeGroup(address);
        if (group)
            m_groups.emplace(place, std::move(group));
    }
}

std::unique_ptr<HostAddresses::Group> HostAddresses::makeGroup(const InterfaceAddress& address)
{
    auto group = std::make_unique<Group>(m_server);
    if (group->adopt(avahi_s_entry_group_new(m_server->get(), changed, this)) != AVAHI_OK)
        return nullptr;
    AvahiAddress added = toAvahiAddress(address.bytes);
    // As responders of libavahi's do by default: IPv6 addresses over IPv4, too, and not the other way round.
    const AvahiProtocol transport = added.proto == AVAHI_PROTO_INET ? AVAHI_PROTO_INET : AVAHI_PROTO_UNSPEC;
    const int error =
        avahi_server_add_address(m_server->get(), group->get(), static_cast<AvahiIfIndex>(address.interface),
                                 transport, AVAHI_PUBLISH_NO_REVERSE, nullptr, &added);
    if (error != AVAHI_OK || avahi_s_entry_group_commit(group->get()) != AVAHI_OK)
        return nullptr;
    return group;
}

void HostAddresses::changed(AvahiServer*, AvahiSEntryGroup*, AvahiEntryGroupState state, void* context)
{
    if (state == AVAHI_ENTRY_GROUP_COLLISION)
        guardedCallback([&] { static_cast<HostAddresses*>(context)->onCollision(); });
}

/// libavahi is in the middle of something when it tells.
void HostAddresses::onCollision()
{
    if (m_hasCollided)
        return;
    m_tasks.post([this] {
        m_hasCollided = false;
        m_onNameConflict();
    });
    m_hasCollided = true;
}

} // namespace vesk::dnssd
