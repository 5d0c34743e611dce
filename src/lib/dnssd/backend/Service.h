// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_SERVICE_H
#define VESK_DNSSD_SERVICE_H

#include "DomainName.h"

namespace vesk::dnssd {

/// A service to publish. Names are valid and in UTF-8, the TXT record is well-formed.
struct Service
{
    std::string name;
    Labels type;
    std::vector<std::string> subtypes;
    Labels domain;
    Labels host;        ///< empty: this host
    uint32_t interface; ///< 0: any
    uint16_t port;      ///< in host byte order; 0: only the name is held
    std::string txt;
};

/// Where an instance is, and its TXT record.
struct ResolvedService
{
    Labels host;
    uint16_t port; ///< in host byte order
    std::string txt;
    std::string address{}; ///< one of the host's, 4 or 16 bytes; empty: not asked for
};

} // namespace vesk::dnssd

#endif
