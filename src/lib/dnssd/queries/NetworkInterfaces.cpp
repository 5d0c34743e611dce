// SPDX-License-Identifier: MIT
#include "NetworkInterfaces.h"

#include "Clock.h"

#include <ifaddrs.h>
#include <net/if.h>

#include <memory>

namespace vesk::dnssd {

using namespace std::chrono_literals;

namespace {

/// How long an interface that was there counts as one that is: an application that is told of something on it
/// is no faster anyway.
constexpr auto TrustedFor = 100ms;

} // namespace

uint32_t loopbackIndex()
{
    // Needed for every record, and the same as long as the process stays in its network.
    static const unsigned index = if_nametoindex("lo");
    return index != 0 ? index : 1;
}

/// To ask the system takes a socket. Of the hundreds of calls that follow a browse's replies, all on one
/// interface, few have to.
bool interfaceExists(uint32_t index)
{
    thread_local uint32_t found = 0;
    thread_local Clock::TimePoint foundUntil;
    const auto now = Clock::steady().now();
    if (index == found && now < foundUntil)
        return true;
    char name[IF_NAMESIZE];
    if (!if_indextoname(index, name))
        return false;
    found = index;
    foundUntil = now + TrustedFor;
    return true;
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
