// SPDX-License-Identifier: MIT
#include "RecordOperation.h"

#include "ErrorNumber.h"
#include "NsecData.h"
#include "OperationTimeout.h"
#include "RecordReply.h"

#include <array>

namespace vesk::dnssd {

namespace {

/// What ANY stands for: a backend takes queries of one type each.
constexpr std::array<uint16_t, 15> TypesInUse{
    kDNSServiceType_A,     kDNSServiceType_NS,    kDNSServiceType_CNAME, kDNSServiceType_NULL,
    kDNSServiceType_PTR,   kDNSServiceType_HINFO, kDNSServiceType_MX,    kDNSServiceType_TXT,
    kDNSServiceType_RP,    kDNSServiceType_AAAA,  kDNSServiceType_LOC,   kDNSServiceType_SRV,
    kDNSServiceType_NAPTR, kDNSServiceType_SVCB,  kDNSServiceType_HTTPS};

constexpr uint32_t AbsenceTtl = 1; ///< seconds

/// NSEC data may come with its name compressed, which means nothing outside the packet that it came in.
std::string portableData(const Record& record)
{
    const auto nsec =
        record.type == kDNSServiceType_NSEC ? NsecData::parse(record.name, record.data) : std::nullopt;
    return nsec ? nsec->toWire() : record.data;
}

} // namespace

RecordOperation::RecordOperation(std::shared_ptr<ReplyQueue> replies, Query query, Options options,
                                 Callback<DNSServiceQueryRecordReply> callback)
    : Operation(std::move(replies))
    , m_query(std::move(query))
    , m_options(options)
    , m_callback(callback)
{
}

void RecordOperation::start(const OperationContext& context)
{
    if (m_options.timesOut) {
        m_timeout.emplace(context.loop, [this] {
            reportWithoutData(kDNSServiceFlagsAdd, 0, kDNSServiceErr_Timeout, toText(m_query.name),
                              TimeoutTtl);
        });
        m_timeout->start(OperationTime);
    }
    if (m_query.type != kDNSServiceType_ANY) {
        subscribe(context, m_query.type);
    } else {
        for (const uint16_t type : TypesInUse)
            subscribe(context, type);
    }
    if (m_options.reportsAbsence && !isAskedFor({{}, kDNSServiceType_NSEC, 0, 0, {}}))
        subscribe(context, kDNSServiceType_NSEC);
}

void RecordOperation::subscribe(const OperationContext& context, uint16_t type)
{
    Query query = m_query;
    query.type = type;
    m_subscriptions.push_back(context.queries.subscribe(query, *this));
}

bool RecordOperation::isAskedFor(const Record& record) const
{
    return m_query.type == kDNSServiceType_ANY || record.type == m_query.type;
}

void RecordOperation::onRecord(const RecordEvent& event)
{
    if (m_hasFailed)
        return;
    if (isAskedFor(event.record))
        reportRecord(event);
    else
        reportAbsence(event);
}

void RecordOperation::reportRecord(const RecordEvent& event)
{
    const Record& record = event.record;
    RecordReply fields(event);
    reply({fields.kind, std::move(fields.subject),
           [callback = m_callback, flags = fields.flags, ttl = fields.ttl, interface = record.interface,
            fullname = toText(record.name), type = record.type, recordClass = record.recordClass,
            data = portableData(record)](DNSServiceFlags moreComing) {
               callback.function(callback.handle, flags | moreComing, interface, kDNSServiceErr_NoError,
                                 fullname.c_str(), type, recordClass, static_cast<uint16_t>(data.size()),
                                 data.data(), ttl, callback.context);
           }});
}

/// Once for an interface, until the name's host says otherwise.
void RecordOperation::reportAbsence(const RecordEvent& event)
{
    const Record& record = event.record;
    const auto nsec = NsecData::parse(record.name, record.data);
    if (!event.isPresent || !nsec || nsec->hasType(m_query.type)) {
        m_absentOn.erase(record.interface);
        return;
    }
    if (m_absentOn.insert(record.interface).second)
        reportWithoutData(kDNSServiceFlagsAdd, record.interface, kDNSServiceErr_NoSuchRecord,
                          toText(record.name), AbsenceTtl);
}

/// Of several queries the first that fails speaks for all.
void RecordOperation::onQueryFailed(BackendError error)
{
    if (!m_hasFailed)
        fail(errorNumber(error));
}

void RecordOperation::fail(DNSServiceErrorType error)
{
    m_hasFailed = true;
    m_timeout.reset();
    reportWithoutData(0, 0, error, "", 0);
}

void RecordOperation::reportWithoutData(DNSServiceFlags flags, uint32_t interface, DNSServiceErrorType error,
                                        const std::string& name, uint32_t ttl)
{
    reply({Reply::Kind::Lasting,
           {},
           [callback = m_callback, flags, interface, error, name, ttl, type = m_query.type,
            recordClass = m_query.recordClass](DNSServiceFlags moreComing) {
               callback.function(callback.handle, flags | moreComing, interface, error, name.c_str(), type,
                                 recordClass, 0, nullptr, ttl, callback.context);
           }});
}

} // namespace vesk::dnssd
