// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_PUBLISHEDRECORD_H
#define VESK_DNSSD_PUBLISHEDRECORD_H

#include "DomainName.h"

namespace vesk::dnssd {

/// A single record to publish. Its name is valid and in UTF-8.
struct PublishedRecord
{
    /// Whose the records of that name and type are (RFC 6762 section 2).
    enum class Claim
    {
        Shared,     ///< every host's that publishes one
        Unique,     ///< this host's, once it has been probed for
        KnownUnique ///< this host's, which is known without probing
    };

    Labels name;
    uint16_t type;
    uint32_t interface; ///< 0: any
    std::string data;   ///< in wire form, names uncompressed
    uint32_t ttl;       ///< in seconds
    Claim claim;
};

} // namespace vesk::dnssd

#endif
