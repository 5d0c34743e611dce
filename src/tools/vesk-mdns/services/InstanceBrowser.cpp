// SPDX-License-Identifier: MIT
#include "InstanceBrowser.h"

InstanceBrowser::InstanceBrowser(const QString& type)
{
    started(DNSServiceBrowse(&m_ref, /* flags */ 0, kDNSServiceInterfaceIndexAny, type.toUtf8().constData(),
                             /* domain */ nullptr, &InstanceBrowser::reply, this));
}

void InstanceBrowser::reply(DNSServiceRef /*ref*/, DNSServiceFlags flags, std::uint32_t interfaceIndex,
                            DNSServiceErrorType error, const char* name, const char* type,
                            const char* /*domain*/, void* context)
{
    auto* self = static_cast<InstanceBrowser*>(context);
    if (error != kDNSServiceErr_NoError)
        Q_EMIT self->failed(error);
    else if (flags & kDNSServiceFlagsAdd)
        Q_EMIT self->found(QString::fromUtf8(name), QString::fromUtf8(type), interfaceIndex);
    else
        Q_EMIT self->lost(QString::fromUtf8(name), QString::fromUtf8(type), interfaceIndex);
}
