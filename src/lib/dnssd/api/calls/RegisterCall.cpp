// SPDX-License-Identifier: MIT
#include "InterfaceScope.h"
#include "NameArguments.h"
#include "NoThrow.h"
#include "RegistrationOperation.h"
#include "ServiceType.h"
#include "StartCall.h"
#include "TxtParser.h"
#include "Utf8.h"

#include <arpa/inet.h>

using namespace vesk::dnssd;

DNSServiceErrorType DNSServiceRegister(DNSServiceRef* sdRef, DNSServiceFlags flags, uint32_t interfaceIndex,
                                       const char* name, const char* regtype, const char* domain,
                                       const char* host, uint16_t port, uint16_t txtLen,
                                       const void* txtRecord, DNSServiceRegisterReply callBack, void* context)
{
    return withoutExceptions([&]() -> DNSServiceErrorType {
        if (!sdRef || !regtype)
            return kDNSServiceErr_BadParam;
        StartCall call(sdRef, flags);
        if (call.error())
            return call.error();
        const auto type = ServiceType::parse(regtype);
        const auto domainLabels = parseDomain(domain);
        const auto hostLabels = parseHost(host);
        if (!type || !type->isPublishable() || !domainLabels || !hostLabels || (name && !isUtf8(name)) ||
            interfaceIndex == kDNSServiceInterfaceIndexUnicast)
            return kDNSServiceErr_BadParam;
        if (!isWellFormedTxt(txtRecord, txtLen))
            return kDNSServiceErr_Invalid;

        const InterfaceScope scope = InterfaceScope::of(interfaceIndex);
        Service service{std::string(cutUtf8(name ? name : "", MaxLabel)),
                        type->type,
                        type->subtypes,
                        *domainLabels,
                        *hostLabels,
                        scope.interface,
                        ntohs(port),
                        txtArgument(txtLen, txtRecord)};
        if (!fitsWire(Labels{service.name} + service.type + service.domain))
            return kDNSServiceErr_BadParam;
        const auto onConflict = flags & kDNSServiceFlagsNoAutoRename
                                    ? RegistrationOperation::OnConflict::Report
                                    : RegistrationOperation::OnConflict::Rename;
        return call.start([&](auto replies, DNSServiceRef handle) {
            return std::make_shared<RegistrationOperation>(
                replies, std::move(service), onConflict,
                Callback<DNSServiceRegisterReply>{callBack, handle, context});
        });
    });
}
