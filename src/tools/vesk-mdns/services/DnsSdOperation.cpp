// SPDX-License-Identifier: MIT
#include "DnsSdOperation.h"

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
        const DNSServiceErrorType result = DNSServiceProcessResult(m_ref);
        if (result == kDNSServiceErr_NoError)
            return;
        m_notifier->setEnabled(false); // dead: its descriptor would stay readable for ever
        Q_EMIT failed(result);
    });
}
