// SPDX-License-Identifier: MIT
#include "AvahiError.h"

#include <avahi-common/error.h>

namespace vesk::dnssd {

bool isConnectionLost(int avahiError)
{
    return avahiError == AVAHI_ERR_DISCONNECTED || avahiError == AVAHI_ERR_DBUS_ERROR ||
           avahiError == AVAHI_ERR_NO_DAEMON || avahiError == AVAHI_ERR_BAD_STATE;
}

BackendError toBackendError(int avahiError)
{
    if (isConnectionLost(avahiError))
        return BackendError::Unavailable;
    switch (avahiError) {
    case AVAHI_OK:
        return BackendError::None;
    case AVAHI_ERR_COLLISION:
        return BackendError::NameConflict;
    case AVAHI_ERR_TOO_MANY_CLIENTS:
    case AVAHI_ERR_TOO_MANY_OBJECTS:
    case AVAHI_ERR_TOO_MANY_ENTRIES:
        return BackendError::Refused;
    case AVAHI_ERR_ACCESS_DENIED:
    case AVAHI_ERR_NOT_PERMITTED:
        return BackendError::NotPermitted;
    case AVAHI_ERR_NO_MEMORY:
        return BackendError::NoMemory;
    case AVAHI_ERR_INVALID_HOST_NAME:
    case AVAHI_ERR_INVALID_DOMAIN_NAME:
    case AVAHI_ERR_INVALID_SERVICE_NAME:
    case AVAHI_ERR_INVALID_SERVICE_TYPE:
    case AVAHI_ERR_INVALID_SERVICE_SUBTYPE:
    case AVAHI_ERR_INVALID_KEY:
    case AVAHI_ERR_INVALID_RECORD:
    case AVAHI_ERR_INVALID_RDATA:
    case AVAHI_ERR_INVALID_DNS_TYPE:
        return BackendError::BadName;
    default:
        return BackendError::Failed;
    }
}

} // namespace vesk::dnssd
