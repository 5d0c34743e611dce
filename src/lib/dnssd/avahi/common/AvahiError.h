// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_AVAHIERROR_H
#define VESK_DNSSD_AVAHIERROR_H

#include "Backend.h"

namespace vesk::dnssd {

/// Whether one of libavahi's errors says that the daemon, or the bus to it, has gone.
bool isConnectionLost(int avahiError);

/// What one of libavahi's errors means to callers of the backend.
BackendError toBackendError(int avahiError);

} // namespace vesk::dnssd

#endif
