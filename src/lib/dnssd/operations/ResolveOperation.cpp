// SPDX-License-Identifier: MIT
#include "ResolveOperation.h"

#include "ErrorNumber.h"

#include <arpa/inet.h>

#include <algorithm>
#include <utility>

namespace vesk::dnssd {

using namespace std::chrono_literals;

namespace {

/// When the records are queried because resolving once has brought nothing.
constexpr auto LongestResolve = 300ms;

uint16_t addressType(const std::string& address)
{
    return address.size() == sizeof(in_addr) ? kDNSServiceType_A : kDNSServiceType_AAAA;
}

} // namespace

ResolveOperation::ResolveOperation(std::shared_ptr<ReplyQueue> replies, Labels name, InterfaceScope scope,
                                   std::shared_ptr<PendingResolve> pending,
                                   Callback<DNSServiceResolveReply> callback)
    : Operation(std::move(replies))
    , m_name(std::move(name))
    , m_scope(scope)
    , m_pending(std::move(pending))
    , m_callback(callback)
{
}

void ResolveOperation::start(const OperationContext& context)
{
    m_loop = &context.loop;
    m_queries = &context.queries;
    m_tasks.emplace(context.loop);
    if (m_queries->canResolveOnce(m_name, m_scope.interface)) {
        m_permit = m_queries->resolveLimiter().request([this] { resolveOnce(); });
    } else {
        m_pending.reset(); // no browse has handed it on
        watch();
    }
}

void ResolveOperation::resolveOnce()
{
    m_watchTimer.emplace(*m_loop, [this] { watch(); });
    m_resolve = m_queries->resolveOnce(m_name, m_scope.interface, *this);
    if (m_resolve)
        m_watchTimer->start(LongestResolve);
    else
        watch();
}

void ResolveOperation::onResolved(const ResolvedService& service)
{
    m_permit.reset();
    m_queries->seed({m_name, kDNSServiceType_TXT, kDNSServiceClass_IN, m_scope.interface, service.txt});
    if (!service.address.empty())
        m_queries->seed({service.host, addressType(service.address), kDNSServiceClass_IN, m_scope.interface,
                         service.address});
    report(m_scope.interface, m_name, {service.port, service.host}, service.txt);
    m_watchTimer->start(m_queries->watchDelay());
}

/// A round later: to query is not for a callback of the backend's.
void ResolveOperation::onResolveFailed()
{
    m_watchTimer->start(0ms);
}

void ResolveOperation::watch()
{
    m_permit.reset();
    m_resolve.reset();
    const auto subscribe = [&](uint16_t type) {
        return m_queries->subscribe({m_name, type, kDNSServiceClass_IN, m_scope.interface, {}}, *this);
    };
    m_services = subscribe(kDNSServiceType_SRV);
    m_texts = subscribe(kDNSServiceType_TXT);
}

void ResolveOperation::onRecord(const RecordEvent& event)
{
    const Record& record = event.record;
    Found& found = m_found[record.interface];
    auto& records = record.type == kDNSServiceType_SRV ? found.services : found.texts;
    const auto isSame = [&](const Record& other) { return other.data == record.data; };
    records.erase(std::remove_if(records.begin(), records.end(), isSame), records.end());
    if (event.isPresent)
        records.push_back(record);
    else if (records.empty())
        found.reported.clear();
    reportLater(record.interface);
}

/// Records that change together are told one after the other, and are to be one reply.
void ResolveOperation::reportLater(uint32_t interface)
{
    if (m_changed.count(interface) > 0)
        return;
    m_tasks->post([this, interface] { reportRecords(interface); });
    m_changed.insert(interface);
}

void ResolveOperation::reportRecords(uint32_t interface)
{
    m_changed.erase(interface);
    const Found& found = m_found[interface];
    if (m_hasFailed || found.services.empty() || found.texts.empty())
        return;
    const Record& service = found.services.back();
    if (const auto data = SrvData::parse(service.data))
        report(interface, service.name, *data, found.texts.back().data);
}

void ResolveOperation::report(uint32_t interface, const Labels& name, const SrvData& service,
                              const std::string& txt)
{
    std::string data = service.toWire() + txt;
    std::string& reported = m_found[interface].reported;
    if (data == reported)
        return;
    reported = std::move(data);
    if (m_pending)
        m_pending->setAnswered();
    reply({Reply::Kind::Latest, std::to_string(interface),
           [callback = m_callback, interface = m_scope.reported(interface), fullname = toText(name),
            host = toText(service.target), port = htons(service.port), txt,
            pending = std::exchange(m_pending, nullptr)](DNSServiceFlags moreComing) {
               callback.function(callback.handle, moreComing, interface, kDNSServiceErr_NoError,
                                 fullname.c_str(), host.c_str(), port, static_cast<uint16_t>(txt.size()),
                                 reinterpret_cast<const unsigned char*>(txt.data()), callback.context);
           }});
}

/// Of the two queries the first that fails ends both: one failure is one reply.
void ResolveOperation::onQueryFailed(BackendError error)
{
    if (m_hasFailed)
        return;
    fail(errorNumber(error));
    m_tasks->post([this] {
        m_services.reset();
        m_texts.reset();
    });
}

void ResolveOperation::fail(DNSServiceErrorType error)
{
    m_hasFailed = true;
    reply({Reply::Kind::Lasting, {}, [callback = m_callback, error](DNSServiceFlags moreComing) {
               callback.function(callback.handle, moreComing, 0, error, "", "", 0, 0, nullptr,
                                 callback.context);
           }});
}

} // namespace vesk::dnssd
