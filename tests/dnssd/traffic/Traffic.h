// SPDX-License-Identifier: MIT
#ifndef VESK_TESTS_TRAFFIC_H
#define VESK_TESTS_TRAFFIC_H

#include "PlayedNetwork.h"

#include <algorithm>
#include <iterator>

namespace vesk::dnssd::tests {

inline const std::string Kitchen = "Kitchen._demo._tcp.local.";

/// What reaches the responder, and how little of it.
class Traffic : public PlayedNetwork
{
protected:
    /// A cache pass goes over one transport.
    static bool isCachePass(const Query& query)
    {
        return query.type == kDNSServiceType_PTR && query.transport.has_value();
    }

    /// What was asked, apart from cache passes.
    std::vector<Query> asked(uint16_t type)
    {
        std::vector<Query> result;
        const auto& all = backend().asked();
        std::copy_if(all.begin(), all.end(), std::back_inserter(result),
                     [&](const Query& query) { return query.type == type && !isCachePass(query); });
        return result;
    }
    std::size_t askedCount(uint16_t type) { return asked(type).size(); }

    std::size_t resolves() { return backend().resolved().size(); }

    void comeKitchen(const std::string& txt, Transport transport = Transport::IPv4, uint32_t interface = Lan1)
    {
        backend().come(instancePointer("Kitchen", interface), transport);
        backend().come(service("Kitchen", {"hostb", "local"}, 8080, interface), transport);
        backend().come(txtOf("Kitchen", txt, interface), transport);
    }
};

} // namespace vesk::dnssd::tests

#endif
