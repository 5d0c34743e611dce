// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_INTERFACESCOPE_H
#define VESK_DNSSD_INTERFACESCOPE_H

#include <cstdint>

namespace vesk::dnssd {

/// What an interface index given by the application means.
struct InterfaceScope
{
    enum Kind
    {
        Links,    ///< `interface`, or all of them when it is 0
        ThisHost, ///< what this host publishes; `interface` is loopback
        Nowhere   ///< an interface that cannot have answers; `interface` is an index that none has
    };
    Kind kind;
    uint32_t interface;

    static InterfaceScope of(uint32_t interfaceIndex);

    /// A host's addresses and single records are queried on every interface when the one given does not
    /// exist.
    uint32_t existingInterface() const;

    /// The index to report for an answer.
    uint32_t reported(uint32_t answerInterface) const { return kind == ThisHost ? 0 : answerInterface; }
};

} // namespace vesk::dnssd

#endif
