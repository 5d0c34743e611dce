// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_SOCKETPROBE_H
#define VESK_DNSSD_SOCKETPROBE_H

namespace vesk::dnssd {

/// Whether this process may open at this moment the sockets that a responder takes: one that tells of network
/// interfaces, and one for IPv4 or IPv6. Never waits; may be called by any thread.
bool hasSocketsForResponder();

} // namespace vesk::dnssd

#endif
