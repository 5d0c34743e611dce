// SPDX-License-Identifier: MIT
#include "NameArguments.h"
#include "NoThrow.h"
#include "ResolveOperation.h"
#include "ServiceType.h"
#include "StartCall.h"
#include "Utf8.h"

#include <cstring>

using namespace vesk::dnssd;

DNSServiceErrorType DNSServiceResolve(DNSServiceRef* sdRef, DNSServiceFlags flags, uint32_t interfaceIndex,
                                      const char* name, const char* regtype, const char* domain,
                                      DNSServiceResolveReply callBack, void* context)
{
    return withoutExceptions([&]() -> DNSServiceErrorType {
        if (!sdRef || !name || !regtype || !domain)
            return kDNSServiceErr_BadParam;
        StartCall call(sdRef, flags);
        if (call.error())
            return call.error();
        const auto type = ServiceType::parse(regtype);
        const auto domainLabels = *domain ? parseDomain(domain) : std::nullopt;
        if (!callBack || !type || !domainLabels || std::strlen(name) > MaxLabel || !isUtf8(name) ||
            interfaceIndex == kDNSServiceInterfaceIndexUnicast)
            return kDNSServiceErr_BadParam;
        const Labels instance = Labels{name} + type->type + *domainLabels;
        if (!fitsWire(instance))
            return kDNSServiceErr_BadParam;
        const InterfaceScope scope = InterfaceScope::of(interfaceIndex);
        if (!*name || scope.kind == InterfaceScope::Nowhere)
            return call.startSilent();
        auto pending =
            call.isShared() ? nullptr : std::make_shared<PendingResolve>(processEngine()->admission());
        return call.start([&](auto replies, DNSServiceRef handle) {
            return std::make_shared<ResolveOperation>(
                replies, instance, scope, std::move(pending),
                Callback<DNSServiceResolveReply>{callBack, handle, context});
        });
    });
}
