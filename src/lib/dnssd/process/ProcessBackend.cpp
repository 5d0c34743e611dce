// SPDX-License-Identifier: MIT
#include "ProcessBackend.h"

#include "AvahiError.h"
#include "CoreEntryGroup.h"
#include "CoreRecordBrowser.h"
#include "CoreServiceResolver.h"
#include "RecordGroup.h"
#include "ServiceGroup.h"
#include "SocketProbe.h"

#include <utility>

namespace vesk::dnssd {

namespace {

using namespace std::chrono_literals;

/// An application that ends one operation and starts the next finds the cache as it was.
constexpr auto LingerTime = 1s;

} // namespace

ProcessBackend::ProcessBackend(EventLoop& loop, StateListener& listener)
    : m_loop(loop)
    , m_listener(listener)
    , m_tasks(loop)
    , m_addresses(loop, [this] { onHostNameConflict(); })
    , m_nextHostName(loop, [this] { takeNextHostName(); })
    , m_linger(loop, [this] { endServer(); })
    , m_retry(loop, [this] { startServer(); })
    , m_directQuestions(loop)
{
}

/// What was started may outlive the backend, and shares the server.
ProcessBackend::~ProcessBackend()
{
    if (m_server)
        m_server->end();
}

/// There is no way to another process, so that a browser or a resolver costs next to nothing.
QueryPacing ProcessBackend::pacing() const
{
    QueryPacing pacing;
    pacing.resolvesAtOnce = 500;
    pacing.resolvesWithAddress = 500;
    return pacing;
}

bool ProcessBackend::isReachable() const
{
    return hasSocketsForResponder();
}

void ProcessBackend::setInUse(bool inUse)
{
    m_isInUse = inUse;
    if (inUse) {
        m_linger.stop();
        m_tasks.post([this] { startServer(); });
    } else {
        m_retry.stop();
        if (m_server)
            m_linger.start(LingerTime);
    }
}

void ProcessBackend::startServer()
{
    if (!m_isInUse || m_server)
        return;
    m_server = CoreServer::start(m_loop);
    if (!m_server) {
        m_retry.start();
        return;
    }
    m_retry.onConnected();
    m_addresses.setServer(m_server);
    setState(State::Running);
}

/// Sends the goodbyes of all that is published.
void ProcessBackend::endServer()
{
    m_nextHostName.stop();
    m_addresses.setServer(nullptr);
    if (const auto server = std::exchange(m_server, nullptr))
        server->end();
    setState(State::Absent);
}

void ProcessBackend::setState(State state)
{
    if (m_state == state)
        return;
    m_state = state;
    m_listener.onBackendState(state);
}

/// What names this host has to be published again, with its next name.
void ProcessBackend::onHostNameConflict()
{
    if (m_state != State::Running)
        return;
    m_addresses.withdraw();
    m_nextHostName.start(m_nameConflicts.pauseAfterConflict(m_loop.now()));
    setState(State::Answering);
}

void ProcessBackend::takeNextHostName()
{
    m_server->takeNextHostName();
    setState(State::Running);
}

template <typename Started, typename Object, typename... Arguments>
Backend::Result<Started> ProcessBackend::started(std::unique_ptr<Object> object, Arguments&&... arguments)
{
    const int error = object->start(std::forward<Arguments>(arguments)...);
    if (error != AVAHI_OK)
        return {toBackendError(error), nullptr};
    return {BackendError::None, std::move(object)};
}

Backend::Result<Backend::ActiveQuery> ProcessBackend::startQuery(const Query& query, RecordListener& listener)
{
    if (!m_server)
        return {BackendError::Unavailable, nullptr};
    return started<ActiveQuery>(std::make_unique<CoreRecordBrowser>(m_server, listener), query);
}

/// The server has no part in it.
Backend::Result<Backend::ActiveQuery> ProcessBackend::askHosts(const Query& query, RecordListener& listener)
{
    return m_directQuestions.ask(query, listener);
}

Backend::Result<Backend::ActiveResolve> ProcessBackend::resolveOnce(const Labels& instance,
                                                                    uint32_t interface, Transport transport,
                                                                    bool withAddress,
                                                                    ResolveListener& listener)
{
    if (!m_server)
        return {BackendError::Unavailable, nullptr};
    return started<ActiveResolve>(std::make_unique<CoreServiceResolver>(m_server, listener), instance,
                                  interface, transport, withAddress);
}

Backend::Result<Backend::Publication> ProcessBackend::publish(const Service& service,
                                                              PublishListener& listener)
{
    if (m_state != State::Running)
        return {BackendError::Unavailable, nullptr};
    return started<Publication>(std::make_unique<ServiceGroup>(m_loop, service), *this, service, listener);
}

Backend::Result<Backend::RecordPublication> ProcessBackend::publishRecord(const PublishedRecord& record,
                                                                          PublishListener& listener)
{
    if (m_state != State::Running)
        return {BackendError::Unavailable, nullptr};
    return started<RecordPublication>(std::make_unique<RecordGroup>(*this, record, listener), record);
}

EntryGroups::Made ProcessBackend::makeGroup(PublishListener& listener)
{
    auto group = std::make_unique<CoreEntryGroup>(m_loop, m_server, m_addresses, listener);
    const int error = group->make();
    return {error, std::move(group)};
}

std::string ProcessBackend::hostName()
{
    return m_server ? m_server->hostName() : "";
}

/// The goodbyes are handed to the system at once, so that no limit is needed.
void ProcessBackend::shutDown(std::chrono::milliseconds)
{
    setInUse(false);
    m_linger.stop();
    endServer();
}

} // namespace vesk::dnssd
