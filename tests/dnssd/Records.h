// SPDX-License-Identifier: MIT
#ifndef VESK_TESTS_RECORDS_H
#define VESK_TESTS_RECORDS_H

#include "Query.h"
#include "dns_sd.h"

/// What the network holds in many tests.
namespace vesk::dnssd::tests {

inline const Labels DemoType{"_demo", "_tcp", "local"};
inline constexpr uint32_t Lan1 = 11; // no interface of that index is needed
inline constexpr uint32_t Lan2 = 12;
inline constexpr uint32_t Loopback = 1; // the one interface that every machine has

inline Record pointer(const Labels& type, const Labels& target, uint32_t interface = Lan1)
{
    return {type, kDNSServiceType_PTR, kDNSServiceClass_IN, interface, toWire(target)};
}

inline Record instancePointer(const std::string& name, uint32_t interface = Lan1)
{
    return pointer(DemoType, Labels{name} + DemoType, interface);
}

inline Record service(const std::string& name, const Labels& host, uint16_t port, uint32_t interface = Lan1)
{
    const std::string head{0, 0, 0, 0, static_cast<char>(port >> 8), static_cast<char>(port & 0xFF)};
    return {Labels{name} + DemoType, kDNSServiceType_SRV, kDNSServiceClass_IN, interface,
            head + toWire(host)};
}

inline Record txtOf(const std::string& name, const std::string& data, uint32_t interface = Lan1)
{
    return {Labels{name} + DemoType, kDNSServiceType_TXT, kDNSServiceClass_IN, interface, data};
}

inline Record address(uint16_t type, const std::string& data, uint32_t interface = Lan1)
{
    return {{"hostb", "local"}, type, kDNSServiceClass_IN, interface, data};
}

} // namespace vesk::dnssd::tests

#endif
