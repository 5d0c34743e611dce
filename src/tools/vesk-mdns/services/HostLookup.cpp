// SPDX-License-Identifier: MIT
#include "HostLookup.h"

#include <sys/socket.h>

HostLookup::HostLookup(const QString& host)
{
    started(DNSServiceGetAddrInfo(&m_ref, /* flags */ 0, kDNSServiceInterfaceIndexAny,
                                  /* both families */ 0, host.toUtf8().constData(), &HostLookup::reply,
                                  this));
}

void HostLookup::reply(DNSServiceRef /*ref*/, DNSServiceFlags flags, std::uint32_t /*interfaceIndex*/,
                       DNSServiceErrorType error, const char* /*host*/, const sockaddr* address,
                       std::uint32_t /*ttl*/, void* context)
{
    auto* self = static_cast<HostLookup*>(context);
    if (error != kDNSServiceErr_NoError)
        Q_EMIT self->failed(error);
    else if (address && (flags & kDNSServiceFlagsAdd))
        Q_EMIT self->answered(QHostAddress(address));
}
