// SPDX-License-Identifier: MIT
#include "Scope.h"

#include "Interfaces.h"
#include "dns_sd.h"

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
