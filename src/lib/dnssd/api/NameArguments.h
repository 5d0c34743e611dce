// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_NAMEARGUMENTS_H
#define VESK_DNSSD_NAMEARGUMENTS_H

#include "DomainName.h"

#include <optional>

/// The names and TXT records that applications pass, as what they stand for; nothing for one that is invalid.
namespace vesk::dnssd {

/// A name that can be queried.
std::optional<Labels> parseQueryName(const char* text);

/// NULL and "" stand for `local`.
std::optional<Labels> parseDomain(const char* text);

/// NULL and "" stand for this host, a name without a domain for a host of the link.
std::optional<Labels> parseHost(const char* text);

/// Without data it is the empty string, as a TXT record holds at least one (RFC 6763 section 6.1).
std::string txtArgument(uint16_t size, const void* data);

} // namespace vesk::dnssd

#endif
