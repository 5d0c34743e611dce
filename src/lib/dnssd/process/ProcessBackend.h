// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_PROCESSBACKEND_H
#define VESK_DNSSD_PROCESSBACKEND_H

#include "Backend.h"
#include "ConflictLimiter.h"
#include "CoreServer.h"
#include "DirectQuestions.h"
#include "EntryGroup.h"
#include "HostAddresses.h"
#include "OwnedTasks.h"
#include "ReconnectTimer.h"

namespace vesk::dnssd {

/// A responder inside this process as a backend. It exists while the backend is in use, and a moment longer;
/// nothing is published but what is asked for.
class ProcessBackend final : public Backend, public EntryGroups
{
public:
    ProcessBackend(EventLoop& loop, StateListener& listener);
    ~ProcessBackend() override;

    State state() const override { return m_state; }
    QueryPacing pacing() const override;
    bool isReachable() const override;
    void setInUse(bool inUse) override;
    Result<ActiveQuery> startQuery(const Query& query, RecordListener& listener) override;
    Result<ActiveQuery> askHosts(const Query& query, RecordListener& listener) override;
    Result<ActiveResolve> resolveOnce(const Labels& instance, uint32_t interface, Transport transport,
                                      bool withAddress, ResolveListener& listener) override;
    Result<Publication> publish(const Service& service, PublishListener& listener) override;
    Result<RecordPublication> publishRecord(const PublishedRecord& record,
                                            PublishListener& listener) override;
    std::string hostName() override;
    bool needsShutDown() const override { return true; }
    void shutDown(std::chrono::milliseconds limit) override;
    Made makeGroup(PublishListener& listener) override;

private:
    template <typename Started, typename Object, typename... Arguments>
    static Result<Started> started(std::unique_ptr<Object> object, Arguments&&... arguments);

    void startServer();
    void endServer();
    void onHostNameConflict();
    void takeNextHostName();
    void setState(State state);

    EventLoop& m_loop;
    StateListener& m_listener;
    State m_state = State::Absent;
    bool m_isInUse = false;
    OwnedTasks m_tasks;
    std::shared_ptr<CoreServer> m_server; ///< null: there is none
    HostAddresses m_addresses;
    ConflictLimiter m_nameConflicts;
    Timer m_nextHostName; ///< runs after a conflict of the host's name
    Timer m_linger;       ///< runs after the last use
    ReconnectTimer m_retry;
    DirectQuestions m_directQuestions;
};

} // namespace vesk::dnssd

#endif
