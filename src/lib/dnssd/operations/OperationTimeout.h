// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_OPERATIONTIMEOUT_H
#define VESK_DNSSD_OPERATIONTIMEOUT_H

#include <chrono>
#include <cstdint>

namespace vesk::dnssd {

/// When an operation that was started with the flag Timeout reports that its time is over, whatever it has
/// found.
constexpr std::chrono::seconds OperationTime{5};

/// The TTL of that reply, in seconds.
constexpr uint32_t TimeoutTtl = 60;

} // namespace vesk::dnssd

#endif
