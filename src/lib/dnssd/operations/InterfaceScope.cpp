// SPDX-License-Identifier: MIT
#include "InterfaceScope.h"

#include "NetworkInterfaces.h"
#include "dns_sd.h"

#include <climits>

namespace vesk::dnssd {

InterfaceScope InterfaceScope::of(uint32_t interfaceIndex)
{
    if (interfaceIndex == kDNSServiceInterfaceIndexLocalOnly)
        return {ThisHost, loopbackIndex()};
    if (interfaceIndex == kDNSServiceInterfaceIndexP2P || interfaceIndex == kDNSServiceInterfaceIndexBLE ||
        interfaceIndex == kDNSServiceInterfaceIndexInfra)
        return {Links, kDNSServiceInterfaceIndexAny}; // kinds of links that are not told apart here
    if (interfaceIndex > INT_MAX)
        return {Nowhere, INT_MAX};
    return {Links, interfaceIndex};
}

uint32_t InterfaceScope::existingInterface() const
{
    return interfaceExists(interface) ? interface : 0;
}

} // namespace vesk::dnssd
