// SPDX-License-Identifier: MIT
#ifndef VESK_TESTS_PLAYED_H
#define VESK_TESTS_PLAYED_H

#include "FakeBackend.h"
#include "Handles.h"

#include <gtest/gtest.h>

/// What tests with a played daemon say about the network.
namespace vesk::dnssd::tests {

inline const Labels DemoType{"_demo", "_tcp", "local"};
inline constexpr uint32_t Lan1 = 11; // no interface of that index is needed
inline constexpr uint32_t Lan2 = 12;
inline constexpr uint32_t Loopback = 1; // the one interface that every machine has

inline FakeBackend& backend()
{
    DNSServiceRef ref = nullptr; // the first operation makes the engine
    DNSServiceQueryRecord(
        &ref, 0, 0, "", 1, 1,
        [](DNSServiceRef, DNSServiceFlags, uint32_t, DNSServiceErrorType, const char*, uint16_t, uint16_t,
           uint16_t, const void*, uint32_t, void*) {},
        nullptr);
    DNSServiceRefDeallocate(ref);
    FakeBackend::instance().settle();
    return FakeBackend::instance();
}

inline Service lastPublished()
{
    Service service;
    backend().inspect([&] { service = FakeBackend::instance().published().back(); });
    return service;
}

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

/// Everything that the backend was told before has been handed over.
inline void settle(Handle& handle)
{
    FakeBackend::instance().settle();
    handle.process();
}

/// What one test made known is gone for the next one.
class WithBackend : public testing::Test
{
protected:
    WithBackend() { backend(); }
    ~WithBackend() override { backend().reset(); }
};

} // namespace vesk::dnssd::tests

#endif
