// SPDX-License-Identifier: MIT
//
// One transport is enough for the records of an instance.
#include "Traffic.h"

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;
using namespace std::chrono_literals;

namespace {

using TransportChoice = Traffic;

} // namespace

TEST_F(TransportChoice, TakesOneThatTheInstanceIsSeenOver)
{
    comeKitchen("\3a=1", Transport::IPv6);
    Browse browse("_demo._tcp");
    settle(browse);
    Resolve resolve("KITCHEN", "_demo._tcp", "local", Lan1);
    settle(resolve);
    ASSERT_EQ(askedCount(kDNSServiceType_SRV), 1U);
    EXPECT_EQ(asked(kDNSServiceType_SRV)[0].transport, Transport::IPv6);
    EXPECT_EQ(resolve.replies.size(), 1U);
}

TEST_F(TransportChoice, ChangesWhenTheInstanceIsLeftOnTheOtherOnly)
{
    comeKitchen("\3a=1", Transport::IPv4);
    comeKitchen("\3a=1", Transport::IPv6);
    Browse browse("_demo._tcp");
    settle(browse);
    Resolve resolve("KITCHEN", "_demo._tcp", "local", Lan1);
    settle(resolve);
    ASSERT_EQ(askedCount(kDNSServiceType_TXT), 1U);
    EXPECT_EQ(asked(kDNSServiceType_TXT)[0].transport, Transport::IPv4);

    backend().go(instancePointer("Kitchen"), Transport::IPv4);
    settle();
    ASSERT_EQ(askedCount(kDNSServiceType_TXT), 2U);
    EXPECT_EQ(asked(kDNSServiceType_TXT)[1].transport, Transport::IPv6);
    backend().come(txtOf("Kitchen", "\3a=2"), Transport::IPv6);
    settle(resolve);
    ASSERT_EQ(resolve.replies.size(), 2U);
    EXPECT_EQ(resolve.replies[1].txt, "\3a=2");
}

TEST_F(TransportChoice, TakesBothForAnInstanceThatIsNotSeen)
{
    Resolve resolve("Kitchen", "_demo._tcp", "local", Lan1);
    settle(resolve);
    ASSERT_EQ(askedCount(kDNSServiceType_SRV), 1U);
    EXPECT_FALSE(asked(kDNSServiceType_SRV)[0].transport);
}
