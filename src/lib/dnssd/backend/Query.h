// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_QUERY_H
#define VESK_DNSSD_QUERY_H

#include "DomainName.h"

namespace vesk::dnssd {

/// Multicast DNS is spoken over both, and what is known by one need not be known by the other.
enum class Transport : uint8_t
{
    IPv4 = 1,
    IPv6 = 2
};

/// What is asked for.
struct Query
{
    Labels name;
    uint16_t type;
    uint16_t recordClass;
    uint32_t interface;                 ///< 0: any
    std::optional<Transport> transport; ///< none: both
};

/// What is answered.
struct Record
{
    Labels name; ///< in the record's own spelling
    uint16_t type;
    uint16_t recordClass;
    uint32_t interface;
    std::string data; ///< in wire form, names uncompressed
    uint32_t ttl = 0; ///< in seconds; 0: not known
};

/// A record is there, or gone.
struct RecordEvent
{
    const Record& record;
    Transport transport; ///< over which that was heard
    bool isPresent;
    bool isCached;           ///< the record was known before it was asked for
    bool isRepeated = false; ///< it was reported before, and is the one that holds again
};

} // namespace vesk::dnssd

#endif
