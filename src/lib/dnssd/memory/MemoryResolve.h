// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_MEMORYRESOLVE_H
#define VESK_DNSSD_MEMORYRESOLVE_H

#include "Backend.h"
#include "OwnRecords.h"

namespace vesk::dnssd {

/// Resolves an instance on the network in memory a round later: by what is there then, or not at all.
class MemoryResolve final : public Backend::ActiveResolve
{
public:
    MemoryResolve(EventLoop& loop, const MemoryNetwork& network, const ResponderLife& life, Labels instance,
                  uint32_t interface, bool withAddress, ResolveListener& listener);

private:
    void resolve();
    std::optional<ResolvedService> find() const;
    std::string findLast(const Labels& name, uint16_t type) const;

    const MemoryNetwork& m_network;
    const Labels m_instance;
    const uint32_t m_interface;
    const bool m_withAddress;
    ResolveListener& m_listener;
    OwnedTasks m_tasks;
};

} // namespace vesk::dnssd

#endif
