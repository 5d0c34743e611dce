// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_RECEIVEGUARD_H
#define VESK_DNSSD_RECEIVEGUARD_H

namespace vesk::dnssd {

/**
 * Keeps from libavahi-core what would end the process: it follows alias records (CNAME), and finds itself in
 * a state that it takes for impossible when one goes, or is told twice. Names on a link have no use for them.
 *
 * Called for a socket with a message to be read. False: the message held an alias, and has been dropped.
 */
bool admitMessage(int descriptor);

} // namespace vesk::dnssd

#endif
