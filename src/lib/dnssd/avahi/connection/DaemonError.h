// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_DAEMONERROR_H
#define VESK_DNSSD_DAEMONERROR_H

#include "AvahiError.h"

namespace vesk::dnssd {

/// Hears what the daemon answers to calls.
class DaemonErrorListener
{
public:
    virtual void onDaemonAnswer(int avahiError) = 0;

protected:
    ~DaemonErrorListener() = default;
};

} // namespace vesk::dnssd

#endif
