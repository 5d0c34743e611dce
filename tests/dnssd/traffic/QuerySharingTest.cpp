// SPDX-License-Identifier: MIT
//
// The same query is asked once, however many operations subscribe to it.
#include "Traffic.h"

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;
using namespace std::chrono_literals;

namespace {

using QuerySharing = Traffic;

} // namespace

TEST_F(QuerySharing, AsksTheSameQueryOnce)
{
    backend().come(address(kDNSServiceType_A, std::string("\12\0\0\1", 4)));
    Addresses first("hostb.local.", kDNSServiceProtocol_IPv4, Lan1);
    settle(first);
    Addresses second("HOSTB.local", kDNSServiceProtocol_IPv4, Lan1);
    settle(second);
    EXPECT_EQ(askedCount(kDNSServiceType_A), 1U);
    ASSERT_EQ(second.replies.size(), 1U);
    EXPECT_EQ(second.replies[0].flags,
              DNSServiceFlags(kDNSServiceFlagsAdd | kDNSServiceFlagAnsweredFromCache));
}

TEST_F(QuerySharing, AsksEachInterfaceForItself)
{
    Browse first("_demo._tcp", Lan1);
    Browse second("_demo._tcp", Lan2);
    settle(second);
    EXPECT_EQ(askedCount(kDNSServiceType_PTR), 2U);
}

TEST_F(QuerySharing, KeepsAQueryForTheNextSubscriber)
{
    backend().come(instancePointer("Kitchen"));
    {
        Browse first("_demo._tcp");
        settle(first);
        EXPECT_TRUE(first.has("Kitchen"));
    }
    advance(999ms);
    Browse next("_demo._tcp");
    settle(next);
    EXPECT_TRUE(next.has("Kitchen"));
    EXPECT_EQ(askedCount(kDNSServiceType_PTR), 1U);
}

TEST_F(QuerySharing, EndsQueriesOneSecondAfterTheLastRelease)
{
    {
        Browse browse("_demo._tcp");
        RecordQuery record(Kitchen.c_str(), kDNSServiceType_TXT);
        settle(record);
        EXPECT_EQ(backend().queries(), 2U);
    }
    advance(999ms);
    EXPECT_EQ(backend().queries(), 2U);
    advance(1ms);
    EXPECT_EQ(backend().queries(), 0U);
}
