// SPDX-License-Identifier: MIT
//
// The TXT record that a resolve has brought answers a query for it.
#include "Traffic.h"

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;
using namespace std::chrono_literals;

namespace {

class SeededText : public Traffic
{
protected:
    SeededText()
    {
        comeKitchen("\3a=1", Transport::IPv4, Loopback);
        settle(m_browse);
        advance(1min); // whatever the browse put off is over
        Resolve resolve("Kitchen", "_demo._tcp", "local", Loopback);
        settle(resolve);
    }

private:
    Browse m_browse{"_demo._tcp", Loopback};
};

} // namespace

TEST_F(SeededText, IsThereAtOnceAndWatchedSoon)
{
    RecordQuery text(Kitchen.c_str(), kDNSServiceType_TXT, kDNSServiceFlagsForceMulticast, Loopback);
    settle(text);
    ASSERT_EQ(text.replies.size(), 1U);
    EXPECT_EQ(text.replies[0].data, "\3a=1");
    EXPECT_EQ(askedCount(kDNSServiceType_TXT), 0U);

    backend().come(txtOf("Kitchen", "\3a=2", Loopback)); // no query is there to hear it
    advance(249ms);
    EXPECT_EQ(askedCount(kDNSServiceType_TXT), 0U);
    advance(1ms);
    EXPECT_EQ(askedCount(kDNSServiceType_TXT), 1U);
    settle(text);
    ASSERT_EQ(text.replies.size(), 2U);
    EXPECT_EQ(text.replies[1].data, "\3a=2");
}

TEST_F(SeededText, ThatHasGoneMeanwhileIsTakenBack)
{
    RecordQuery text(Kitchen.c_str(), kDNSServiceType_TXT, kDNSServiceFlagsForceMulticast, Loopback);
    settle(text);
    ASSERT_EQ(text.replies.size(), 1U);
    backend().go(txtOf("Kitchen", "\3a=1", Loopback)); // no query is there to hear it
    EXPECT_EQ(askedCount(kDNSServiceType_TXT), 0U);
    advance(250ms + 4999ms);
    settle(text);
    EXPECT_EQ(text.replies.size(), 1U);
    advance(1ms);
    settle(text);
    ASSERT_EQ(text.replies.size(), 2U);
    EXPECT_EQ(text.replies[1].flags, 0U);
}

TEST_F(SeededText, IsForgottenWhenNoQueryComesForASecond)
{
    advance(999ms);
    {
        RecordQuery text(Kitchen.c_str(), kDNSServiceType_TXT, kDNSServiceFlagsForceMulticast, Loopback);
        settle(text);
        EXPECT_EQ(text.replies.size(), 1U);
        EXPECT_EQ(askedCount(kDNSServiceType_TXT), 0U);
    }
    settle();
    advance(2s);
    RecordQuery text(Kitchen.c_str(), kDNSServiceType_TXT, kDNSServiceFlagsForceMulticast, Loopback);
    settle(text);
    EXPECT_EQ(askedCount(kDNSServiceType_TXT), 1U) << "nothing is known of it any more";
}
