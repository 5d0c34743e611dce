// SPDX-License-Identifier: MIT
#include "AvahiBackend.h"

#include "DaemonEntryGroup.h"
#include "RecordBrowser.h"
#include "RecordGroup.h"
#include "ServiceGroup.h"
#include "ServiceResolver.h"
#include "SystemBusProbe.h"

#include <dbus/dbus.h>

#include <utility>

namespace vesk::dnssd {

using namespace std::chrono_literals;

namespace {

/// Released at once, an answered resolver would hold up the answers to the others; after a tenth of a second
/// the daemon would ask the network for what it has told from its cache.
constexpr ReleaseQueue::Pause AfterAnswers{5ms, 50ms};

} // namespace

AvahiBackend::AvahiBackend(EventLoop& loop, StateListener& listener)
    : m_loop(loop)
    , m_listener(listener)
    , m_tasks(loop)
    , m_connections(loop, [this](AvahiClientState state) { onClientState(state); })
    , m_releases(loop, *this, {})
    , m_resolverReleases(loop, *this, AfterAnswers)
    , m_reconnectTimer(loop, [this] { connect(); })
    , m_directQuestions(loop)
{
    // The I/O thread and the application's threads use libdbus at the same time; its own locks come into
    // being on first use, which no other thread may see half done.
    dbus_threads_init_default();
}

/// The daemon tells at once what it knows and puts a query on the network a tenth of a second later; with
/// many resolvers at once it needs longer than that, and asks for all of them. From about a hundred instances
/// on, to ask for the type with all that is known, and to read every answer, keeps it busy for seconds.
QueryPacing AvahiBackend::pacing() const
{
    QueryPacing pacing;
    pacing.cachePassLimit = 100ms;
    pacing.largeResult = 100;
    pacing.resolvesAtOnce = 50;
    pacing.resolvePermit = 50ms;
    pacing.resolvesWithAddress = 10;
    return pacing;
}

bool AvahiBackend::isReachable() const
{
    return isSystemBusThere();
}

void AvahiBackend::setInUse(bool inUse)
{
    m_isInUse = inUse;
    if (!inUse)
        m_reconnectTimer.stop();
    else if (!m_connections.main())
        m_tasks.post([this] { connect(); });
}

template <typename Started, typename Object, typename... Arguments>
Backend::Result<Started> AvahiBackend::start(std::unique_ptr<Object> object, Arguments&&... arguments)
{
    const int error =
        m_isLost ? AVAHI_ERR_DISCONNECTED : object->start(std::forward<Arguments>(arguments)...);
    onDaemonAnswer(error);
    if (error != AVAHI_OK)
        return {toBackendError(error), nullptr};
    return {BackendError::None, std::move(object)};
}

Backend::Result<Backend::ActiveQuery> AvahiBackend::startQuery(const Query& query, RecordListener& listener)
{
    return start<ActiveQuery>(std::make_unique<RecordBrowser>(m_releases, *this, listener), m_connections,
                              query);
}

/// The daemon has no part in it.
Backend::Result<Backend::ActiveQuery> AvahiBackend::askHosts(const Query& query, RecordListener& listener)
{
    return m_directQuestions.ask(query, listener);
}

Backend::Result<Backend::ActiveResolve> AvahiBackend::resolveOnce(const Labels& instance, uint32_t interface,
                                                                  Transport transport, bool withAddress,
                                                                  ResolveListener& listener)
{
    return start<ActiveResolve>(std::make_unique<ServiceResolver>(m_resolverReleases, listener),
                                m_connections, instance, interface, transport, withAddress);
}

Backend::Result<Backend::Publication> AvahiBackend::publish(const Service& service, PublishListener& listener)
{
    return start<Publication>(std::make_unique<ServiceGroup>(m_loop, service), *this, service, listener);
}

Backend::Result<Backend::RecordPublication> AvahiBackend::publishRecord(const PublishedRecord& record,
                                                                        PublishListener& listener)
{
    return start<RecordPublication>(std::make_unique<RecordGroup>(*this, record, listener), record);
}

EntryGroups::Made AvahiBackend::makeGroup(PublishListener& listener)
{
    auto group = std::make_unique<DaemonEntryGroup>(m_loop, m_releases, *this, listener);
    const int error = group->make(m_connections);
    return {error, std::move(group)};
}

std::string AvahiBackend::hostName()
{
    AvahiClient* client = m_connections.main();
    const char* name = client ? avahi_client_get_host_name(client) : nullptr;
    return name ? name : "";
}

/// The daemon sends the goodbyes of a client that leaves, and does not keep it waiting for them.
void AvahiBackend::shutDown(std::chrono::milliseconds)
{
    m_isInUse = false;
    disconnect();
}

void AvahiBackend::connect()
{
    if (!m_isInUse || m_connections.main())
        return;
    if (!m_connections.connect())
        m_reconnectTimer.start();
}

void AvahiBackend::onClientState(AvahiClientState state)
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
        onDaemonAnswer(AVAHI_ERR_DISCONNECTED);
        break;
    }
}

void AvahiBackend::setState(State state)
{
    if (state != State::Absent)
        m_reconnectTimer.onConnected();
    if (m_state == state)
        return;
    m_state = state;
    m_listener.onBackendState(state);
}

/// The connection is given up a round later: this may be a callback of libavahi's, or a call of a listener.
void AvahiBackend::onDaemonAnswer(int avahiError)
{
    if (!isConnectionLost(avahiError) || m_isLost || !m_connections.main())
        return;
    m_isLost = true;
    m_tasks.post([this] { disconnect(); });
}

void AvahiBackend::disconnect()
{
    m_connections.disconnect();
    m_isLost = false;
    setState(State::Absent);
    if (m_isInUse)
        m_reconnectTimer.start();
}

} // namespace vesk::dnssd
