// SPDX-License-Identifier: MIT
#ifndef VESK_TESTS_IGNOREDREPLIES_H
#define VESK_TESTS_IGNOREDREPLIES_H

#include "dns_sd.h"

namespace vesk::dnssd::tests {

// Callbacks for operations whose replies are not looked at.

inline void onRegister(DNSServiceRef, DNSServiceFlags, DNSServiceErrorType, const char*, const char*,
                       const char*, void*)
{
}

inline void onBrowse(DNSServiceRef, DNSServiceFlags, uint32_t, DNSServiceErrorType, const char*, const char*,
                     const char*, void*)
{
}

inline void onResolve(DNSServiceRef, DNSServiceFlags, uint32_t, DNSServiceErrorType, const char*, const char*,
                      uint16_t, uint16_t, const unsigned char*, void*)
{
}

inline void onAddress(DNSServiceRef, DNSServiceFlags, uint32_t, DNSServiceErrorType, const char*,
                      const sockaddr*, uint32_t, void*)
{
}

inline void onRecord(DNSServiceRef, DNSServiceFlags, uint32_t, DNSServiceErrorType, const char*, uint16_t,
                     uint16_t, uint16_t, const void*, uint32_t, void*)
{
}

} // namespace vesk::dnssd::tests

#endif
