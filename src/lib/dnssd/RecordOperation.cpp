// SPDX-License-Identifier: MIT
#include "RecordOperation.h"

namespace vesk::dnssd {

namespace {

/// Records that hold a host's name or address live shorter.
bool isHostRecord(uint16_t type)
{
    return type == kDNSServiceType_A || type == kDNSServiceType_AAAA || type == kDNSServiceType_SRV ||
           type == kDNSServiceType_HINFO;
}

} // namespace

RecordReply RecordReply::of(const Record& record, bool present, bool cached)
{
    if (!present)
        return {0, 0};
    const DNSServiceFlags fromCache = cached ? kDNSServiceFlagAnsweredFromCache : 0;
    return {kDNSServiceFlagsAdd | fromCache, isHostRecord(record.type) ? 120U : 4500U};
}

RecordOperation::RecordOperation(std::shared_ptr<Mailbox> mailbox, Query query,
                                 Callback<DNSServiceQueryRecordReply> callback)
    : Operation(std::move(mailbox))
    , m_query(std::move(query))
    , m_callback(callback)
{
}

void RecordOperation::start(const Rooms& rooms)
{
    m_seat = rooms.questions.ask(m_query, *this);
}

void RecordOperation::answered(const Record& record, bool present, bool cached)
{
    reply([callback = m_callback, fields = RecordReply::of(record, present, cached),
           interface = record.interface, fullname = toText(record.name), type = record.type,
           recordClass = record.recordClass, data = record.data](DNSServiceFlags moreComing) {
        callback.function(callback.handle, fields.flags | moreComing, interface, kDNSServiceErr_NoError,
                          fullname.c_str(), type, recordClass, static_cast<uint16_t>(data.size()),
                          data.data(), fields.ttl, callback.context);
    });
}

void RecordOperation::refused()
{
    reply([callback = m_callback, type = m_query.type,
           recordClass = m_query.recordClass](DNSServiceFlags moreComing) {
        callback.function(callback.handle, moreComing, 0, kDNSServiceErr_Refused, "", type, recordClass, 0,
                          nullptr, 0, callback.context);
    });
}

} // namespace vesk::dnssd
