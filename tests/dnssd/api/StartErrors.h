// SPDX-License-Identifier: MIT
#ifndef VESK_TESTS_STARTERRORS_H
#define VESK_TESTS_STARTERRORS_H

#include "Handles.h"

namespace vesk::dnssd::tests {

inline constexpr uint32_t NoInterface = 0x7FFFFFF0;

/// What a handle is set to before a call that must not read it.
inline const auto UnreadRef = reinterpret_cast<DNSServiceRef>(0x10);

inline DNSServiceErrorType browseError(const char* type, const char* domain = nullptr, uint32_t interface = 0)
{
    return Browse(type, interface, domain).error();
}

inline DNSServiceErrorType registerError(const char* type, const char* domain = nullptr,
                                         const char* host = nullptr)
{
    return Registration("Kitchen", type, 80, "", 0, domain, host).error();
}

} // namespace vesk::dnssd::tests

#endif
