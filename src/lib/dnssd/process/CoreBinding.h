// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_COREBINDING_H
#define VESK_DNSSD_COREBINDING_H

namespace vesk::dnssd {

/**
 * libavahi-core and libavahi-client both export avahi_entry_group_free, for different things. In a process
 * that has both, the dynamic linker binds the calls inside libavahi-core to whichever was loaded first, and
 * the other's ends the process. Binds them to libavahi-core's own.
 *
 * To be called before libavahi-core is used. False: that is not possible, and it must not be used.
 */
bool bindCoreToItself();

} // namespace vesk::dnssd

#endif
