// SPDX-License-Identifier: MIT
#include "MemoryResolve.h"

#include "SrvData.h"
#include "dns_sd.h"

namespace vesk::dnssd {

MemoryResolve::MemoryResolve(EventLoop& loop, const MemoryNetwork& network, const ResponderLife& life,
                             Labels instance, uint32_t interface, bool withAddress, ResolveListener& listener)
    : m_network(network)
    , m_instance(std::move(instance))
    , m_interface(interface)
    , m_withAddress(withAddress)
    , m_listener(listener)
    , m_tasks(loop)
{
    m_tasks.post([this, life = std::weak_ptr(life)] {
        if (!life.expired())
            resolve();
    });
}

void MemoryResolve::resolve()
{
    if (const auto service = find())
        m_listener.onResolved(*service);
    else
        m_listener.onResolveFailed();
}

std::optional<ResolvedService> MemoryResolve::find() const
{
    const auto service = SrvData::parse(findLast(m_instance, kDNSServiceType_SRV));
    const std::string txt = findLast(m_instance, kDNSServiceType_TXT);
    if (!service || txt.empty())
        return std::nullopt;
    if (!m_withAddress)
        return ResolvedService{service->target, service->port, txt};
    std::string address = findLast(service->target, kDNSServiceType_A);
    if (address.empty())
        address = findLast(service->target, kDNSServiceType_AAAA);
    if (address.empty())
        return std::nullopt;
    return ResolvedService{service->target, service->port, txt, address};
}

/// The data of the record that was published last; none: "".
std::string MemoryResolve::findLast(const Labels& name, uint16_t type) const
{
    const auto found = m_network.find({name, type, kDNSServiceClass_IN, m_interface, {}});
    return found.empty() ? std::string() : found.back().data;
}

} // namespace vesk::dnssd
