// SPDX-License-Identifier: MIT
#include "SharedQuery.h"

#include "QueryFixture.h"

#include <functional>
#include <memory>

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;
using namespace std::chrono_literals;

namespace {

using State = SharedQuery::State;
using Told = std::vector<std::string>;

class SharedQueryTest : public QueryFixture, private SharedQuery::Owner
{
protected:
    SharedQueryTest() { change(Backend::State::Running); }

    std::unique_ptr<SharedQuery> make(const Query& query)
    {
        SharedQuery::Owner& owner = *this;
        return std::make_unique<SharedQuery>(loop, limiter, owner, query);
    }
    void come(const std::string& data, Transport transport = Transport::IPv4)
    {
        backend.come(txtOf("Kitchen", data), transport);
        settle();
    }
    void go(const std::string& data, Transport transport = Transport::IPv4)
    {
        backend.go(txtOf("Kitchen", data), transport);
        settle();
    }
    bool isLimiterHeld()
    {
        bool hasBegun = false;
        const auto permit = limiter.request([&] { hasBegun = true; });
        settle();
        return !hasBegun;
    }

    QueryPacing usual;
    ResolveLimiter limiter{loop, usual};
    NotingListener listener;
    std::optional<Transport> chosen; ///< what the owner takes for enough
    unsigned idleCalls = 0;
    unsigned passesOver = 0;
    std::string heard;
    std::string afresh;
    std::string gone; ///< the data of a record that counts as gone

private:
    void onIdle() override { ++idleCalls; }
    void onCachePassOver(const Query&) override { ++passesOver; }
    void onInstanceHeard(const Labels& instance, uint32_t, Transport transport, bool isHeard) override
    {
        heard += (isHeard ? "+" : "-") + instance.front() + (transport == Transport::IPv4 ? "4" : "6");
    }
    std::optional<Transport> transportFor(const Query&) const override { return chosen; }
    void onHeardAfresh(const Record& record) override { afresh += record.data; }
    bool keepsBack(const Record& record) override { return record.data == gone; }
};

} // namespace

TEST_F(SharedQueryTest, IsNewAndIdleAtFirst)
{
    const auto query = make(textQuery());
    EXPECT_EQ(query->state(), State::New);
    EXPECT_FALSE(query->isAsked());
    EXPECT_TRUE(query->isIdle());
    EXPECT_TRUE(query->isIdleSince(loop.now()));
    EXPECT_FALSE(query->isIdleSince(loop.now() - 1ms));
}

TEST_F(SharedQueryTest, BecomesActiveAndReportsRecords)
{
    come("a");
    const auto query = make(textQuery());
    query->subscribe(listener);
    query->begin(backend);
    EXPECT_EQ(query->state(), State::Active);
    EXPECT_TRUE(query->isAsked());
    EXPECT_EQ(listener.told, Told());
    settle();
    come("b");
    go("a");
    EXPECT_EQ(listener.told, (Told{"+a", "+b", "-a"}));
}

TEST_F(SharedQueryTest, IsAskedOverTheTransportThatItsOwnerChooses)
{
    chosen = Transport::IPv6;
    const auto query = make(textQuery());
    query->begin(backend);
    ASSERT_EQ(backend.asked().size(), 1U);
    EXPECT_EQ(backend.asked()[0].transport, Transport::IPv6);
    EXPECT_EQ(query->query().transport, Transport::IPv6);
}

TEST_F(SharedQueryTest, ReportsKnownRecordsToALateSubscriberDuringTheCall)
{
    come("a");
    const auto query = make(textQuery());
    query->begin(backend);
    settle();
    query->subscribe(listener);
    EXPECT_EQ(listener.told, Told{"+a"});
}

