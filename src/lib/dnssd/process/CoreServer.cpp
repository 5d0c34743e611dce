// SPDX-License-Identifier: MIT
#include "CoreServer.h"

#include "CoreBinding.h"
#include "ReceiveGuard.h"
#include "SocketProbe.h"

#include <avahi-common/alternative.h>
#include <avahi-common/malloc.h>
#include <avahi-core/log.h>

namespace vesk::dnssd {

namespace {

/// For each interface and transport. A service that is watched takes three: room for some twenty thousand.
constexpr unsigned MostCachedRecords = 65536;

/// Nothing but what is registered is published, and the host's addresses only by HostAddresses.
void configure(AvahiServerConfig& config)
{
    config.publish_hinfo = 0;
    config.publish_addresses = 0;
    config.publish_workstation = 0;
    config.publish_domain = 0;
    config.enable_wide_area = 0;
    config.n_cache_entries_max = MostCachedRecords;
}

/// An application's standard error is its own.
void silenceLog()
{
    avahi_set_log_function([](AvahiLogLevel, const char*) {});
}

} // namespace

CoreServer::CoreServer(EventLoop& loop)
    : m_poll(loop, admitMessage)
    , m_server(nullptr, avahi_server_free)
{
}

std::shared_ptr<CoreServer> CoreServer::start(EventLoop& loop)
{
    auto server = std::make_shared<CoreServer>(loop);
    return server->start() ? server : nullptr;
}

/// libavahi-core ends the process when it gets no netlink socket, so that is tried before. Without records of
/// its own it has no name to probe for, and is running when this returns.
bool CoreServer::start()
{
    if (!bindCoreToItself() || !hasSocketsForResponder())
        return false;
    silenceLog();
    AvahiServerConfig config;
    avahi_server_config_init(&config);
    configure(config);
    int error = 0;
    m_server.reset(avahi_server_new(m_poll.api(), &config, nullptr, nullptr, &error));
    avahi_server_config_free(&config);
    return m_server != nullptr;
}

void CoreServer::end()
{
    m_server.reset();
}

std::string CoreServer::hostName() const
{
    return avahi_server_get_host_name(get());
}

std::string CoreServer::fullHostName() const
{
    return avahi_server_get_host_name_fqdn(get());
}

void CoreServer::takeNextHostName()
{
    const std::unique_ptr<char, decltype(&avahi_free)> next(avahi_alternative_host_name(hostName().c_str()),
                                                            avahi_free);
    if (next)
        avahi_server_set_host_name(get(), next.get());
}

} // namespace vesk::dnssd
