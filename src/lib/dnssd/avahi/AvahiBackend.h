// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_AVAHIBACKEND_H
#define VESK_DNSSD_AVAHIBACKEND_H

#include "Backend.h"
#include "DaemonConnections.h"
#include "DaemonError.h"
#include "DirectQuestions.h"
#include "EntryGroup.h"
#include "OwnedTasks.h"
#include "ReconnectTimer.h"
#include "ReleaseQueue.h"

namespace vesk::dnssd {

/// The Avahi daemon as a backend: record browsers answer queries, service resolvers resolve once, entry
/// groups publish.
class AvahiBackend final : public Backend, public DaemonErrorListener, public EntryGroups
{
public:
    AvahiBackend(EventLoop& loop, StateListener& listener);

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
    bool needsShutDown() const override { return false; }
    void shutDown(std::chrono::milliseconds limit) override;
    void onDaemonAnswer(int avahiError) override;
    Made makeGroup(PublishListener& listener) override;

private:
    template <typename Started, typename Object, typename... Arguments>
    Result<Started> start(std::unique_ptr<Object> object, Arguments&&... arguments);

    void connect();
    void onClientState(AvahiClientState state);
    void setState(State state);
    void disconnect();

    EventLoop& m_loop;
    StateListener& m_listener;
    State m_state = State::Absent;
    bool m_isInUse = false;
    bool m_isLost = false; ///< the connection is about to be given up
    OwnedTasks m_tasks;
    DaemonConnections m_connections;
    ReleaseQueue m_releases; ///< after the connections, which it needs
    ReleaseQueue m_resolverReleases;
    ReconnectTimer m_reconnectTimer;
    DirectQuestions m_directQuestions;
};

} // namespace vesk::dnssd

#endif
