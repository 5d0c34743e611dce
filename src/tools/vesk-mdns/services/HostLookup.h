// SPDX-License-Identifier: MIT
#ifndef HOST_LOOKUP_H
#define HOST_LOOKUP_H

#include "DnsSdOperation.h"

#include <QHostAddress>
#include <QString>
#include <cstdint>

struct sockaddr;

/** Looks up the addresses of a host. */
class HostLookup : public DnsSdOperation
{
    Q_OBJECT

public:
    explicit HostLookup(const QString& host);

Q_SIGNALS:
    void answered(const QHostAddress& address);

private:
    static void reply(DNSServiceRef ref, DNSServiceFlags flags, std::uint32_t interfaceIndex,
                      DNSServiceErrorType error, const char* host, const sockaddr* address, std::uint32_t ttl,
                      void* context);
};

#endif
