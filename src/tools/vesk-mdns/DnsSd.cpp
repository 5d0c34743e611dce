// SPDX-License-Identifier: MIT
#include "DnsSd.h"

#include <sys/socket.h>

DnsSdOperation::~DnsSdOperation()
{
    m_notifier.reset(); // before its descriptor is closed
    DNSServiceRefDeallocate(m_ref);
}

void DnsSdOperation::started(DNSServiceErrorType error)
{
    m_error = error;
    if (error != kDNSServiceErr_NoError)
        return;
    m_notifier = std::make_unique<QSocketNotifier>(DNSServiceRefSockFD(m_ref), QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, [this] {
        if (DNSServiceProcessResult(m_ref) != kDNSServiceErr_NoError)
            m_notifier->setEnabled(false); // dead: its descriptor would stay readable for ever
    });
}

// --- Types -----------------------------------------------------------------------------------------------

TypeBrowser::TypeBrowser()
{
    started(DNSServiceBrowse(&m_ref, /* flags */ 0, kDNSServiceInterfaceIndexAny, "_services._dns-sd._udp",
                             /* domain */ nullptr, &TypeBrowser::reply, this));
}

void TypeBrowser::reply(DNSServiceRef /*ref*/, DNSServiceFlags flags, std::uint32_t interfaceIndex,
                        DNSServiceErrorType error, const char* name, const char* type, const char* /*domain*/,
                        void* context)
{
    if (error != kDNSServiceErr_NoError)
        return;
    // The instances of this question are types: "_http" is their name, "_tcp.local." their type.
    const QString protocol = QString::fromUtf8(type).section('.', 0, 0);
    const QString found = QString::fromUtf8(name) + '.' + protocol;
    auto* self = static_cast<TypeBrowser*>(context);
    if (flags & kDNSServiceFlagsAdd)
        Q_EMIT self->found(found, interfaceIndex);
    else
        Q_EMIT self->lost(found, interfaceIndex);
}

// --- Hosts -----------------------------------------------------------------------------------------------

HostQuestion::HostQuestion(const QString& host)
{
    started(DNSServiceGetAddrInfo(&m_ref, /* flags */ 0, kDNSServiceInterfaceIndexAny,
                                  /* both families */ 0, host.toUtf8().constData(), &HostQuestion::reply,
                                  this));
}

void HostQuestion::reply(DNSServiceRef /*ref*/, DNSServiceFlags flags, std::uint32_t /*interfaceIndex*/,
                         DNSServiceErrorType error, const char* /*host*/, const sockaddr* address,
                         std::uint32_t /*ttl*/, void* context)
{
    if (error == kDNSServiceErr_NoError && address && (flags & kDNSServiceFlagsAdd))
        Q_EMIT static_cast<HostQuestion*>(context)->answered(QHostAddress(address));
}
