// SPDX-License-Identifier: MIT
#include "Handle.h"

using namespace vesk::dnssd;

/// Allocates nothing. What a record refers to is looked up only, as the application may pass one that has
/// been removed.
DNSServiceErrorType DNSServiceRemoveRecord(DNSServiceRef sdRef, DNSRecordRef recordRef, DNSServiceFlags)
{
    if (!sdRef || !recordRef)
        return kDNSServiceErr_BadParam;
    if (sdRef->isInherited() || sdRef->records.erase(recordRef) == 0)
        return kDNSServiceErr_BadReference;
    return kDNSServiceErr_NoError;
}
