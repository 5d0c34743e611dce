// SPDX-License-Identifier: MIT
#include "SharedQuery.h"

#include "dns_sd.h"

#include <algorithm>
#include <new>
#include <utility>

namespace vesk::dnssd {

namespace {

using namespace std::chrono_literals;

/// A record that has been replaced goes a second later (RFC 6762 section 10.2).
constexpr auto SettlingTime = 1100ms;

/// After which records are reported though the backend has not said that its cache has been told.
constexpr auto LongestCache = 1s;

} // namespace

SharedQuery::SharedQuery(EventLoop& loop, ResolveLimiter& limiter, Owner& owner, Query query,
                         bool isLoopbackALink)
    : m_loop(loop)
    , m_limiter(limiter)
    , m_owner(owner)
    , m_query(std::move(query))
    , m_records(m_query, *this, isLoopbackALink)
    , m_cacheLimit(loop, [this] { endCache(); })
    , m_settling(loop, [this] { m_records.settle(); })
    , m_idleSince(loop.now())
{
}

/// The instances that it names are no longer heard of: the destructor calls back into the owner. Without
/// memory for that, some are resolved in vain, and then asked for as others are.
SharedQuery::~SharedQuery()
{
    try {
        suspend();
    } catch (const std::bad_alloc&) { // nothing can be done
    }
}

void SharedQuery::subscribe(RecordListener& listener)
{
    m_listeners.push_back(&listener);
    for (const Record* record : m_records.reported())
        listener.onRecord({*record, Transport::IPv4, true, true});
}

void SharedQuery::unsubscribe(RecordListener& listener)
{
    const auto place = std::find(m_listeners.begin(), m_listeners.end(), &listener);
    if (place == m_listeners.end())
        return; // the query failed, which ended the subscription
    m_listeners.erase(place);
    if (!isIdle())
        return;
    m_idleSince = m_loop.now();
    m_owner.onIdle();
}

void SharedQuery::begin(Backend& backend)
{
    if (CachePass::precedes(m_query, !m_records.isEmpty(), backend.pacing()))
        beginCachePass(backend);
    else
        activate(backend);
}

void SharedQuery::beginCachePass(Backend& backend)
{
    m_cachePass.emplace(m_loop, m_limiter, backend.pacing(), [this] { onCacheExhausted(); });
    m_query.transport = Transport::IPv4;
    start(backend, State::CachePass);
    if (m_state != State::CachePass)
        m_cachePass.reset();
}

void SharedQuery::endCache()
{
    m_cachePass.reset();
    m_cacheLimit.stop();
    m_records.endCache();
}

void SharedQuery::endCachePass(Backend& backend)
{
    if (!CachePass::isLargeResult(m_records.size(), backend.pacing())) {
        activate(backend);
        return;
    }
    m_atBackend.reset();
    m_state = State::Deferred;
    endCache();
}

void SharedQuery::activate(Backend& backend)
{
    endCache();
    m_records.expectConfirmation();
    m_query.transport = m_owner.transportFor(m_query);
    start(backend, State::Active);
}

void SharedQuery::start(Backend& backend, State state)
{
    m_askedAt = m_loop.now();
    m_records.beginCache();
    m_cacheLimit.start(LongestCache);
    auto result = backend.startQuery(m_query, *this);
    m_atBackend = std::move(result.started);
    if (m_atBackend)
        m_state = state;
    else if (result.error == BackendError::Unavailable)
        suspend();
    else
        fail(result.error);
}

/// Ends all subscriptions: a listener that has been told of a failure hears nothing any more.
void SharedQuery::fail(BackendError error)
{
    suspend();
    m_state = State::Refused;
    for (RecordListener* listener : std::exchange(m_listeners, {}))
        listener->onQueryFailed(error);
    m_idleSince = m_loop.now();
    m_owner.onIdle();
}

bool SharedQuery::isForAddress() const
{
    return m_query.type == kDNSServiceType_A || m_query.type == kDNSServiceType_AAAA;
}

void SharedQuery::seed(const Record& record)
{
    m_state = State::Deferred;
    m_records.seed(record);
}

void SharedQuery::suspend()
{
    m_atBackend.reset();
    endCache();
    m_records.forgetTransports();
    m_state = State::Suspended;
}

bool SharedQuery::dropUnconfirmed(Clock::TimePoint askedBefore)
{
    if (!isAsked() || !m_records.hasUnconfirmed())
        return false;
    if (m_askedAt > askedBefore)
        return true;
    m_records.dropUnconfirmed();
    return false;
}

void SharedQuery::onRecord(const RecordEvent& event)
{
    if (event.isPresent)
        m_records.add(event.record, event.transport, event.isCached);
    else
        m_records.remove(event.record, event.transport);
    if (event.isPresent && !event.isCached)
        m_owner.onHeardAfresh(event.record);
}

std::vector<uint32_t> SharedQuery::interfacesOf(const Record& record) const
{
    const bool isAnswer = record.type == m_query.type && record.recordClass == m_query.recordClass &&
                          canonical(record.name) == canonical(m_query.name);
    return isAnswer ? m_records.interfacesOf(record) : std::vector<uint32_t>();
}

void SharedQuery::onCacheExhausted()
{
    if (m_state == State::CachePass)
        m_owner.onCachePassOver(m_query);
    else
        endCache();
}

void SharedQuery::onQueryFailed(BackendError error)
{
    fail(error);
}

void SharedQuery::onReport(const RecordEvent& event)
{
    for (RecordListener* listener : m_listeners)
        listener->onRecord(event);
}

void SharedQuery::onUnsettled()
{
    m_settling.start(SettlingTime);
}

void SharedQuery::onHeard(const Record& record, Transport transport, bool isHeard)
{
    std::string_view wire = record.data;
    const auto target = record.type == kDNSServiceType_PTR ? readWireName(wire) : std::nullopt;
    if (target && target->size() >= 3)
        m_owner.onInstanceHeard(*target, record.interface, transport, isHeard);
}

} // namespace vesk::dnssd
