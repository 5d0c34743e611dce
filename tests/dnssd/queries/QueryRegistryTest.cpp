// SPDX-License-Identifier: MIT
#include "QueryRegistry.h"

#include "QueryFixture.h"

#include <optional>

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;
using namespace std::chrono_literals;

namespace {

using Told = std::vector<std::string>;

class QueryRegistryTest : public QueryFixture
{
protected:
    QueryRegistryTest() { changeTo(Backend::State::Running); }

    /// As the engine does.
    void changeTo(Backend::State state)
    {
        change(state);
        registry->onBackendState(state);
        settle();
    }
    void come(const std::string& data)
    {
        backend.come(txtOf("Kitchen", data));
        settle();
    }

    std::optional<QueryRegistry> registry{std::in_place, loop, backend};
    NotingListener listener;
};

} // namespace

TEST_F(QueryRegistryTest, AsksASharedQueryOnceInWhateverCase)
{
    NotingListener other;
    const auto first = registry->subscribe(textQuery(), listener);
    Query shouted = textQuery();
    shouted.name.front() = "KITCHEN";
    const auto second = registry->subscribe(shouted, other);
    come("a");
    EXPECT_EQ(backend.asked().size(), 1U);
    EXPECT_EQ(listener.told, Told{"+a"});
    EXPECT_EQ(other.told, Told{"+a"});
}

TEST_F(QueryRegistryTest, AsksAnotherInterfaceTypeOrClassForItself)
{
    const auto text = registry->subscribe(textQuery(), listener);
    const auto elsewhere = registry->subscribe(textQuery(Lan2), listener);
    Query other = textQuery();
    other.type = kDNSServiceType_SRV;
    const auto service = registry->subscribe(other, listener);
    other.recordClass = 3;
    const auto chaos = registry->subscribe(other, listener);
    EXPECT_EQ(backend.asked().size(), 4U);
}

TEST_F(QueryRegistryTest, KeepsAQueryForASecondAfterItsLastSubscriber)
{
    auto subscription = registry->subscribe(textQuery(), listener);
    come("a");
    subscription.reset();
    advance(999ms);
    EXPECT_EQ(backend.queries(), 1U);
    NotingListener next;
    subscription = registry->subscribe(textQuery(), next);
    EXPECT_EQ(next.told, Told{"+a"});
    EXPECT_EQ(backend.asked().size(), 1U);
    advance(1min);
    EXPECT_EQ(backend.queries(), 1U) << "it is in use again";

    subscription.reset();
    advance(999ms);
    EXPECT_EQ(backend.queries(), 1U);
    advance(1ms);
    EXPECT_EQ(backend.queries(), 0U);
}

TEST_F(QueryRegistryTest, AsksWhenTheBackendComes)
{
    changeTo(Backend::State::Absent);
    const auto subscription = registry->subscribe(textQuery(), listener);
    settle();
    EXPECT_TRUE(backend.asked().empty());
    changeTo(Backend::State::Answering);
    EXPECT_EQ(backend.asked().size(), 1U);
    changeTo(Backend::State::Running);
    EXPECT_EQ(backend.asked().size(), 1U) << "it is asked already";
}

TEST_F(QueryRegistryTest, AsksAgainWhenTheBackendIsBackAndDropsWhatIsNotHeardAgain)
{
    come("a");
    come("b");
    const auto subscription = registry->subscribe(textQuery(), listener);
    settle();
    listener.told.clear();
    advance(1min);
    changeTo(Backend::State::Absent);
    backend.go(txtOf("Kitchen", "a"));
    changeTo(Backend::State::Running);
    EXPECT_EQ(backend.asked().size(), 2U);
    advance(4999ms);
    EXPECT_EQ(listener.told, Told());
    advance(1ms);
    EXPECT_EQ(listener.told, Told{"-a"});
}

TEST_F(QueryRegistryTest, CountsTheConfirmationFromWhenTheBackendPublishes)
{
    come("a");
    const auto subscription = registry->subscribe(textQuery(), listener);
    settle();
    listener.told.clear();
    advance(1min);
    changeTo(Backend::State::Absent);
    backend.go(txtOf("Kitchen", "a"));
    changeTo(Backend::State::Answering);
    advance(3s);
    changeTo(Backend::State::Running);
    advance(4999ms);
    EXPECT_EQ(listener.told, Told());
    advance(1ms);
    EXPECT_EQ(listener.told, Told{"-a"});
}

