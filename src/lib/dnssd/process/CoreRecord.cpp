// SPDX-License-Identifier: MIT
#include "CoreRecord.h"

#include <avahi-common/defs.h>
#include <avahi-common/domain.h>

#include <limits>

namespace vesk::dnssd {

CoreKey makeKey(const std::string& name, uint16_t recordClass, uint16_t type)
{
    const bool isName = avahi_is_valid_domain_name(name.c_str()) != 0;
    CoreKey key(isName ? avahi_key_new(name.c_str(), recordClass, type) : nullptr, avahi_key_unref);
    if (key && !avahi_key_is_valid(key.get()))
        key.reset();
    return key;
}

CoreRecord makeRecord(const std::string& name, uint16_t type, uint32_t ttl, const std::string& data)
{
    const CoreKey key = makeKey(name, AVAHI_DNS_CLASS_IN, type);
    CoreRecord record(key ? avahi_record_new(key.get(), ttl) : nullptr, avahi_record_unref);
    if (record && avahi_rdata_parse(record.get(), data.data(), data.size()) < 0)
        record.reset();
    return record;
}

std::string dataOf(AvahiRecord& record)
{
    std::string data(std::numeric_limits<uint16_t>::max(), '\0');
    const std::size_t size = avahi_rdata_serialize(&record, data.data(), data.size());
    data.resize(size <= data.size() ? size : 0);
    return data;
}

} // namespace vesk::dnssd
