// SPDX-License-Identifier: MIT
#include "MemoryBackend.h"

#include "HostQuestion.h"
#include "MemoryResolve.h"
#include "ServiceRecords.h"
#include "dns_sd.h"

namespace vesk::dnssd {

using namespace std::chrono_literals;

namespace {

const char OwnName[] = "testhost";
const Labels OwnHost{OwnName, "local"};

/// This host's, on every interface: those that lead nowhere else.
std::vector<PublishedRecord> ownAddresses()
{
    const std::string ipv4{127, 0, 0, 1};
    const std::string ipv6 = std::string(15, '\0') + '\1';
    const auto claim = PublishedRecord::Claim::KnownUnique;
    return {{OwnHost, kDNSServiceType_A, 0, ipv4, HostRecordTtl, claim},
            {OwnHost, kDNSServiceType_AAAA, 0, ipv6, HostRecordTtl, claim}};
}

} // namespace

MemoryBackend::MemoryBackend(EventLoop& loop, StateListener& listener)
    : m_loop(loop)
    , m_listener(listener)
    , m_tasks(loop)
    , m_telling(loop, [this] { tellQueries(); })
    , m_network([this] { m_telling.start(0ms); })
    , m_otherHosts(m_network)
{
}

MemoryBackend::~MemoryBackend()
{
    m_network.remove(m_host);
}

/// Everything is known at once, and costs nothing to watch. An address is not taken from a resolve: it would
/// be told for a moment after it has changed.
QueryPacing MemoryBackend::pacing() const
{
    QueryPacing pacing;
    pacing.resolvesAtOnce = 1000;
    pacing.deferredPause = 0ms;
    pacing.deferredInterval = 0ms;
    pacing.deferredBatch = 1000;
    pacing.watchDelay = 0ms;
    pacing.confirmationTime = 200ms;
    return pacing;
}

void MemoryBackend::setResponderThere(bool isThere)
{
    m_isResponderThere = isThere;
    m_tasks.post([this] { followResponder(); });
}

void MemoryBackend::setInUse(bool inUse)
{
    m_isInUse = inUse;
    m_tasks.post([this] { followResponder(); });
}

void MemoryBackend::followResponder()
{
    if (!m_isResponderThere)
        end();
    else if (m_isInUse)
        begin();
}

void MemoryBackend::begin()
{
    if (m_state == State::Running)
        return;
    m_network.add(m_host, MemoryNetwork::Host::This, ownAddresses());
    m_network.announce(m_host);
    m_life = std::make_shared<const char>();
    m_state = State::Running;
    m_listener.onBackendState(m_state);
}

void MemoryBackend::end()
{
    if (m_state == State::Absent)
        return;
    m_life.reset();
    m_queries.clear();
    m_network.removeThisHosts();
    m_network.remove(m_host);
    m_state = State::Absent;
    m_listener.onBackendState(m_state);
}

void MemoryBackend::shutDown(std::chrono::milliseconds)
{
    m_isInUse = false;
    end();
}

BackendError MemoryBackend::startError() const
{
    if (m_state == State::Absent || !m_isResponderThere)
        return BackendError::Unavailable;
    return m_isRefusing ? BackendError::Refused : BackendError::None;
}

Backend::Result<Backend::ActiveQuery> MemoryBackend::startQuery(const Query& query, RecordListener& listener)
{
    if (startError() != BackendError::None)
        return {startError(), nullptr};
    auto started = std::make_unique<MemoryQuery>(m_network, m_queries, query, listener);
    m_telling.start(0ms);
    return {BackendError::None, std::move(started)};
}

/// A listener may start and end queries.
void MemoryBackend::tellQueries()
{
    const auto queries = m_queries;
    for (const auto& [number, query] : queries) {
        const auto standing = m_queries.find(number);
        if (standing != m_queries.end() && standing->second == query)
            query->tellNews();
    }
}

/// The network does not go with the responder.
Backend::Result<Backend::ActiveQuery> MemoryBackend::askHosts(const Query& query, RecordListener& listener)
{
    return {BackendError::None, std::make_unique<HostQuestion>(m_loop, m_network, query, listener)};
}

Backend::Result<Backend::ActiveResolve> MemoryBackend::resolveOnce(const Labels& instance, uint32_t interface,
                                                                   Transport, bool withAddress,
                                                                   ResolveListener& listener)
{
    if (startError() != BackendError::None)
        return {startError(), nullptr};
    return {BackendError::None, std::make_unique<MemoryResolve>(m_loop, m_network, m_life, instance,
                                                                interface, withAddress, listener)};
}

Backend::Result<Backend::Publication> MemoryBackend::publish(const Service& service,
                                                             PublishListener& listener)
{
    if (startError() != BackendError::None)
        return {startError(), nullptr};
    Service here = service;
    if (here.host.empty())
        here.host = OwnHost;
    const auto records = recordsOf(here);
    if (m_network.isTakenHere(records))
        return {BackendError::NameConflict, nullptr};
    return {BackendError::None, std::make_unique<OwnService>(m_loop, m_network, m_life, listener, records)};
}

Backend::Result<Backend::RecordPublication> MemoryBackend::publishRecord(const PublishedRecord& record,
                                                                         PublishListener& listener)
{
    if (startError() != BackendError::None)
        return {startError(), nullptr};
    const std::vector<PublishedRecord> records{record};
    if (m_network.isTakenHere(records))
        return {BackendError::NameConflict, nullptr};
    return {BackendError::None,
            std::make_unique<OwnRecord>(record.type, m_loop, m_network, m_life, listener, records)};
}

std::string MemoryBackend::hostName()
{
    return OwnName;
}

} // namespace vesk::dnssd
