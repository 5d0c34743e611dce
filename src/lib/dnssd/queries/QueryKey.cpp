// SPDX-License-Identifier: MIT
#include "QueryKey.h"

namespace vesk::dnssd {

std::string keyOf(const Query& query)
{
    std::string key(reinterpret_cast<const char*>(&query.interface), sizeof query.interface);
    key.append(reinterpret_cast<const char*>(&query.type), sizeof query.type);
    key.append(reinterpret_cast<const char*>(&query.recordClass), sizeof query.recordClass);
    return key += canonical(query.name);
}

std::string queryKeyOf(const Record& record, uint32_t interface)
{
    return keyOf({record.name, record.type, record.recordClass, interface, {}});
}

} // namespace vesk::dnssd
