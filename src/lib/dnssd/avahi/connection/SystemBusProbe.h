// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_SYSTEMBUSPROBE_H
#define VESK_DNSSD_SYSTEMBUSPROBE_H

namespace vesk::dnssd {

/// Whether the system's message bus takes connections. Never waits; may be called by any thread. Throws
/// std::system_error when the process has no descriptor left to find out with.
bool isSystemBusThere();

} // namespace vesk::dnssd

#endif
