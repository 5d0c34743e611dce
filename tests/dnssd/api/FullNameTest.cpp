// SPDX-License-Identifier: MIT
#include "PlayedNetwork.h"

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;

namespace {

using FullName = PlayedNetwork;

} // namespace

TEST_F(FullName, IsEscapedAndEndsInADot)
{
    char name[kDNSServiceMaxDomainName];
    EXPECT_EQ(DNSServiceConstructFullName(name, "Dr. Who\\x", "_demo._tcp", "local"), kDNSServiceErr_NoError);
    EXPECT_STREQ(name, "Dr\\.\\032Who\\\\x._demo._tcp.local.");
    EXPECT_EQ(DNSServiceConstructFullName(name, nullptr, "_demo._tcp.", "local."), kDNSServiceErr_NoError);
    EXPECT_STREQ(name, "_demo._tcp.local.");
    EXPECT_EQ(DNSServiceConstructFullName(name, "Caf\xC3\xA9", "_demo._udp", "example.com"),
              kDNSServiceErr_NoError);
    EXPECT_STREQ(name, "Caf\xC3\xA9._demo._udp.example.com.");
}

TEST_F(FullName, RefusesWhatIsNone)
{
    char name[kDNSServiceMaxDomainName];
    EXPECT_EQ(DNSServiceConstructFullName(nullptr, "a", "_demo._tcp", "local"), kDNSServiceErr_BadParam);
    EXPECT_EQ(DNSServiceConstructFullName(name, "a", nullptr, "local"), kDNSServiceErr_BadParam);
    EXPECT_EQ(DNSServiceConstructFullName(name, "a", "demo", "local"), kDNSServiceErr_BadParam);
    EXPECT_EQ(DNSServiceConstructFullName(name, "a", "_demo._tcp", ""), kDNSServiceErr_BadParam);
    EXPECT_EQ(DNSServiceConstructFullName(name, "a", "_demo._tcp", nullptr), kDNSServiceErr_BadParam);
    EXPECT_EQ(DNSServiceConstructFullName(name, std::string(64, 'a').c_str(), "_demo._tcp", "local"),
              kDNSServiceErr_BadParam);
}

TEST_F(FullName, FitsTheBufferAtItsLongest)
{
    char name[kDNSServiceMaxDomainName];
    const auto label = [](int size) {
        std::string text;
        while (size-- > 0)
            text += "\\001";
        return text + '.';
    };
    const std::string instance(63, '\1');
    // "_d._tcp", the lengths of all labels and the root leave 179 of 255 bytes to the domain.
    const std::string longest = label(59) + label(59) + label(61);
    EXPECT_EQ(DNSServiceConstructFullName(name, instance.c_str(), "_d._tcp", ("\\001" + longest).c_str()),
              kDNSServiceErr_BadParam);
    ASSERT_EQ(DNSServiceConstructFullName(name, instance.c_str(), "_d._tcp", longest.c_str()),
              kDNSServiceErr_NoError);
    EXPECT_GT(std::string(name).size(), 900U);
    EXPECT_LT(std::string(name).size(), sizeof name);
}
