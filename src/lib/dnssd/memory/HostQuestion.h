// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_HOSTQUESTION_H
#define VESK_DNSSD_HOSTQUESTION_H

#include "Backend.h"
#include "OwnedTasks.h"

namespace vesk::dnssd {

class MemoryNetwork;

/// A question that the hosts on the network in memory answer a round later, once.
class HostQuestion final : public Backend::ActiveQuery
{
public:
    HostQuestion(EventLoop& loop, const MemoryNetwork& network, Query query, RecordListener& listener);

private:
    void answer();

    const MemoryNetwork& m_network;
    const Query m_query;
    RecordListener& m_listener;
    std::shared_ptr<char> m_alive = std::make_shared<char>();
    OwnedTasks m_tasks;
};

} // namespace vesk::dnssd

#endif
