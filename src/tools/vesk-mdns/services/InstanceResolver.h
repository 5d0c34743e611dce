// SPDX-License-Identifier: MIT
#ifndef INSTANCE_RESOLVER_H
#define INSTANCE_RESOLVER_H

#include "DnsSdOperation.h"

#include <QString>
#include <cstdint>

/** Asks for host and port of a service. */
class InstanceResolver : public DnsSdOperation
{
    Q_OBJECT

public:
    InstanceResolver(const QString& name, const QString& type);

Q_SIGNALS:
    void resolved(const QString& host, int port);

private:
    static void reply(DNSServiceRef ref, DNSServiceFlags flags, std::uint32_t interfaceIndex,
                      DNSServiceErrorType error, const char* fullName, const char* host, std::uint16_t port,
                      std::uint16_t txtLength, const unsigned char* txt, void* context);
};

#endif
