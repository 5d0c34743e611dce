// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_NETWORKINTERFACES_H
#define VESK_DNSSD_NETWORKINTERFACES_H

#include <cstdint>

namespace vesk::dnssd {

uint32_t loopbackIndex();

/// Or did a tenth of a second ago.
bool interfaceExists(uint32_t index);

/// Whether no other interface than loopback could carry multicast DNS.
bool onlyLoopbackIsUp();

} // namespace vesk::dnssd

#endif
