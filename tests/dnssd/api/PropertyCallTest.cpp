// SPDX-License-Identifier: MIT
#include "PlayedNetwork.h"

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;

namespace {

using PropertyCall = PlayedNetwork;

} // namespace

TEST_F(PropertyCall, GivesTheApiLevelAsDaemonVersion)
{
    uint32_t version = 0;
    uint32_t size = sizeof version;
    EXPECT_EQ(DNSServiceGetProperty(kDNSServiceProperty_DaemonVersion, &version, &size),
              kDNSServiceErr_NoError);
    EXPECT_EQ(version, uint32_t(_DNS_SD_H));
    EXPECT_EQ(size, sizeof version);
    size = 2;
    EXPECT_EQ(DNSServiceGetProperty(kDNSServiceProperty_DaemonVersion, &version, &size),
              kDNSServiceErr_BadParam);
    EXPECT_EQ(DNSServiceGetProperty("Nonsense", &version, &size), kDNSServiceErr_Unsupported);
    EXPECT_EQ(DNSServiceGetProperty(nullptr, &version, &size), kDNSServiceErr_BadParam);
    EXPECT_EQ(DNSServiceGetProperty(kDNSServiceProperty_DaemonVersion, nullptr, &size),
              kDNSServiceErr_BadParam);
}

TEST_F(PropertyCall, FailsWithoutAWayToADaemon)
{
    backend().setReachable(false);
    uint32_t version = 0;
    uint32_t size = sizeof version;
    EXPECT_EQ(DNSServiceGetProperty(kDNSServiceProperty_DaemonVersion, &version, &size),
              kDNSServiceErr_ServiceNotRunning);
    EXPECT_EQ(version, 0U);
    backend().setReachable(true);
    EXPECT_EQ(DNSServiceGetProperty(kDNSServiceProperty_DaemonVersion, &version, &size),
              kDNSServiceErr_NoError);
}
