// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_STARTRECORD_H
#define VESK_DNSSD_STARTRECORD_H

#include "Handle.h"

namespace vesk::dnssd {

/// Starts the operation that `make(replies, record)` gives, as a record of that handle.
template <typename Make>
DNSServiceErrorType startRecord(_DNSServiceRef_t& owner, DNSRecordRef& result, Make make)
{
    auto record = std::make_unique<_DNSRecordRef_t>(owner.running);
    DNSRecordRef started = record.get();
    record->running.start(make(record->running.replies(), started));
    owner.records.emplace(started, std::move(record));
    result = started;
    return kDNSServiceErr_NoError;
}

} // namespace vesk::dnssd

#endif
