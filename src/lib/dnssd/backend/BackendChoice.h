// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_BACKENDCHOICE_H
#define VESK_DNSSD_BACKENDCHOICE_H

#include "Backend.h"

namespace vesk::dnssd {

/// The backends that an application chooses from.
enum class BackendKind
{
    Auto,    ///< whichever is there
    Daemon,  ///< the Avahi daemon
    Process, ///< a responder inside the process
    Memory   ///< a network that exists in the process's memory alone
};

/// What makes a backend of that kind; empty for one that this library does not have. Defined where the
/// backends are put together.
BackendFactory backendFactory(BackendKind kind);

} // namespace vesk::dnssd

#endif
