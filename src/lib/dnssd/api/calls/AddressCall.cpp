// SPDX-License-Identifier: MIT
#include "AddressOperation.h"
#include "InterfaceScope.h"
#include "NameArguments.h"
#include "NoThrow.h"
#include "StartCall.h"

using namespace vesk::dnssd;

DNSServiceErrorType DNSServiceGetAddrInfo(DNSServiceRef* sdRef, DNSServiceFlags flags,
                                          uint32_t interfaceIndex, DNSServiceProtocol protocol,
                                          const char* hostname, DNSServiceGetAddrInfoReply callBack,
                                          void* context)
{
    return withoutExceptions([&]() -> DNSServiceErrorType {
        if (!sdRef || !hostname)
            return kDNSServiceErr_BadParam;
        StartCall call(sdRef, flags);
        if (call.error())
            return call.error();
        const DNSServiceProtocol both = kDNSServiceProtocol_IPv4 | kDNSServiceProtocol_IPv6;
        const auto host = parseQueryName(hostname);
        if (!callBack || !host || (protocol & ~both) || interfaceIndex == kDNSServiceInterfaceIndexUnicast)
            return kDNSServiceErr_BadParam;
        const InterfaceScope scope = InterfaceScope::of(interfaceIndex);
        if (host->empty() || scope.kind != InterfaceScope::Links)
            return call.startSilent();
        return call.start([&](auto replies, DNSServiceRef handle) {
            return std::make_shared<AddressOperation>(
                replies, *host, scope.existingInterface(), protocol == 0 ? both : protocol,
                (flags & kDNSServiceFlagsTimeout) != 0,
                Callback<DNSServiceGetAddrInfoReply>{callBack, handle, context});
        });
    });
}
