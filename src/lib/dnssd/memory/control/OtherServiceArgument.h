// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_OTHERSERVICEARGUMENT_H
#define VESK_DNSSD_OTHERSERVICEARGUMENT_H

#include "OtherHosts.h"
#include "vesk_dnssd_memory.h"

namespace vesk::dnssd {

/// The full name of an instance on the link; nothing for arguments that are none.
std::optional<Labels> parseInstance(const char* name, const char* type);

/// Reads what an application passes. What does not hold is told by the error.
DNSServiceErrorType parseOtherService(const VeskDnssdMemoryService& argument, OtherService& result);

} // namespace vesk::dnssd

#endif
