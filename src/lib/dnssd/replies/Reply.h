// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_REPLY_H
#define VESK_DNSSD_REPLY_H

#include "DomainName.h"
#include "dns_sd.h"

#include <functional>
#include <optional>
#include <string>

namespace vesk::dnssd {

/// A service instance on an interface, as browsing has found it.
struct BrowsedInstance
{
    Labels name;
    uint32_t interface;
};

/// A callback of the application's, with all that it is called with.
struct Reply
{
    /// How a reply that still waits stands to a later one about the same subject.
    enum class Kind
    {
        Lasting,  ///< is always handed over
        Latest,   ///< holds until the next one
        Appeared, ///< the subject is there
        Repeated, ///< the subject, which the application knew of, is the one that holds
        Vanished  ///< the subject is gone
    };

    Kind kind;
    std::string subject; ///< what the reply is about; not used for lasting ones
    std::function<void(DNSServiceFlags moreComing)> call;
    /// Of an instance that has appeared: the reply waits until the application can follow it up.
    std::optional<BrowsedInstance> instance = std::nullopt;
};

/// A reply that has been taken, and whether others wait.
struct Delivery
{
    Reply reply;
    DNSServiceFlags moreComing;
};

} // namespace vesk::dnssd

#endif
