// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_ARGUMENTS_H
#define VESK_DNSSD_ARGUMENTS_H

#include "Names.h"

namespace vesk::dnssd {

/// A service type argument: `_type._tcp` or `_type._udp`, with or without trailing dot, then `,_subtype`s.
struct ServiceType
{
    Labels type;
    std::vector<std::string> subtypes;

    static std::optional<ServiceType> parse(std::string_view text);

    /// Whether the daemon takes it for publishing: letters, digits, hyphens and underscores.
    bool isPublishable() const;

    /// The name whose PTR records are the instances (RFC 6763 sections 4 and 7.1).
    Labels browseName(const Labels& domain) const;
};

/// NULL and "" stand for `local`.
std::optional<Labels> parseDomain(const char* text);

/// Whether the daemon can be asked for the name: it reads UTF-8, and C strings.
bool isAskable(const Labels& name);

} // namespace vesk::dnssd

#endif
