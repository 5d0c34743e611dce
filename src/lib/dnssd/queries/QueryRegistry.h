// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_QUERYREGISTRY_H
#define VESK_DNSSD_QUERYREGISTRY_H

#include "Backend.h"
#include "DeferredQueries.h"
#include "InstanceTransports.h"
#include "Reconfirmations.h"
#include "ResolveLimiter.h"
#include "SharedQuery.h"
#include "TaskQueue.h"

#include <memory>
#include <string>
#include <unordered_map>

namespace vesk::dnssd {

/**
 * All queries of the process. Each is asked once, however many operations subscribe to it, and lingers a
 * moment after the last one has left, for the next that asks the same. Queries and their records outlive the
 * backend's absence: once it is back everything is asked again, and only what has changed is reported.
 */
class QueryRegistry final : private SharedQuery::Owner, private Reconfirmation::Owner
{
public:
    QueryRegistry(EventLoop& loop, Backend& backend);
    ~QueryRegistry();
    QueryRegistry(const QueryRegistry&) = delete;
    QueryRegistry& operator=(const QueryRegistry&) = delete;

    /// Reports the records of a query to a listener, each once for every interface, until it is destroyed.
    class Subscription
    {
    public:
        Subscription(QueryRegistry& registry, std::string key, RecordListener& listener);
        ~Subscription();
        Subscription(const Subscription&) = delete;
        Subscription& operator=(const Subscription&) = delete;

    private:
        QueryRegistry& m_registry;
        std::string m_key; ///< a failed query ends before its subscriptions
        RecordListener& m_listener;
    };

    /// Records that are known already are reported during the call. A listener must not end a subscription
    /// while it is told of a record.
    std::unique_ptr<Subscription> subscribe(const Query& query, RecordListener& listener);

    /// Whether an instance is seen by browsing, in exactly this spelling: a resolve echoes the spelling that
    /// it is given, so that the records have to be queried for any other.
    bool canResolveOnce(const Labels& instance, uint32_t interface) const;
    std::unique_ptr<Backend::ActiveResolve> resolveOnce(const Labels& instance, uint32_t interface,
                                                        ResolveListener& listener);
    /// When a resolve that has been answered has the records watched.
    std::chrono::milliseconds watchDelay() const { return m_backend.pacing().watchDelay; }
    /// What every resolve waits for.
    ResolveLimiter& resolveLimiter() { return m_resolveLimiter; }

    /// Answers a query for subscribers that come within a moment. It is only asked once there are any, when
    /// there is time.
    void seed(const Record& answer);

    /// Has the hosts asked for a record that the application doubts, on the interfaces that it is known on.
    /// The queries report it gone when no host answers, and back when it is heard again.
    void reconfirm(const Record& record);

    void onBackendState(Backend::State state);

private:
    void onIdle() override;
    void onCachePassOver(const Query& query) override;
    void onInstanceHeard(const Labels& instance, uint32_t interface, Transport transport,
                         bool isHeard) override;
    std::optional<Transport> transportFor(const Query& query) const override;
    void onHeardAfresh(const Record& record) override { onOver(record); }
    bool keepsBack(const Record& record) override { return m_reconfirmations.keepsBack(record); }
    bool isWanted(const Record& record) const override;
    void onUnanswered(const Record& record) override { reconsider(record); }
    void onOver(const Record& record) override;

    SharedQuery& queryFor(const Query& query);
    SharedQuery* find(const std::string& key) const;
    void begin(const std::string& key);
    void endCachePass(const std::string& key);
    bool needsOtherTransport(const SharedQuery& query) const;
    void changeTransport(const std::string& key);
    std::vector<SharedQuery*> holdersOf(const Record& record) const;
    void reconsider(const Record& record);
    void confirmSoon();
    void dropUnconfirmed();
    void removeIdle();
    void remove(const std::string& key);

    EventLoop& m_loop;
    Backend& m_backend;
    QueryPacing m_pacing; ///< of the backend that is there, or was last
    InstanceTransports m_transports;
    ResolveLimiter m_resolveLimiter;
    TaskQueue<std::string> m_toBegin;
    TaskQueue<std::string> m_toRemove;
    TaskQueue<std::string> m_cachePassesToEnd;
    TaskQueue<std::string> m_transportsToChange;
    DeferredQueries m_deferred;
    Timer m_confirmationTimer;
    Clock::TimePoint m_backendSince;
    Timer m_lingerTimer;
    std::unordered_map<std::string, std::unique_ptr<SharedQuery>> m_queries;
    Reconfirmations m_reconfirmations;
};

} // namespace vesk::dnssd

#endif
