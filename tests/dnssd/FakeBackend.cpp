// SPDX-License-Identifier: MIT
#include "FakeBackend.h"

#include "BackendChoice.h"
#include "SrvData.h"
#include "dns_sd.h"

#include <algorithm>
#include <utility>

namespace vesk::dnssd::tests {

namespace {

std::atomic<FakeBackend*> lastMade{nullptr};

bool answers(const Record& record, Transport transport, const Query& query)
{
    if (query.transport && *query.transport != transport)
        return false;
    const bool sameType = query.type == kDNSServiceType_ANY || record.type == query.type;
    const bool sameInterface = query.interface == 0 || record.interface == query.interface;
    return sameType && sameInterface && canonical(record.name) == canonical(query.name);
}

bool isSame(const Record& a, const Record& b)
{
    return a.type == b.type && a.interface == b.interface && a.data == b.data &&
           canonical(a.name) == canonical(b.name);
}

/// As Avahi's daemon.
QueryPacing defaultPacing()
{
    QueryPacing pacing;
    pacing.cachePassLimit = std::chrono::milliseconds(100);
    pacing.largeResult = 100;
    return pacing;
}

} // namespace

/// What was started, and stands for something until the backend goes.
class FakeBackend::Started
{
public:
    explicit Started(FakeBackend& backend)
        : m_isThere(backend.m_isThere)
        , m_tasks(backend.m_loop)
    {
    }

protected:
    void later(Task task)
    {
        m_tasks.post([task = std::move(task), isThere = m_isThere] {
            if (*isThere)
                task();
        });
    }

private:
    std::shared_ptr<const bool> m_isThere;
    OwnedTasks m_tasks;
};

class FakeBackend::FakeQuery final : public Backend::ActiveQuery, private Started
{
public:
    FakeQuery(FakeBackend& backend, Query query, RecordListener& listener)
        : Started(backend)
        , m_backend(backend)
        , m_query(std::move(query))
        , m_listener(listener)
    {
        later([this] { tellCache(); });
        m_backend.m_queries.insert(this); // last: nothing is left of it when there is no memory
    }
    ~FakeQuery() override { m_backend.m_queries.erase(this); }

    const Labels& name() const { return m_query.name; }

    void tell(const Record& record, Transport transport, bool isPresent, bool isCached)
    {
        if (answers(record, transport, m_query))
            m_listener.onRecord({record, transport, isPresent, isCached});
    }
    void failLater(BackendError error)
    {
        later([this, error] { m_listener.onQueryFailed(error); });
    }

    /// Once, the newest record first. The listener may end the query in each of these calls.
    void tellCache()
    {
        if (std::exchange(m_hasToldCache, true))
            return;
        const auto known = m_backend.m_known;
        const std::weak_ptr alive(m_alive);
        for (auto one = known.rbegin(); one != known.rend(); ++one) {
            tell(one->record, one->transport, true, true);
            if (alive.expired())
                return;
        }
        if (!m_backend.m_isNeverExhausted)
            m_listener.onCacheExhausted();
    }

private:
    FakeBackend& m_backend;
    Query m_query;
    RecordListener& m_listener;
    bool m_hasToldCache = false;
    std::shared_ptr<char> m_alive = std::make_shared<char>();
};

/// The network does not go with the responder.
class FakeBackend::FakeHostQuestion final : public Backend::ActiveQuery
{
public:
    FakeHostQuestion(FakeBackend& backend, Query query, RecordListener& listener)
        : m_backend(backend)
        , m_query(std::move(query))
        , m_listener(listener)
        , m_tasks(backend.m_loop)
    {
        m_tasks.post([this] { answer(); });
        ++m_backend.m_standingHostQuestions; // last: nothing is left of it when there is no memory
    }
    ~FakeHostQuestion() override { --m_backend.m_standingHostQuestions; }

private:
    /// The listener may end the question in each of these calls.
    void answer()
    {
        const auto known = m_backend.m_known;
        const std::weak_ptr alive(m_alive);
        for (const Known& one : known) {
            if (alive.expired() || !m_backend.m_doHostsAnswer)
                return;
            if (answers(one.record, one.transport, m_query))
                m_listener.onRecord({one.record, one.transport, true, false});
        }
    }

