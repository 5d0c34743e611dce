// SPDX-License-Identifier: MIT
#ifndef DNS_SD_OPERATION_H
#define DNS_SD_OPERATION_H

#include <QObject>
#include <QSocketNotifier>
#include <dns_sd.h>
#include <memory>

/** One operation of the DNS-SD library, whose replies arrive from the event loop. */
class DnsSdOperation : public QObject
{
    Q_OBJECT

public:
    ~DnsSdOperation() override;

    /** What the start call returned; 0 when it succeeded. */
    DNSServiceErrorType error() const { return m_error; }

Q_SIGNALS:
    /** A reply reported @p error, or the operation is dead. */
    void failed(DNSServiceErrorType error);

protected:
    /** To be called once, with the start call's results. */
    void started(DNSServiceErrorType error);

    DNSServiceRef m_ref = nullptr;

private:
    DNSServiceErrorType m_error = kDNSServiceErr_NoError;
    std::unique_ptr<QSocketNotifier> m_notifier;
};

#endif
