// SPDX-License-Identifier: MIT
#include "Registration.h"

#include <QtEndian>

Registration::Registration(const QString& name, const QString& type, int port)
{
    started(DNSServiceRegister(&m_ref, /* flags */ 0, kDNSServiceInterfaceIndexAny, name.toUtf8().constData(),
                               type.toUtf8().constData(), /* domain */ nullptr,
                               /* host */ nullptr, qToBigEndian(quint16(port)), /* txtLength */ 0,
                               /* txt */ nullptr, &Registration::reply, this));
}

void Registration::reply(DNSServiceRef /*ref*/, DNSServiceFlags flags, DNSServiceErrorType error,
                         const char* name, const char* /*type*/, const char* /*domain*/, void* context)
{
    auto* self = static_cast<Registration*>(context);
    if (error != kDNSServiceErr_NoError)
        Q_EMIT self->failed(error);
    else if (flags & kDNSServiceFlagsAdd)
        Q_EMIT self->registered(QString::fromUtf8(name));
}
