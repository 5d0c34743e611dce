// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_DNSMESSAGE_H
#define VESK_DNSSD_DNSMESSAGE_H

#include "DomainName.h"

/// DNS messages as they are on the wire (RFC 1035 section 4.1).
namespace vesk::dnssd {

/// A message of one question.
std::string questionMessage(uint16_t id, const Labels& name, uint16_t type, uint16_t recordClass);

/// A record as a response holds it.
struct ResponseRecord
{
    Labels name;
    uint16_t type;
    uint16_t recordClass; ///< without the cache-flush bit
    uint32_t ttl;         ///< in seconds
    std::string data;     ///< with names uncompressed, for the types that have any on a link
};

struct ResponseMessage
{
    uint16_t id;
    std::vector<ResponseRecord> records; ///< of all sections
};

/// Whether the data of two records says the same: names are equal whatever their case.
bool isSameData(uint16_t type, std::string_view a, std::string_view b);

/// Whether any section of a message, query or response, holds a record of the type, as far as it is whole.
bool holdsRecordOf(uint16_t type, std::string_view message);

/// Reads a response as far as it is whole. Nothing for what is none.
std::optional<ResponseMessage> parseResponse(std::string_view message);

} // namespace vesk::dnssd

#endif
