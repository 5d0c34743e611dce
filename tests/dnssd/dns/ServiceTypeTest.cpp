// SPDX-License-Identifier: MIT
#include "ServiceType.h"

#include <gtest/gtest.h>

using namespace vesk::dnssd;

TEST(ServiceType, HasTypeAndSubtypes)
{
    const auto type = ServiceType::parse("_demo._tcp.,_printer,_colour");
    ASSERT_TRUE(type);
    EXPECT_EQ(type->type, (Labels{"_demo", "_tcp"}));
    EXPECT_EQ(type->subtypes, (std::vector<std::string>{"_printer", "_colour"}));
    EXPECT_TRUE(ServiceType::parse("_demo._udp")->subtypes.empty());
}

TEST(ServiceType, TakesTheTransportInAnyCase)
{
    for (const char* text : {"_demo._tcp", "_demo._TCP", "_demo._Udp", "_demo._tcp."})
        EXPECT_TRUE(ServiceType::parse(text)) << text;
}

TEST(ServiceType, RefusesOtherForms)
{
    for (const char* text : {"", ".", "demo._tcp", "_demo", "_demo.", "_demo._sctp", "_demo._tcp.local",
                             "_demo.._tcp", "_demo._tcp,", "_demo._tcp,a.b", "_demo._tcp,_a,", "_d\xFF._tcp"})
        EXPECT_FALSE(ServiceType::parse(text)) << text;
}

TEST(ServiceType, TakesTheListOfTypesButDoesNotPublishIt)
{
    const auto types = ServiceType::parse("_Services._DNS-SD._udp");
    ASSERT_TRUE(types);
    EXPECT_FALSE(types->isPublishable());
}

TEST(ServiceType, PublishesLettersDigitsHyphensAndUnderscoresAlone)
{
    for (const char* text : {"_demo._tcp", "_d._udp", "_a-b_c9._tcp", "_123._tcp"})
        EXPECT_TRUE(ServiceType::parse(text)->isPublishable()) << text;
    for (const char* text : {"_-demo._tcp", "_de mo._tcp", "_d\xC3\xA9mo._tcp", "_d\\.m._tcp", "_._tcp"})
        EXPECT_FALSE(ServiceType::parse(text)->isPublishable()) << text;
}

TEST(ServiceType, IsBrowsedByTypeOrByItsFirstSubtype)
{
    const Labels domain{"local"};
    EXPECT_EQ(ServiceType::parse("_demo._tcp")->browseName(domain), (Labels{"_demo", "_tcp", "local"}));
    EXPECT_EQ(ServiceType::parse("_demo._tcp,_a,_b")->browseName(domain),
              (Labels{"_a", "_sub", "_demo", "_tcp", "local"}));
}