    FakeBackend& m_backend;
    Query m_query;
    RecordListener& m_listener;
    OwnedTasks m_tasks;
    std::shared_ptr<char> m_alive = std::make_shared<char>();
};

/// What was published: a service or a single record.
class FakeBackend::Published : private Started
{
public:
    void publishLater()
    {
        later([this] { m_listener.onPublished(); });
    }
    void collideLater()
    {
        later([this] { m_listener.onNameConflict(); });
    }
    void failLater(BackendError error)
    {
        later([this, error] { m_listener.onPublishFailed(error); });
    }

protected:
    Published(FakeBackend& backend, PublishListener& listener)
        : Started(backend)
        , m_listener(listener)
    {
    }

private:
    PublishListener& m_listener;
};

class FakeBackend::FakePublication final : public Backend::Publication, public Published
{
public:
    FakePublication(FakeBackend& backend, Service service, PublishListener& listener)
        : Published(backend, listener)
        , m_backend(backend)
        , m_service(std::move(service))
    {
        m_backend.m_published.push_back(m_service);
        m_backend.m_publications.insert(this);
    }
    ~FakePublication() override { m_backend.m_publications.erase(this); }
    void update(const std::string& txt) override
    {
        m_service.txt = txt;
        m_backend.m_published.push_back(m_service);
    }
    void allowFurtherTxt() override { m_backend.m_allowingFurtherTxt.insert(m_service.name); }

    const std::string& name() const { return m_service.name; }
    const Service& service() const { return m_service; }

private:
    FakeBackend& m_backend;
    Service m_service;
};

class FakeBackend::FakeRecordPublication final : public Backend::RecordPublication, public Published
{
public:
    FakeRecordPublication(FakeBackend& backend, PublishedRecord record, PublishListener& listener)
        : Published(backend, listener)
        , m_backend(backend)
        , m_record(std::move(record))
    {
        m_backend.m_records.push_back(this);
        ++m_backend.m_recordChanges;
    }
    ~FakeRecordPublication() override
    {
        auto& all = m_backend.m_records;
        all.erase(std::find(all.begin(), all.end(), this));
    }
    void update(const std::string& data, uint32_t ttl) override
    {
        m_record.data = data;
        m_record.ttl = ttl;
        ++m_backend.m_recordChanges;
    }

