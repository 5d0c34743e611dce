// SPDX-License-Identifier: MIT
#include "PublishedRecordArguments.h"

#include "NameArguments.h"
#include "TxtParser.h"

namespace vesk::dnssd {

namespace {

constexpr uint32_t UsualTtl = 120; ///< of records that belong to a host (RFC 6762 section 10)

/// Types that only a query can have (RFC 6895 section 3.1), and none at all.
bool isForQueriesAlone(uint16_t type)
{
    return type == 0 || type == kDNSServiceType_OPT || (type >= 128 && type <= kDNSServiceType_ANY);
}

} // namespace

DNSServiceErrorType checkRecordData(uint16_t type, uint16_t size, const void* data)
{
    if (isForQueriesAlone(type) || (size > 0 && !data))
        return kDNSServiceErr_BadParam;
    if (type == kDNSServiceType_TXT && !isWellFormedTxt(data, size))
        return kDNSServiceErr_Invalid;
    return kDNSServiceErr_NoError;
}

std::string recordData(uint16_t type, uint16_t size, const void* data)
{
    if (type == kDNSServiceType_TXT)
        return txtArgument(size, data);
    return size == 0 ? std::string() : std::string(static_cast<const char*>(data), size);
}

uint32_t recordTtl(uint32_t ttl)
{
    return ttl == 0 ? UsualTtl : ttl;
}

} // namespace vesk::dnssd
