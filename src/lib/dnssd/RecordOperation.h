// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_RECORDOPERATION_H
#define VESK_DNSSD_RECORDOPERATION_H

#include "Operation.h"

namespace vesk::dnssd {

/// The records of one name and type, as they come and go.
class RecordOperation : public Operation, private AnswerListener
{
public:
    RecordOperation(std::shared_ptr<Mailbox> mailbox, Query query,
                    Callback<DNSServiceQueryRecordReply> callback);

    void start(const Rooms& rooms) override;

private:
    void answered(const Record& record, bool present, bool cached) override;
    void refused() override;

    Query m_query;
    Callback<DNSServiceQueryRecordReply> m_callback;
    std::unique_ptr<Questions::Seat> m_seat;
};

/// Flags and TTL of a reply about a single record. The daemon tells no TTL, so it is the one that RFC 6762
/// section 10 recommends for the type.
struct RecordReply
{
    DNSServiceFlags flags;
    uint32_t ttl;

    static RecordReply of(const Record& record, bool present, bool cached);
};

} // namespace vesk::dnssd

#endif