TEST_F(QueryRegistryTest, WaitsForConfirmationAsLongAsTheBackendSays)
{
    QueryPacing pacing = backend.pacing();
    pacing.confirmationTime = 200ms;
    pacing.cachePassLimit = 0ms;
    backend.setPacing(pacing);
    come("a");
    backend.come(instancePointer("Kitchen"));
    NotingListener late;
    const auto text = registry->subscribe(textQuery(), listener);
    auto browse = registry->subscribe(browseQuery(), late);
    settle();
    browse.reset();
    listener.told.clear();
    changeTo(Backend::State::Absent);
    backend.go(txtOf("Kitchen", "a"));
    backend.go(instancePointer("Kitchen"));
    changeTo(Backend::State::Running);
    advance(100ms);
    browse = registry->subscribe(browseQuery(), late);
    late.told.clear();
    advance(99ms);
    EXPECT_EQ(listener.told, Told());
    advance(1ms);
    EXPECT_EQ(listener.told, Told{"-a"});
    EXPECT_EQ(late.told, Told()) << "asked later";
    advance(200ms);
    EXPECT_EQ(late.told.size(), 1U);
}

TEST_F(QueryRegistryTest, TreatsLoopbackAsTheBackendSays)
{
    backend.setLoopbackALink(true);
    const auto subscription = registry->subscribe(textQuery(0), listener);
    backend.come(txtOf("Kitchen", "a", Lan1));
    backend.come(txtOf("Kitchen", "b", Loopback));
    settle();
    EXPECT_EQ(listener.told, (Told{"+a", "+b"}));
}

TEST_F(QueryRegistryTest, DoesNotAskIdleQueriesAgain)
{
    registry->subscribe(textQuery(), listener).reset();
    changeTo(Backend::State::Absent);
    changeTo(Backend::State::Running);
    EXPECT_EQ(backend.queries(), 0U);
}

TEST_F(QueryRegistryTest, TellsARefusalToEachSubscriberOnceAndAsksAnewForTheNext)
{
    backend.failStarts(BackendError::Refused);
    const auto first = registry->subscribe(textQuery(), listener);
    EXPECT_EQ(listener.errors.size(), 1U);
    backend.failStarts(BackendError::None);
    NotingListener next;
    const auto second = registry->subscribe(textQuery(), next);
    come("a");
    EXPECT_EQ(next.told, Told{"+a"});
    EXPECT_TRUE(next.errors.empty());
    EXPECT_EQ(listener.told, Told());
    EXPECT_EQ(listener.errors.size(), 1U);
}

TEST_F(QueryRegistryTest, LetsASubscriptionOutliveItsRefusedQuery)
{
    backend.failStarts(BackendError::Refused);
    auto refused = registry->subscribe(textQuery(), listener);
    advance(1s); // the query has gone
    backend.failStarts(BackendError::None);
    NotingListener next;
    const auto another = registry->subscribe(textQuery(), next);
    refused.reset();
    come("a");
    EXPECT_EQ(next.told, Told{"+a"});
    EXPECT_EQ(listener.told, Told());
}

TEST_F(QueryRegistryTest, EndsACachePassARoundAfterTheBackendSaidSo)
{
    backend.come(instancePointer("Kitchen"));
    const auto subscription = registry->subscribe(browseQuery(), listener);
    settle();
    EXPECT_EQ(listener.told.size(), 1U);
    EXPECT_EQ(backend.asked().size(), 2U);
}

TEST_F(QueryRegistryTest, ResolvesOnceOnlyABrowsedInstanceInItsSpelling)
{
    struct Resolved final : ResolveListener
    {
        void onResolved(const ResolvedService&) override {}
        void onResolveFailed() override {}
    } resolved;
    const Labels kitchen = Labels{"Kitchen"} + DemoType;
    EXPECT_FALSE(registry->canResolveOnce(kitchen, Lan1));
    EXPECT_FALSE(registry->resolveOnce(kitchen, Lan1, resolved));
    backend.come(instancePointer("Kitchen"));
    const auto subscription = registry->subscribe(browseQuery(), listener);
    settle();
    EXPECT_TRUE(registry->canResolveOnce(kitchen, Lan1));
    EXPECT_FALSE(registry->canResolveOnce(kitchen, Lan2));
    EXPECT_FALSE(registry->canResolveOnce(Labels{"KITCHEN"} + DemoType, Lan1));
    EXPECT_TRUE(registry->resolveOnce(kitchen, Lan1, resolved));
    EXPECT_EQ(backend.resolved(), std::vector<Labels>{kitchen});
    changeTo(Backend::State::Absent);
    EXPECT_FALSE(registry->canResolveOnce(kitchen, Lan1));
}

