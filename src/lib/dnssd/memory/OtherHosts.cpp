// SPDX-License-Identifier: MIT
#include "OtherHosts.h"

#include "ServiceRecords.h"
#include "dns_sd.h"

#include <netinet/in.h>

namespace vesk::dnssd {

namespace {

std::vector<PublishedRecord> recordsOf(const OtherService& other)
{
    auto records = recordsOf(other.service);
    for (const std::string& address : other.addresses) {
        const uint16_t type = address.size() == sizeof(in_addr) ? kDNSServiceType_A : kDNSServiceType_AAAA;
        records.push_back({other.service.host, type, other.service.interface, address, HostRecordTtl,
                           PublishedRecord::Claim::KnownUnique});
    }
    return records;
}

} // namespace

/// A service of another host never gives way.
class OtherHosts::Published final : private MemoryNetwork::Holder
{
public:
    Published(MemoryNetwork& network, const OtherService& other)
        : m_network(network)
    {
        m_network.add(*this, MemoryNetwork::Host::Other, recordsOf(other));
    }
    ~Published() override { m_network.remove(*this); }
    Published(const Published&) = delete;
    Published& operator=(const Published&) = delete;

private:
    void onNameConflict() override {}

    MemoryNetwork& m_network;
};

OtherHosts::OtherHosts(MemoryNetwork& network)
    : m_network(network)
{
}

OtherHosts::~OtherHosts() = default;

void OtherHosts::publish(const OtherService& other)
{
    const Service& service = other.service;
    const Labels instance = Labels{service.name} + service.type + service.domain;
    auto published = std::make_unique<Published>(m_network, other);
    m_published[{canonical(instance), service.interface}] = std::move(published);
}

bool OtherHosts::withdraw(const Labels& instance, uint32_t interface)
{
    const std::string name = canonical(instance);
    if (interface != 0)
        return m_published.erase({name, interface}) > 0;
    bool isAny = false;
    for (auto one = m_published.lower_bound({name, 0});
         one != m_published.end() && one->first.first == name;) {
        one = m_published.erase(one);
        isAny = true;
    }
    return isAny;
}

void OtherHosts::withdrawAll()
{
    m_published.clear();
}

} // namespace vesk::dnssd
