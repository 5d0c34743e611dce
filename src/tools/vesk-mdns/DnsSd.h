// SPDX-License-Identifier: MIT
#ifndef DNS_SD_OPERATIONS_H
#define DNS_SD_OPERATIONS_H

// The two questions that the library above does not put: which types there are, and whether the DNS-SD
// library answers at all.

#include <QHostAddress>
#include <QObject>
#include <QSocketNotifier>
#include <QString>
#include <cstdint>
#include <dns_sd.h>
#include <memory>

struct sockaddr;

/** One operation of the DNS-SD library, whose replies arrive from the event loop. */
class DnsSdOperation : public QObject
{
    Q_OBJECT

public:
    ~DnsSdOperation() override;

    /** What the start call returned; 0 when it succeeded. */
    DNSServiceErrorType error() const { return m_error; }

protected:
    /** To be called once, with the start call's results. */
    void started(DNSServiceErrorType error);

    DNSServiceRef m_ref = nullptr;

private:
    DNSServiceErrorType m_error = kDNSServiceErr_NoError;
    std::unique_ptr<QSocketNotifier> m_notifier;
};

/** Lists the service types in use (RFC 6763, section 9). */
class TypeBrowser : public DnsSdOperation
{
    Q_OBJECT

public:
    TypeBrowser();

Q_SIGNALS:
    /** A type such as "_http._tcp" is in use on an interface, or no longer. */
    void found(const QString& type, quint32 interfaceIndex);
    void lost(const QString& type, quint32 interfaceIndex);

private:
    static void reply(DNSServiceRef ref, DNSServiceFlags flags, std::uint32_t interfaceIndex,
                      DNSServiceErrorType error, const char* name, const char* type, const char* domain,
                      void* context);
};

/** Asks for the addresses of a host. */
class HostQuestion : public DnsSdOperation
{
    Q_OBJECT

public:
    explicit HostQuestion(const QString& host);

Q_SIGNALS:
    void answered(const QHostAddress& address);

private:
    static void reply(DNSServiceRef ref, DNSServiceFlags flags, std::uint32_t interfaceIndex,
                      DNSServiceErrorType error, const char* host, const sockaddr* address, std::uint32_t ttl,
                      void* context);
};

#endif
