// SPDX-License-Identifier: MIT
#include "AddedRecordOperation.h"
#include "NoThrow.h"
#include "PublishedRecordArguments.h"
#include "StartRecord.h"

using namespace vesk::dnssd;

/// HINFO records are the host's alone.
DNSServiceErrorType DNSServiceAddRecord(DNSServiceRef sdRef, DNSRecordRef* recordRef, DNSServiceFlags,
                                        uint16_t rrtype, uint16_t rdlen, const void* rdata, uint32_t ttl)
{
    return withoutExceptions([&]() -> DNSServiceErrorType {
        if (!sdRef || !recordRef)
            return kDNSServiceErr_BadParam;
        *recordRef = nullptr;
        if (sdRef->isInherited())
            return kDNSServiceErr_BadReference;
        const auto service = sdRef->running.as<RegistrationOperation>();
        if (!service)
            return kDNSServiceErr_BadReference;
        if (!service->hasBeenPublished() || rrtype == kDNSServiceType_HINFO)
            return kDNSServiceErr_BadParam;
        if (const auto error = checkRecordData(rrtype, rdlen, rdata))
            return error;
        PublishedRecord record{{},
                               rrtype,
                               service->interface(),
                               recordData(rrtype, rdlen, rdata),
                               recordTtl(ttl),
                               PublishedRecord::Claim::Shared};
        return startRecord(*sdRef, *recordRef, [&](auto replies, DNSRecordRef) {
            return std::make_shared<AddedRecordOperation>(replies, service, std::move(record));
        });
    });
}
