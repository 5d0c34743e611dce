// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_NSECDATA_H
#define VESK_DNSSD_NSECDATA_H

#include "DomainName.h"

namespace vesk::dnssd {

/// An NSEC record: which types a name has (RFC 4034 section 4.1, as RFC 6762 section 6.1 uses it).
class NsecData
{
public:
    /// `owner`: the record's own name, which in multicast DNS the data begins with, too. A responder may hand
    /// over data in which that name is still compressed. Nothing for data that is cut off.
    static std::optional<NsecData> parse(const Labels& owner, std::string_view data);

    bool hasType(uint16_t type) const;

    /// The data with its name uncompressed.
    std::string toWire() const;

private:
    NsecData(Labels owner, std::string bitmaps);

    Labels m_owner;
    std::string m_bitmaps; ///< windows of 256 types each: number, length, bits
};

} // namespace vesk::dnssd

#endif
