// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_SERVICERECORDS_H
#define VESK_DNSSD_SERVICERECORDS_H

#include "PublishedRecord.h"
#include "Service.h"

namespace vesk::dnssd {

constexpr uint32_t HostRecordTtl =
    120; ///< seconds, of records with a host's name in them (RFC 6762 section 10)
constexpr uint32_t OtherRecordTtl = 4500; ///< seconds

/// The records that a service consists of (RFC 6763 sections 4.1, 5, 6, 7.1 and 9), with those of its
/// subtypes. Its host is named. Of port 0, the SRV record alone, which keeps the name.
std::vector<PublishedRecord> recordsOf(const Service& service);

} // namespace vesk::dnssd

#endif
