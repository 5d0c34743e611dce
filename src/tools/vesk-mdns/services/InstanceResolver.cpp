// SPDX-License-Identifier: MIT
#include "InstanceResolver.h"

#include <QtEndian>

InstanceResolver::InstanceResolver(const QString& name, const QString& type)
{
    started(DNSServiceResolve(&m_ref, /* flags */ 0, kDNSServiceInterfaceIndexAny, name.toUtf8().constData(),
                              type.toUtf8().constData(), "local", &InstanceResolver::reply, this));
}

void InstanceResolver::reply(DNSServiceRef /*ref*/, DNSServiceFlags /*flags*/,
                             std::uint32_t /*interfaceIndex*/, DNSServiceErrorType error,
                             const char* /*fullName*/, const char* host, std::uint16_t port,
                             std::uint16_t /*txtLength*/, const unsigned char* /*txt*/, void* context)
{
    auto* self = static_cast<InstanceResolver*>(context);
    if (error != kDNSServiceErr_NoError)
        Q_EMIT self->failed(error);
    else
        Q_EMIT self->resolved(QString::fromUtf8(host), qFromBigEndian(port));
}
