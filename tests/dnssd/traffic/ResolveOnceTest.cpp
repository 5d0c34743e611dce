// SPDX-License-Identifier: MIT
//
// A browsed instance is resolved once, and its records are watched only for a resolve that stays.
#include "Traffic.h"

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;
using namespace std::chrono_literals;

namespace {

class ResolveOnce : public Traffic
{
protected:
    /// And not a millisecond earlier.
    void expectWatchAfter(std::chrono::milliseconds delay)
    {
        advance(delay - 1ms);
        EXPECT_EQ(askedCount(kDNSServiceType_SRV), 0U);
        advance(1ms);
        EXPECT_EQ(askedCount(kDNSServiceType_SRV), 1U);
    }
};

} // namespace

TEST_F(ResolveOnce, IsEnoughForABrowsedInstance)
{
    comeKitchen("\3a=1");
    Browse browse("_demo._tcp");
    settle(browse);
    Resolve resolve("Kitchen", "_demo._tcp.", "local.", Lan1);
    settle(resolve);
    ASSERT_EQ(resolve.replies.size(), 1U);
    EXPECT_EQ(resolve.replies[0].fullname, Kitchen);
    EXPECT_EQ(resolve.replies[0].host, "hostb.local.");
    EXPECT_EQ(resolve.replies[0].port, 8080);
    EXPECT_EQ(resolve.replies[0].txt, "\3a=1");
    EXPECT_EQ(resolve.replies[0].interface, Lan1);
    EXPECT_EQ(resolves(), 1U);
    EXPECT_EQ(askedCount(kDNSServiceType_SRV), 0U);
    EXPECT_EQ(askedCount(kDNSServiceType_TXT), 0U);
}

TEST_F(ResolveOnce, FindsTheAddressOfAFewInstancesAndTheLookUpAnswersWithIt)
{
    QueryPacing pacing = backend().pacing();
    pacing.resolvesWithAddress = 10;
    backend().setPacing(pacing);
    const Record hostAddress = address(kDNSServiceType_A, "\x0A\1\1\2", Loopback);
    comeKitchen("\3a=1", Transport::IPv4, Loopback);
    backend().come(hostAddress);
    Browse browse("_demo._tcp", Loopback);
    settle(browse);
    Resolve resolve("Kitchen", "_demo._tcp.", "local.", Loopback);
    settle(resolve);
    ASSERT_EQ(resolve.replies.size(), 1U);
    backend().go(hostAddress);
    settle();
    Addresses addresses("hostb.local.", kDNSServiceProtocol_IPv4, Loopback);
    settle(addresses);
    ASSERT_EQ(addresses.replies.size(), 1U) << "what the responder no longer says is remembered";
    EXPECT_EQ(addresses.replies[0].address, "10.1.1.2");
    EXPECT_EQ(askedCount(kDNSServiceType_A), 1U) << "and watched at once";
}

TEST_F(ResolveOnce, FindsNoAddressForManyInstances)
{
    QueryPacing pacing = backend().pacing();
    pacing.resolvesWithAddress = 10;
    backend().setPacing(pacing);
    for (int i = 0; i < 20; ++i) {
        const std::string name = "Instance " + std::to_string(i);
        backend().come(instancePointer(name));
        backend().come(service(name, {"hostb", "local"}, 8080));
        backend().come(txtOf(name, "\3a=1"));
    }
    Browse browse("_demo._tcp");
    settle(browse);
    std::vector<std::unique_ptr<Resolve>> resolves;
    for (const Browse::Event& event : browse.events)
        resolves.push_back(
            std::make_unique<Resolve>(event.instance.name.c_str(), "_demo._tcp.", "local.", Lan1));
    settle();
    std::size_t answered = 0;
    for (const auto& resolve : resolves) {
        resolve->process();
        answered += resolve->replies.size();
    }
    EXPECT_EQ(answered, 10U) << "the first ten wait for an address that there is not";
    advance(300ms);
    for (const auto& resolve : resolves)
        resolve->process();
    for (const auto& resolve : resolves)
        EXPECT_EQ(resolve->replies.size(), 1U) << "and are answered without one in the end";
}

