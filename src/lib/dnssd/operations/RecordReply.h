// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_RECORDREPLY_H
#define VESK_DNSSD_RECORDREPLY_H

#include "Query.h"
#include "ReplyQueue.h"

namespace vesk::dnssd {

/// What a reply about a single record says of it, besides its data.
struct RecordReply
{
    explicit RecordReply(const RecordEvent& event);

    Reply::Kind kind;
    std::string subject;
    DNSServiceFlags flags;
    uint32_t ttl; ///< in seconds; where the backend tells none, what RFC 6762 section 10 recommends
};

} // namespace vesk::dnssd

#endif
