// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_NOTHROW_H
#define VESK_DNSSD_NOTHROW_H

#include "dns_sd.h"

#include <new>
#include <system_error>

namespace vesk::dnssd {

/// Runs the body of a published call. No exception leaves it: callers may be written in C.
template <typename Body>
DNSServiceErrorType withoutExceptions(Body body) noexcept
try {
    return body();
} catch (const std::bad_alloc&) {
    return kDNSServiceErr_NoMemory;
} catch (const std::system_error&) { // no thread or no descriptor is left
    return kDNSServiceErr_NoMemory;
} catch (...) {
    return kDNSServiceErr_Unknown;
}

} // namespace vesk::dnssd

#endif
