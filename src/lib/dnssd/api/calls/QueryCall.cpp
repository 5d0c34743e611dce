// SPDX-License-Identifier: MIT
#include "InterfaceScope.h"
#include "NameArguments.h"
#include "NoThrow.h"
#include "RecordOperation.h"
#include "StartCall.h"

using namespace vesk::dnssd;

DNSServiceErrorType DNSServiceQueryRecord(DNSServiceRef* sdRef, DNSServiceFlags flags,
                                          uint32_t interfaceIndex, const char* fullname, uint16_t rrtype,
                                          uint16_t rrclass, DNSServiceQueryRecordReply callBack,
                                          void* context)
{
    return withoutExceptions([&]() -> DNSServiceErrorType {
        if (!sdRef)
            return kDNSServiceErr_BadParam;
        StartCall call(sdRef, flags);
        if (call.error())
            return call.error();
        const auto name = parseQueryName(fullname ? fullname : "");
        if (!callBack || !name || interfaceIndex == kDNSServiceInterfaceIndexUnicast)
            return kDNSServiceErr_BadParam;
        const InterfaceScope scope = InterfaceScope::of(interfaceIndex);
        if (name->empty() || rrclass != kDNSServiceClass_IN || scope.kind != InterfaceScope::Links)
            return call.startSilent();
        const RecordOperation::Options options{(flags & kDNSServiceFlagsTimeout) != 0,
                                               (flags & kDNSServiceFlagsReturnIntermediates) != 0};
        return call.start([&](auto replies, DNSServiceRef handle) {
            return std::make_shared<RecordOperation>(
                replies, Query{*name, rrtype, rrclass, scope.existingInterface(), {}}, options,
                Callback<DNSServiceQueryRecordReply>{callBack, handle, context});
        });
    });
}
