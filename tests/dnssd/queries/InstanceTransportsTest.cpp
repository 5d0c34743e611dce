// SPDX-License-Identifier: MIT
#include "InstanceTransports.h"

#include "Records.h"

#include <gtest/gtest.h>

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;

namespace {

const Labels Kitchen = Labels{"Kitchen"} + DemoType;
const Labels Shouted{"KITCHEN", "_DEMO", "_TCP", "LOCAL"};

} // namespace

TEST(InstanceTransports, KnowNothingOfAnUnseenInstance)
{
    const InstanceTransports transports;
    EXPECT_FALSE(transports.find(Kitchen, Lan1));
    EXPECT_FALSE(transports.isSeenOver(Kitchen, Lan1, Transport::IPv4));
    EXPECT_FALSE(transports.isSpelt(Kitchen, Lan1));
}

TEST(InstanceTransports, PreferIPv4)
{
    InstanceTransports transports;
    transports.add(Kitchen, Lan1, Transport::IPv6);
    EXPECT_EQ(transports.find(Kitchen, Lan1), Transport::IPv6);
    transports.add(Kitchen, Lan1, Transport::IPv4);
    EXPECT_EQ(transports.find(Kitchen, Lan1), Transport::IPv4);
    transports.remove(Kitchen, Lan1, Transport::IPv4);
    EXPECT_EQ(transports.find(Kitchen, Lan1), Transport::IPv6);
    transports.remove(Kitchen, Lan1, Transport::IPv6);
    EXPECT_FALSE(transports.find(Kitchen, Lan1));
}

TEST(InstanceTransports, CountTheBrowsesOfEachTransport)
{
    InstanceTransports transports;
    transports.add(Kitchen, Lan1, Transport::IPv4);
    transports.add(Kitchen, Lan1, Transport::IPv4);
    transports.remove(Kitchen, Lan1, Transport::IPv4);
    EXPECT_TRUE(transports.isSeenOver(Kitchen, Lan1, Transport::IPv4));
    EXPECT_FALSE(transports.isSeenOver(Kitchen, Lan1, Transport::IPv6));
    transports.remove(Kitchen, Lan1, Transport::IPv4);
    EXPECT_FALSE(transports.isSeenOver(Kitchen, Lan1, Transport::IPv4));
}

TEST(InstanceTransports, BearRemovalsOfWhatWasNotAdded)
{
    InstanceTransports transports;
    transports.remove(Kitchen, Lan1, Transport::IPv4);
    transports.add(Kitchen, Lan1, Transport::IPv6);
    transports.remove(Kitchen, Lan1, Transport::IPv4);
    EXPECT_EQ(transports.find(Kitchen, Lan1), Transport::IPv6);
}

TEST(InstanceTransports, KeepInterfacesApart)
{
    InstanceTransports transports;
    transports.add(Kitchen, Lan1, Transport::IPv4);
    EXPECT_FALSE(transports.find(Kitchen, Lan2));
}

TEST(InstanceTransports, FindAnInstanceInAnyCaseAndKnowItsSpelling)
{
    InstanceTransports transports;
    transports.add(Kitchen, Lan1, Transport::IPv4);
    transports.add(Shouted, Lan1, Transport::IPv6);
    EXPECT_EQ(transports.find(Shouted, Lan1), Transport::IPv4);
    EXPECT_TRUE(transports.isSpelt(Kitchen, Lan1));
    EXPECT_FALSE(transports.isSpelt(Shouted, Lan1));
    EXPECT_FALSE(transports.isSpelt(Kitchen, Lan2));
}