TEST_F(SharedQueryTest, TellsItsOwnerWhenTheLastSubscriberLeaves)
{
    NotingListener other;
    const auto query = make(textQuery());
    query->subscribe(listener);
    query->subscribe(other);
    query->unsubscribe(listener);
    EXPECT_EQ(idleCalls, 0U);
    advance(10ms);
    query->unsubscribe(other);
    EXPECT_EQ(idleCalls, 1U);
    EXPECT_TRUE(query->isIdleSince(loop.now()));
    EXPECT_FALSE(query->isIdleSince(loop.now() - 1ms));
    query->begin(backend);
    come("a");
    EXPECT_EQ(listener.told, Told());
}

TEST_F(SharedQueryTest, ReadsTheCacheOverOneTransportAndReportsNothingMeanwhile)
{
    backend.come(instancePointer("Kitchen"));
    settle();
    const auto query = make(browseQuery());
    query->subscribe(listener);
    query->begin(backend);
    EXPECT_EQ(query->state(), State::CachePass);
    EXPECT_TRUE(query->isAsked());
    ASSERT_EQ(backend.asked().size(), 1U);
    EXPECT_EQ(backend.asked()[0].transport, Transport::IPv4);
    EXPECT_TRUE(isLimiterHeld());
    EXPECT_EQ(passesOver, 1U);
    EXPECT_EQ(query->state(), State::CachePass) << "the owner ends it";
    EXPECT_EQ(listener.told.size(), 0U);

    query->endCachePass(backend);
    EXPECT_EQ(query->state(), State::Active);
    EXPECT_EQ(listener.told.size(), 1U);
    EXPECT_FALSE(isLimiterHeld());
    ASSERT_EQ(backend.asked().size(), 2U);
    EXPECT_FALSE(backend.asked()[1].transport);
    EXPECT_EQ(passesOver, 1U) << "the end of the cache is news in a cache pass alone";
}

TEST_F(SharedQueryTest, EndsItsCachePassAtTheLimit)
{
    backend.setNeverExhausted(true);
    const auto query = make(browseQuery());
    query->begin(backend);
    advance(99ms);
    EXPECT_EQ(passesOver, 0U);
    advance(1ms);
    EXPECT_EQ(passesOver, 1U);
}

TEST_F(SharedQueryTest, IsDeferredAfterALargeResult)
{
    QueryPacing pacing = backend.pacing();
    pacing.largeResult = 2;
    backend.setPacing(pacing);
    for (const char* name : {"a", "b"})
        backend.come(instancePointer(name));
    const auto query = make(browseQuery());
    query->subscribe(listener);
    query->begin(backend);
    settle();
    query->endCachePass(backend);
    EXPECT_EQ(query->state(), State::Deferred);
    EXPECT_FALSE(query->isAsked());
    EXPECT_EQ(listener.told.size(), 2U);
    EXPECT_EQ(backend.queries(), 0U);
    EXPECT_FALSE(isLimiterHeld());

    query->begin(backend);
    EXPECT_EQ(query->state(), State::Active) << "the cache has been read";
}

TEST_F(SharedQueryTest, IsActiveAtOnceWithoutACachePassOrThreshold)
{
    backend.setPacing({});
    const auto without = make(browseQuery());
    without->begin(backend);
    EXPECT_EQ(without->state(), State::Active);

    QueryPacing pacing;
    pacing.cachePassLimit = 100ms;
    backend.setPacing(pacing);
    const auto unlimited = make(browseQuery());
    unlimited->begin(backend);
    unlimited->endCachePass(backend);
    EXPECT_EQ(unlimited->state(), State::Active);
}

TEST_F(SharedQueryTest, IsSuspendedWhenTheBackendIsUnavailable)
{
    backend.failStarts(BackendError::Unavailable);
    for (const Query& asked : {textQuery(), browseQuery()}) {
        const auto query = make(asked);
        query->subscribe(listener);
        query->begin(backend);
        EXPECT_EQ(query->state(), State::Suspended);
        EXPECT_FALSE(query->isIdle());
        EXPECT_TRUE(listener.errors.empty());
        EXPECT_FALSE(isLimiterHeld());
        query->unsubscribe(listener);
    }
}