    const PublishedRecord& record() const { return m_record; }
    std::string name() const { return toText(m_record.name); }

private:
    FakeBackend& m_backend;
    PublishedRecord m_record;
};

class FakeBackend::FakeResolve final : public Backend::ActiveResolve, private Started
{
public:
    FakeResolve(FakeBackend& backend, ResolveListener& listener)
        : Started(backend)
        , m_listener(listener)
    {
    }
    void resolveLater(ResolvedService service)
    {
        later([this, service = std::move(service)] { m_listener.onResolved(service); });
    }
    void failLater()
    {
        later([this] { m_listener.onResolveFailed(); });
    }

private:
    ResolveListener& m_listener;
};

FakeBackend::FakeBackend(EventLoop& loop, StateListener& listener)
    : m_loop(loop)
    , m_tasks(loop)
    , m_listener(listener)
    , m_pacing(defaultPacing())
{
    lastMade = this;
}

FakeBackend::~FakeBackend() = default;

FakeBackend& FakeBackend::last()
{
    return *lastMade;
}

void FakeBackend::come(const Record& record, Transport transport)
{
    m_loop.post([this, record, transport] {
        tellCaches();
        m_known.push_back({record, transport});
        tell(record, transport, true);
    });
}

void FakeBackend::go(const Record& record, Transport transport)
{
    m_loop.post([this, record, transport] {
        tellCaches();
        const auto isIt = [&](const Known& known) {
            return known.transport == transport && isSame(known.record, record);
        };
        m_known.erase(std::remove_if(m_known.begin(), m_known.end(), isIt), m_known.end());
        tell(record, transport, false);
    });
}

void FakeBackend::change(State state)
{
    m_loop.post([this, state] { setState(state); });
}

void FakeBackend::setState(State state)
{
    if (m_state == state)
        return;
    m_state = state;
    if (state == State::Absent) {
        *m_isThere = false;
        m_isThere = std::make_shared<bool>(true);
        m_queries.clear();
        m_publications.clear();
    }
    m_listener.onBackendState(state);
}

/// A listener may start and end queries.
void FakeBackend::forEachQuery(const std::function<void(FakeQuery&)>& act)
{
    const auto queries = m_queries;
    for (FakeQuery* query : queries) {
        if (m_queries.count(query) > 0)
            act(*query);
    }
}

/// To the queries that have not been told of it yet: what comes and goes is told after that.
void FakeBackend::tellCaches()
{
    forEachQuery([](FakeQuery& query) { query.tellCache(); });
}

void FakeBackend::tell(const Record& record, Transport transport, bool isPresent)
{
    forEachQuery([&](FakeQuery& query) { query.tell(record, transport, isPresent, false); });
}

BackendError FakeBackend::startError() const
{
    return m_state == State::Absent ? BackendError::Unavailable : m_startError;
}

Backend::Result<Backend::ActiveQuery> FakeBackend::startQuery(const Query& query, RecordListener& listener)
{
    if (startError() != BackendError::None)
        return {startError(), nullptr};
    m_asked.push_back(query);
    return {BackendError::None, std::make_unique<FakeQuery>(*this, query, listener)};
}

Backend::Result<Backend::ActiveQuery> FakeBackend::askHosts(const Query& query, RecordListener& listener)
{
    if (!m_canAskHosts)
        return {BackendError::Failed, nullptr};
    m_hostQuestions.push_back(query);
    return {BackendError::None, std::make_unique<FakeHostQuestion>(*this, query, listener)};
}

/// Resolves an instance when both its records are known, and its host's address if it is wanted.
Backend::Result<Backend::ActiveResolve> FakeBackend::resolveOnce(const Labels& instance, uint32_t interface,
                                                                 Transport transport, bool withAddress,
                                                                 ResolveListener& listener)
{
    if (!m_canResolveOnce)
        return {BackendError::Failed, nullptr};
    if (startError() != BackendError::None)
        return {startError(), nullptr};
    m_resolved.push_back(instance);
    auto resolve = std::make_unique<FakeResolve>(*this, listener);
    const auto find = [&](const Labels& name, uint16_t type) {
        const Query query{name, type, kDNSServiceClass_IN, interface, transport};
        const auto known = std::find_if(m_known.begin(), m_known.end(), [&](const Known& one) {
            return answers(one.record, one.transport, query);
        });
        return known == m_known.end() ? std::string() : known->record.data;
    };
    const auto service = SrvData::parse(find(instance, kDNSServiceType_SRV));
    const std::string txt = find(instance, kDNSServiceType_TXT);
    const std::string address =
        service && withAddress ? find(service->target, kDNSServiceType_A) : std::string();
    if (service && !txt.empty() && withAddress == !address.empty())
        resolve->resolveLater({service->target, service->port, txt, address});
    else if (m_isFailingResolves)
        resolve->failLater();
    return {BackendError::None, std::move(resolve)};
}

Backend::Result<Backend::Publication> FakeBackend::publish(const Service& service, PublishListener& listener)
{
    if (startError() != BackendError::None)
        return {startError(), nullptr};
    if (m_takenHere.count(service.name) > 0)
        return {BackendError::NameConflict, nullptr};
    auto publication = std::make_unique<FakePublication>(*this, service, listener);
    if (m_isAllTaken || m_takenElsewhere.count(service.name) > 0)
        publication->collideLater();
    else
        publication->publishLater();
    return {BackendError::None, std::move(publication)};
}

Backend::Result<Backend::RecordPublication> FakeBackend::publishRecord(const PublishedRecord& record,
                                                                       PublishListener& listener)
{
    if (startError() != BackendError::None)
        return {startError(), nullptr};
    const std::string name = toText(record.name);
    if (m_takenHere.count(name) > 0)
        return {BackendError::NameConflict, nullptr};
    auto publication = std::make_unique<FakeRecordPublication>(*this, record, listener);
    if (m_takenElsewhere.count(name) > 0)
        publication->collideLater();
    else
        publication->publishLater();
    return {BackendError::None, std::move(publication)};
}

std::vector<PublishedRecord> FakeBackend::records() const
{
    std::vector<PublishedRecord> records;
    for (const FakeRecordPublication* publication : m_records)
        records.push_back(publication->record());
    return records;
}

void FakeBackend::shutDown(std::chrono::milliseconds)
{
    m_isShutDown = true;
    setState(State::Absent);
}

void FakeBackend::failQueries(const Labels& name, BackendError error)
{
    for (FakeQuery* query : m_queries) {
        if (canonical(query->name()) == canonical(name))
            query->failLater(error);
    }
}

void FakeBackend::collide(const std::string& name)
{
    for (FakePublication* publication : m_publications) {
        if (publication->name() == name)
            publication->collideLater();
    }
    for (FakeRecordPublication* publication : m_records) {
        if (publication->name() == name)
            publication->collideLater();
    }
}

void FakeBackend::failPublications(const std::string& name, BackendError error)
{
    for (FakePublication* publication : m_publications) {
        if (publication->name() == name)
            publication->failLater(error);
    }
    for (FakeRecordPublication* publication : m_records) {
        if (publication->name() == name)
            publication->failLater(error);
    }
}

std::vector<Service> FakeBackend::standing() const
{
    std::vector<Service> services;
    for (const FakePublication* publication : m_publications)
        services.push_back(publication->service());
    return services;
}

void FakeBackend::forgetAsked()
{
    m_asked.clear();
    m_resolved.clear();
}

} // namespace vesk::dnssd::tests

namespace vesk::dnssd {

/// The process's own engine, for tests with threads. Of a memory's there is none.
BackendFactory backendFactory(BackendKind kind)
{
    if (kind == BackendKind::Memory)
        return nullptr;
    return [kind](EventLoop& loop, Backend::StateListener& listener) {
        auto backend = std::make_unique<tests::FakeBackend>(loop, listener);
        backend->setKind(kind);
        backend->change(Backend::State::Running);
        return backend;
    };
}

} // namespace vesk::dnssd
