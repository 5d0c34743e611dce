// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_INSTANCETRANSPORTS_H
#define VESK_DNSSD_INSTANCETRANSPORTS_H

#include "Query.h"

#include <array>
#include <unordered_map>

namespace vesk::dnssd {

/// Over which transports each browsed instance is seen on an interface.
class InstanceTransports
{
public:
    /// One more browse sees the instance there, or one less.
    void add(const Labels& instance, uint32_t interface, Transport transport);
    void remove(const Labels& instance, uint32_t interface, Transport transport);

    /// One transport that the instance is seen over, IPv4 where there is a choice.
    std::optional<Transport> find(const Labels& instance, uint32_t interface) const;

    bool isSeenOver(const Labels& instance, uint32_t interface, Transport transport) const;

    /// Whether the browse spelt the instance exactly like this; names are equal whatever their case.
    bool isSpelt(const Labels& instance, uint32_t interface) const;

private:
    struct Entry
    {
        Labels name; ///< as the browse spelt it
        std::array<unsigned, 2> browses{};
    };

    const Entry* entryOf(const Labels& instance, uint32_t interface) const;

    std::unordered_map<std::string, Entry> m_entries; ///< by name and interface
};

} // namespace vesk::dnssd

#endif