TEST_F(SharedQueryTest, ReportsRecordsAgainAfterACachePassThatDidNotStart)
{
    backend.failStarts(BackendError::Unavailable);
    const auto query = make(browseQuery());
    query->subscribe(listener);
    query->begin(backend);
    backend.failStarts(BackendError::None);
    backend.come(instancePointer("Kitchen"));
    settle();
    query->activate(backend);
    settle();
    EXPECT_EQ(listener.told.size(), 1U);
}

TEST_F(SharedQueryTest, IsRefusedAndEndsItsSubscriptions)
{
    NotingListener other;
    backend.failStarts(BackendError::Refused);
    for (const Query& asked : {textQuery(), browseQuery()}) {
        listener.errors.clear();
        other.errors.clear();
        idleCalls = 0;
        const auto query = make(asked);
        query->subscribe(listener);
        query->subscribe(other);
        query->begin(backend);
        EXPECT_EQ(query->state(), State::Refused);
        EXPECT_EQ(listener.errors, std::vector<BackendError>{BackendError::Refused});
        EXPECT_EQ(other.errors, std::vector<BackendError>{BackendError::Refused});
        EXPECT_TRUE(query->isIdle());
        EXPECT_EQ(idleCalls, 1U);
        EXPECT_FALSE(isLimiterHeld());
        query->unsubscribe(listener); // that has ended already
        EXPECT_EQ(idleCalls, 1U);
    }
}

TEST_F(SharedQueryTest, IsAskedAnewAfterARefusal)
{
    backend.failStarts(BackendError::Refused);
    const auto query = make(textQuery());
    query->subscribe(listener);
    query->begin(backend);
    backend.failStarts(BackendError::None);
    NotingListener later;
    query->subscribe(later);
    query->begin(backend);
    EXPECT_EQ(query->state(), State::Active);
    come("a");
    EXPECT_EQ(later.told, Told{"+a"});
    EXPECT_EQ(listener.told, Told());
    EXPECT_EQ(listener.errors.size(), 1U);
}

TEST_F(SharedQueryTest, IsRefusedWhenItFailsLater)
{
    for (const Query& asked : {textQuery(), browseQuery()}) {
        listener.errors.clear();
        backend.setNeverExhausted(true);
        const auto query = make(asked);
        query->subscribe(listener);
        query->begin(backend);
        backend.failQueries(asked.name, BackendError::Failed);
        settle();
        EXPECT_EQ(query->state(), State::Refused);
        EXPECT_EQ(listener.errors, std::vector<BackendError>{BackendError::Failed});
        EXPECT_EQ(backend.queries(), 0U);
        EXPECT_FALSE(isLimiterHeld());
    }
}

TEST_F(SharedQueryTest, KeepsItsRecordsWhileItIsSuspended)
{
    come("a");
    come("b");
    const auto query = make(textQuery());
    query->subscribe(listener);
    query->begin(backend);
    settle();
    listener.told.clear();
    query->suspend();
    EXPECT_EQ(query->state(), State::Suspended);
    EXPECT_EQ(backend.queries(), 0U);
    EXPECT_EQ(listener.told, Told());

    go("a");
    advance(1s);
    const auto askedAt = loop.now();
    query->begin(backend);
    EXPECT_EQ(query->state(), State::Active);
    settle();
    EXPECT_EQ(listener.told, Told()) << "what is heard again is no news";
    EXPECT_TRUE(query->dropUnconfirmed(askedAt - 1ms)) << "too early";
    EXPECT_EQ(listener.told, Told());
    EXPECT_FALSE(query->dropUnconfirmed(askedAt));
    EXPECT_EQ(listener.told, Told{"-a"});
}

TEST_F(SharedQueryTest, DropsNothingWhileItIsNotAsked)
{
    come("a");
    const auto query = make(textQuery());
    query->subscribe(listener);
    query->begin(backend);
    settle();
    query->suspend();
    EXPECT_FALSE(query->dropUnconfirmed(loop.now()));
    EXPECT_EQ(listener.told, Told{"+a"});
}

