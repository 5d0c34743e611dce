// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_PUBLISHEDRECORDARGUMENTS_H
#define VESK_DNSSD_PUBLISHEDRECORDARGUMENTS_H

#include "dns_sd.h"

#include <string>

/// The data of a record to publish, as applications pass it.
namespace vesk::dnssd {

/// BadParam for data that is not there and for types that are for queries alone, Invalid for a malformed TXT
/// record.
DNSServiceErrorType checkRecordData(uint16_t type, uint16_t size, const void* data);

/// A TXT record holds at least one string, be it empty (RFC 6763 section 6.1).
std::string recordData(uint16_t type, uint16_t size, const void* data);

/// In seconds; 0 stands for the usual one.
uint32_t recordTtl(uint32_t ttl);

} // namespace vesk::dnssd

#endif
