// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_QUERYKEY_H
#define VESK_DNSSD_QUERYKEY_H

#include "Query.h"

namespace vesk::dnssd {

/// The same for queries that ask the same, whatever the spelling of the name and the transport.
std::string keyOf(const Query& query);

/// Of the query that a record answers, on one interface or, with 0, on all.
std::string queryKeyOf(const Record& record, uint32_t interface);

} // namespace vesk::dnssd

#endif