TEST_F(SharedQueryTest, ReportsWhatTheCachePassBroughtWhenItIsSuspended)
{
    backend.setNeverExhausted(true);
    backend.come(instancePointer("Kitchen"));
    const auto query = make(browseQuery());
    query->subscribe(listener);
    query->begin(backend);
    settle();
    EXPECT_EQ(listener.told.size(), 0U);
    query->suspend();
    EXPECT_EQ(listener.told.size(), 1U);
    EXPECT_FALSE(isLimiterHeld());
    advance(1min);
    EXPECT_EQ(passesOver, 0U);
}

TEST_F(SharedQueryTest, IsDeferredWithASeedUntilItIsAsked)
{
    const auto query = make(textQuery());
    query->seed(txtOf("Kitchen", "a"));
    EXPECT_EQ(query->state(), State::Deferred);
    query->subscribe(listener);
    EXPECT_EQ(listener.told, Told{"+a"});
    EXPECT_EQ(backend.queries(), 0U);
    query->begin(backend);
    EXPECT_EQ(query->state(), State::Active);
    EXPECT_FALSE(query->dropUnconfirmed(loop.now()));
    EXPECT_EQ(listener.told, (Told{"+a", "-a"})) << "nothing has confirmed it";
}

TEST_F(SharedQueryTest, TellsItsOwnerOfTheInstancesItHears)
{
    backend.come(instancePointer("a"));
    backend.come(instancePointer("b"), Transport::IPv6);
    auto query = make(browseQuery());
    query->activate(backend);
    settle();
    EXPECT_EQ(heard, "+a4+b6");
    backend.go(instancePointer("a"));
    settle();
    EXPECT_EQ(heard, "+a4+b6-a4");
    query.reset();
    EXPECT_EQ(heard, "+a4+b6-a4-b6");
}

TEST_F(SharedQueryTest, TellsItsOwnerOfNoOtherRecords)
{
    come("a");
    backend.come(pointer(DemoType, {"x", "y"})); // no instance has two labels
    const auto text = make(textQuery());
    const auto browse = make(browseQuery());
    text->activate(backend);
    browse->activate(backend);
    settle();
    EXPECT_EQ(heard, "");
}

TEST_F(SharedQueryTest, TellsItsOwnerOfWhatTheNetworkBringsAndNotOfTheCache)
{
    come("a");
    const auto query = make(textQuery());
    query->begin(backend);
    settle();
    EXPECT_EQ(afresh, "");
    come("b");
    go("b");
    EXPECT_EQ(afresh, "b");
}

TEST_F(SharedQueryTest, TakesBackWhatItsOwnerTakesForGoneAndReportsItAgain)
{
    come("a");
    const auto query = make(textQuery());
    query->subscribe(listener);
    query->begin(backend);
    settle();
    gone = "a";
    query->reconsider();
    EXPECT_EQ(listener.told, (Told{"+a", "-a"}));
    gone.clear();
    query->reconsider();
    EXPECT_EQ(listener.told, (Told{"+a", "-a", "+a"}));
}

TEST_F(SharedQueryTest, KnowsTheInterfacesOfItsAnswers)
{
    backend.come(txtOf("Kitchen", "a", Lan1));
    backend.come(txtOf("Kitchen", "a", Lan2));
    const auto query = make(textQuery(0));
    query->begin(backend);
    settle();
    EXPECT_EQ(query->interfacesOf(txtOf("KITCHEN", "a", 0)).size(), 2U);
    EXPECT_EQ(query->interfacesOf(txtOf("Kitchen", "a", Lan2)), std::vector<uint32_t>{Lan2});
    EXPECT_TRUE(query->interfacesOf(txtOf("Kitchen", "b", 0)).empty());
    EXPECT_TRUE(query->interfacesOf(txtOf("Hall", "a", 0)).empty());
}
