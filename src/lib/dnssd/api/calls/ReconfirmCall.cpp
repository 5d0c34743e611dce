// SPDX-License-Identifier: MIT
#include "InterfaceScope.h"
#include "NameArguments.h"
#include "NoThrow.h"
#include "ProcessEngine.h"

#include "Engine.h"
#include "dns_sd.h"

using namespace vesk::dnssd;

DNSServiceErrorType DNSServiceReconfirmRecord(DNSServiceFlags, uint32_t interfaceIndex, const char* fullname,
                                              uint16_t rrtype, uint16_t rrclass, uint16_t rdlen,
                                              const void* rdata)
{
    return withoutExceptions([&]() -> DNSServiceErrorType {
        const InterfaceScope scope = InterfaceScope::of(interfaceIndex);
        if (!fullname || rdlen == 0 || !rdata || scope.kind == InterfaceScope::Nowhere ||
            scope.existingInterface() != scope.interface)
            return kDNSServiceErr_BadParam;
        const auto name = parseQueryName(fullname);
        if (!name || name->empty())
            return kDNSServiceErr_BadParam;
        processEngine()->reconfirm(
            {*name, rrtype, rrclass, scope.interface, std::string(static_cast<const char*>(rdata), rdlen)});
        return kDNSServiceErr_NoError;
    });
}
