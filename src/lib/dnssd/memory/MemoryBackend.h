// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_MEMORYBACKEND_H
#define VESK_DNSSD_MEMORYBACKEND_H

#include "Backend.h"
#include "MemoryNetwork.h"
#include "MemoryQuery.h"
#include "OtherHosts.h"
#include "OwnRecords.h"
#include "Timer.h"

#include <atomic>

namespace vesk::dnssd {

/**
 * A backend without sockets, for tests of applications: a responder and a network that exist in this process
 * alone. Both can go away, each by itself: with the responder goes what this host publishes, with the network
 * what the others do.
 */
class MemoryBackend final : public Backend
{
public:
    MemoryBackend(EventLoop& loop, StateListener& listener);
    ~MemoryBackend() override;

    MemoryNetwork& network() { return m_network; }
    OtherHosts& otherHosts() { return m_otherHosts; }
    /// Whether there is a responder; to begin with, there is. The state follows a round later.
    void setResponderThere(bool isThere);
    /// Whether the responder has no room for anything more.
    void setRefusing(bool isRefusing) { m_isRefusing = isRefusing; }

    State state() const override { return m_state; }
    QueryPacing pacing() const override;
    bool isReachable() const override { return m_isResponderThere; }
    bool isLoopbackALink() const override { return true; }
    void setInUse(bool inUse) override;
    Result<ActiveQuery> startQuery(const Query& query, RecordListener& listener) override;
    Result<ActiveQuery> askHosts(const Query& query, RecordListener& listener) override;
    Result<ActiveResolve> resolveOnce(const Labels& instance, uint32_t interface, Transport transport,
                                      bool withAddress, ResolveListener& listener) override;
    Result<Publication> publish(const Service& service, PublishListener& listener) override;
    Result<RecordPublication> publishRecord(const PublishedRecord& record,
                                            PublishListener& listener) override;
    std::string hostName() override;
    bool needsShutDown() const override { return false; }
    void shutDown(std::chrono::milliseconds limit) override;

private:
    /// The host's own name: what others publish is nothing to it.
    class HostRecords final : public MemoryNetwork::Holder
    {
        void onNameConflict() override {}
    };

    BackendError startError() const;
    void followResponder();
    void begin();
    void end();
    void tellQueries();

    EventLoop& m_loop;
    StateListener& m_listener;
    OwnedTasks m_tasks;
    Timer m_telling; ///< a round after the network has changed, as destructors change it
    MemoryNetwork m_network;
    OtherHosts m_otherHosts;
    HostRecords m_host;
    MemoryQuery::Standing m_queries;
    ResponderLife m_life; ///< null while the state is Absent
    State m_state = State::Absent;
    std::atomic<bool> m_isResponderThere{true};
    bool m_isRefusing = false;
    bool m_isInUse = false;
};

} // namespace vesk::dnssd

#endif
