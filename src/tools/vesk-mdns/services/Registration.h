// SPDX-License-Identifier: MIT
#ifndef REGISTRATION_H
#define REGISTRATION_H

#include "DnsSdOperation.h"

#include <QString>

/** Registers a service, and withdraws it at its end. */
class Registration : public DnsSdOperation
{
    Q_OBJECT

public:
    Registration(const QString& name, const QString& type, int port);

Q_SIGNALS:
    /** The network knows the service as @p name. */
    void registered(const QString& name);

private:
    static void reply(DNSServiceRef ref, DNSServiceFlags flags, DNSServiceErrorType error, const char* name,
                      const char* type, const char* domain, void* context);
};

#endif
