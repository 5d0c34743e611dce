// SPDX-License-Identifier: MIT
//
// Before the network is asked for a type, what is known of it is read.
#include "Traffic.h"

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;
using namespace std::chrono_literals;

namespace {

using CachePassTest = Traffic;

} // namespace

TEST_F(CachePassTest, IsFollowedAtOnceByAQueryOverBothTransports)
{
    comeKitchen("\3a=1");
    backend().come(instancePointer("Cellar"), Transport::IPv6);
    Browse browse("_demo._tcp");
    settle(browse);
    EXPECT_EQ(askedCount(kDNSServiceType_PTR), 1U);
    EXPECT_EQ(backend().queries(), 1U) << "the cache pass is over";
    EXPECT_EQ(browse.count("Kitchen", true), 1U);
    EXPECT_EQ(browse.count("Cellar", true), 1U);
}

TEST_F(CachePassTest, HoldsResolvesBackUntilItsLimit)
{
    comeKitchen("\3a=1");
    Browse browse("_demo._tcp");
    settle(browse);
    backend().setNeverExhausted(true);
    Browse other("_other._tcp");
    Resolve resolve("Kitchen", "_demo._tcp", "local", Lan1);
    settle(resolve);
    advance(99ms);
    EXPECT_EQ(resolves(), 0U);

    advance(1ms);
    EXPECT_EQ(resolves(), 1U);
    settle(resolve);
    EXPECT_EQ(resolve.replies.size(), 1U);
}

TEST_F(CachePassTest, EndsAtItsLimit)
{
    comeKitchen("\3a=1");
    backend().setNeverExhausted(true);
    Browse browse("_demo._tcp");
    advance(99ms);
    settle(browse);
    EXPECT_TRUE(browse.events.empty());
    EXPECT_EQ(askedCount(kDNSServiceType_PTR), 0U);

    advance(1ms);
    settle(browse);
    EXPECT_TRUE(browse.has("Kitchen"));
    EXPECT_EQ(askedCount(kDNSServiceType_PTR), 1U);
}

TEST_F(CachePassTest, IsOverWhenTheDaemonGoes)
{
    comeKitchen("\3a=1");
    backend().setNeverExhausted(true);
    Browse browse("_demo._tcp");
    settle(browse);
    backend().change(Backend::State::Absent);
    settle(browse);
    EXPECT_EQ(browse.count("Kitchen", true), 1U);

    backend().setNeverExhausted(false);
    backend().change(Backend::State::Running);
    settle(browse);
    EXPECT_EQ(browse.events.size(), 1U) << "nothing is reported twice";
    EXPECT_EQ(askedCount(kDNSServiceType_PTR), 1U);
    EXPECT_EQ(backend().queries(), 1U);
}

TEST_F(CachePassTest, EndsWithoutErrorBeforeItIsKnownThatTheDaemonHasGone)
{
    comeKitchen("\3a=1");
    backend().setNeverExhausted(true);
    Browse browse("_demo._tcp");
    settle(browse);
    backend().failStarts(BackendError::Unavailable);
    advance(100ms);
    settle(browse);
    ASSERT_TRUE(browse.has("Kitchen"));
    EXPECT_EQ(askedCount(kDNSServiceType_PTR), 0U);

    backend().change(Backend::State::Absent);
    settle(browse);
    backend().failStarts(BackendError::None);
    backend().change(Backend::State::Running);
    settle(browse);
    EXPECT_EQ(askedCount(kDNSServiceType_PTR), 1U);
    ASSERT_EQ(browse.events.size(), 1U) << "and no error";
    EXPECT_EQ(browse.events[0].error, kDNSServiceErr_NoError);
}

TEST_F(CachePassTest, BeginsAnewWhenTheDaemonIsBackAndNothingWasSeen)
{
    backend().setNeverExhausted(true);
    Browse browse("_demo._tcp");
    settle(browse);
    backend().change(Backend::State::Absent);
    backend().change(Backend::State::Running);
    comeKitchen("\3a=1");
    settle(browse);
    EXPECT_TRUE(browse.events.empty());
    EXPECT_EQ(askedCount(kDNSServiceType_PTR), 0U);

    advance(100ms);
    settle(browse);
    EXPECT_EQ(askedCount(kDNSServiceType_PTR), 1U);
    EXPECT_EQ(browse.events.size(), 1U);
}

TEST_F(CachePassTest, IsLeftOutWhereTheBackendOffersNone)
{
    backend().setPacing({});
    comeKitchen("\3a=1");
    Browse browse("_demo._tcp");
    settle(browse);
    EXPECT_EQ(backend().asked().size(), 1U);
    EXPECT_EQ(askedCount(kDNSServiceType_PTR), 1U);
    EXPECT_TRUE(browse.has("Kitchen"));
}
