// SPDX-License-Identifier: MIT
#include "ContractFixture.h"

#include "SrvData.h"

namespace vesk::dnssd::tests {

namespace {

const Labels Domain{"local"};

} // namespace

void Listener::called()
{
    EXPECT_EQ(InCall::depth, 0) << "called back from inside a call";
    ++calls;
    if (onCall)
        onCall();
}

bool RecordLog::has(const std::string& instance) const
{
    bool isThere = false;
    for (const Event& event : events) {
        std::string_view wire = event.record.data;
        const auto target = readWireName(wire);
        if (target && !target->empty() && target->front() == instance)
            isThere = event.isPresent;
    }
    return isThere;
}

void RecordLog::onRecord(const RecordEvent& event)
{
    events.push_back({event.record, event.transport, event.isPresent, event.isCached, exhausted == 0});
    called();
}

void RecordLog::onCacheExhausted()
{
    ++exhausted;
    called();
}

void RecordLog::onQueryFailed(BackendError failure)
{
    error = failure;
    called();
}

void ResolveLog::onResolved(const ResolvedService& resolved)
{
    service = resolved;
    called();
}

void ResolveLog::onResolveFailed()
{
    hasFailed = true;
    called();
}

void PublishLog::onPublished()
{
    ++published;
    called();
}

void PublishLog::onNameConflict()
{
    ++conflicts;
    called();
}

void PublishLog::onPublishFailed(BackendError failure)
{
    error = failure;
    called();
}

Contract::Contract()
    : m_world(makeBackendUnderTest())
    , m_loop(m_world->clock())
    , m_backend(m_world->make(m_loop, *this))
{
}

Contract::~Contract()
{
    m_world->finish();
}

void Contract::SetUp()
{
    m_backend->setInUse(true);
    EXPECT_EQ(m_states, std::vector<Backend::State>()) << "called back from inside a call";
    ASSERT_TRUE(runUntilState(Backend::State::Running));
}

bool Contract::runUntilState(Backend::State state)
{
    return runUntil([&] {
        if (!m_states.empty()) {
            EXPECT_EQ(m_backend->state(), m_states.back());
        }
        return m_backend->state() == state;
    });
}

Backend::Result<Backend::ActiveQuery> Contract::startQuery(const Query& query, RecordLog& log)
{
    const InCall inCall;
    return m_backend->startQuery(query, log);
}

Backend::Result<Backend::ActiveQuery> Contract::askHosts(const Query& query, RecordLog& log)
{
    const InCall inCall;
    return m_backend->askHosts(query, log);
}

Backend::Result<Backend::ActiveResolve> Contract::resolveOnce(const std::string& name, ResolveLog& log,
                                                              bool withAddress)
{
    const InCall inCall;
    return m_backend->resolveOnce(Labels{name} + m_world->type() + Domain, m_world->interface(),
                                  Transport::IPv4, withAddress, log);
}

Backend::Result<Backend::Publication> Contract::publish(const std::string& name, PublishLog& log)
{
    const InCall inCall;
    return m_backend->publish(
        {name, m_world->type(), {}, Domain, {}, m_world->interface(), 8080, item("a=1")}, log);
}

Backend::Result<Backend::RecordPublication> Contract::publishAddress(PublishedRecord::Claim claim,
                                                                     PublishLog& log)
{
    const InCall inCall;
    return m_backend->publishRecord(
        {addressName(), kDNSServiceType_A, m_world->interface(), {10, 0, 0, 1}, 120, claim}, log);
}

Backend::Result<Backend::RecordPublication> Contract::publishUniqueService(const std::string& name,
                                                                           PublishLog& log)
{
    const InCall inCall;
    return m_backend->publishRecord({Labels{name} + m_world->type() + Domain, kDNSServiceType_SRV,
                                     m_world->interface(), SrvData{9999, addressName()}.toWire(), 120,
                                     PublishedRecord::Claim::Unique},
                                    log);
}

/// That no other test has used, as the type.
Labels Contract::addressName() const
{
    return Labels{m_world->type().front().substr(1)} + Domain;
}

Query Contract::instances() const
{
    return {m_world->type() + Domain, kDNSServiceType_PTR, kDNSServiceClass_IN, m_world->interface(),
            Transport::IPv4};
}

void Contract::onBackendState(Backend::State state)
{
    EXPECT_EQ(m_backend->state(), state);
    m_states.push_back(state);
}

} // namespace vesk::dnssd::tests
