// SPDX-License-Identifier: MIT
#include "DomainsOperation.h"
#include "InterfaceScope.h"
#include "NoThrow.h"
#include "StartCall.h"

using namespace vesk::dnssd;

DNSServiceErrorType DNSServiceEnumerateDomains(DNSServiceRef* sdRef, DNSServiceFlags flags,
                                               uint32_t interfaceIndex, DNSServiceDomainEnumReply callBack,
                                               void* context)
{
    return withoutExceptions([&]() -> DNSServiceErrorType {
        const DNSServiceFlags kinds = kDNSServiceFlagsBrowseDomains | kDNSServiceFlagsRegistrationDomains;
        if (!sdRef || !callBack ||
            ((flags & kinds) != kDNSServiceFlagsBrowseDomains &&
             (flags & kinds) != kDNSServiceFlagsRegistrationDomains))
            return kDNSServiceErr_BadParam;
        StartCall call(sdRef, flags);
        if (call.error())
            return call.error();
        const InterfaceScope scope = InterfaceScope::of(interfaceIndex);
        if (scope.kind == InterfaceScope::Nowhere || scope.existingInterface() != scope.interface)
            return kDNSServiceErr_BadParam;
        return call.start([&](auto replies, DNSServiceRef handle) {
            return std::make_shared<DomainsOperation>(
                replies, Callback<DNSServiceDomainEnumReply>{callBack, handle, context});
        });
    });
}
