// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_CORERECORD_H
#define VESK_DNSSD_CORERECORD_H

#include <avahi-core/rr.h>

#include <cstdint>
#include <memory>
#include <string>

/// How libavahi-core holds queries and records.
namespace vesk::dnssd {

using CoreKey = std::unique_ptr<AvahiKey, decltype(&avahi_key_unref)>;
using CoreRecord = std::unique_ptr<AvahiRecord, decltype(&avahi_record_unref)>;

/// `name`: in libavahi's text. Null when it is none: what libavahi-core is given without a look at it ends
/// the process.
CoreKey makeKey(const std::string& name, uint16_t recordClass, uint16_t type);

/// `data`: in wire form. Null when that or the name is not valid.
CoreRecord makeRecord(const std::string& name, uint16_t type, uint32_t ttl, const std::string& data);

/// The record's data in wire form.
std::string dataOf(AvahiRecord& record);

} // namespace vesk::dnssd

#endif