TEST_F(ResolveOnce, IsFollowedByAWatchOfTheRecords)
{
    comeKitchen("\3a=1");
    Browse browse("_demo._tcp");
    settle(browse);
    Resolve resolve("Kitchen", "_demo._tcp", "local", Lan1);
    expectWatchAfter(500ms);
    advance(249ms);
    EXPECT_EQ(askedCount(kDNSServiceType_TXT), 0U) << "the text has just been told";
    advance(1ms);
    EXPECT_EQ(askedCount(kDNSServiceType_TXT), 1U);
    settle(resolve);
    EXPECT_EQ(resolve.replies.size(), 1U) << "the same once more is no news";
    backend().come(txtOf("Kitchen", "\3a=2"));
    settle(resolve);
    ASSERT_EQ(resolve.replies.size(), 2U);
    EXPECT_EQ(resolve.replies[1].txt, "\3a=2");
}

TEST_F(ResolveOnce, IsFollowedByTheWatchWhenTheBackendSays)
{
    QueryPacing pacing = backend().pacing();
    pacing.watchDelay = 20ms;
    backend().setPacing(pacing);
    comeKitchen("\3a=1");
    Browse browse("_demo._tcp");
    settle(browse);
    Resolve resolve("Kitchen", "_demo._tcp", "local", Lan1);
    expectWatchAfter(20ms);
}

TEST_F(ResolveOnce, GivesWayToQueriesForAnInstanceThatIsNotBrowsed)
{
    Resolve resolve("Kitchen", "_demo._tcp", "local", Lan1);
    settle(resolve);
    EXPECT_EQ(resolves(), 0U);
    EXPECT_EQ(askedCount(kDNSServiceType_SRV), 1U);
    EXPECT_EQ(askedCount(kDNSServiceType_TXT), 1U);
}

TEST_F(ResolveOnce, GivesWayToQueriesForAnotherSpelling)
{
    comeKitchen("\3a=1");
    Browse browse("_demo._tcp");
    settle(browse);
    Resolve resolve("KITCHEN", "_DEMO._TCP", "local", Lan1);
    settle(resolve);
    EXPECT_EQ(resolves(), 0U);
    ASSERT_EQ(resolve.replies.size(), 1U);
    EXPECT_EQ(resolve.replies[0].fullname, Kitchen);
}

TEST_F(ResolveOnce, GivesWayToQueriesOnAnyInterface)
{
    comeKitchen("\3a=1");
    Browse browse("_demo._tcp");
    settle(browse);
    Resolve resolve("Kitchen", "_demo._tcp", "local", 0);
    settle(resolve);
    EXPECT_EQ(resolves(), 0U);
    EXPECT_EQ(resolve.replies.size(), 1U);
}

TEST_F(ResolveOnce, GivesWayToQueriesWhenItFindsNothing)
{
    backend().come(instancePointer("Kitchen"));
    Browse browse("_demo._tcp");
    settle(browse);
    Resolve resolve("Kitchen", "_demo._tcp", "local", Lan1);
    advance(299ms);
    EXPECT_EQ(resolves(), 1U);
    EXPECT_EQ(askedCount(kDNSServiceType_SRV), 0U);
    advance(1ms);
    EXPECT_EQ(askedCount(kDNSServiceType_SRV), 1U);
    comeKitchen("\3a=1");
    settle(resolve);
    EXPECT_EQ(resolve.replies.size(), 1U);
}

TEST_F(ResolveOnce, GivesWayToQueriesForAnInstanceThatHasGone)
{
    comeKitchen("\3a=1");
    Browse browse("_demo._tcp");
    settle(browse);
    backend().go(instancePointer("Kitchen"));
    settle(browse);
    Resolve resolve("Kitchen", "_demo._tcp", "local", Lan1);
    settle(resolve);
    EXPECT_EQ(resolves(), 0U);
}

TEST_F(ResolveOnce, GivesWayToQueriesAtOnceWhenItFails)
{
    backend().setFailingResolves(true);
    backend().come(instancePointer("Kitchen"));
    Browse browse("_demo._tcp");
    settle(browse);
    Resolve resolve("Kitchen", "_demo._tcp", "local", Lan1);
    settle(resolve);
    EXPECT_EQ(resolves(), 1U);
    EXPECT_EQ(askedCount(kDNSServiceType_SRV), 1U);
    EXPECT_EQ(askedCount(kDNSServiceType_TXT), 1U);
}

TEST_F(ResolveOnce, GivesWayToQueriesWhereTheBackendOffersNone)
{
    backend().setCanResolveOnce(false);
    comeKitchen("\3a=1");
    Browse browse("_demo._tcp");
    settle(browse);
    Resolve resolve("Kitchen", "_demo._tcp", "local", Lan1);
    settle(resolve);
    EXPECT_EQ(resolves(), 0U);
    EXPECT_EQ(askedCount(kDNSServiceType_SRV), 1U);
    EXPECT_EQ(resolve.replies.size(), 1U);
}
