// SPDX-License-Identifier: MIT
#include "ServiceRecords.h"

#include "SrvData.h"
#include "dns_sd.h"

namespace vesk::dnssd {

std::vector<PublishedRecord> recordsOf(const Service& service)
{
    using Claim = PublishedRecord::Claim;
    const Labels type = service.type + service.domain;
    const Labels instance = Labels{service.name} + type;
    std::vector<PublishedRecord> records;
    const auto add = [&](const Labels& name, uint16_t recordType, std::string data, uint32_t ttl,
                         Claim claim) {
        records.push_back({name, recordType, service.interface, std::move(data), ttl, claim});
    };
    const auto point = [&](const Labels& name, const Labels& target) {
        add(name, kDNSServiceType_PTR, toWire(target), OtherRecordTtl, Claim::Shared);
    };

    add(instance, kDNSServiceType_SRV, SrvData{service.port, service.host}.toWire(), HostRecordTtl,
        Claim::Unique);
    if (service.port == 0)
        return records;
    add(instance, kDNSServiceType_TXT, service.txt, OtherRecordTtl, Claim::Unique);
    point(type, instance);
    for (const std::string& subtype : service.subtypes)
        point(Labels{subtype, "_sub"} + type, instance);
    point(Labels{"_services", "_dns-sd", "_udp"} + service.domain, type);
    return records;
}

} // namespace vesk::dnssd
