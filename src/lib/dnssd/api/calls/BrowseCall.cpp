// SPDX-License-Identifier: MIT
#include "BrowseOperation.h"
#include "NameArguments.h"
#include "NoThrow.h"
#include "ServiceType.h"
#include "StartCall.h"

using namespace vesk::dnssd;

DNSServiceErrorType DNSServiceBrowse(DNSServiceRef* sdRef, DNSServiceFlags flags, uint32_t interfaceIndex,
                                     const char* regtype, const char* domain, DNSServiceBrowseReply callBack,
                                     void* context)
{
    return withoutExceptions([&]() -> DNSServiceErrorType {
        if (!sdRef || !regtype)
            return kDNSServiceErr_BadParam;
        StartCall call(sdRef, flags);
        if (call.error())
            return call.error();
        const auto type = ServiceType::parse(regtype);
        const auto domainLabels = parseDomain(domain);
        if (!callBack || !type || !domainLabels || interfaceIndex == kDNSServiceInterfaceIndexUnicast)
            return kDNSServiceErr_BadParam;
        const Labels instances = type->browseName(*domainLabels);
        if (!fitsWire(instances))
            return kDNSServiceErr_BadParam;
        const InterfaceScope scope = InterfaceScope::of(interfaceIndex);
        if (scope.kind == InterfaceScope::Nowhere)
            return call.startSilent();
        return call.start([&](auto replies, DNSServiceRef handle) {
            return std::make_shared<BrowseOperation>(
                replies, instances, scope, Callback<DNSServiceBrowseReply>{callBack, handle, context});
        });
    });
}
