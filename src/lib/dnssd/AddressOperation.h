// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_ADDRESSOPERATION_H
#define VESK_DNSSD_ADDRESSOPERATION_H

#include "Operation.h"

namespace vesk::dnssd {

/// The A and AAAA records of a host, as socket addresses.
class AddressOperation : public Operation, private AnswerListener
{
public:
    /// `protocol`: kDNSServiceProtocol_IPv4, kDNSServiceProtocol_IPv6 or both.
    AddressOperation(std::shared_ptr<Mailbox> mailbox, Labels host, uint32_t interface,
                     DNSServiceProtocol protocol, Callback<DNSServiceGetAddrInfoReply> callback);

    void start(const Rooms& rooms) override;

private:
    void answered(const Record& record, bool present, bool cached) override;
    void refused() override;

    Labels m_host;
    uint32_t m_interface;
    DNSServiceProtocol m_protocol;
    Callback<DNSServiceGetAddrInfoReply> m_callback;
    std::unique_ptr<Questions::Seat> m_ipv4Seat;
    std::unique_ptr<Questions::Seat> m_ipv6Seat;
};

} // namespace vesk::dnssd

#endif
