// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_ERRORNUMBER_H
#define VESK_DNSSD_ERRORNUMBER_H

#include "Backend.h"
#include "dns_sd.h"

namespace vesk::dnssd {

/// The number by which the published API knows a backend's error.
constexpr DNSServiceErrorType errorNumber(BackendError error)
{
    switch (error) {
    case BackendError::None:
        return kDNSServiceErr_NoError;
    case BackendError::Unavailable:
        return kDNSServiceErr_ServiceNotRunning;
    case BackendError::Refused:
        return kDNSServiceErr_Refused;
    case BackendError::NotPermitted:
        return kDNSServiceErr_NotPermitted;
    case BackendError::NoMemory:
        return kDNSServiceErr_NoMemory;
    case BackendError::BadName:
        return kDNSServiceErr_BadParam;
    case BackendError::NameConflict:
        return kDNSServiceErr_NameConflict;
    case BackendError::Failed:
        break;
    }
    return kDNSServiceErr_Unknown;
}

} // namespace vesk::dnssd

#endif
