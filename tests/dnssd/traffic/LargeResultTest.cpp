// SPDX-License-Identifier: MIT
//
// More instances are known than the responder asks the network about in a moment.
#include "Traffic.h"

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;
using namespace std::chrono_literals;

namespace {

class LargeResult : public Traffic
{
protected:
    static constexpr unsigned Size = 100;

    LargeResult()
    {
        for (unsigned i = 0; i < Size; ++i)
            backend().come(member(i));
    }

    static Record member(unsigned number) { return instancePointer("n" + std::to_string(number)); }
};

} // namespace

TEST_F(LargeResult, IsReportedBeforeTheNetworkIsAsked)
{
    Browse browse("_demo._tcp");
    settle(browse);
    EXPECT_EQ(browse.events.size(), Size);
    EXPECT_EQ(backend().queries(), 0U);

    advance(249ms);
    EXPECT_EQ(askedCount(kDNSServiceType_PTR), 0U);
    advance(1ms);
    EXPECT_EQ(askedCount(kDNSServiceType_PTR), 1U);
    settle(browse);
    EXPECT_EQ(browse.events.size(), Size) << "nothing is reported twice";
}

TEST_F(LargeResult, IsOneOfAHundredInstancesAtLeast)
{
    backend().go(member(0));
    Browse browse("_demo._tcp");
    settle(browse);
    EXPECT_EQ(browse.events.size(), Size - 1);
    EXPECT_EQ(askedCount(kDNSServiceType_PTR), 1U);
}

TEST_F(LargeResult, IsReportedWhenTheDaemonTakesTooLong)
{
    backend().setNeverExhausted(true);
    Browse browse("_demo._tcp");
    advance(99ms);
    settle(browse);
    EXPECT_TRUE(browse.events.empty());
    advance(1ms);
    settle(browse);
    EXPECT_EQ(browse.events.size(), Size);

    advance(249ms);
    EXPECT_EQ(askedCount(kDNSServiceType_PTR), 0U);
    advance(1ms);
    EXPECT_EQ(askedCount(kDNSServiceType_PTR), 1U);
    settle(browse);
    EXPECT_EQ(browse.events.size(), Size);
}

TEST_F(LargeResult, IsCompletedWhenTheNetworkIsAsked)
{
    Browse browse("_demo._tcp");
    settle(browse);
    backend().come(member(Size), Transport::IPv6);
    advance(249ms);
    settle(browse);
    EXPECT_EQ(browse.events.size(), Size);

    advance(1ms);
    settle(browse);
    EXPECT_EQ(browse.events.size(), Size + 1);
}

TEST_F(LargeResult, LosesWhatWentBeforeTheNetworkWasAsked)
{
    Browse browse("_demo._tcp");
    settle(browse);
    backend().go(member(0)); // no query is there to hear it
    advance(250ms + 4999ms);
    settle(browse);
    EXPECT_EQ(browse.count("n0", false), 0U);

    advance(1ms);
    settle(browse);
    EXPECT_EQ(browse.count("n0", false), 1U);
    EXPECT_EQ(browse.events.size(), Size + 1) << "and no other";
}

TEST_F(LargeResult, LosesAnInstanceWithItsOtherTransport)
{
    Browse browse("_demo._tcp");
    settle(browse);
    backend().go(member(0)); // no query is there to hear it
    backend().come(member(0), Transport::IPv6);
    advance(250ms);
    settle(browse);
    EXPECT_EQ(browse.events.size(), Size);

    backend().go(member(0), Transport::IPv6);
    advance(4999ms);
    settle(browse);
    EXPECT_EQ(browse.count("n0", false), 0U) << "the first transport may be confirmed yet";
    advance(1ms);
    settle(browse);
    EXPECT_EQ(browse.count("n0", false), 1U);
}

TEST_F(LargeResult, LosesAnInstanceAtOnceAfterTheNetworkWasAsked)
{
    Browse browse("_demo._tcp");
    advance(250ms);
    ASSERT_EQ(askedCount(kDNSServiceType_PTR), 1U);
    backend().go(member(0));
    settle(browse);
    EXPECT_EQ(browse.count("n0", false), 1U);
}
