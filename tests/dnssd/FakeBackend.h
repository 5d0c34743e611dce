// SPDX-License-Identifier: MIT
#ifndef VESK_TESTS_FAKEBACKEND_H
#define VESK_TESTS_FAKEBACKEND_H

#include "Backend.h"
#include "Loop.h"

#include <atomic>
#include <functional>
#include <set>

namespace vesk::dnssd {

/**
 * Stands for the daemon in tests: knows the records it is told of and gives them to whoever asks, publishes
 * every service at once unless its name is taken, and can go away and come back.
 */
class FakeBackend final : public Backend
{
public:
    FakeBackend(Loop& loop, StateListener& listener);
    ~FakeBackend() override;

    /// The backend of the engine, made with it; tests that use none make their own.
    static FakeBackend& instance();

    /// What follows here may be called by any thread and takes effect in the order of the calls.
    void come(const Record& record, Transport transport = Transport::IPv4);
    void go(const Record& record, Transport transport = Transport::IPv4);
    void change(State state);
    /// Running, and without records, services and refusals.
    void reset();
    /// Returns when the loop's thread has done all that was asked of it before.
    void settle();
    /// Has `look` run on the loop's thread, and waits for it.
    void inspect(const std::function<void()>& look);

    /// On the loop's thread only.
    void tell(const Record& record, Transport transport, bool present);
    std::size_t questions() const { return m_askings.size(); }
    /// Every question and glance ever, in their order.
    const std::vector<Query>& asked() const { return m_asked; }
    const std::vector<Labels>& glances() const { return m_glances; }
    void forgetAsked();
    /// Nothing happens by time alone, however long the test takes.
    void holdTimers(bool hold) { m_loop.holdTimers(hold); }
    const std::vector<Service>& published() const { return m_published; }
    void forgetPublished() { m_published.clear(); }
    /// Is in that state without telling so.
    void assume(State state) { m_state = state; }
    void setRefusing(bool refusing) { m_isRefusing = refusing; }
    /// Does not say when all that it knew has been told.
    void setNeverExhausted(bool never) { m_isNeverExhausted = never; }
    /// Names that somebody on this host, or on another one, has.
    void takeHere(std::set<std::string> names) { m_takenHere = std::move(names); }
    void takeElsewhere(std::set<std::string> names) { m_takenElsewhere = std::move(names); }
    /// Another host turns up that has the name.
    void collide(const std::string& name);

    bool reachable() const override { return m_isReachable; }
    void setReachable(bool reachable) { m_isReachable = reachable; }
    State state() const override { return m_state; }
    std::unique_ptr<Asking> ask(const Query& query, Asker& asker) override;
    std::unique_ptr<Asking> glance(const Labels& instance, uint32_t interface, Transport transport,
                                   Glancer& glancer) override;
    PublishResult publish(const Service& service, Publisher& publisher) override;
    std::string hostName() override { return "hosta"; }

private:
    class Question;
    class Offer;
    class Glance;
    struct Known
    {
        Record record;
        Transport transport;
    };

    Loop& m_loop;
    StateListener& m_listener;
    std::atomic<State> m_state{State::Absent};
    std::atomic<bool> m_isReachable{true};
    bool m_isRefusing = false;
    bool m_isNeverExhausted = false;
    std::set<std::string> m_takenHere;
    std::set<std::string> m_takenElsewhere;
    std::vector<Known> m_known;
    std::set<Question*> m_askings;
    std::set<Offer*> m_offers;
    std::vector<Query> m_asked;
    std::vector<Labels> m_glances;
    std::vector<Service> m_published; ///< in the order of their publication, updates included
};

} // namespace vesk::dnssd

#endif
