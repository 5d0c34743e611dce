// SPDX-License-Identifier: MIT
//
// Calls that plain users of the API link but seldom need. They say that they are not offered.
#include "dns_sd.h"

DNSServiceErrorType DNSServiceCreateConnection(DNSServiceRef* sdRef)
{
    if (!sdRef)
        return kDNSServiceErr_BadParam;
    *sdRef = nullptr;
    return kDNSServiceErr_Unsupported;
}

DNSServiceErrorType DNSServiceRegisterRecord(DNSServiceRef sdRef, DNSRecordRef* recordRef, DNSServiceFlags,
                                             uint32_t, const char* fullname, uint16_t, uint16_t, uint16_t,
                                             const void*, uint32_t, DNSServiceRegisterRecordReply, void*)
{
    return sdRef && recordRef && fullname ? kDNSServiceErr_Unsupported : kDNSServiceErr_BadParam;
}

DNSServiceErrorType DNSServiceAddRecord(DNSServiceRef sdRef, DNSRecordRef* recordRef, DNSServiceFlags,
                                        uint16_t, uint16_t, const void*, uint32_t)
{
    return sdRef && recordRef ? kDNSServiceErr_Unsupported : kDNSServiceErr_BadParam;
}

DNSServiceErrorType DNSServiceRemoveRecord(DNSServiceRef sdRef, DNSRecordRef recordRef, DNSServiceFlags)
{
    return sdRef && recordRef ? kDNSServiceErr_BadReference : kDNSServiceErr_BadParam;
}

DNSServiceErrorType DNSServiceReconfirmRecord(DNSServiceFlags, uint32_t, const char* fullname, uint16_t,
                                              uint16_t, uint16_t, const void*)
{
    return fullname ? kDNSServiceErr_Unsupported : kDNSServiceErr_BadParam;
}

DNSServiceErrorType DNSServiceNATPortMappingCreate(DNSServiceRef* sdRef, DNSServiceFlags, uint32_t,
                                                   DNSServiceProtocol, uint16_t, uint16_t, uint32_t,
                                                   DNSServiceNATPortMappingReply, void*)
{
    if (!sdRef)
        return kDNSServiceErr_BadParam;
    *sdRef = nullptr;
    return kDNSServiceErr_NATPortMappingUnsupported;
}