TEST_F(QueryRegistryTest, AnswersWithASeedAndAsksAfterThePause)
{
    registry->seed(txtOf("Kitchen", "a"));
    const auto subscription = registry->subscribe(textQuery(), listener);
    EXPECT_EQ(listener.told, Told{"+a"});
    advance(249ms);
    EXPECT_TRUE(backend.asked().empty());
    advance(1ms);
    EXPECT_EQ(backend.asked().size(), 1U);
}

TEST_F(QueryRegistryTest, AnswersWithASeededAddressAndAsksWithoutDelay)
{
    registry->seed(address(kDNSServiceType_A, "1234"));
    const auto subscription = registry->subscribe(addressQuery(), listener);
    EXPECT_EQ(listener.told, Told{"+1234"});
    EXPECT_EQ(backend.asked().size(), 1U) << "there may be others";
}

TEST_F(QueryRegistryTest, SeededAddressReplacesNoneThatIsKnown)
{
    backend.come(address(kDNSServiceType_A, "1234"));
    backend.come(address(kDNSServiceType_A, "5678"));
    const auto subscription = registry->subscribe(addressQuery(), listener);
    settle();
    changeTo(Backend::State::Absent);
    registry->seed(address(kDNSServiceType_A, "1234"));
    EXPECT_EQ(listener.told, (Told{"+1234", "+5678"}));
}

TEST_F(QueryRegistryTest, DoesNotAskSeedsThatHaveNoSubscriber)
{
    registry->seed(txtOf("Kitchen", "a"));
    advance(1min);
    EXPECT_TRUE(backend.asked().empty());
    const auto subscription = registry->subscribe(textQuery(), listener);
    EXPECT_EQ(backend.asked().size(), 1U) << "a seed is forgotten after a second";
    EXPECT_EQ(listener.told, Told());
}

TEST_F(QueryRegistryTest, LeavesAQueryThatIsAskedWithoutASeed)
{
    const auto subscription = registry->subscribe(textQuery(), listener);
    registry->seed(txtOf("Kitchen", "a"));
    settle();
    EXPECT_EQ(listener.told, Told());
}

TEST_F(QueryRegistryTest, ForgetsDeferredQueriesWhenTheBackendGoes)
{
    registry->seed(txtOf("Kitchen", "a"));
    const auto subscription = registry->subscribe(textQuery(), listener);
    changeTo(Backend::State::Absent);
    advance(1min);
    EXPECT_TRUE(backend.asked().empty());
    changeTo(Backend::State::Running);
    EXPECT_EQ(backend.asked().size(), 1U);
}

TEST_F(QueryRegistryTest, ChangesTheTransportARoundAfterTheInstanceLeftIt)
{
    for (const Transport transport : {Transport::IPv4, Transport::IPv6})
        backend.come(instancePointer("Kitchen"), transport);
    const auto browse = registry->subscribe(browseQuery(), listener);
    settle();
    const auto text = registry->subscribe(textQuery(), listener);
    backend.forgetAsked();
    backend.go(instancePointer("Kitchen"), Transport::IPv4);
    settle();
    ASSERT_EQ(backend.asked().size(), 1U);
    EXPECT_EQ(backend.asked()[0].type, kDNSServiceType_TXT);
    EXPECT_EQ(backend.asked()[0].transport, Transport::IPv6);
    backend.go(instancePointer("Kitchen"), Transport::IPv6);
    settle();
    EXPECT_EQ(backend.asked().size(), 1U) << "it is seen over neither";
}

TEST_F(QueryRegistryTest, MayEndWithQueriesThatNameInstances)
{
    for (const char* name : {"a", "b", "c", "d", "e", "f"})
        backend.come(instancePointer(name));
    registry->subscribe(browseQuery(), listener).reset();
    registry->subscribe(textQuery(), listener).reset();
    settle();
    EXPECT_GT(backend.queries(), 0U);
    registry.reset();
    EXPECT_EQ(backend.queries(), 0U);
}
