// SPDX-License-Identifier: MIT
#include "InterfaceScope.h"
#include "NameArguments.h"
#include "NoThrow.h"
#include "PublishedRecordArguments.h"
#include "RegisteredRecordOperation.h"
#include "StartRecord.h"

using namespace vesk::dnssd;

namespace {

/// Exactly one of the flags says whose the name is.
std::optional<PublishedRecord::Claim> claimOf(DNSServiceFlags flags)
{
    switch (flags & (kDNSServiceFlagsShared | kDNSServiceFlagsUnique | kDNSServiceFlagsKnownUnique)) {
    case kDNSServiceFlagsShared:
        return PublishedRecord::Claim::Shared;
    case kDNSServiceFlagsUnique:
        return PublishedRecord::Claim::Unique;
    case kDNSServiceFlagsKnownUnique:
        return PublishedRecord::Claim::KnownUnique;
    default:
        return std::nullopt;
    }
}

} // namespace

DNSServiceErrorType DNSServiceRegisterRecord(DNSServiceRef sdRef, DNSRecordRef* recordRef,
                                             DNSServiceFlags flags, uint32_t interfaceIndex,
                                             const char* fullname, uint16_t rrtype, uint16_t rrclass,
                                             uint16_t rdlen, const void* rdata, uint32_t ttl,
                                             DNSServiceRegisterRecordReply callBack, void* context)
{
    return withoutExceptions([&]() -> DNSServiceErrorType {
        if (!sdRef || !recordRef || !fullname)
            return kDNSServiceErr_BadParam;
        *recordRef = nullptr;
        if (sdRef->isInherited() || sdRef->kind != _DNSServiceRef_t::Kind::Connection)
            return kDNSServiceErr_BadReference;
        const auto name = parseQueryName(fullname);
        auto claim = claimOf(flags);
        const InterfaceScope scope = InterfaceScope::of(interfaceIndex);
        if (!name || name->empty() || !claim || rrclass != kDNSServiceClass_IN ||
            scope.kind == InterfaceScope::Nowhere || scope.existingInterface() != scope.interface)
            return kDNSServiceErr_BadParam;
        if (const auto error = checkRecordData(rrtype, rdlen, rdata))
            return error;
        if (scope.kind == InterfaceScope::ThisHost && claim == PublishedRecord::Claim::Unique)
            claim = PublishedRecord::Claim::KnownUnique; // there is no other host to ask
        PublishedRecord record{*name,          rrtype, scope.interface, recordData(rrtype, rdlen, rdata),
                               recordTtl(ttl), *claim};
        return startRecord(*sdRef, *recordRef, [&](auto replies, DNSRecordRef started) {
            return std::make_shared<RegisteredRecordOperation>(
                replies, std::move(record),
                RegisteredRecordOperation::RecordCallback{callBack, sdRef, started, context});
        });
    });
}
