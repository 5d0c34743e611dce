// SPDX-License-Identifier: MIT
#include "RecordReply.h"

namespace vesk::dnssd {

namespace {

/// Records that hold a host's name or address live shorter.
bool isHostRecord(uint16_t type)
{
    return type == kDNSServiceType_A || type == kDNSServiceType_AAAA || type == kDNSServiceType_SRV ||
           type == kDNSServiceType_HINFO;
}

uint32_t recommendedTtl(uint16_t type)
{
    return isHostRecord(type) ? 120 : 4500;
}

Reply::Kind kindOf(const RecordEvent& event)
{
    if (!event.isPresent)
        return Reply::Kind::Vanished;
    return event.isRepeated ? Reply::Kind::Repeated : Reply::Kind::Appeared;
}

std::string subjectOf(const Record& record)
{
    std::string subject = std::to_string(record.interface) + ' ' + std::to_string(record.type) + ' ';
    return subject += record.data;
}

} // namespace

RecordReply::RecordReply(const RecordEvent& event)
    : kind(kindOf(event))
    , subject(subjectOf(event.record))
    , flags(0)
    , ttl(0)
{
    if (!event.isPresent)
        return;
    flags = kDNSServiceFlagsAdd | (event.isCached ? kDNSServiceFlagAnsweredFromCache : 0);
    ttl = event.record.ttl != 0 ? event.record.ttl : recommendedTtl(event.record.type);
}

} // namespace vesk::dnssd
