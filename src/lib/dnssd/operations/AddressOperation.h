// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_ADDRESSOPERATION_H
#define VESK_DNSSD_ADDRESSOPERATION_H

#include "Operation.h"
#include "Timer.h"

#include <optional>

namespace vesk::dnssd {

/// The A and AAAA records of a host, as socket addresses.
class AddressOperation final : public Operation, private RecordListener
{
public:
    /// `protocol`: kDNSServiceProtocol_IPv4, kDNSServiceProtocol_IPv6 or both. `timesOut`: reports once for
    /// each family that its time is over.
    AddressOperation(std::shared_ptr<ReplyQueue> replies, Labels host, uint32_t interface,
                     DNSServiceProtocol protocol, bool timesOut,
                     Callback<DNSServiceGetAddrInfoReply> callback);

    void start(const OperationContext& context) override;
    void fail(DNSServiceErrorType error) override;

private:
    void onRecord(const RecordEvent& event) override;
    void onQueryFailed(BackendError error) override;
    void reportTimeout(int family);

    Labels m_host;
    uint32_t m_interface;
    DNSServiceProtocol m_protocol;
    bool m_timesOut;
    bool m_hasFailed = false; ///< nothing is reported after that
    Callback<DNSServiceGetAddrInfoReply> m_callback;
    std::optional<Timer> m_timeout;
    std::unique_ptr<QueryRegistry::Subscription> m_ipv4;
    std::unique_ptr<QueryRegistry::Subscription> m_ipv6;
};

} // namespace vesk::dnssd

#endif
