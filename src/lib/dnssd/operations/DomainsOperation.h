// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_DOMAINSOPERATION_H
#define VESK_DNSSD_DOMAINSOPERATION_H

#include "Operation.h"

namespace vesk::dnssd {

/// Tells that "local." is the domain to browse and to register in, and nothing more.
class DomainsOperation final : public Operation
{
public:
    DomainsOperation(std::shared_ptr<ReplyQueue> replies, Callback<DNSServiceDomainEnumReply> callback)
        : Operation(std::move(replies))
        , m_callback(callback)
    {
    }

    void start(const OperationContext&) override
    {
        tell(kDNSServiceErr_NoError, kDNSServiceFlagsAdd, "local.");
    }
    void fail(DNSServiceErrorType error) override { tell(error, 0, ""); }

private:
    void tell(DNSServiceErrorType error, DNSServiceFlags flags, const char* domain)
    {
        reply({Reply::Kind::Lasting, {}, [=, callback = m_callback](DNSServiceFlags moreComing) {
                   callback.function(callback.handle, flags | moreComing, kDNSServiceInterfaceIndexAny, error,
                                     domain, callback.context);
               }});
    }

    Callback<DNSServiceDomainEnumReply> m_callback;
};

} // namespace vesk::dnssd

#endif
