// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_SRVDATA_H
#define VESK_DNSSD_SRVDATA_H

#include "DomainName.h"

namespace vesk::dnssd {

/// Port and target of an SRV record; priority and weight mean nothing on a link (RFC 2782).
struct SrvData
{
    uint16_t port; ///< in host byte order
    Labels target;

    /// Nothing for data that is cut off or holds no name.
    static std::optional<SrvData> parse(std::string_view wire);

    std::string toWire() const;
};

} // namespace vesk::dnssd

#endif
