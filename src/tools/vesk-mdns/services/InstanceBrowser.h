// SPDX-License-Identifier: MIT
#ifndef INSTANCE_BROWSER_H
#define INSTANCE_BROWSER_H

#include "DnsSdOperation.h"

#include <QString>
#include <cstdint>

/** Browses for the instances of a service type. */
class InstanceBrowser : public DnsSdOperation
{
    Q_OBJECT

public:
    explicit InstanceBrowser(const QString& type);

Q_SIGNALS:
    /** An instance is there on an interface, or no longer; @p type is its type as the network tells it. */
    void found(const QString& name, const QString& type, quint32 interfaceIndex);
    void lost(const QString& name, const QString& type, quint32 interfaceIndex);

private:
    static void reply(DNSServiceRef ref, DNSServiceFlags flags, std::uint32_t interfaceIndex,
                      DNSServiceErrorType error, const char* name, const char* type, const char* domain,
                      void* context);
};

#endif
