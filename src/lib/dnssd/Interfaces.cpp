// SPDX-License-Identifier: MIT
#include "Interfaces.h"

#include <ifaddrs.h>
#include <net/if.h>

#include <memory>

namespace vesk::dnssd {

uint32_t loopbackIndex()
{
    // Asked for with every answer, and the same as long as the process stays in its network.
    static const unsigned index = if_nametoindex("lo");
    return index != 0 ? index : 1;
}

bool interfaceExists(uint32_t index)
{
    char name[IF_NAMESIZE];
    return if_indextoname(index, name) != nullptr;
}

bool onlyLoopbackIsUp()
{
    ifaddrs* first = nullptr;
    if (getifaddrs(&first) != 0)
        return false;
    const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> all(first, freeifaddrs);
    for (const ifaddrs* entry = first; entry; entry = entry->ifa_next) {
        const bool internet = entry->ifa_addr && (entry->ifa_addr->sa_family == AF_INET ||
                                                  entry->ifa_addr->sa_family == AF_INET6);
        const bool usable = (entry->ifa_flags & IFF_UP) && (entry->ifa_flags & IFF_MULTICAST) &&
                            !(entry->ifa_flags & IFF_LOOPBACK);
        if (internet && usable)
            return false;
    }
    return true;
}

} // namespace vesk::dnssd
