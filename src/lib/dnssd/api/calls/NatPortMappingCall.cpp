// SPDX-License-Identifier: MIT
//
// A call that plain users of the API link but seldom need. It says that it is not offered.
#include "dns_sd.h"

DNSServiceErrorType DNSServiceNATPortMappingCreate(DNSServiceRef* sdRef, DNSServiceFlags, uint32_t,
                                                   DNSServiceProtocol, uint16_t, uint16_t, uint32_t,
                                                   DNSServiceNATPortMappingReply, void*)
{
    if (!sdRef)
        return kDNSServiceErr_BadParam;
    *sdRef = nullptr;
    return kDNSServiceErr_NATPortMappingUnsupported;
}
