// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_DAEMONENCODING_H
#define VESK_DNSSD_DAEMONENCODING_H

#include "Query.h"

#include <avahi-common/address.h>
#include <avahi-common/strlst.h>

#include <memory>

/// How the daemon writes what this library holds in its own types.
namespace vesk::dnssd {

/// The escaped name without trailing dot, and in ASCII, whatever the labels hold.
std::string toAvahiText(const Labels& name);

AvahiIfIndex toAvahiInterface(uint32_t interface);
AvahiProtocol toAvahiProtocol(std::optional<Transport> transport);

using AvahiTxt = std::unique_ptr<AvahiStringList, decltype(&avahi_string_list_free)>;

/// The daemon refuses empty items; without any item it publishes the empty one by itself.
AvahiTxt toAvahiTxt(const std::string& wire);

/// The TXT record in wire form: one empty item for an empty list.
std::string fromAvahiTxt(const AvahiStringList* items);

/// The address in wire form; empty for none.
std::string fromAvahiAddress(const AvahiAddress* address);

} // namespace vesk::dnssd

#endif
