// SPDX-License-Identifier: MIT
#include "QueryRegistry.h"

#include "QueryKey.h"
#include "dns_sd.h"

#include <algorithm>
#include <set>
#include <utility>

namespace vesk::dnssd {

namespace {

using namespace std::chrono_literals;

/// How long a query without subscribers waits for the next one.
constexpr auto LingerTime = 1s;

} // namespace

QueryRegistry::Subscription::Subscription(QueryRegistry& registry, std::string key, RecordListener& listener)
    : m_registry(registry)
    , m_key(std::move(key))
    , m_listener(listener)
{
}

QueryRegistry::Subscription::~Subscription()
{
    if (SharedQuery* query = m_registry.find(m_key))
        query->unsubscribe(m_listener);
}

QueryRegistry::QueryRegistry(EventLoop& loop, Backend& backend)
    : m_loop(loop)
    , m_backend(backend)
    , m_pacing(backend.pacing())
    , m_resolveLimiter(loop, m_pacing)
    , m_toBegin(loop, [this](const std::string& key) { begin(key); })
    , m_toRemove(loop, [this](const std::string& key) { remove(key); })
    , m_cachePassesToEnd(loop, [this](const std::string& key) { endCachePass(key); })
    , m_transportsToChange(loop, [this](const std::string& key) { changeTransport(key); })
    , m_deferred(loop, m_pacing, [this](const std::string& key) { m_toBegin.add(key); })
    , m_confirmationTimer(loop, [this] { dropUnconfirmed(); })
    , m_backendSince(loop.now())
    , m_lingerTimer(loop, [this] { removeIdle(); })
    , m_reconfirmations(loop, backend, *this)
{
}

/// The queries' destructors look for other queries: they find none.
QueryRegistry::~QueryRegistry()
{
    const auto queries = std::exchange(m_queries, {});
}

SharedQuery& QueryRegistry::queryFor(const Query& query)
{
    const std::string key = keyOf(query);
    if (SharedQuery* shared = find(key))
        return *shared;
    SharedQuery::Owner& owner = *this;
    auto shared =
        std::make_unique<SharedQuery>(m_loop, m_resolveLimiter, owner, query, m_backend.isLoopbackALink());
    return *m_queries.emplace(key, std::move(shared)).first->second;
}

SharedQuery* QueryRegistry::find(const std::string& key) const
{
    const auto found = m_queries.find(key);
    return found == m_queries.end() ? nullptr : found->second.get();
}

std::unique_ptr<QueryRegistry::Subscription> QueryRegistry::subscribe(const Query& query,
                                                                      RecordListener& listener)
{
    SharedQuery& shared = queryFor(query);
    auto subscription = std::make_unique<Subscription>(*this, keyOf(query), listener);
    shared.subscribe(listener);
    if (!m_reconfirmations.isEmpty())
        shared.reconsider();
    if (shared.state() == SharedQuery::State::Deferred && !shared.isForAddress())
        m_deferred.add(keyOf(query));
    else if (!shared.isAsked() && m_backend.state() != Backend::State::Absent)
        shared.begin(m_backend);
    return subscription;
}

bool QueryRegistry::canResolveOnce(const Labels& instance, uint32_t interface) const
{
    return m_transports.isSpelt(instance, interface) && m_backend.state() != Backend::State::Absent;
}

std::unique_ptr<Backend::ActiveResolve> QueryRegistry::resolveOnce(const Labels& instance, uint32_t interface,
                                                                   ResolveListener& listener)
{
    if (!canResolveOnce(instance, interface))
        return nullptr;
    const Transport transport = *m_transports.find(instance, interface);
    const std::size_t few = m_backend.pacing().resolvesWithAddress;
    const bool withAddress = few > 0 && m_resolveLimiter.underWay() <= few;
    return m_backend.resolveOnce(instance, interface, transport, withAddress, listener).started;
}

void QueryRegistry::seed(const Record& answer)
{
    SharedQuery& query = queryFor({answer.name, answer.type, answer.recordClass, answer.interface, {}});
    if (!query.canBeSeeded())
        return;
    query.seed(answer);
    onIdle();
}

void QueryRegistry::onBackendState(Backend::State state)
{
    m_backendSince = m_loop.now();
    if (state == Backend::State::Absent) {
        m_toBegin.clear();
        m_deferred.clear();
        for (auto& [key, query] : m_queries)
            query->suspend();
    } else {
        m_pacing = m_backend.pacing();
        for (const auto& [key, query] : m_queries)
            m_toBegin.add(key);
    }
}

void QueryRegistry::begin(const std::string& key)
{
    SharedQuery* query = find(key);
    if (!query || query->isAsked() || query->isIdle() || m_backend.state() == Backend::State::Absent)
        return;
    query->begin(m_backend);
    confirmSoon();
}

/// A round later: the backend may be in the middle of telling the records.
void QueryRegistry::onCachePassOver(const Query& query)
{
    m_cachePassesToEnd.add(keyOf(query));
}

void QueryRegistry::endCachePass(const std::string& key)
{
    SharedQuery* query = find(key);
    if (!query || query->state() != SharedQuery::State::CachePass)
        return;
    query->endCachePass(m_backend);
    if (query->state() == SharedQuery::State::Deferred)
        m_deferred.add(key);
    else
        confirmSoon();
}

/// An instance that is browsed is asked for over one transport that it is seen over: that is half the work.
std::optional<Transport> QueryRegistry::transportFor(const Query& query) const
{
    if (query.type != kDNSServiceType_SRV && query.type != kDNSServiceType_TXT)
        return std::nullopt;
    return m_transports.find(query.name, query.interface);
}

void QueryRegistry::onInstanceHeard(const Labels& instance, uint32_t interface, Transport transport,
                                    bool isHeard)
{
    if (isHeard)
        m_transports.add(instance, interface, transport);
    else
        m_transports.remove(instance, interface, transport);
    for (const uint16_t type : {kDNSServiceType_SRV, kDNSServiceType_TXT}) {
        const std::string key = keyOf({instance, type, kDNSServiceClass_IN, interface, {}});
        const SharedQuery* query = find(key);
        if (query && needsOtherTransport(*query))
            m_transportsToChange.add(key); // a round later: this is called from within the backend's callback
    }
}

/// Whether the instance is left on the other transport only.
bool QueryRegistry::needsOtherTransport(const SharedQuery& query) const
{
    const Query& asked = query.query();
    return query.state() == SharedQuery::State::Active && asked.transport &&
           m_transports.find(asked.name, asked.interface) &&
           !m_transports.isSeenOver(asked.name, asked.interface, *asked.transport);
}

void QueryRegistry::changeTransport(const std::string& key)
{
    SharedQuery* query = find(key);
    if (!query || !needsOtherTransport(*query))
        return;
    query->suspend();
    begin(key);
}

void QueryRegistry::reconfirm(const Record& record)
{
    std::set<uint32_t> interfaces;
    for (const auto& [key, query] : m_queries) {
        const auto known = query->interfacesOf(record);
        interfaces.insert(known.begin(), known.end());
    }
    Record known = record;
    for (const uint32_t interface : interfaces) {
        known.interface = interface;
        m_reconfirmations.begin(known);
    }
}

std::vector<SharedQuery*> QueryRegistry::holdersOf(const Record& record) const
{
    std::vector<SharedQuery*> holders;
    for (const uint32_t interface : {record.interface, 0U}) {
        SharedQuery* query = find(queryKeyOf(record, interface));
        if (query && !query->interfacesOf(record).empty())
            holders.push_back(query);
    }
    return holders;
}

bool QueryRegistry::isWanted(const Record& record) const
{
    const auto holders = holdersOf(record);
    return std::any_of(holders.begin(), holders.end(), [](auto* query) { return !query->isIdle(); });
}

void QueryRegistry::onOver(const Record& record)
{
    const auto ended = m_reconfirmations.end(record); // the record may be its own
    if (ended)
        reconsider(record);
}

void QueryRegistry::reconsider(const Record& record)
{
    for (SharedQuery* query : holdersOf(record))
        query->reconsider();
}

void QueryRegistry::confirmSoon()
{
    if (!m_confirmationTimer.isActive())
        m_confirmationTimer.start(m_backend.pacing().confirmationTime);
}

/// Counted from when the backend came to publish: only then services of this host can be seen again.
void QueryRegistry::dropUnconfirmed()
{
    const QueryPacing::Time confirmationTime = m_backend.pacing().confirmationTime;
    const auto longAgo = m_loop.now() - confirmationTime;
    const bool isTooEarly = m_backendSince > longAgo;
    bool isAnyLeft = isTooEarly;
    for (auto& [key, query] : m_queries) {
        if (!isTooEarly && query->dropUnconfirmed(longAgo))
            isAnyLeft = true;
    }
    if (isAnyLeft)
        m_confirmationTimer.start(std::min<QueryPacing::Time>(1s, confirmationTime));
}

void QueryRegistry::onIdle()
{
    if (!m_lingerTimer.isActive())
        m_lingerTimer.start(LingerTime);
}

/// Goes on until no query is idle: a removal may fail for want of memory.
void QueryRegistry::removeIdle()
{
    onIdle();
    const auto longAgo = m_loop.now() - LingerTime;
    bool isAnyIdle = false;
    for (const auto& [key, query] : m_queries) {
        isAnyIdle = isAnyIdle || query->isIdle();
        if (query->isIdleSince(longAgo))
            m_toRemove.add(key);
    }
    if (!isAnyIdle)
        m_lingerTimer.stop();
}

void QueryRegistry::remove(const std::string& key)
{
    const auto place = m_queries.find(key);
    if (place == m_queries.end() || !place->second->isIdle())
        return;
    const std::unique_ptr<SharedQuery> removed = std::move(place->second);
    m_queries.erase(place); // first: its destructor looks for other queries
    if (m_queries.empty()) {
        // Nothing is left that would have to be confirmed or removed.
        m_confirmationTimer.stop();
        m_lingerTimer.stop();
    }
}

} // namespace vesk::dnssd
