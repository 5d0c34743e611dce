// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_BUS_H
#define VESK_DNSSD_BUS_H

namespace vesk::dnssd {

/// Whether the system's message bus takes connections. Never waits; may be called by any thread.
bool systemBusIsThere();

} // namespace vesk::dnssd

#endif
