// SPDX-License-Identifier: MIT
#include "PlayedNetwork.h"
#include "StartErrors.h"

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;

namespace {

using NatPortMappingCall = PlayedNetwork;

} // namespace

TEST_F(NatPortMappingCall, SaysThatItIsNotOffered)
{
    DNSServiceRef ref = UnreadRef;
    EXPECT_EQ(
        DNSServiceNATPortMappingCreate(&ref, 0, 0, kDNSServiceProtocol_TCP, 80, 80, 0, nullptr, nullptr),
        kDNSServiceErr_NATPortMappingUnsupported);
    EXPECT_EQ(ref, nullptr);
}

TEST_F(NatPortMappingCall, RefusesANullReference)
{
    EXPECT_EQ(DNSServiceNATPortMappingCreate(nullptr, 0, 0, 0, 0, 0, 0, nullptr, nullptr),
              kDNSServiceErr_BadParam);
}
