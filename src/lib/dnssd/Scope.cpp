// SPDX-License-Identifier: MIT
#include "Interfaces.h"
#include "Operation.h"

#include <climits>

namespace vesk::dnssd {

Scope Scope::of(uint32_t interfaceIndex)
{
    if (interfaceIndex == kDNSServiceInterfaceIndexLocalOnly)
        return {ThisHost, loopbackIndex()};
    if (interfaceIndex > INT_MAX)
        return {Nowhere, INT_MAX};
    return {Links, interfaceIndex};
}

} // namespace vesk::dnssd
