// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_SHAREDQUERY_H
#define VESK_DNSSD_SHAREDQUERY_H

#include "Backend.h"
#include "CachePass.h"
#include "RecordSet.h"
#include "ResolveLimiter.h"
#include "Timer.h"

#include <memory>
#include <optional>
#include <vector>

namespace vesk::dnssd {

/// One query, its records and the operations that subscribe to them.
class SharedQuery final : private RecordListener, private RecordSet::Observer
{
public:
    enum class State
    {
        New,       ///< not asked yet
        CachePass, ///< what the backend has cached is read; nothing is reported, nothing resolved meanwhile
        Deferred,  ///< has an answer, and is asked when there is time
        Active,    ///< asked, and its records are watched
        Suspended, ///< the backend has gone; the records stay until they are found to be outdated
        Refused    ///< the backend failed it, and its subscribers have been told; asked anew for the next one
    };

    /// What a query tells the registry that holds it.
    class Owner
    {
    public:
        /// The last subscriber has left.
        virtual void onIdle() = 0;
        /// Called from within the backend's callback: endCachePass() is to follow a round later.
        virtual void onCachePassOver(const Query& query) = 0;
        /// The query names an instance that is heard over a transport, or no longer.
        virtual void onInstanceHeard(const Labels& instance, uint32_t interface, Transport transport,
                                     bool isHeard) = 0;
        /// The transport that is enough for the query.
        virtual std::optional<Transport> transportFor(const Query& query) const = 0;
        /// The network has just brought the record.
        virtual void onHeardAfresh(const Record& record) = 0;
        /// Whether the record is taken for gone although the backend has it.
        virtual bool keepsBack(const Record& record) = 0;

    protected:
        ~Owner() = default;
    };

    SharedQuery(EventLoop& loop, ResolveLimiter& limiter, Owner& owner, Query query,
                bool isLoopbackALink = false);
    ~SharedQuery();
    SharedQuery(const SharedQuery&) = delete;
    SharedQuery& operator=(const SharedQuery&) = delete;

    State state() const { return m_state; }
    const Query& query() const { return m_query; }
    bool isAsked() const { return m_state == State::CachePass || m_state == State::Active; }

    /// Reports the records that are there during the call.
    void subscribe(RecordListener& listener);
    void unsubscribe(RecordListener& listener);
    bool isIdle() const { return m_listeners.empty(); }
    bool isIdleSince(Clock::TimePoint time) const { return isIdle() && m_idleSince <= time; }

    /// Asks: by way of the cache, if the query is one that many records may answer and none is known yet.
    void begin(Backend& backend);

    /// Asks, and watches the records from then on.
    void activate(Backend& backend);

    /// Reports what the cache pass has brought. The network is asked now or, after a large result, later.
    void endCachePass(Backend& backend);

    bool isForAddress() const;

    /// Takes a record that was learnt otherwise for the only answer, until the query is asked.
    void seed(const Record& record);
    /// Of a host's addresses, of which there may be several, one is no news when others are known.
    bool canBeSeeded() const { return !isAsked() && (!isForAddress() || m_records.isEmpty()); }

    /// Gives up what the backend has started. The records stay, to be confirmed when they are asked for
    /// again.
    void suspend();

    /// The interfaces on which a record answers the query; its own interface may be 0, for any.
    std::vector<uint32_t> interfacesOf(const Record& record) const;
    /// What is kept back has changed.
    void reconsider() { m_records.reconsider(); }

    /// Removes the records that have not been heard again, if it was asked for them before that time. Returns
    /// whether any are left that may have to be removed later.
    bool dropUnconfirmed(Clock::TimePoint askedBefore);

private:
    void onRecord(const RecordEvent& event) override;
    void onCacheExhausted() override;
    void onQueryFailed(BackendError error) override;
    void onReport(const RecordEvent& event) override;
    void onHeard(const Record& record, Transport transport, bool isHeard) override;
    void onUnsettled() override;
    bool keepsBack(const Record& record) override { return m_owner.keepsBack(record); }

    void beginCachePass(Backend& backend);
    void endCache();
    void start(Backend& backend, State state);
    void fail(BackendError error);

    EventLoop& m_loop;
    ResolveLimiter& m_limiter;
    Owner& m_owner;
    Query m_query;
    State m_state = State::New;
    RecordSet m_records;
    Timer m_cacheLimit; ///< until which what is told is the cache
    Timer m_settling;   ///< after which what is told of the records is what holds
    std::vector<RecordListener*> m_listeners;
    Clock::TimePoint m_idleSince;
    Clock::TimePoint m_askedAt;
    std::optional<CachePass> m_cachePass;              ///< in that state
    std::unique_ptr<Backend::ActiveQuery> m_atBackend; ///< while it is asked
};

} // namespace vesk::dnssd

#endif
