// SPDX-License-Identifier: MIT
#include "Handle.h"
#include "NameArguments.h"
#include "NoThrow.h"
#include "PublishedRecordArguments.h"
#include "PublishedRecordOperation.h"
#include "RegistrationOperation.h"
#include "TxtParser.h"

using namespace vesk::dnssd;

namespace {

DNSServiceErrorType updateService(const RunningOperation& running, uint16_t size, const void* data)
{
    const auto registration = running.as<RegistrationOperation>();
    if (!registration)
        return kDNSServiceErr_BadReference;
    if (!isWellFormedTxt(data, size))
        return kDNSServiceErr_Invalid;
    running.engine()->loop().post(
        [registration, txt = txtArgument(size, data)] { registration->update(txt); });
    return kDNSServiceErr_NoError;
}

DNSServiceErrorType updateRecord(const RunningOperation& running, uint16_t size, const void* data,
                                 uint32_t ttl)
{
    const auto record = running.as<PublishedRecordOperation>();
    if (const auto error = checkRecordData(record->type(), size, data))
        return error;
    running.engine()->loop().post([record, bytes = recordData(record->type(), size, data),
                                   seconds = recordTtl(ttl)] { record->update(bytes, seconds); });
    return kDNSServiceErr_NoError;
}

} // namespace

DNSServiceErrorType DNSServiceUpdateRecord(DNSServiceRef sdRef, DNSRecordRef recordRef, DNSServiceFlags,
                                           uint16_t rdlen, const void* rdata, uint32_t ttl)
{
    return withoutExceptions([&]() -> DNSServiceErrorType {
        if (!sdRef)
            return kDNSServiceErr_BadParam;
        if (sdRef->isInherited())
            return kDNSServiceErr_BadReference;
        if (!recordRef)
            return updateService(sdRef->running, rdlen, rdata);
        const auto record = sdRef->records.find(recordRef);
        if (record == sdRef->records.end())
            return kDNSServiceErr_BadReference;
        return updateRecord(record->second->running, rdlen, rdata, ttl);
    });
}
