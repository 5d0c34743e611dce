// SPDX-License-Identifier: MIT
#ifndef VESK_TESTS_FAKEBACKEND_H
#define VESK_TESTS_FAKEBACKEND_H

#include "BackendChoice.h"
#include "OwnedTasks.h"

#include <atomic>
#include <functional>
#include <set>

namespace vesk::dnssd::tests {

/**
 * A responder that the test plays: it knows the records that it is told of and answers queries with them,
 * publishes every service at once unless its name is taken, and can go away and come back.
 */
class FakeBackend final : public Backend
{
public:
    FakeBackend(EventLoop& loop, StateListener& listener);
    ~FakeBackend() override;

    /// The one that was made last.
    static FakeBackend& last();

    /// What it stands for.
    void setKind(BackendKind kind) { m_kind = kind; }
    BackendKind kind() const { return m_kind; }

    /// What follows here may be called by any thread and takes effect in the order of the calls.
    void come(const Record& record, Transport transport = Transport::IPv4);
    void go(const Record& record, Transport transport = Transport::IPv4);
    void change(State state);
    void setReachable(bool isReachable) { m_isReachable = isReachable; }

    /// What follows here is for the loop's thread.
    void tell(const Record& record, Transport transport, bool isPresent);
    std::size_t queries() const { return m_queries.size(); }
    /// Every query and resolve ever, in their order.
    const std::vector<Query>& asked() const { return m_asked; }
    const std::vector<Labels>& resolved() const { return m_resolved; }
    void forgetAsked();
    const std::vector<Service>& published() const { return m_published; }
    void forgetPublished() { m_published.clear(); }
    /// Those that are published now.
    std::vector<Service> standing() const;
    /// The single records that are published now.
    std::vector<PublishedRecord> records() const;
    /// Every time that one was published or updated.
    std::size_t recordChanges() const { return m_recordChanges; }
    /// Services that allow further TXT records.
    const std::set<std::string>& allowingFurtherTxt() const { return m_allowingFurtherTxt; }
    bool isInUse() const { return m_isInUse; }
    bool isShutDown() const { return m_isShutDown; }

    void setPacing(const QueryPacing& pacing) { m_pacing = pacing; }
    void setLoopbackALink(bool isLink) { m_isLoopbackALink = isLink; }
    /// With any other than None, nothing can be started.
    void failStarts(BackendError error) { m_startError = error; }
    /// Fails the queries for a name, a round later.
    void failQueries(const Labels& name, BackendError error);
    /// Does not say when all that it knew has been told.
    void setNeverExhausted(bool isNever) { m_isNeverExhausted = isNever; }
    void setCanResolveOnce(bool can) { m_canResolveOnce = can; }
    /// Resolves that find nothing fail rather than wait.
    void setFailingResolves(bool isFailing) { m_isFailingResolves = isFailing; }
    /// Whether what the responder knows is answered by its hosts, too; a question may also fail.
    void setHostsAnswer(bool doAnswer) { m_doHostsAnswer = doAnswer; }
    void setCanAskHosts(bool can) { m_canAskHosts = can; }
    /// Every question to the hosts ever, and those that stand.
    const std::vector<Query>& hostQuestions() const { return m_hostQuestions; }
    std::size_t standingHostQuestions() const { return m_standingHostQuestions; }
    /// Names that a program of this host, or another host, has.
    void takeHere(std::set<std::string> names) { m_takenHere = std::move(names); }
    void takeElsewhere(std::set<std::string> names) { m_takenElsewhere = std::move(names); }
    /// Another host claims every name.
    void takeAllElsewhere() { m_isAllTaken = true; }
    /// Another host turns up that has the name; that of a single record is a full name.
    void collide(const std::string& name);
    void failPublications(const std::string& name, BackendError error);

    State state() const override { return m_state; }
    QueryPacing pacing() const override { return m_pacing; }
    bool isReachable() const override { return m_isReachable; }
    bool isLoopbackALink() const override { return m_isLoopbackALink; }
    void setInUse(bool inUse) override { m_isInUse = inUse; }
    Result<ActiveQuery> startQuery(const Query& query, RecordListener& listener) override;
    Result<ActiveQuery> askHosts(const Query& query, RecordListener& listener) override;
    Result<ActiveResolve> resolveOnce(const Labels& instance, uint32_t interface, Transport transport,
                                      bool withAddress, ResolveListener& listener) override;
    Result<Publication> publish(const Service& service, PublishListener& listener) override;
    Result<RecordPublication> publishRecord(const PublishedRecord& record,
                                            PublishListener& listener) override;
    std::string hostName() override { return "hosta"; }
    bool needsShutDown() const override { return false; }
    void shutDown(std::chrono::milliseconds limit) override;

private:
    class Started;
    class FakeQuery;
    class FakeHostQuestion;
    class FakeResolve;
    class Published;
    class FakePublication;
    class FakeRecordPublication;
    struct Known
    {
        Record record;
        Transport transport;
    };

    BackendError startError() const;
    void setState(State state);
    void forEachQuery(const std::function<void(FakeQuery&)>& act);
    void tellCaches();

    EventLoop& m_loop;
    OwnedTasks m_tasks;
    StateListener& m_listener;
    State m_state = State::Absent;
    BackendKind m_kind = BackendKind::Auto;
    /// Until the backend goes; shared with what was started, which is not called any more from then on.
    std::shared_ptr<bool> m_isThere = std::make_shared<bool>(true);
    std::atomic<bool> m_isReachable{true};
    bool m_isInUse = false;
    bool m_isShutDown = false;
    QueryPacing m_pacing;
    bool m_isLoopbackALink = false;
    BackendError m_startError = BackendError::None;
    bool m_isNeverExhausted = false;
    bool m_canResolveOnce = true;
    bool m_isFailingResolves = false;
    bool m_doHostsAnswer = true;
    bool m_canAskHosts = true;
    std::vector<Query> m_hostQuestions;
    std::size_t m_standingHostQuestions = 0;
    std::set<std::string> m_takenHere;
    std::set<std::string> m_takenElsewhere;
    bool m_isAllTaken = false;
    std::vector<Known> m_known;
    std::set<FakeQuery*> m_queries;
    std::set<FakePublication*> m_publications;
    std::vector<FakeRecordPublication*> m_records;
    std::size_t m_recordChanges = 0;
    std::set<std::string> m_allowingFurtherTxt;
    std::vector<Query> m_asked;
    std::vector<Labels> m_resolved;
    std::vector<Service> m_published; ///< in the order of their publication, updates included
};

} // namespace vesk::dnssd::tests

#endif
