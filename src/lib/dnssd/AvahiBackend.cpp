// SPDX-License-Identifier: MIT
#include "AvahiBackend.h"

#include "AvahiAsking.h"
#include "AvahiGlance.h"
#include "AvahiPublication.h"
#include "Bus.h"

#include <avahi-common/error.h>
#include <dbus/dbus.h>

namespace vesk::dnssd {

namespace {

using namespace std::chrono_literals;

constexpr auto RetryTime = 300ms;

bool isConnectionLost(int error)
{
    return error == AVAHI_ERR_DISCONNECTED || error == AVAHI_ERR_DBUS_ERROR || error == AVAHI_ERR_NO_DAEMON ||
           error == AVAHI_ERR_BAD_STATE;
}

DNSServiceErrorType toApiError(int error)
{
    switch (error) {
    case AVAHI_OK:
        return kDNSServiceErr_NoError;
    case AVAHI_ERR_COLLISION:
        return kDNSServiceErr_NameConflict;
    case AVAHI_ERR_TOO_MANY_CLIENTS:
    case AVAHI_ERR_TOO_MANY_OBJECTS:
    case AVAHI_ERR_TOO_MANY_ENTRIES:
        return kDNSServiceErr_Refused;
    case AVAHI_ERR_ACCESS_DENIED:
    case AVAHI_ERR_NOT_PERMITTED:
        return kDNSServiceErr_NotPermitted;
    case AVAHI_ERR_NO_MEMORY:
        return kDNSServiceErr_NoMemory;
    case AVAHI_ERR_INVALID_HOST_NAME:
    case AVAHI_ERR_INVALID_DOMAIN_NAME:
    case AVAHI_ERR_INVALID_SERVICE_NAME:
    case AVAHI_ERR_INVALID_SERVICE_TYPE:
    case AVAHI_ERR_INVALID_SERVICE_SUBTYPE:
        return kDNSServiceErr_BadParam;
    default:
        return kDNSServiceErr_Unknown;
    }
}

} // namespace

AvahiBackend::AvahiBackend(Loop& loop, StateListener& listener)
    : m_loop(loop)
    , m_listener(listener)
    , m_pool(loop, [this](AvahiClientState state) { clientChanged(state); })
    , m_retry(loop, [this] { connect(); })
{
    // The I/O thread and those who look for the bus use libdbus at the same time; its own locks come into
    // being on first use, which no other thread may see half done.
    dbus_threads_init_default();
    m_loop.post([this] { connect(); });
}

AvahiBackend::~AvahiBackend() = default;

bool AvahiBackend::reachable() const
{
    return m_onBus || systemBusIsThere();
}

std::unique_ptr<Backend::Asking> AvahiBackend::ask(const Query& query, Asker& asker)
{
    auto asking = std::make_unique<AvahiAsking>(*this, asker);
    const int error = asking->start(m_pool, query);
    returned(error);
    if (error != AVAHI_OK)
        return nullptr;
    return asking;
}

std::unique_ptr<Backend::Asking> AvahiBackend::glance(const Labels& instance, uint32_t interface,
                                                      Transport transport, Glancer& glancer)
{
    auto asking = std::make_unique<AvahiGlance>(*this, glancer);
    const int error = asking->start(m_pool, instance, interface, transport);
    returned(error);
    if (error != AVAHI_OK)
        return nullptr;
    return asking;
}

Backend::PublishResult AvahiBackend::publish(const Service& service, Publisher& publisher)
{
    auto publication = std::make_unique<AvahiPublication>(*this, m_loop, service, publisher);
    const int error = publication->start(m_pool, service);
    returned(error);
    if (error != AVAHI_OK)
        return {toApiError(error), nullptr};
    return {kDNSServiceErr_NoError, std::move(publication)};
}

std::string AvahiBackend::hostName()
{
    AvahiClient* client = m_pool.main();
    const char* name = client ? avahi_client_get_host_name(client) : nullptr;
    return name ? name : "";
}

void AvahiBackend::connect()
{
    m_onBus = m_pool.connect();
    if (!m_onBus)
        m_retry.start(RetryTime);
}

void AvahiBackend::clientChanged(AvahiClientState state)
{
    switch (state) {
    case AVAHI_CLIENT_S_RUNNING:
        setState(State::Running);
        break;
    case AVAHI_CLIENT_S_REGISTERING:
    case AVAHI_CLIENT_S_COLLISION:
        setState(State::Answering);
        break;
    case AVAHI_CLIENT_CONNECTING:
        break;
    case AVAHI_CLIENT_FAILURE:
        lose();
        break;
    }
}

void AvahiBackend::setState(State state)
{
    if (m_state.exchange(state) != state)
        m_listener.backendChanged(state);
}

void AvahiBackend::returned(int error)
{
    if (isConnectionLost(error))
        lose();
}

void AvahiBackend::returnedInCallback(int error)
{
    if (isConnectionLost(error))
        m_loop.post([this] { lose(); });
}

/// The listener is told a turn later: whoever found out is in the middle of something.
void AvahiBackend::lose()
{
    if (!m_pool.main())
        return;
    m_pool.disconnect();
    m_onBus = false;
    m_state = State::Absent;
    m_loop.post([this] {
        m_listener.backendChanged(State::Absent);
        m_retry.start(RetryTime);
    });
}

std::unique_ptr<Backend> makeBackend(Loop& loop, Backend::StateListener& listener)
{
    return std::make_unique<AvahiBackend>(loop, listener);
}

} // namespace vesk::dnssd
