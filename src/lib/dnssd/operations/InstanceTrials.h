// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_INSTANCETRIALS_H
#define VESK_DNSSD_INSTANCETRIALS_H

#include "InstanceAdmission.h"
#include "QueryRegistry.h"
#include "Timer.h"

#include <list>
#include <memory>

namespace vesk::dnssd {

/**
 * Tries instances that are held back: resolves them, without a descriptor, so that those behind which there
 * is a service get past the names without one. Only when waiting has not helped, so that services
 * that all answer are resolved once, by the application.
 */
class InstanceTrials
{
public:
    InstanceTrials(EventLoop& loop, QueryRegistry& queries, std::shared_ptr<InstanceAdmission> admission);
    ~InstanceTrials();
    InstanceTrials(const InstanceTrials&) = delete;
    InstanceTrials& operator=(const InstanceTrials&) = delete;

private:
    class Trial;

    void watch();
    void beginTrials();
    void end(Trial& trial, InstanceBacklog::Outcome outcome);

    EventLoop& m_loop;
    QueryRegistry& m_queries;
    std::shared_ptr<InstanceAdmission> m_admission;
    Timer m_timer;
    uint64_t m_handedOnBefore = 0;
    bool m_isStalled = false;
    std::list<Trial> m_trials; ///< under way
};

} // namespace vesk::dnssd

#endif
