// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_SERVICETYPE_H
#define VESK_DNSSD_SERVICETYPE_H

#include "DomainName.h"

namespace vesk::dnssd {

/// A service type as applications write it: `_type._tcp` or `_type._udp`, with or without trailing dot, then
/// `,_subtype`s.
struct ServiceType
{
    Labels type;
    std::vector<std::string> subtypes;

    static std::optional<ServiceType> parse(std::string_view text);

    /// Whether responders take it for publishing: letters, digits, hyphens and underscores.
    bool isPublishable() const;

    /// The name whose PTR records are the instances (RFC 6763 sections 4 and 7.1).
    Labels browseName(const Labels& domain) const;
};

} // namespace vesk::dnssd

#endif
