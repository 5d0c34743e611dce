// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_SIGHTINGS_H
#define VESK_DNSSD_SIGHTINGS_H

#include "Backend.h"

#include <array>
#include <unordered_map>

namespace vesk::dnssd {

/// Which instances are seen by browsing, on which interface and over which transport.
class Sightings
{
public:
    struct Sighting
    {
        Labels name; ///< as the browse spelt it
        std::array<unsigned, 2> seen{};

        bool isSeenOver(Transport transport) const { return seen[place(transport)] > 0; }
        Transport transport() const
        {
            return isSeenOver(Transport::IPv4) ? Transport::IPv4 : Transport::IPv6;
        }

        static std::size_t place(Transport transport) { return transport == Transport::IPv4 ? 0 : 1; }
    };

    /// Null for what is not seen there.
    const Sighting* find(const Labels& name, uint32_t interface) const;

    void add(const Labels& name, uint32_t interface, Transport transport);
    void remove(const Labels& name, uint32_t interface, Transport transport);

private:
    std::unordered_map<std::string, Sighting> m_all; ///< by name and interface
};

} // namespace vesk::dnssd

#endif
