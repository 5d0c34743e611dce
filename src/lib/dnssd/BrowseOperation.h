// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_BROWSEOPERATION_H
#define VESK_DNSSD_BROWSEOPERATION_H

#include "Operation.h"
#include "Scope.h"

namespace vesk::dnssd {

/// The PTR records of a type, as instances that come and go (RFC 6763 section 4).
class BrowseOperation : public Operation, private AnswerListener
{
public:
    BrowseOperation(std::shared_ptr<Mailbox> mailbox, Labels type, Scope scope,
                    Callback<DNSServiceBrowseReply> callback);

    void start(const Rooms& rooms) override;

private:
    void answered(const Record& record, bool present, bool cached) override;
    void refused() override;

    Labels m_type;
    Scope m_scope;
    Callback<DNSServiceBrowseReply> m_callback;
    std::unique_ptr<Questions::Seat> m_seat;
};

} // namespace vesk::dnssd

#endif
